// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Refusals. The random commands compare premultiplication with its slow twin.

#include "VX/VX_Premul.h"

#include <gtest/gtest.h>

#include "unit/GuardedWorld.h"

TEST(Premul, Refusals) {
  Reports();
  GuardedWorld<VX_Pixel8> canvas(2, 2, 0, 1);
  GuardedWorld<VX_PixelFloat> unit(2, 2, 0, 1);
  const auto before = unit.bytes;
  const VX_Pixel8 flat{};
  const VX_Pixel16 deep{};
  const VX_PixelFloat color{};
  OddDepthWorld odd(&canvas.world);
  EXPECT_EQ(VX_Premul(nullptr, 1, &odd), 3);
  EXPECT_EQ(VX_PremulColor(nullptr, 1, &flat, &odd), 3);
  EXPECT_EQ(VX_PremulColor16(nullptr, 1, &deep, &odd), 3);
  EXPECT_EQ(VX_PremulColorFloat(nullptr, 1, &color, &odd), 3);
  EXPECT_EQ(VX_PremulColor(nullptr, 1, nullptr, &canvas.world), 3);
  canvas.world.data = nullptr;
  EXPECT_EQ(VX_Premul(nullptr, 1, &canvas.world), 3);
  EXPECT_EQ(Reports(), (ReportList{{0x2503E7, "Unknown world bitdepth in##CONDITIONNAME"},
                                   {0x2503E7, "Unknown world bitdepth in VX_PremulColorRect"},
                                   {0x2503E7, "Unknown world bitdepth in VX_PremulColorRect16"},
                                   {0x2503E7, "Unknown world bitdepth in VX_PremulColorRectFloat"},
                                   {0x2503E7, kBadParameterText},
                                   {0x2503E7, kBadParameterText}}));
  VX_WorldX<VX_PixelFloat> world(&unit.world, true);  // the methods refuse float worlds
  EXPECT_EQ(Thrown([&] { world.Premultiply(); }), 3);
  EXPECT_EQ(Thrown([&] { world.Unmultiply(); }), 3);
  EXPECT_EQ(Thrown([&] { world.PremulColor(deep); }), 3);
  EXPECT_EQ(Thrown([&] { world.UnmulColor(deep); }), 3);
  EXPECT_EQ(unit.bytes, before);
}
