// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_Premul.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "reference/RefCopy.h"
#include "unit/GuardedWorld.h"
#include "unit/PixelTestKit.h"

namespace {

// The formulas in exact or long arithmetic; `matte` null is black.
template <class Pixel>
double WantForward(double c, double a, const double* m) {
  if (sizeof(Pixel) == 16) {
    const float product = static_cast<float>(c) * static_cast<float>(a);
    if (m == nullptr) return product;
    return product + static_cast<float>(*m) * (1.0f - static_cast<float>(a));
  }
  const auto mul = [](double x, double y) {
    return sizeof(Pixel) == 4 ? std::floor(x * y / 255.0 + 0.5)
                              : std::floor((x * y + 16383) / 32768);
  };
  return mul(c, a) + (m != nullptr ? mul(*m, kFull<Pixel> - a) : 0);
}

template <class Pixel>
double WantInverse(double c, double a, const double* m) {
  if (a == 0) return 0;
  if (sizeof(Pixel) == 16) {
    if (m != nullptr) {
      const auto mf = static_cast<float>(*m);
      return mf + (static_cast<float>(c) - mf) / static_cast<float>(a);
    }
    return a < 1.17549435e-38 ? 1.0f : static_cast<float>(c) / static_cast<float>(a);
  }
  const auto full = static_cast<int64_t>(kFull<Pixel>);
  const auto alpha = static_cast<int64_t>(a), matte = m != nullptr ? static_cast<int64_t>(*m) : 0;
  const int64_t scaled = (static_cast<int64_t>(c) - matte) * full;
  const int64_t quotient = (std::abs(scaled) + alpha / 2) / alpha;  // nearest, halves away from 0
  return static_cast<double>(
      std::clamp<int64_t>(matte + (scaled < 0 ? -quotient : quotient), 0, full));
}

template <class Color>
VX_Err Apply(int32_t forward, const Color* color, const M_Rect* area, VX_LayerDef* world) {
  if (color == nullptr) return VX_PremulRect(nullptr, forward, area, world);
  if constexpr (sizeof(Color) == 4) return VX_PremulColorRect(nullptr, forward, color, area, world);
  if constexpr (sizeof(Color) == 8)
    return VX_PremulColorRect16(nullptr, forward, color, area, world);
  if constexpr (sizeof(Color) == 16) {
    return VX_PremulColorRectFloat(nullptr, forward, color, area, world);
  }
}

template <class Pixel>
class PremulTest : public testing::Test {
 protected:
  template <class Color>
  void Rounds() {
    std::mt19937 random(11);
    for (uint32_t round = 0; round < 200; ++round) {
      SCOPED_TRACE(testing::Message() << "round " << round);
      GuardedWorld<Pixel> canvas(9, 7, static_cast<int32_t>(round % 6), round);
      const Color color = GuardedWorld<Color>::RandomPixel(random);
      const Pixel matte = vxref::Converted<Pixel>(color);
      const bool black = round % 3 == 0;
      const bool forward = round % 2 == 0;
      const M_Rect area{6, 8, 1, 2};  // upside down: rows 1 to 5, columns 2 to 7
      const auto change = [&](Pixel p) {
        const double alpha = p.alpha;
        const auto one = [&](auto channel, double m) {
          const double* const used = black ? nullptr : &m;
          const double want = forward ? WantForward<Pixel>(channel, alpha, used)
                                      : WantInverse<Pixel>(channel, alpha, used);
          return static_cast<VX_ChannelOf<Pixel>>(want);
        };
        return Pixel{p.alpha, one(p.red, matte.red), one(p.green, matte.green),
                     one(p.blue, matte.blue)};
      };
      const auto expected =
          canvas.Expected([](int x, int y) { return x >= 2 && x < 8 && y >= 1 && y < 6; }, change);
      ASSERT_EQ(Apply(forward, black ? nullptr : &color, &area, &canvas.world), 0);
      ASSERT_EQ(canvas.bytes, expected);
    }
  }
};

TYPED_TEST_SUITE(PremulTest, PixelTypes);

}  // namespace

TYPED_TEST(PremulTest, FormulasWithEveryColour) {
  this->template Rounds<VX_Pixel8>();
  this->template Rounds<VX_Pixel16>();
  this->template Rounds<VX_PixelFloat>();
}

TYPED_TEST(PremulTest, OperationsOfAWorld) {
  using Pixel = TypeParam;
  GuardedWorld<Pixel> called(5, 4, 3, 21), asked(5, 4, 3, 21);
  VX_WorldX<Pixel> world(&called.world, true);
  const VX_Pixel16 color{32768, 30000, 100, 16384};
  const VX_Pixel8 narrow = vxref::Converted<VX_Pixel8>(color);
  const bool none = sizeof(Pixel) == 16;  // float worlds refuse
  const auto expect = [&](int32_t thrown, VX_Err code) {
    EXPECT_EQ(thrown, none ? 3 : 0);
    EXPECT_EQ(code, 0);
    EXPECT_EQ(called.bytes == asked.bytes, !none);
  };
  const auto with_color = [&](int32_t forward) {
    return sizeof(Pixel) == 4 ? VX_PremulColor(nullptr, forward, &narrow, &asked.world)
                              : VX_PremulColor16(nullptr, forward, &color, &asked.world);
  };
  const auto untouched = called.bytes;
  expect(Thrown([&] { world.PremulColor(color); }), with_color(1));
  expect(Thrown([&] { world.UnmulColor(color); }), with_color(0));
  expect(Thrown([&] { world.Premultiply(); }), VX_Premul(nullptr, 1, &asked.world));
  expect(Thrown([&] { world.Unmultiply(); }), VX_Premul(nullptr, 0, &asked.world));
  EXPECT_EQ(called.bytes == untouched, none);
}

TEST(PremulValues, Refusals) {
  Reports();
  GuardedWorld<VX_Pixel8> canvas(2, 2, 0, 1);
  const VX_Pixel8 flat{};
  const VX_Pixel16 deep{};
  const VX_PixelFloat unit{};
  OddDepthWorld odd(&canvas.world);
  EXPECT_EQ(VX_Premul(nullptr, 1, &odd), 3);
  EXPECT_EQ(VX_PremulColor(nullptr, 1, &flat, &odd), 3);
  EXPECT_EQ(VX_PremulColor16(nullptr, 1, &deep, &odd), 3);
  EXPECT_EQ(VX_PremulColorFloat(nullptr, 1, &unit, &odd), 3);
  EXPECT_EQ(VX_PremulColor(nullptr, 1, nullptr, &canvas.world), 3);
  canvas.world.data = nullptr;
  EXPECT_EQ(VX_Premul(nullptr, 1, &canvas.world), 3);
  EXPECT_EQ(Reports(), (ReportList{{0x2503E7, "Unknown world bitdepth in##CONDITIONNAME"},
                                   {0x2503E7, "Unknown world bitdepth in VX_PremulColorRect"},
                                   {0x2503E7, "Unknown world bitdepth in VX_PremulColorRect16"},
                                   {0x2503E7, "Unknown world bitdepth in VX_PremulColorRectFloat"},
                                   {0x2503E7, kBadParameterText},
                                   {0x2503E7, kBadParameterText}}));
}
