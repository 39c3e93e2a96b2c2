// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_Fill.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <utility>

#include "housekeeping/VXp_ClearAlpha.h"
#include "unit/GuardedWorld.h"
#include "unit/housekeeping/Expected.h"

namespace {

VX_Err Fill(const VX_Pixel8* c, const M_Rect* r, VX_LayerDef* w) {
  return VX_Fill(nullptr, c, r, w);
}
VX_Err Fill(const VX_Pixel16* c, const M_Rect* r, VX_LayerDef* w) {
  return VX_Fill16(nullptr, c, r, w);
}
VX_Err Fill(const VX_PixelFloat* c, const M_Rect* r, VX_LayerDef* w) {
  return VX_FillFloat(nullptr, c, r, w);
}

// A float colour's alpha in an integer world: rounded down after adding a half, then modulo the
// range.
template <class To, class From>
To WantColor(const From& color) {
  To want = WantPixel<To>(color);
  if constexpr (sizeof(From) == 16 && sizeof(To) != 16) {
    const double full = kFull<To>;
    want.alpha = static_cast<VX_ChannelOf<To>>(std::llround(std::trunc(color.alpha * full + 0.5)));
  }
  return want;
}

M_Rect RandomRect(std::mt19937& random) {
  const auto edge = [&] { return static_cast<int16_t>(static_cast<int>(random() % 20) - 5); };
  M_Rect rect;
  rect.left = edge();
  rect.top = edge();
  rect.right = edge();
  rect.bottom = edge();
  return rect;
}

bool Inside(const M_Rect& r, int x, int y) {
  return x >= r.left && x < r.right && y >= r.top && y < r.bottom;
}
bool InsideTurned(const M_Rect& r, int x, int y) {
  return x >= std::min(r.left, r.right) && x < std::max(r.left, r.right) &&
         y >= std::min(r.top, r.bottom) && y < std::max(r.top, r.bottom);
}

template <class Pixel>
class FillTest : public testing::Test {
 protected:
  // Random worlds and areas; `check(canvas, world, area, random)`.
  template <class Check>
  void Rounds(Check check) {
    std::mt19937 random(7);
    for (uint32_t round = 0; round < 150; ++round) {
      SCOPED_TRACE(testing::Message() << "round " << round);
      const int32_t width = 1 + static_cast<int32_t>(random() % 12);
      const int32_t padding = round % 4 == 0 ? 0 : static_cast<int32_t>(random() % 9);
      GuardedWorld<Pixel> canvas(width, 1 + static_cast<int32_t>(random() % 12), padding, round);
      VX_WorldX<Pixel> world(&canvas.world, true);
      check(canvas, world, RandomRect(random), random);
    }
  }

  template <class Color>
  void ExportedFill() {
    Rounds([](auto& canvas, auto&, const M_Rect& area, std::mt19937& random) {
      const Color color = random() % 4 == 0 ? Color{} : GuardedWorld<Color>::RandomPixel(random);
      const bool whole = random() % 4 == 0;
      const auto expected =
          canvas.Expected([&](int x, int y) { return whole || InsideTurned(area, x, y); },
                          [&](const Pixel&) { return WantColor<Pixel>(color); });
      ASSERT_EQ(Fill(&color, whole ? nullptr : &area, &canvas.world), 0);
      ASSERT_EQ(canvas.bytes, expected);
    });
  }
};

using AllDepths = testing::Types<VX_Pixel8, VX_Pixel16, VX_PixelFloat>;
TYPED_TEST_SUITE(FillTest, AllDepths);

}  // namespace

TYPED_TEST(FillTest, ExportedFillsTurnAreasOver) {
  this->template ExportedFill<VX_Pixel8>();
  this->template ExportedFill<VX_Pixel16>();
  this->template ExportedFill<VX_PixelFloat>();
}

