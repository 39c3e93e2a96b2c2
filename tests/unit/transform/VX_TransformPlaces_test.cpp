// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Where a transform puts what: moves, quarter turns, far away, fields, seeds, masks, stencils.

#include <cmath>

#include "TransformTestKit.h"

namespace {

template <class Pixel>
class TransformPlaces : public testing::Test {};
TYPED_TEST_SUITE(TransformPlaces, PixelTypes, DepthNames);

// Moves by whole pixels, and all moves in draft, are transfers: every mode and manner.
TYPED_TEST(TransformPlaces, MovesAreTransfers) {
  using Pixel = TypeParam;
  const struct {
    int32_t quality;
    double x, y;
    int32_t left, top;
  } moves[] = {{0, 0, 0, 0, 0},      {1, 0, 0, 0, 0},        {1, 3, -2, 3, -2},
               {0, 2.5, -0.5, 3, 0}, {0, -2.5, 1.49, -2, 1}, {0, 0.5, -1.51, 1, -2},
               {1, 1e-6, -3, 0, -3}, {1, 29, 17, 29, 17},    {0, 40, 0, 40, 0}};
  const auto src = RandomPicture<Pixel>(30, 18, 1);
  auto matte = RandomPicture<Pixel>(20, 25, 2);
  Operands<VX_Pixel8> o(3);
  for (const auto& move : moves) {
    for (const int32_t mode : {VX_Xfer_Scale, VX_Xfer_Copy, VX_Xfer_InFront, VX_Xfer_Dissolve,
                               VX_Xfer_Multiply, VX_Xfer_StencilLuma}) {
      const VX_TransformMask mask{&matte.world, 2, -3, o.Below(4)};
      const M_Rect rect{2, 1, 15, 28};
      const Manner manner{.mode = ModeOf(mode, 0.75f, 99, o.Below(2) == 0),
                          .quality = move.quality,
                          .field = o.Below(3),
                          .mask = o.Below(2) == 0 ? &mask : nullptr,
                          .rect = mode == VX_Xfer_StencilLuma || o.Below(2) == 0 ? nullptr : &rect};
      auto got = RandomPicture<Pixel>(31, 20, 4), want = got;
      EXPECT_EQ(Draw(manner, src, {Moved(move.x, move.y)}, &got), VX_Ok);
      Picture<Pixel> all = want;
      EXPECT_EQ(VX_TransferRect(nullptr, 0, 0, manner.field, nullptr, &src.world, &manner.mode,
                                nullptr, manner.mask, move.left, move.top, &all.world),
                VX_Ok);
      // The rectangle keeps the rest from being drawn to; the seed begins at its corner.
      bool same = true;
      for (int32_t y = 0; y < 20; ++y) {
        for (int32_t x = 0; x < 31; ++x) {
          const bool drawn = manner.rect == nullptr ||
                             (x >= rect.left && x < rect.right && y >= rect.top && y < rect.bottom);
          if (mode == VX_Xfer_Dissolve && manner.rect != nullptr && drawn) continue;
          same = same && SamePixel(got.At(x, y), drawn ? all.At(x, y) : want.At(x, y));
        }
      }
      EXPECT_TRUE(same) << "mode " << mode << ", to " << move.x << " " << move.y;
    }
  }
}

TYPED_TEST(TransformPlaces, QuarterTurnsMapPixelsExactly) {
  using Pixel = TypeParam;
  auto src = RandomPicture<Pixel>(7, 5, 6);
  for (const int32_t quality : {0, 1}) {
    for (int turn = 0; turn < 4; ++turn) {
      const bool upright = turn % 2 == 0;
      const int32_t w = upright ? 7 : 5, h = upright ? 5 : 7;
      // Where the corner of the turned picture comes to lie at (2, 3).
      const double x = 2 + (turn == 1 ? 4 : turn == 2 ? 6 : 0);
      const double y = 3 + (turn == 2 ? 4 : turn == 3 ? 6 : 0);
      Picture<Pixel> dst(12, 12);
      EXPECT_EQ(
          Draw({.mode = ModeOf(VX_Xfer_Scale), .quality = quality}, src,
               {MatrixOf({.rotation = 90.0 * turn, .translate_x = x, .translate_y = y})}, &dst),
          VX_Ok);
      for (int32_t v = 0; v < 12; ++v) {
        for (int32_t u = 0; u < 12; ++u) {
          const int32_t a = u - 2, b = v - 3;
          const bool inside = a >= 0 && a < w && b >= 0 && b < h;
          const int32_t from_x = turn == 0 ? a : turn == 1 ? b : turn == 2 ? 6 - a : 6 - b;
          const int32_t from_y = turn == 0 ? b : turn == 1 ? 4 - a : turn == 2 ? 4 - b : a;
          const Pixel want = inside ? src.At(from_x, from_y) : Pixel{};
          // The float sampler mixes at whole positions too, where alpha 0 has no colour.
          if (kDepth<Pixel> == 32 && quality == 1 && !(want.alpha > 1e-20f)) continue;
          const auto near = [](float p, float q) {
            return std::abs(p - q) <= 1e-6f * std::abs(q) + 1e-30f;
          };
          const Pixel got = dst.At(u, v);
          ASSERT_TRUE(kDepth<Pixel> == 32 && quality == 1
                          ? near(got.alpha, want.alpha) && near(got.red, want.red) &&
                                near(got.blue, want.blue)
                          : SamePixel(got, want))
              << turn << " at " << u << "," << v << ": " << Text(got) << ", not " << Text(want);
        }
      }
    }
  }
}

// A pan of 0.3 pixel a frame moves on with every frame.
TYPED_TEST(TransformPlaces, SlowPansAdvance) {
  using Pixel = TypeParam;
  Picture<Pixel> src(9, 3);
  for (int32_t y = 0; y < 3; ++y) src.At(4, y) = kWhite<Pixel>;
  for (int frame = 0; frame < 40; ++frame) {
    Picture<Pixel> dst(30, 3);
    ASSERT_EQ(Draw({}, src, {Moved(0.3 * frame, 0)}, &dst), VX_Ok);
    double alpha = 0, place = 0;
    for (int32_t x = 0; x < 30; ++x) {
      alpha += static_cast<double>(dst.At(x, 1).alpha);
      place += x * static_cast<double>(dst.At(x, 1).alpha);
    }
    EXPECT_NEAR(alpha / static_cast<double>(kFull<Pixel>), 1, 0.005) << frame;
    EXPECT_NEAR(place / alpha, 4 + 0.3 * frame, 0.005) << frame;
  }
}

// What lies beyond 16.16 stays away, in every quality, still and moving; near its end it is drawn.
TYPED_TEST(TransformPlaces, FarAwayIsNotInView) {
  using Pixel = TypeParam;
  const Picture<Pixel> src(8, 8, kWhite<Pixel>);
  const Picture<Pixel> empty(1400, 2);
  for (const double away : {9000.0, 32768.0, 65536.0, 65536.5, 131072.25, -65536.0, -32769.0, 1e6,
                            4294967296.0, -1e15, 1e300}) {
    for (const int32_t quality : {0, 1}) {
      for (const int32_t count : {1, 2, 3}) {
        for (const bool reduced : {false, true}) {
          const double scale = reduced ? 0.01 : 1;  // positions reach 140000 within the picture
          M_Matrix3 m{{scale, 0.001, 0, 0, scale, 0, away * scale, 0, 1}};
          if (reduced && away < 131072 && away > 0) continue;
          std::vector<M_Matrix3> way(static_cast<size_t>(count), m);
          way.back().m[7] += count > 1 ? 0.25 : 0;
          Picture<Pixel> dst = empty;
          ASSERT_EQ(Draw({.quality = quality}, src, way, &dst), VX_Ok);
          EXPECT_TRUE(dst == empty || std::abs(away * scale) < 1400)
              << away << " quality " << quality << " matrices " << count;
        }
      }
    }
  }
  // Reduced to a spot: nothing comes again 655.36 pixels further.
  for (const int32_t quality : {0, 1}) {
    for (const int32_t count : {1, 2}) {
      std::vector<M_Matrix3> way(static_cast<size_t>(count), {{0.01, 0, 0, 0, 0.01, 0, 20, 0, 1}});
      way.back().m[6] += count - 1;
      const Picture<Pixel> large(400, 150, kWhite<Pixel>);
      Picture<Pixel> dst = empty;
      ASSERT_EQ(Draw({.quality = quality}, large, way, &dst), VX_Ok);
      EXPECT_NE(dst.At(22, 0).alpha, 0);
      for (int32_t x = 0; x < 1400; ++x) {
        if (x >= 18 && x <= 27) continue;
        ASSERT_EQ(dst.At(x, 0).alpha, 0) << x;
      }
    }
  }
  // The last columns that 16.16 reaches, and none behind.
  Picture<Pixel> wide(32800, 2);
  for (int32_t x = 32760; x < 32800; ++x) wide.At(x, 0) = wide.At(x, 1) = kWhite<Pixel>;
  for (const int32_t quality : {0, 1}) {
    Picture<Pixel> dst(30, 2);
    ASSERT_EQ(Draw({.quality = quality}, wide, {{{1, 0, 0, 0, 1.001, 0, -32755, 0, 1}}}, &dst),
              VX_Ok);
    for (int32_t x = 0; x < 30; ++x) {
      EXPECT_EQ(dst.At(x, 0).alpha, x >= 5 && x <= 12 ? kFull<Pixel> : 0) << x;
    }
  }
  // Before -32768 the same columns do not come round; another matrix keeps the area in view.
  const M_Matrix3 before{{1, 0, 0, 0, 1.001, 0, 32772, 0, 1}},
      here{{1, 0, 0, 0, 1.001, 0, 0, 0, 1}};
  for (const auto& way : {std::vector{before, here}, std::vector{before, here, before}}) {
    for (const int32_t quality : {0, 1}) {
      Picture<Pixel> dst(30, 2);
      ASSERT_EQ(Draw({.quality = quality}, wide, way, &dst), VX_Ok);
      EXPECT_TRUE(dst == (Picture<Pixel>(30, 2))) << way.size() << " quality " << quality;
    }
  }
}

// --- rows ----------------------------------------------------------------------------------------

TYPED_TEST(TransformPlaces, FieldsTakeRowsOfTheDestination) {
  using Pixel = TypeParam;
  const auto src = RandomPicture<Pixel>(20, 20, 7);
  for (const int32_t count : {1, 2, 3}) {
    const auto way = Between({.rotation = 10, .translate_y = 3}, {.rotation = 25}, count);
    auto before = RandomPicture<Pixel>(25, 25, 8);
    Picture<Pixel> all = before, even = before, odd = before;
    const auto mode = ModeOf(VX_Xfer_Dissolve, 0.5f, 7);  // whose seed counts rows that are skipped
    ASSERT_EQ(Draw({.mode = mode, .field = 0}, src, way, &all), VX_Ok);
    ASSERT_EQ(Draw({.mode = mode, .field = VX_Field_EvenRows}, src, way, &even), VX_Ok);
    ASSERT_EQ(Draw({.mode = mode, .field = VX_Field_OddRows}, src, way, &odd), VX_Ok);
    for (int32_t y = 0; y < 25; ++y) {
      for (int32_t x = 0; x < 25; ++x) {
        const Pixel &is = all.At(x, y), &was = before.At(x, y);
        ASSERT_TRUE(SamePixel(even.At(x, y), y % 2 == 0 ? is : was));
        ASSERT_TRUE(SamePixel(odd.At(x, y), y % 2 == 0 ? was : is));
      }
    }
  }
}

// A layer of one colour dissolves alike through rows and as a rectangle, wherever it begins.
TYPED_TEST(TransformPlaces, DissolveIsThatOfTheTransfer) {
  using Pixel = TypeParam;
  const Pixel half{static_cast<VX_ChannelOf<Pixel>>(kFull<Pixel> / 2), 0, kFull<Pixel>, 0};
  const Picture<Pixel> src(60, 60, half);
  for (const M_Rect& rect : {M_Rect{0, 0, 30, 40}, M_Rect{4, 9, 28, 33}}) {
    Picture<Pixel> rows(40, 30, kWhite<Pixel>), rectangle = rows;
    const Manner manner{.mode = ModeOf(VX_Xfer_Dissolve, 1, 1234), .rect = &rect};
    ASSERT_EQ(Draw(manner, src, {Moved(-10.5, -10.25)}, &rows), VX_Ok);
    ASSERT_EQ(Draw(manner, src, {Moved(-10, -10)}, &rectangle), VX_Ok);
    EXPECT_TRUE(rows == rectangle);
    int drawn = 0;
    for (const Pixel& p : rows.pixels) drawn += p.red == 0 ? 1 : 0;
    const int area = (rect.right - rect.left) * (rect.bottom - rect.top);
    EXPECT_NEAR(drawn, area / 2, area / 8);
  }
}

// --- masks and stencils --------------------------------------------------------------------------

// The weight by definition; luminance in float is held within 0..1, and nothing below 1e-30.
float Weight(int32_t what, bool inside, const VX_PixelFloat& p) {
  float v = inside ? p.alpha : 0;
  if (what >= 2) {
    v *= 0.299f * p.red + 0.587f * p.green + 0.114f * p.blue;
    v = v < 1e-30f ? 0 : std::min(v, 1.0f);
  }
  return what % 2 == 1 ? 1 - v : v;
}
template <class Pixel>
int64_t Weight(int32_t what, bool inside, const Pixel& p) {
  const int64_t full = kFull<Pixel>;
  int64_t v = inside ? p.alpha : 0;
  if (what >= 2) {
    const int64_t luma =
        (int64_t{9798} * p.red + int64_t{19235} * p.green + int64_t{3735} * p.blue + 16384) >> 15;
    v *= luma;
    v = full == 255 ? (((v + 128) >> 8) + v + 128) >> 8 : (v + 16383) >> 15;
  }
  return what % 2 == 1 ? full - v : v;
}

// A white layer shows the weight. Outside of an inverted mask that is full; the others cut the
// drawing.
TYPED_TEST(TransformPlaces, MasksWeigh) {
  using Pixel = TypeParam;
  const Picture<Pixel> src(40, 40, kWhite<Pixel>);
  auto matte = RandomPicture<Pixel>(9, 7, 9);
  if constexpr (kDepth<Pixel> == 32) {
    matte.At(0, 0) = {1, 9, 9, 9};
    matte.At(1, 0) = {1, -9, 0, 0};
    matte.At(2, 0) = {1e-31f, 1, 1, 1};
    matte.At(3, 0) = {1e-29f, 1, 1, 1};
  }
  for (const int32_t what : {0, 1, 2, 3}) {
    const VX_TransformMask mask{&matte.world, 4, 3, what};
    Picture<Pixel> dst(20, 15);
    // A path by rows, not a transfer.
    ASSERT_EQ(Draw({.mode = ModeOf(VX_Xfer_Copy), .mask = &mask}, src, {Moved(-5.5, -5.5)}, &dst),
              VX_Ok);
    for (int32_t y = 0; y < 15; ++y) {
      for (int32_t x = 0; x < 20; ++x) {
        const bool inside = x >= 3 && x < 12 && y >= 4 && y < 11;
        const auto want = Weight(what, inside, inside ? matte.At(x - 3, y - 4) : Pixel{});
        if constexpr (kDepth<Pixel> == 32) {
          EXPECT_NEAR(dst.At(x, y).alpha, want, 1e-6f * std::abs(want))
              << what << " " << x << "," << y;
        } else {
          EXPECT_EQ(dst.At(x, y).alpha, want) << what << " " << x << "," << y;
        }
      }
    }
  }
}

// Stencils remove what the layer does not cover, inside the rectangle and out; all of it where the
// layer has no extent or no inverse, and nothing where the rectangle is empty.
TYPED_TEST(TransformPlaces, StencilsClearTheRest) {
  using Pixel = TypeParam;
  const Picture<Pixel> src(6, 6, kWhite<Pixel>);
  const Picture<Pixel> before(20, 20, kWhite<Pixel>);
  const M_Rect rect{4, 4, 16, 9}, nothing{4, 4, 4, 9};
  const M_Matrix3 placed{{1, 0, 0, 0, 1, 0, 5.5, 5, 1}}, thin{{1e-9, 0, 0, 0, 1, 0, 9, 9, 1}};
  const M_Matrix3 singular{{1, 1, 0, 1, 1, 0, 0, 0, 1}}, away = Moved(900.5, 0);
  const struct {
    std::vector<M_Matrix3> way;
    const M_Rect* rect;
    int kept;  // pixels of full alpha; -1: all
  } cases[] = {{{placed}, nullptr, 30},  {{placed}, &rect, 3 * 6}, {{thin}, nullptr, 0},
               {{singular}, nullptr, 0}, {{singular}, &rect, 0},   {{placed, singular}, &rect, 0},
               {{placed}, &nothing, -1}, {{away}, nullptr, -1},    {{thin}, &nothing, -1}};
  for (const int32_t mode : {VX_Xfer_StencilAlpha, VX_Xfer_StencilLuma, VX_Xfer_InFront}) {
    for (const auto& c : cases) {
      Picture<Pixel> dst = before;
      ASSERT_EQ(Draw({.mode = ModeOf(mode), .rect = c.rect}, src, c.way, &dst), VX_Ok);
      int kept = 0;
      for (const Pixel& p : dst.pixels) kept += p.alpha == kFull<Pixel> ? 1 : 0;
      const bool all = c.kept < 0 || mode == VX_Xfer_InFront;
      EXPECT_EQ(kept, all ? 400 : c.kept) << "mode " << mode << ", case " << &c - cases;
    }
  }
}

}  // namespace
