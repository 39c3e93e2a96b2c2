// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_Fill.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>

#include "unit/GuardedWorld.h"

namespace {

VX_Err Fill(const VX_Pixel8* c, const M_Rect* r, VX_LayerDef* w) {
  return VX_Fill(nullptr, c, r, w);
}
VX_Err Fill(const VX_PixelFloat* c, const M_Rect* r, VX_LayerDef* w) {
  return VX_FillFloat(nullptr, c, r, w);
}

}  // namespace

TEST(Fill, Refusals) {
  Reports();
  GuardedWorld<VX_Pixel8> canvas(3, 3, 0, 1);
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
