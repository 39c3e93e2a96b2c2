// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Boxes over values that are not numbers, and the sets of samplers.

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <utility>

#include "../EdgeWorld.h"
#include "../PixelTestKit.h"
#include "VX/VX_CallbackBlock.h"

// A value outside the box does not change the average; a value inside does.
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
  source.Set(2, 0, {1, 1, 1, 1});  // alphas with the sum 0
  VX_AreaSample_CPlusPlus<VX_PixelFloat>(nullptr, 163840, 0, &record, &p);
  EXPECT_TRUE(SamePixel(p, VX_PixelFloat{})) << Text(p);
}

// --- sets ----------------------------------------------------------------------------------------

// Sets and batches hold pointers only.
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
