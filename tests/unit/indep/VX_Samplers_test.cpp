// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Samplers beyond the random commands, which compare each sampler, and the operations that use the
// forms for rows, with slow twins: rounding modes, and the sampler sets.

#include <gtest/gtest.h>

#include <cfenv>
#include <cstring>
#include <utility>
#include <vector>

#include "../GuardedWorld.h"
#include "../PixelTestKit.h"
#include "VX/VX_CallbackBlock.h"
#include "VX/VX_OverrideTable.h"
#include "indep/VXp_SamplePoints.h"
#include "indep/VXp_SampleRow.h"

namespace {

template <class Pixel>
struct Form {
  VX_SampleFunc<Pixel> sample;
  VXp_SamplePointsFunc<Pixel> points;
  bool any_mode;  // the results do not depend on the rounding mode of the thread
};

// The form for many points, and the span, give the pixels of the sampler, those of integer depths
// in every rounding mode of the thread. Positions are whole, quarters or any, and a little more.
template <class Pixel>
void CheckForm(const Form<Pixel>& form, VX_SampleFunc<Pixel> sample,
               VX_SampleSpanFunc<Pixel> fill) {
  constexpr int kModes[] = {FE_TONEAREST, FE_DOWNWARD, FE_UPWARD, FE_TOWARDZERO};
  std::mt19937 random(TestSeed());
  const auto below = [&random](int32_t bound) {
    return static_cast<int32_t>(random() % static_cast<uint32_t>(bound));
  };
  for (uint32_t round = 0; round < 2000; ++round) {
    GuardedWorld<Pixel> edge(42, 9, below(7), round);
    const Pixel one = GuardedWorld<Pixel>::RandomPixel(random);
    const int32_t kind = below(4);
    edge.Paint([&] {
      Pixel p = GuardedWorld<Pixel>::RandomPixel(random);
      if (kind == 1) p.alpha = one.alpha;
      if (kind == 2 && below(4) != 0) p = one;
      return p;
    });
    VX_SampPB record{};
    record.src = &edge.world;
    const int32_t grid = std::vector{65536, 16384, 1}[round / 4 % 3];
    constexpr size_t kCount = 40;
    std::vector<VX_Fixed> x(kCount), y(kCount);
    for (VX_Fixed& at : x) at = below(41 * 65536) / grid * grid + below(8) / 7;
    for (VX_Fixed& at : y) at = below(8 * 65536) / grid * grid + below(8) / 7;
    std::vector<Pixel> want(kCount), one_by_one(kCount), all(kCount), line(kCount), span(kCount);
    const auto each = [&](std::vector<Pixel>* out) {
      for (size_t i = 0; i < kCount; ++i) form.sample(nullptr, x[i], y[i], &record, &(*out)[i]);
    };
    each(&want);
    VX_AlphaSumOf<Pixel> sum = 0;
    const VX_Fixed left = x[0] % 65536;
    for (int32_t i = 0; i < static_cast<int32_t>(kCount); ++i) {
      sample(nullptr, left + i * 65536, y[0], &record, &line[static_cast<size_t>(i)]);
    }
    const int mode = form.any_mode ? kModes[round % 4] : FE_TONEAREST;
    std::fesetround(mode);
    each(&one_by_one);
    form.points(record, x.data(), y.data(), kCount, /*ahead=*/0, all.data());
    fill(nullptr, kCount, left, y[0], &record, &sum, span.data());
    EXPECT_EQ(std::fegetround(), mode);
    std::fesetround(FE_TONEAREST);
    ASSERT_EQ(FirstDifference(want, one_by_one), -1) << "round " << round;
    ASSERT_EQ(FirstDifference(want, all), -1) << "round " << round;
    ASSERT_EQ(FirstDifference(line, span), -1) << "round " << round;
  }
}

TEST(SampleForms, PointsAndSpansInAnyRoundingMode) {
  CheckForm<VX_Pixel8>({VX_SubpixelSample_Straight, VXp_StraightPoints<VX_Pixel8>, true},
                       VX_SubpixelSample_Straight, VX_SubpixelSpanSampleTranslateNoClip_Straight);
  CheckForm<VX_Pixel8>({VX_SubpixelSampleNoClip_Straight_SSE2, VXp_SinglePoints, false},
                       VX_SubpixelSample_Straight, VX_SubpixelSpanSampleTranslateNoClip_Straight);
  CheckForm<VX_Pixel16>({VX_SubpixelSample_Straight16, VXp_StraightPoints<VX_Pixel16>, true},
                        VX_SubpixelSample_Straight16,
                        VX_SubpixelSpanSampleTranslateNoClip_Straight16);
  CheckForm<VX_PixelFloat>({VX_SubpixelCPlusPlusFloat, VXp_StraightPoints<VX_PixelFloat>, false},
                           VX_SubpixelCPlusPlusFloat, VX_SubpixelSpanSampleCPlusPlusFloat);
}

// --- the library's own forms are used only if all slots hold its own samplers --------------------

template <class Pixel>
void CheckOwnPoints(VX_Err (*get)(VX_SamplerSet<Pixel>*)) {
  VX_SamplerSet<Pixel> set;
  ASSERT_EQ(get(&set), 0);
  EXPECT_NE(VXp_OwnPoints(set), nullptr);
  void (*const other)() = [] {};
  for (size_t member = 0; member < sizeof set / sizeof other; ++member) {
    VX_SamplerSet<Pixel> replaced = set;
    std::memcpy(reinterpret_cast<char*>(&replaced) + member * sizeof other, &other, sizeof other);
    EXPECT_EQ(VXp_OwnPoints(replaced), nullptr) << "member " << member;
  }
  auto& slot = VXp_G_OverFuncs.VX_SubpixelSampleComputeWeight;
  const auto kept =
      std::exchange(slot, [](uint16_t, uint16_t, VX_SubpixelWeights*) -> VX_Err { return 0; });
  EXPECT_EQ(VXp_OwnPoints(set), nullptr);
  slot = kept;
}

TEST(SampleFormsChoice, EverySlotCounts) {
  CheckOwnPoints(VX_GetSamplerSet8);
  CheckOwnPoints(VX_GetSamplerSet16);
  VX_SamplerSet<VX_Pixel8> set;
  ASSERT_EQ(VX_GetSamplerSet8(&set), 0);
  set.unclipped = VX_SubpixelSampleNoClip_Straight;
  EXPECT_EQ(VXp_OwnPoints(set), VXp_StraightPoints<VX_Pixel8>);
  set.unclipped = VX_SubpixelSampleNoClip_Straight_SSE2;
  EXPECT_EQ(VXp_OwnPoints(set), VXp_SinglePoints);
  EXPECT_EQ(VXp_RowForm<VX_Pixel8>(VX_NNSample), nullptr);
}

// --- sets ----------------------------------------------------------------------------------------

// Batches consist of pointers only.
template <class Record>
bool SameMembers(const Record& a, const Record& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

// `want`: draft, premultiplied and straight. Only the first bit of the flags is read.
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

}  // namespace
