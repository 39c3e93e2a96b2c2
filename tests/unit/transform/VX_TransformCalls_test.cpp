// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The calls themselves: arguments, matrices without an inverse, far positions, progress, replaced
// slots. The random commands compare the drawings with the slow twin.

#include <cmath>

#include "TransformTestKit.h"
#include "VX/VX_World.h"
#include "transform/VXp_TransformRows.h"
#include "unit/Polls.h"

namespace {

using Picture8 = Picture<VX_Pixel8>;
const std::string kBadParameter = "bad parameter passed to effect callback";

struct Calls : testing::Test {
  Picture8 src = RandomPicture<VX_Pixel8>(12, 9, 1), dst = RandomPicture<VX_Pixel8>(15, 11, 2);
  Picture8 matte = RandomPicture<VX_Pixel8>(15, 11, 3);
  Picture<VX_Pixel16> deep{15, 11};
  VX_CompositeModePlus mode = ModeOf(VX_Xfer_InFront);
  VX_TransformMask mask{&matte.world, 0, 0, 0};
  std::vector<M_Matrix3> path = std::vector<M_Matrix3>(258, Moved(1.5, 0));
};

TEST_F(Calls, CheckTheirArguments) {
  const Picture8 before = dst;
  VX_LayerDef empty{};
  const VX_CompositeModePlus mix = ModeOf(VX_Xfer_MaskMix), unknown = ModeOf(99);
  const VX_TransformMask no_world{nullptr, 0, 0, 0}, no_pixels{&empty, 0, 0, 0},
      bad_use{&matte.world, 0, 0, 4}, deep_mask{&deep.world, 0, 0, 1};
  struct Arguments {
    VX_Err error = 3;
    std::string text = kBadParameter;
    const VX_LayerDef* src;
    const VX_CompositeModePlus* mode;
    const VX_TransformMask* mask = nullptr;
    int32_t count = 1;
    VX_LayerDef* dst;
    const M_Matrix3* matrices;
  };
  const Arguments good{.error = 0,
                       .text = "",
                       .src = &src.world,
                       .mode = &mode,
                       .dst = &dst.world,
                       .matrices = path.data()};
  std::vector<Arguments> all(3, good);
  all[1].mask = &mask;
  all[2].count = 257;
  const auto refused = [&](auto member, auto value, const std::string& text = kBadParameter,
                           VX_Err error = 3) {
    all.push_back(good);
    all.back().*member = value;
    all.back().error = error;
    all.back().text = text;
  };
  using A = Arguments;
  const std::string unequal = " worlds to have same bit depth";
  refused(&A::src, nullptr);
  refused(&A::src, &empty);
  refused(&A::src, &dst.world, "VX_TransformWorld cannot draw a world into its own pixels");
  refused(&A::mode, nullptr);
  refused(&A::mode, &mix, "VX_Xfer_MaskMix mixes by a mask and was given none");
  refused(&A::mode, &unknown, "", 5);
  refused(&A::matrices, nullptr);
  for (const int32_t count : {0, -1, 258}) refused(&A::count, count);
  refused(&A::dst, nullptr);
  refused(&A::dst, &deep.world, "VX_TransformWorld requires src and dst" + unequal);
  for (const auto* bad : {&no_world, &no_pixels, &bad_use}) refused(&A::mask, bad);
  refused(&A::mask, &deep_mask, "VX_TransformWorld requires src and mask" + unequal);
  TakeReportTexts();
  for (const Arguments& a : all) {
    for (const int which : {0, 1, 2}) {
      dst = before;
      const VX_Err error = which == 2
                               ? VX_TransformMotion(nullptr, 1, 0, a.src, a.mode, nullptr, a.mask,
                                                    a.matrices, a.count, 1, nullptr, a.dst)
                               : (which == 1 ? VX_TransformWorld_S : VX_TransformWorld)(
                                     nullptr, 1, 0, 0, a.src, a.mode, nullptr, a.mask, a.matrices,
                                     a.count, 1, nullptr, a.dst);
      EXPECT_EQ(error, a.error) << &a - all.data();
      const auto texts = TakeReportTexts();
      EXPECT_EQ(texts.size(), a.error == 0 ? 0u : 1u) << &a - all.data();
      if (!a.text.empty()) {
        EXPECT_EQ(texts, std::vector{a.text});
      }
      EXPECT_EQ(dst == before, a.error != 0) << &a - all.data();
    }
  }
}

// A first or last matrix without an inverse draws nothing; one between them has no sub-sample.
// Perspective and very large numbers do no harm.
TEST_F(Calls, TakeAnyMatrix) {
  const M_Matrix3 good = MatrixOf({.rotation = 20});
  const double nan = NAN, inf = INFINITY;
  const Picture8 before = dst;
  for (const M_Matrix3& bad :
       {M_Matrix3{{1, 1, 0, 1, 1, 0, 0, 0, 1}}, M_Matrix3{},
        M_Matrix3{{nan, 0, 0, 0, 1, 0, 0, 0, 1}}, M_Matrix3{{1, 0, 0, 0, 1, 0, 0, -inf, 1}},
        M_Matrix3{{1, 0, nan, 0, 1, 0, 0, 0, 1}}, M_Matrix3{{1e200, 0, 0, 0, 1e200, 0, 0, 0, 1}}}) {
    for (const uint8_t src2dst : {0, 1}) {
      for (const auto& path : {std::vector{bad}, {bad, good}, {good, bad}, {good, good, bad}}) {
        EXPECT_EQ(Draw({.src2dst = src2dst}, src, path, &dst), VX_Ok);
        EXPECT_TRUE(dst == before);
      }
      Picture8 through(15, 11);
      EXPECT_EQ(Draw({.src2dst = src2dst}, src, {good, bad, MatrixOf({.rotation = 60})}, &through),
                VX_Ok);
      EXPECT_NE(through.At(2, 2).alpha, 0);
      EXPECT_LE(through.At(2, 2).alpha, 128);  // one of two sub-samples
    }
  }
  Operands<VX_Pixel8> o(5);
  for (int round = 0; round < 3000; ++round) {
    std::vector<M_Matrix3> any(static_cast<size_t>(o.Between(1, 4)),
                               MatrixOf({.rotation = 1.0 * o.Below(360)}));
    for (M_Matrix3& m : any) {
      const double sizes[] = {1e-3, 1, 1e3, 1e6, 1e12, 1e30, 1e150, 1e300, 1e-300};
      for (int i = o.Between(1, 3); i > 0; --i) {
        m.m[o.Below(9)] = (o.Below(201) - 100) * sizes[o.Below(9)];
      }
    }
    const int32_t modes[] = {VX_Xfer_Dissolve, VX_Xfer_Scale, VX_Xfer_Overlay};
    ASSERT_EQ(Draw({.mode = ModeOf(modes[round % 3]), .quality = round / 3 % 2}, src, any, &dst),
              VX_Ok);
  }
}

// Columns up to the largest value of 16.16 fixed point are drawn, and none after it. Positions
// below -32768 do not wrap; a second matrix keeps the area inside the destination.
TEST_F(Calls, ReachTheEndOfFixedPoint) {
  Picture8 wide(32800, 2);
  for (int32_t x = 32760; x < 32800; ++x) wide.At(x, 0) = wide.At(x, 1) = kWhite<VX_Pixel8>;
  const M_Matrix3 end{{1, 0, 0, 0, 1.001, 0, -32755, 0, 1}},
      before{{1, 0, 0, 0, 1.001, 0, 32772, 0, 1}}, here{{1, 0, 0, 0, 1.001, 0, 0, 0, 1}};
  for (const int32_t quality : {0, 1}) {
    Picture8 out(30, 2);
    ASSERT_EQ(Draw({.quality = quality}, wide, {end}, &out), VX_Ok);
    for (int32_t x = 0; x < 30; ++x) {
      EXPECT_EQ(out.At(x, 0).alpha, x >= 5 && x <= 12 ? 255 : 0) << x;
    }
    for (const auto& path : {std::vector{before, here}, std::vector{before, here, before}}) {
      out = Picture8(30, 2);
      ASSERT_EQ(Draw({.quality = quality}, wide, path, &out), VX_Ok);
      EXPECT_TRUE(out == Picture8(30, 2)) << path.size() << " quality " << quality;
    }
  }
}

// Progress is reported once per group of rows. A stop leaves the later rows as they were.
TEST_F(Calls, ReportProgress) {
  const Picture8 tall(4, 400, kWhite<VX_Pixel8>);
  const M_Rect rect{10, 0, 300, 10};
  const M_Matrix3 first = MatrixOf({.rotation = -1}), last = MatrixOf({.rotation = -1.5});
  const struct {
    int32_t quality, field;
    bool moving;
    int32_t group;  // rows from one report to the next
  } cases[] = {{0, 0, false, 64}, {1, 0, false, 32}, {0, 1, false, 128}, {1, 2, false, 64},
               {0, 0, true, 8},   {1, 0, true, 8},   {0, 1, true, 16},   {1, 2, true, 16}};
  for (const auto& c : cases) {
    for (const int32_t stop : {-1, 0, 128}) {
      Polls polls{.stop_at = stop};
      VX_ProgressInfo progress = polls.Info();
      Picture8 out(10, 320);
      const Manner manner{
          .quality = c.quality, .field = c.field, .rect = &rect, .progress = &progress};
      const auto matrices = c.moving ? std::vector{first, last} : std::vector{first};
      EXPECT_EQ(Draw(manner, tall, matrices, &out), stop < 0 ? 0 : polls.code);
      EXPECT_EQ(polls.final_step, 290);
      std::vector<int32_t> want;
      for (int32_t row = 0; row < 290 && (stop < 0 || row <= stop); row += c.group)
        want.push_back(row);
      EXPECT_EQ(polls.steps, want) << "case " << &c - cases;
      const auto drawn = [&](int32_t y) {
        return std::any_of(&out.At(0, y), &out.At(0, y) + 10,
                           [](const VX_Pixel8& p) { return p.alpha != 0; });
      };
      for (int32_t y = 11 + stop; stop >= 0 && y < 300; ++y) EXPECT_FALSE(drawn(y)) << y;
      EXPECT_TRUE(stop < 0 || c.field != 0 || drawn(10 + stop));
    }
  }
}

// A function in the slot of the transform gets the area that can change, as a rectangle.
TEST_F(Calls, PassTheAreaToAReplacement) {
  static M_Rect area;
  const VX_TransformWorldFunc replacement =
      [](VX_ProgressInfo*, int32_t, int32_t, int32_t, const VX_LayerDef*,
         const VX_CompositeModePlus*, const VX_LinearBlendingTables*, const VX_TransformMask*,
         const M_Matrix3*, int32_t, uint8_t, const M_Rect* rect, VX_LayerDef*) -> VX_Err {
    area = *rect;
    return 600;
  };
  const Picture8 layer(10, 6, kWhite<VX_Pixel8>);
  const M_Rect given{0, 12, 100, 40};
  const VX_TransformMask small{&matte.world, 20, 15, 0};
  const struct {
    std::vector<M_Matrix3> path;
    const M_Rect* rect;
    const VX_TransformMask* mask;
    M_Rect area;  // top, left, bottom, right
  } cases[] = {   // (0, 0) to (10, 6) moved and rounded outwards, with a margin of 1
               {{Moved(20.5, 30.25)}, nullptr, nullptr, {29, 19, 38, 32}},
               {{Moved(20, 30), Moved(25, 30)}, nullptr, nullptr, {29, 19, 37, 36}},
               {{Moved(5, 5)}, &given, nullptr, {4, 12, 12, 16}},
               {{Moved(20, 20)}, nullptr, &small, {20, 19, 27, 30}},
               {{Moved(900, 0)}, nullptr, nullptr, {0, 0, 0, 0}}};
  Picture8 out(100, 80);
  ASSERT_EQ(VX_SetOverrideFunc(32, reinterpret_cast<void*>(replacement)), VX_Ok);
  for (const auto& c : cases) {
    EXPECT_EQ(Draw({.mask = c.mask, .rect = c.rect}, layer, c.path, &out), 600);
    EXPECT_EQ((std::vector{area.top, area.left, area.bottom, area.right}),
              (std::vector{c.area.top, c.area.left, c.area.bottom, c.area.right}))
        << &c - cases;
  }
  EXPECT_EQ(Draw({}, out, {Moved(0, 0)}, &out), 3);  // checked before the slot is called
  ASSERT_EQ(VX_SetOverrideFunc(32, reinterpret_cast<void*>(&VX_TransformWorld_S)), VX_Ok);
  TakeReportTexts();
}

// A float row is not drawn if its sum of alphas is 0, and copied if the sum is the number of
// pixels. Sums are rounded after each addition in the order of sampling: a sum of alphas just below
// 1 may be the number of pixels.
TEST(AlphaTotals, CompareLikeTheSumInOrder) {
  constexpr float kBelowOne = 1 - 0x1p-24f;
  const std::vector<float> kinds[] = {{0},      {1},     {kBelowOne, 1},        {0, 0, 0, 0.5f},
                                      {1, 0.5}, {2, 0},  {1, 1, 1, 1, 1, 1, 0}, {-1, 1},
                                      {NAN, 1}, {1e-30f}};
  std::mt19937 random(TestSeed());
  int32_t equal = 0;
  for (const int32_t count : {1, 2, 7, 1920, 4500, 32000}) {
    for (const auto& kind : kinds) {
      std::vector<VX_PixelFloat> row(static_cast<size_t>(count));
      for (VX_PixelFloat& p : row) p.alpha = kind[random() % kind.size()];
      const int32_t first = count / 3 * static_cast<int32_t>(random() % 2);
      for (int32_t i = 0; i < first; ++i) row[static_cast<size_t>(i)].alpha = 0;
      const VXp_LineParts parts{first, std::min(first + 1, count), count, count};
      float sum = 0;
      for (int32_t i = first; i < count; ++i) sum += row[static_cast<size_t>(i)].alpha;
      const float total = VXp_AlphaTotal(row.data(), count, parts);
      const auto all = static_cast<float>(count);
      EXPECT_EQ(total == 0, sum == 0) << count << " " << &kind - kinds;
      EXPECT_EQ(total == all, sum == all) << count << " " << &kind - kinds;
      equal += sum == all && kind.size() > 1;
    }
  }
  EXPECT_GT(equal, 0);
}

}  // namespace
