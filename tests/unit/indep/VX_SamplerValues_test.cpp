// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Samples worked out by hand, and the sets of samplers.

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <utility>

#include "../EdgeWorld.h"
#include "../PixelTestKit.h"
#include "VX/VX_CallbackBlock.h"

TEST(SamplerValues, RulesDiffer) {
  struct Case {
    const char* what;
    VX_Pixel8 left, right;
    VX_Fixed x;
    VX_Pixel8 straight, portable, single, four, premultiplied;
  };
  const Case cases[] = {{"red beside nothing keeps its colour",
                         {255, 255, 0, 0},
                         {0, 0, 255, 0},
                         32768,
                         {128, 255, 0, 0},
                         {128, 255, 0, 0},
                         {128, 255, 0, 0},
                         {128, 255, 0, 0},
                         {128, 128, 128, 0}},
                        {"colours of transparent pixels",
                         {0, 10, 20, 30},
                         {0, 20, 40, 61},
                         32768,
                         {0, 0, 0, 0},
                         {0, 15, 30, 46},
                         {0, 15, 30, 46},
                         {0, 0, 0, 0},
                         {0, 15, 30, 46}},
                        {"halves",
                         {255, 0, 2, 1},
                         {255, 1, 3, 2},
                         32768,
                         {255, 0, 2, 2},
                         {255, 1, 3, 2},
                         {255, 1, 3, 2},
                         {255, 1, 3, 2},
                         {255, 1, 3, 2}},
                        {"alpha of 0.4",
                         {0, 9, 9, 9},
                         {1, 7, 8, 9},
                         26214,
                         {0, 0, 0, 0},
                         {0, 7, 8, 9},
                         {0, 0, 0, 0},
                         {0, 7, 8, 9},
                         {0, 8, 9, 9}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EdgeWorld<VX_Pixel8> source(2, 2, 1, true, 1);
    for (int y : {0, 1}) {
      source.Set(0, y, c.left);
      source.Set(1, y, c.right);
    }
    VX_SampPB record = {};
    record.src = &source.world;
    const std::pair<VX_SampleFunc<VX_Pixel8>, VX_Pixel8> forms[] = {
        {VX_SubpixelSample_Straight, c.straight},
        {VX_SubpixelSampleNoClip_Straight, c.straight},
        {VX_SubpixelCPlusPlus, c.portable},
        {VX_SubpixelCPlusPlusNoClip, c.portable},
        {VX_SubpixelSampleNoClip_Straight_SSE2, c.single},
        {VX_SubpixelSample_Premul, c.premultiplied}};
    for (const auto& [routine, want] : forms) {
      VX_Pixel8 p;
      routine(nullptr, c.x, 0, &record, &p);
      EXPECT_TRUE(SamePixel(p, want)) << Text(p) << ", not " << Text(want);
    }
    VX_Pixel8 four[4];
    const VX_Fixed positions[8] = {c.x, 0, c.x, 0, c.x, 1, c.x, 32768};
    VX_SubpixelSampleNoClip_Straight_4(nullptr, positions, &record, four);
    for (const VX_Pixel8& p : four) EXPECT_TRUE(SamePixel(p, c.four)) << Text(p);
  }
}

TEST(SamplerValues, Edges) {
  EdgeWorld<VX_Pixel8> source(20, 20, 3, true, 1);
  source.Paint([] { return VX_Pixel8{255, 255, 255, 255}; });
  VX_SampPB record = {};
  record.src = &source.world;
  record.x_radius = record.y_radius = 32768;
  const auto alpha = [&](VX_SampleFunc<VX_Pixel8> routine, VX_Fixed x, VX_Fixed y) {
    VX_Pixel8 p;
    routine(nullptr, x, y, &record, &p);
    return int{p.alpha};
  };
  EXPECT_EQ(alpha(VX_NNSample, -32768, 0), 255);
  EXPECT_EQ(alpha(VX_NNSample, -32769, 0), 0);
  EXPECT_EQ(alpha(VX_NNSample, 19 * 65536 + 32767, 0), 255);
  EXPECT_EQ(alpha(VX_NNSample, 19 * 65536 + 32768, 0), 0);
  EXPECT_EQ(alpha(VX_SubpixelSample_Premul, -32768, 0), 128);
  EXPECT_EQ(alpha(VX_SubpixelSample_Straight, 19 * 65536 + 16384, 0), 191);  // 191.25
  EXPECT_EQ(alpha(VX_SubpixelSample_Straight, 19 * 65536, 19 * 65536), 255);
  EXPECT_EQ(alpha(VX_AreaSample_Straight, -32768, -32768), 64);  // a quarter is covered
  record.x_radius = 20 * 65536;
  EXPECT_EQ(alpha(VX_AreaSample_Straight, 0, 0), 128);  // 20 of 40 columns: 127.5

  VX_Pixel8 p;
  uint8_t all_in = 7;
  VX_SubpixelSamplePlus_Straight(nullptr, 10 * 65536, 10 * 65536, &record, &all_in, &p);
  EXPECT_EQ(all_in, 0);
  VX_SubpixelSamplePlus_Straight(nullptr, 10 * 65536 + 32768, 10 * 65536, &record, &all_in, &p);
  EXPECT_EQ(all_in, 1);
  EdgeWorld<VX_PixelFloat> unit(20, 20, 0, true, 1);
  record.src = &unit.world;
  VX_PixelFloat f;
  VX_SubpixelSpanSampleAllInCPlusPlusFloat(nullptr, 10 * 65536, 10 * 65536, &record, &all_in, &f);
  EXPECT_EQ(all_in, 1);
}

// An alpha sum of 0.4 is nothing at 16 bits; float keeps it.
TEST(SamplerValues, KeepsTinyAlphas) {
  EdgeWorld<VX_Pixel16> deep(2, 1, 1, true, 1);
  EdgeWorld<VX_PixelFloat> unit(2, 1, 1, true, 1);
  deep.Set(0, 0, {0, 9, 9, 9});
  deep.Set(1, 0, {1, 7, 8, 9});
  unit.Set(0, 0, {0, 9, 9, 9});
  unit.Set(1, 0, {0x1p-20f, 7, 8, 16});
  VX_SampPB record = {};
  VX_Pixel16 p;
  VX_PixelFloat f;
  record.src = &deep.world;
  VX_SubpixelSample_Straight16(nullptr, 26214, 0, &record, &p);
  EXPECT_TRUE(SamePixel(p, VX_Pixel16{})) << Text(p);
  record.src = &unit.world;
  VX_SubpixelCPlusPlusFloat(nullptr, 16384, 0, &record, &f);
  EXPECT_TRUE(SamePixel(f, VX_PixelFloat{0x1p-22f, 7, 8, 16})) << Text(f);
}

// What stands under a box but does not count must not spoil it, and what counts must.
TEST(SamplerValues, BoxOfWhatIsNoNumber) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EdgeWorld<VX_PixelFloat> source(4, 1, 0, true, 1);
  source.Set(0, 0, {1, 0.25f, 0.5f, 2});
  source.Set(1, 0, {1, 0.75f, -0.5f, 4});
  source.Set(2, 0, {nan, nan, 1, 1});
  source.Set(3, 0, {-1, 1, 1, 1});
  VX_SampPB record = {};
  record.src = &source.world;
  record.x_radius = 65536;
  VX_PixelFloat p;
  VX_AreaSample_CPlusPlus<VX_PixelFloat>(nullptr, 32768, 0, &record, &p);
  EXPECT_TRUE(SamePixel(p, VX_PixelFloat{1, 0.5f, 0, 3})) << Text(p);
  VX_AreaSample_CPlusPlus<VX_PixelFloat>(nullptr, 98304, 0, &record, &p);
  EXPECT_TRUE(SamePixel(p, VX_PixelFloat{nan, nan, nan, nan})) << Text(p);
  VX_AreaSample_PremulFloat(nullptr, 98304, 0, &record, &p);
  EXPECT_TRUE(SamePixel(p, VX_PixelFloat{nan, nan, 0.25f, 2.5f})) << Text(p);
  source.Set(2, 0, {1, 1, 1, 1});  // alphas that sum to nothing
  VX_AreaSample_CPlusPlus<VX_PixelFloat>(nullptr, 163840, 0, &record, &p);
  EXPECT_TRUE(SamePixel(p, VX_PixelFloat{})) << Text(p);
}