TYPED_TEST(FillTest, OperationsOfAWorldFindNothingInATurnedArea) {
  using Pixel = TypeParam;
  this->Rounds([](auto& canvas, auto& world, const M_Rect& area, std::mt19937& random) {
    const auto inside = [&](int x, int y) { return Inside(area, x, y); };
    const auto zero = [](const Pixel&) { return Pixel{}; };
    auto expected = canvas.Expected(inside, zero);
    world.Clear(&area);
    ASSERT_EQ(canvas.bytes, expected);

    const auto deep = GuardedWorld<VX_Pixel16>::RandomPixel(random);
    expected = canvas.Expected(inside, [&](const Pixel&) { return WantColor<Pixel>(deep); });
    world.Fill(deep, &area);
    ASSERT_EQ(canvas.bytes, expected);

    const auto unit = GuardedWorld<VX_PixelFloat>::RandomPixel(random);
    expected = canvas.Expected(inside, [&](const Pixel&) { return WantColor<Pixel>(unit); });
    world.Fill(unit, &area);
    ASSERT_EQ(canvas.bytes, expected);

    // An area with nothing of the world in it keeps nothing, here and in the alpha form below.
    bool empty = true;
    for (int y = 0; y < world.height; ++y) {
      for (int x = 0; x < world.width; ++x) empty = empty && !inside(x, y);
    }
    const auto outside = [&](int x, int y) { return empty || !inside(x, y); };
    const auto alpha_zero = [](Pixel p) {
      p.alpha = 0;
      return p;
    };
    expected = canvas.Expected(outside, alpha_zero);
    ASSERT_EQ(VX_ClearAlphaExceptRect(nullptr, &area, &canvas.world), 0);
    ASSERT_EQ(canvas.bytes, expected);
    expected = canvas.Expected(outside, zero);
    world.ClearExceptRect(area);
    ASSERT_EQ(canvas.bytes, expected);

    const auto everywhere = [](int, int) { return true; };
    ASSERT_EQ(VX_ClearAlphaExceptRect(nullptr, nullptr, &canvas.world), 0);
    ASSERT_EQ(canvas.bytes, expected);
    expected = canvas.Expected(everywhere, [](Pixel p) {
      p.alpha = static_cast<VX_ChannelOf<Pixel>>(kFull<Pixel> - p.alpha);
      return p;
    });
    world.InvertAlpha();
    ASSERT_EQ(canvas.bytes, expected);
    expected = canvas.Expected(everywhere, alpha_zero);
    ASSERT_EQ(VXp_ClearAlphaExceptRect(&canvas.world, nullptr), 0);
    ASSERT_EQ(canvas.bytes, expected);
    expected = canvas.Expected(everywhere, [](Pixel p) {
      p.alpha = kFull<Pixel>;
      return p;
    });
    world.FillAlpha();
    ASSERT_EQ(canvas.bytes, expected);
  });
}

// Rows longer than what is written at a time, beginning anywhere within a pixel and a cache line.
TYPED_TEST(FillTest, LongRowsAtAnyAddress) {
  std::mt19937 random(11);
  for (int32_t padding = 0; padding < 17; ++padding) {
    GuardedWorld<TypeParam> canvas(300, 3, padding, 5);
    const TypeParam color = GuardedWorld<TypeParam>::RandomPixel(random);
    M_Rect area{0, static_cast<int16_t>(padding), 3, 297};
    const auto expected = canvas.Expected([&](int x, int y) { return Inside(area, x, y); },
                                          [&](const TypeParam&) { return color; });
    ASSERT_EQ(Fill(&color, &area, &canvas.world), 0);
    ASSERT_TRUE(canvas.bytes == expected) << padding;
  }
}

