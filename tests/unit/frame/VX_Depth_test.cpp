// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <gtest/gtest.h>

#include <stdexcept>

#include "frame/VXp_Report.h"
#include "unit/GuardedWorld.h"

TEST(Depth, CodeFormatAndBack) {
  Reports();
  struct Case {
    int32_t depth;
    uint32_t flags;
    const char* format;
  };
  for (const Case& c :
       {Case{8, 0x00000000, "argb"}, Case{16, 0x01000001, "rz16"}, Case{32, 0x02000000, "rz32"}}) {
    VX_LayerDef world{};
    EXPECT_EQ(VXp_SetWorldDepth(&world, c.depth), 0);
    EXPECT_EQ(world.world_flags, c.flags);
    EXPECT_EQ(VXp_WorldDepth(&world), c.depth);
    VX_PixelFormat format = 0;
    EXPECT_EQ(VXp_GetPixelFormat(&world, &format), 0);
    EXPECT_EQ(std::memcmp(&format, c.format, 4), 0);
    int32_t depth = 0;
    EXPECT_EQ(VXp_PixelFormatToDepth(format, &depth), 0);
    EXPECT_EQ(depth, c.depth);
    BM_World bitmap{};
    bitmap.bits_per_pixel = static_cast<int16_t>(c.depth * 4);
    BM_World* master = &bitmap;
    EXPECT_EQ(VX_DepthOfBMWorld(&master), c.depth);
  }
  EXPECT_TRUE(Reports().empty());

  VX_LayerDef twice{};  // the word is never masked
  EXPECT_EQ(VXp_SetWorldDepth(&twice, 16) + VXp_SetWorldDepth(&twice, 32), 0);
  EXPECT_EQ(twice.world_flags, 0x03000001u);
}

TEST(Report, GuardTurnsExceptionsIntoCodes) {
  Reports();
  EXPECT_EQ(VXp_Guarded([] {}), 0);
  EXPECT_EQ(VXp_Guarded([] { return 517; }), 517);
  EXPECT_EQ(VXp_Guarded([] { VXp_Throw(513); }), 513);
  EXPECT_EQ(VXp_Guarded([] { throw std::bad_alloc(); }), 4);
  EXPECT_EQ(VXp_Guarded([] { throw std::runtime_error("lost"); }), 516);
  EXPECT_EQ(VXp_Guarded([] { throw "text"; }), 3);
  EXPECT_EQ(Reports().size(), 3u);
}
