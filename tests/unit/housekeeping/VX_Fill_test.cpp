// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_Fill.h"

#include <gtest/gtest.h>

#include <utility>

#include "unit/GuardedWorld.h"

// The random commands compare fills with their slow twins.
TEST(Fill, Refusals) {
  Reports();
  GuardedWorld<VX_Pixel8> canvas(3, 3, 0, 1);
  const auto untouched = canvas.bytes;
  void* const data = std::exchange(canvas.world.data, nullptr);
  const VX_Pixel8 color{};
  const M_Rect part{0, 0, 1, 1}, all{0, 0, 3, 3};
  const ReportList no_pixels{{0x25000D, kBadParameterText}};
  EXPECT_EQ(VX_Fill(nullptr, &color, nullptr, &canvas.world), 3);
  EXPECT_EQ(Reports(), no_pixels);
  EXPECT_EQ(VX_ClearAlphaExceptRect(nullptr, &part, &canvas.world), 3);
  EXPECT_EQ(Reports(), no_pixels);
  EXPECT_EQ(VX_ClearAlphaExceptRect(nullptr, &all, &canvas.world), 0);
  EXPECT_EQ(VX_Fill(nullptr, &color, nullptr, nullptr), 3);
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