TYPED_TEST(FillTest, Refusals) {
  using Pixel = TypeParam;
  Reports();
  GuardedWorld<Pixel> canvas(3, 3, 0, 1);
  const auto untouched = canvas.bytes;
  void* const data = std::exchange(canvas.world.data, nullptr);
  const VX_Pixel8 color{};
  const M_Rect part{0, 0, 1, 1}, all{0, 0, 3, 3};
  const ReportList no_pixels{{0x25000D, kBadParameterText}};
  EXPECT_EQ(Fill(&color, nullptr, &canvas.world), 3);
  EXPECT_EQ(Reports(), no_pixels);
  EXPECT_EQ(VX_ClearAlphaExceptRect(nullptr, &part, &canvas.world), 3);
  EXPECT_EQ(Reports(), no_pixels);
  EXPECT_EQ(VX_ClearAlphaExceptRect(nullptr, &all, &canvas.world), 0);
  EXPECT_EQ(Fill(&color, nullptr, nullptr), 3);
  EXPECT_EQ(Reports(), no_pixels);

  OddDepthWorld odd(&canvas.world);  // without pixels, too: the depth comes first
  EXPECT_EQ(VX_Fill(nullptr, nullptr, nullptr, &odd), 3);
  EXPECT_EQ(VX_Fill16(nullptr, nullptr, nullptr, &odd), 3);
  EXPECT_EQ(VX_FillFloat(nullptr, nullptr, nullptr, &odd), 3);
  EXPECT_EQ(VX_ClearAlphaExceptRect(nullptr, nullptr, &odd), 3);
  EXPECT_EQ(Reports(), (ReportList{{0x2503E7, "Unknown world bitdepth in VX_Fill"},
                                   {0x2503E7, "Unknown world bitdepth in VX_Fill16"},
                                   {0x2503E7, "Unknown world bitdepth in VX_FillFloat"},
                                   {0x2503E7, "Unknown world bitdepth in##CONDITIONNAME"}}));
  canvas.world.data = data;
  EXPECT_EQ(canvas.bytes, untouched);
}

TEST(FillValues, ColoursSaturateAndAlphaWraps) {
  struct Case {
    float alpha, red;
    VX_Pixel8 want8;
    VX_Pixel16 want16;
  };
  const float inf = std::numeric_limits<float>::infinity();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (const Case& c : {Case{2.0f, 2.0f, {254, 255, 0, 0}, {0, 32768, 0, 0}},
                        Case{1.5f, -1.0f, {127, 0, 0, 0}, {49152, 0, 0, 0}},
                        Case{-1.0f, 0.7f, {2, 178, 0, 0}, {32769, 22938, 0, 0}},
                        Case{nan, nan, {0, 0, 0, 0}, {0, 0, 0, 0}},
                        Case{inf, inf, {0, 255, 0, 0}, {0, 32768, 0, 0}},
                        Case{-inf, -inf, {0, 0, 0, 0}, {0, 0, 0, 0}},
                        Case{1e30f, 1e30f, {0, 255, 0, 0}, {0, 32768, 0, 0}}}) {
    SCOPED_TRACE(testing::Message() << c.alpha << " " << c.red);
    const VX_PixelFloat color{c.alpha, c.red, 0, 0};
    GuardedWorld<VX_Pixel8> flat(1, 1, 0, 1);
    GuardedWorld<VX_Pixel16> deep(1, 1, 0, 1);
    Fill(&color, nullptr, &flat.world);
    Fill(&color, nullptr, &deep.world);
    const VX_Pixel8 got8 = flat.Get(0, 0);
    const VX_Pixel16 got16 = deep.Get(0, 0);
    EXPECT_EQ(got8.alpha, c.want8.alpha);
    EXPECT_EQ(got8.red, c.want8.red);
    EXPECT_EQ(got16.alpha, c.want16.alpha);
    EXPECT_EQ(got16.red, c.want16.red);
  }
  // Negative zero counts as zero, and a zero fill clears.
  GuardedWorld<VX_PixelFloat> unit(1, 1, 0, 1);
  const VX_PixelFloat negative{-0.0f, 0.0f, -0.0f, 0.0f};
  Fill(&negative, nullptr, &unit.world);
  EXPECT_FALSE(std::signbit(unit.Get(0, 0).alpha));
}