// --- sets ----------------------------------------------------------------------------------------

// Sets and batches are pointers and nothing else.
template <class Record>
bool SameMembers(const Record& a, const Record& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

TEST(SamplerSets, ReadTheTableAtTheMomentOfUse) {
  auto& table = VXp_G_OverFuncs;
  VX_SamplerSet<VX_Pixel8> set8;
  VX_SamplerSet<VX_Pixel16> set16;
  VX_SamplerSet<VX_PixelFloat> unit;
  const auto kept = std::exchange(table.VX_SubpixelSample_Straight, VX_NNSample);
  EXPECT_EQ(VX_GetSamplerSet8(&set8), 0);
  table.VX_SubpixelSample_Straight = kept;
  EXPECT_EQ(VX_GetSamplerSet16(&set16), 0);
  EXPECT_EQ(VX_GetSamplerSetFloat(&unit), 0);
  EXPECT_TRUE(SameMembers(
      set8, {VX_SubpixelSamplePlus_Straight, VX_NNSample, VX_AreaSample_Straight,
             table.VX_SubpixelSampleNoClip_Straight, VX_SubpixelSampleTranslateNoClip_Straight,
             VX_SubpixelSpanSampleTranslateNoClip_Straight}));
  EXPECT_TRUE(SameMembers(set16, {VX_SubpixelSamplePlus_Straight16, VX_SubpixelSample_Straight16,
                                  VX_AreaSample_Straight16, VX_SubpixelSampleNoClip_Straight16,
                                  VX_SubpixelSampleTranslateNoClip_Straight16,
                                  VX_SubpixelSpanSampleTranslateNoClip_Straight16}));
  EXPECT_TRUE(SameMembers(
      unit, {VX_SubpixelSpanSampleAllInCPlusPlusFloat, VX_SubpixelCPlusPlusFloat,
             VX_AreaSample_CPlusPlus<VX_PixelFloat>, VX_SubpixelCPlusPlusNoClipFloat,
             VX_SubpixelSampleTranslateNoClipCPlusPlusFloat, VX_SubpixelSpanSampleCPlusPlusFloat}));
  EXPECT_EQ(VX_GetSamplerSet8(nullptr), 3);
  EXPECT_EQ(VX_GetSamplerSet16(nullptr), 3);
  EXPECT_EQ(VX_GetSamplerSetFloat(nullptr), 3);
}

// Draft, premultiplied, straight, in this order; bits of the flags other than the first are not
// read.
template <class Pixel>
void CheckBatches(VX_Err (*get)(int32_t, int32_t, VX_SamplerBatch<Pixel>*),
                  const VX_SamplerBatch<Pixel> (&want)[3]) {
  for (int32_t flags : {0, 1, 2, 3}) {
    VX_SamplerBatch<Pixel> draft, high;
    EXPECT_EQ(get(VX_Quality_Draft, flags, &draft), 0);
    EXPECT_EQ(get(VX_Quality_High, flags, &high), 0);
    EXPECT_TRUE(SameMembers(draft, want[0])) << "flags " << flags;
    EXPECT_TRUE(SameMembers(high, want[1 + flags % 2])) << "flags " << flags;
  }
  EXPECT_EQ(get(VX_Quality_High, 1, nullptr), 3);
}

TEST(SamplerSets, BatchesByQualityAndAlpha) {
  CheckBatches<VX_Pixel8>(VX_GetSamplerBatch8,
                          {{VX_NNSample, VX_NNSample, VX_NNSample},
                           {VX_NNSample, VX_SubpixelSample_Premul, VX_AreaSample_Premul},
                           {VX_NNSample, VX_SubpixelSample_Straight, VX_AreaSample_Straight}});
  CheckBatches<VX_Pixel16>(
      VX_GetSamplerBatch16,
      {{VX_NNSample16, VX_NNSample16, VX_NNSample16},
       {VX_NNSample16, VX_SubpixelSample_Premul16, VX_AreaSample_Premul16},
       {VX_NNSample16, VX_SubpixelSample_Straight16, VX_AreaSample_Straight16}});
  CheckBatches<VX_PixelFloat>(
      VX_GetSamplerBatchFloat,
      {{VX_NNSampleFloat, VX_NNSampleFloat, VX_NNSampleFloat},
       {VX_NNSampleFloat, VX_SubpixelSample_PremulFloat, VX_AreaSample_PremulFloat},
       {VX_NNSampleFloat, VX_SubpixelCPlusPlusFloat, VX_AreaSample_CPlusPlus<VX_PixelFloat>}});
}
