// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Motion estimation: vectors against the twin, predictions, refusals. Known motions are found in
// pictures between two (VX_AdvancedFrameBlending_test.cpp) and by the command
// (tests/cli/test_flow.py).

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "VX/VX_FrameBlending.h"
#include "reference/RefMotion.h"
#include "unit/PixelTestKit.h"
#include "unit/frameblend/MotionScenes.h"

namespace {

using Params = VX_Veltor_AlgoParams;
using Vectors = std::vector<float>;
constexpr int kPadding = 3;  // floats after each row of vectors

// The motion between two worlds. The padding of the rows must not change.
Vectors Estimate(const VX_LayerDef& a, const VX_LayerDef& b, const Params& p, bool backward) {
  const size_t row = static_cast<size_t>(a.width) * 2 + kPadding;
  Vectors all(row * static_cast<size_t>(a.height), 77.0f), vectors;
  EXPECT_EQ(VX_EstimateMotion(&a, &b, &p, nullptr, backward, all.data(),
                              static_cast<ptrdiff_t>(row * sizeof(float))),
            VX_Ok);
  for (size_t i = 0; i < all.size(); ++i) {
    if (i % row < row - kPadding) {
      vectors.push_back(all[i]);
    } else if (all[i] != 77.0f) {
      ADD_FAILURE() << "padding of row " << i / row;
    }
  }
  return vectors;
}

// --- against the twin ----------------------------------------------------------------------------

template <class Pixel>
class EstimateMotion : public testing::Test {};
TYPED_TEST_SUITE(EstimateMotion, PixelTypes, DepthNames);

template <class Pixel>
void Compare(const VX_LayerDef& a, const VX_LayerDef& b, const Params& p, const std::string& what) {
  for (bool backward : {false, true}) {
    const auto want =
        backward ? vxref::motion::Field<Pixel>(b, a, p) : vxref::motion::Field<Pixel>(a, b, p);
    const Vectors got = Estimate(a, b, p, backward);
    size_t wrong = 0, first = 0;
    for (size_t i = want.cells.size(); i-- > 0;) {
      if (std::memcmp(&got[2 * i], &want.cells[i], 2 * sizeof(float)) != 0) ++wrong, first = i;
    }
    const size_t width = static_cast<size_t>(a.width);
    EXPECT_EQ(wrong, 0u) << what << (backward ? ", backward" : "") << ", first at ("
                         << first % width << ", " << first / width << "): (" << got[2 * first]
                         << ", " << got[2 * first + 1] << "), not (" << want.cells[first].x << ", "
                         << want.cells[first].y << ")";
  }
}

// All contents and sizes; the settings and the number of threads are drawn at random for each pair
// of pictures.
TYPED_TEST(EstimateMotion, EqualsTheTwin) {
  const int32_t threads = VX_MotionThreads();
  Operands<TypeParam> random(16);
  const auto one_of = [&random](auto... v) { return std::array{v...}[random.Below(sizeof...(v))]; };
  std::vector<std::string> contents = {"moved", "turned", "zoomed", "unrelated",
                                       "noise", "flat",   "edge"};
  if (kDepth<TypeParam> == 32) contents.insert(contents.end(), {"not finite", "huge"});
  for (const auto& [width, height] :
       {std::pair{1, 1}, {5, 5}, {2, 61}, {37, 29}, {101, 77}, {160, 90}, {320, 200}}) {
    for (const std::string& what : contents) {
      Params p;
      p.Resolution = one_of(0.2f, 0.37f, 0.5f, 1.0f);
      p.BlockSize = one_of(int16_t{4}, int16_t{6}, int16_t{9}, int16_t{17});
      p.VectorDetail = one_of(-500.0f, 0.0f, 500.0f);
      p.VectorSmoothing = one_of(-500.0f, 0.0f, 500.0f);
      p.SmoothPasses = one_of(int16_t{1}, int16_t{2}, int16_t{5});
      p.ErrorThreshold = one_of(0.0f, 0.01f, 0.1f);
      p.LumaR = one_of(0.25, 0.3, 0.5);
      p.LumaB = one_of(0.0, 0.25, 0.5);
      p.LumaG = 1.01 - p.LumaR - p.LumaB;

      const double dx = random.Between(-60, 60) / 8.0, dy = random.Between(-60, 60) / 8.0;
      const Picture texture = Texture(random.Word(), 8 / static_cast<double>(p.Resolution));
      const Picture edge = [&](double x, double y) {
        return (x - width / 2) * dx + (y - height / 2) * dy > 0 ? 0.9 : 0.2;
      };
      const Picture flat = [](double, double) { return 0.4; };
      const Picture one = what == "flat" ? flat : what == "edge" ? edge : texture;
      const Picture two = what == "turned"      ? Turned(one, width / 3, height / 2, 0.06, 1)
                          : what == "zoomed"    ? Turned(one, width / 2, height / 3, 0, 1.08)
                          : what == "unrelated" ? Texture(random.Word(), 20)
                                                : Moved(one, dx, dy);
      GuardedWorld<TypeParam> a(width, height, random.Below(9), random.Word());
      GuardedWorld<TypeParam> b(width, height, random.Below(9), random.Word());
      if (what != "noise") Paint(&a, one), Paint(&b, two);
      if constexpr (kDepth<TypeParam> == 32) {
        const float infinite = std::numeric_limits<float>::infinity();
        const std::array<float, 4> odd = what == "huge"
                                             ? std::array{1e19f, 1e30f, -3e38f, 3e38f}
                                             : std::array{std::nanf(""), infinite, -infinite, 1.0f};
        const bool some = what == "huge" || what == "not finite";
        for (int i = 0; some && i < width * height / 40; ++i) {
          const float value = odd[static_cast<size_t>(random.Below(4))];
          one_of(&a, &b)->Set(random.Below(width), random.Below(height),
                              {1, value, one_of(value, 0.5f), value});
        }
      }
      std::ostringstream text;
      text << what << " " << dx << " " << dy << ", " << width << " x " << height << ", resolution "
           << p.Resolution << ", block " << p.BlockSize << ", detail " << p.VectorDetail
           << ", smoothing " << p.VectorSmoothing << ", passes " << p.SmoothPasses << ", threshold "
           << p.ErrorThreshold;
      VX_SetMotionThreads(one_of(1, 2, 3, 7, 16));
      Compare<TypeParam>(a.world, b.world, p, text.str());
    }
  }
  VX_SetMotionThreads(threads);
}

// --- predictions
// -----------------------------------------------------------------------------------

TYPED_TEST(EstimateMotion, PredictsByInterpolation) {
  using Channel = VX_ChannelOf<TypeParam>;
  constexpr bool kFloat = kDepth<TypeParam> == 32;
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  GuardedWorld<TypeParam> source(4, 3, 5, 1), out(4, 3, 0, 2);
  const auto value = [](int x, int y) { return 10 * x + 40 * y; };
  const auto grey = [](double v) {
    const auto c = static_cast<Channel>(v);
    return TypeParam{c, c, c, c};
  };
  for (int i = 0; i < 12; ++i) source.Set(i % 4, i / 4, grey(value(i % 4, i / 4)));
  // 16-bit values above white are limited; infinities do not reach exact positions beside them.
  const double odd = kFloat ? inf : kDepth<TypeParam> == 16 ? 65535 : 255;
  source.Set(2, 1, grey(odd));
  struct Row {
    int x, y;
    double u, v, expected;
  };
  const Row rows[] = {
      {1, 1, 0, 0, 50},      {1, 1, 0, -0.5, 30}, {1, 0, 0.25, 0, 12.5}, {2, 0, 0, 0, 20},
      {0, 0, 0.5, 0.5, 25},  {3, 2, 9, 9, 110},   {0, 2, -1e30, 0, 80},  {1, 2, kNan, 0, 90},
      {2, 2, 0.5, inf, 100}, {3, 0, -1, 1, odd},  {3, 1, 0, -1, 30},     {0, 1, 3, 0, 70},
  };
  for (const Row& row : rows) {
    Vectors vectors(24);
    float* const at = &vectors[static_cast<size_t>(row.y * 4 + row.x) * 2];
    at[0] = static_cast<float>(row.u);
    at[1] = static_cast<float>(row.v);
    ASSERT_EQ(VX_PredictByMotion(&source.world, vectors.data(), 32, &out.world), VX_Ok);
    const double want =
        kFloat ? row.expected
               : std::min(std::floor(row.expected + 0.5), static_cast<double>(kFull<TypeParam>));
    EXPECT_EQ(static_cast<double>(out.Get(row.x, row.y).green), want)
        << row.x << ' ' << row.y << ' ' << row.u << ' ' << row.v;
  }
}

// --- refusals ------------------------------------------------------------------------------------

TEST(EstimateMotionRefusals, LeaveTheVectorsUntouched) {
  GuardedWorld<VX_Pixel8> a(9, 8, 0, 1), b(9, 8, 0, 2), wide(10, 8, 0, 3), high(9, 9, 0, 4);
  GuardedWorld<VX_Pixel16> deep(9, 8, 0, 5);
  VX_LayerDef none = a.world, empty = a.world;
  none.data = nullptr;
  empty.width = 0;
  const Params good;
  std::vector<Params> bad;
  const auto add = [&bad](auto member, std::initializer_list<double> values) {
    for (double value : values) {
      bad.emplace_back().*member = static_cast<std::decay_t<decltype(Params{}.*member)>>(value);
    }
  };
  const double nan = std::nan("");
  add(&Params::Resolution, {0.04, 1.01, nan});
  add(&Params::VectorDetail, {-1001, 1001, nan});
  add(&Params::VectorSmoothing, {-1001, 1001, nan});
  add(&Params::SmoothPasses, {0, 51});
  add(&Params::ErrorThreshold, {-0.01, 0.11, nan});
  add(&Params::BlockSize, {3, 41});
  add(&Params::LumaR, {-0.1, 0.33, nan});
  add(&Params::LumaG, {1.1, 0.5});
  add(&Params::Method, {-1, 3});
  add(&Params::HighQuality, {2});
  add(&Params::ShutterAngle, {-1, 361, nan});
  add(&Params::ShutterSamples, {0, 21});
  add(&Params::Mode, {-1, 4});
  Vectors vectors(9 * 8 * 2, 5.0f);
  float* const out = vectors.data();
  const auto call = [&](const VX_LayerDef* one, const VX_LayerDef* two, const Params* p, float* to,
                        ptrdiff_t rowbytes) {
    return VX_EstimateMotion(one, two, p, nullptr, 0, to, rowbytes);
  };
  Reports();
  const VX_LayerDef *w = &a.world, *x = &b.world;
  const VX_Err codes[] = {
      call(nullptr, x, &good, out, 72),     call(w, nullptr, &good, out, 72),
      call(w, x, &good, nullptr, 72),       call(&none, x, &good, out, 72),
      call(w, &none, &good, out, 72),       call(&empty, &empty, &good, out, 72),
      call(w, &wide.world, &good, out, 72), call(w, &high.world, &good, out, 72),
      call(w, &deep.world, &good, out, 72), call(w, x, &good, out, 71)};
  for (VX_Err code : codes) EXPECT_EQ(code, VX_ErrBadParameter) << &code - codes;
  EXPECT_EQ(Reports().size(), std::size(codes));
  for (const Params& p : bad) {
    EXPECT_EQ(VX_CheckMotionSettings(&p), VX_ErrMotionSettings) << &p - bad.data();
    EXPECT_EQ(call(w, x, &p, out, 72), VX_ErrMotionSettings) << &p - bad.data();
  }
  EXPECT_EQ(vectors, Vectors(9 * 8 * 2, 5.0f));

  // The abort function's code, and its refcon.
  static void* seen;
  void* refcon = &vectors;
  const VX_Veltor_InterruptFuncs abort = {[](void* r) { return seen = r, VX_Err{77}; }, &refcon};
  EXPECT_EQ(VX_EstimateMotion(w, x, nullptr, &abort, 0, out, 72), 77);
  EXPECT_EQ(seen, &vectors);
  EXPECT_EQ(call(w, x, nullptr, out, 72), VX_Ok);
}

}  // namespace
