// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Host bitmaps seen as worlds.

#include <gtest/gtest.h>

#include "VX/VX_Copy.h"
#include "unit/GuardedWorld.h"

namespace {

BM_World* NewRecord(int16_t bits_per_pixel, void* base) {
  static BM_World record;
  record = {};
  record.base = base;
  record.rowbytes = 7 * 16 + 5;
  record.width = 7;
  record.height = 3;
  record.bits_per_pixel = bits_per_pixel;
  return &record;
}

}  // namespace

TEST(EffectWorldFromBMWorld, DescribesTheBitmap) {
  char pixels[4] = {};
  for (const int16_t bits : {int16_t{32}, int16_t{64}, int16_t{128}}) {
    BM_World* record = NewRecord(bits, pixels);
    VX_LayerDef world;
    std::memset(&world, 0xEE, sizeof world);
    ASSERT_EQ(VX_EffectWorldFromBMWorld(&record, &world), 0);
    EXPECT_EQ(VXp_WorldDepth(&world), bits / 4);
    EXPECT_EQ(world.data, pixels);
    EXPECT_EQ(world.rowbytes, 117);
    EXPECT_EQ(world.width, 7);
    EXPECT_EQ(world.height, 3);
    EXPECT_EQ(world.bm_world, &record);
    EXPECT_EQ(world.world_object, nullptr);
    EXPECT_EQ(world.effect_world_stamp, 0u);
    EXPECT_EQ(world.aux_pair[1], 0u);
    EXPECT_EQ(world.origin_y, 0);
  }
}

// A bitmap may keep its address to itself; the host knows it.
TEST(EffectWorldFromBMWorld, AsksTheHostForTheAddress) {
  BM_World** bitmap = nullptr;
  M_Rect area{};
  area.bottom = 2;
  area.right = 3;
  ASSERT_EQ(BM_NewWorld(0, 8, area, 32, 0, 0, &bitmap), 0);
  (*bitmap)->base = nullptr;
  VX_LayerDef world{};
  EXPECT_EQ(VX_EffectWorldFromBMWorld(bitmap, &world), 0);
  EXPECT_NE(world.data, nullptr);
  EXPECT_EQ(world.data, BMp_GetPixBaseAddr(bitmap));
  BM_DisposeWorld(bitmap);
}

TEST(EffectWorldFromBMWorld, RefusesWhatIsNoBitmapOfPixels) {
  Reports();
  char pixel[4] = {};
  VX_LayerDef world{};
  world.width = 12;
  BM_World* record = NewRecord(24, pixel);
  BM_World* nothing = nullptr;
  EXPECT_EQ(VX_EffectWorldFromBMWorld(&record, &world), 3);
  EXPECT_EQ(VX_EffectWorldFromBMWorld(nullptr, &world), 3);
  EXPECT_EQ(VX_EffectWorldFromBMWorld(&nothing, &world), 3);
  record = NewRecord(32, pixel);
  EXPECT_EQ(VX_EffectWorldFromBMWorld(&record, nullptr), 3);
  EXPECT_EQ(Reports(), (ReportList{{0x2503E7, "VX_Worlds can only be 128, 64 or 32 bits per pixel"},
                                   {0x250030, kBadParameterText},
                                   {0x250030, kBadParameterText},
                                   {0x250030, kBadParameterText}}));
  EXPECT_EQ(world.width, 12);
  EXPECT_EQ(world.bm_world, nullptr);
}
