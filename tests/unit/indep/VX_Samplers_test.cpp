// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Samplers beyond the random commands, which compare each sampler with its slow twin: boxes over
// NaN, rounding modes, long spans, the forms for many points and for rows, and the sampler sets.

#include <gtest/gtest.h>

#include <cfenv>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

#include "../EdgeWorld.h"
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
template <class Pixel>
struct Samplers;
template <>
struct Samplers<VX_Pixel8> {
  using P = VX_Pixel8;
  static constexpr Form<P> forms[] = {
      {VX_SubpixelSample_Straight, VXp_StraightPoints<P>, true},
      {VX_SubpixelSampleNoClip_Straight_SSE2, VXp_SinglePoints, false}};
  static constexpr VX_SampleFunc<P> rows[] = {VX_SubpixelSample_Straight, VX_SubpixelSample_Premul,
                                              VX_AreaSample_Straight, VX_AreaSample_Premul};
  static constexpr auto span = VX_SubpixelSpanSampleTranslateNoClip_Straight;
};
template <>
struct Samplers<VX_Pixel16> {
  using P = VX_Pixel16;
  static constexpr Form<P> forms[] = {{VX_SubpixelSample_Straight16, VXp_StraightPoints<P>, true}};
  static constexpr VX_SampleFunc<P> rows[] = {VX_SubpixelSample_Straight16,
                                              VX_SubpixelSample_Premul16, VX_AreaSample_Straight16,
                                              VX_AreaSample_Premul16};
  static constexpr auto span = VX_SubpixelSpanSampleTranslateNoClip_Straight16;
};
template <>
struct Samplers<VX_PixelFloat> {
  using P = VX_PixelFloat;
  static constexpr Form<P> forms[] = {{VX_SubpixelCPlusPlusFloat, VXp_StraightPoints<P>, false}};
  static constexpr VX_SampleFunc<P> rows[] = {
      VX_SubpixelCPlusPlusFloat, VX_SubpixelSample_PremulFloat, VX_AreaSample_CPlusPlus<P>,
      VX_AreaSample_PremulFloat};
  static constexpr auto span = VX_SubpixelSpanSampleCPlusPlusFloat;
};

// A world that ends at the end of accessible memory. Its pixels are random, have one alpha or
// alpha 0, are mostly equal, or (integers) have random bits.
template <class Pixel>
struct Scene {
  std::mt19937 random;
  EdgeWorld<Pixel> edge;
  VX_SampPB record{};

  Scene(uint32_t round, int32_t smallest)
      : random(TestSeed() + round),
        edge(Below(12) + smallest, Below(12) + smallest, Below(7), round % 2 == 0, round) {
    const int32_t kind = Below(sizeof(Pixel) == 16 ? 4 : 5);
    const Pixel one = GuardedWorld<Pixel>::RandomPixel(random);
    edge.Paint([&] {
      Pixel p = GuardedWorld<Pixel>::RandomPixel(random);
      if (kind == 1) p.alpha = one.alpha;
      if (kind == 2) p.alpha = 0;
      if (kind == 3 && Below(4) != 0) p = one;
      if (kind == 4) {
        for (size_t i = 0; i < sizeof p; ++i) {
          reinterpret_cast<uint8_t*>(&p)[i] = static_cast<uint8_t>(random());
        }
      }
      return p;
    });
    record.src = &edge.world;
  }
  int32_t Below(int32_t bound) {
    return static_cast<int32_t>(random() % static_cast<uint32_t>(bound));
  }
};

// Calls work() in the rounding mode of a round, then returns to the default mode.
template <class Work>
void InModeOf(uint32_t round, Work work) {
  constexpr int kModes[] = {FE_TONEAREST, FE_DOWNWARD, FE_UPWARD, FE_TOWARDZERO};
  std::fesetround(kModes[round % 4]);
  work();
  EXPECT_EQ(std::fegetround(), kModes[round % 4]);
  std::fesetround(FE_TONEAREST);
}

template <class Pixel>
class SampleForms : public testing::Test {};
TYPED_TEST_SUITE(SampleForms, PixelTypes, DepthNames);

}  // namespace

// In every rounding mode. Positions are whole, close to whole, quarters, or any.
TYPED_TEST(SampleForms, Points) {
  using Pixel = TypeParam;
  for (uint32_t round = 0; round < 4000; ++round) {
    Scene<Pixel> scene(round, 2);
    const uint32_t kind = round / 4 % 8;
    const int32_t grid = kind < 2 ? 65536 : kind == 2 ? 16384 : 1;
    const auto position = [&](int32_t size) {
      const VX_Fixed at = scene.Below((size - 1) * 65536) / grid * grid;
      if (kind != 1) return at;
      return at + (scene.Below(2) != 0 ? scene.Below(8) : 65535 - scene.Below(8));
    };
    const auto count = static_cast<size_t>(1 + scene.Below(40));
    std::vector<VX_Fixed> x(count), y(count);
    for (VX_Fixed& at : x) at = position(scene.edge.world.width);
    for (VX_Fixed& at : y) at = position(scene.edge.world.height);
    for (const auto& form : Samplers<Pixel>::forms) {
      std::vector<Pixel> want(count), one(count), all(count);
      const auto each = [&](std::vector<Pixel>* out) {
        for (size_t i = 0; i < count; ++i)
          form.sample(nullptr, x[i], y[i], &scene.record, out->data() + i);
      };
      each(&want);
      InModeOf(round, [&] {
        each(&one);
        form.points(scene.record, x.data(), y.data(), static_cast<int32_t>(count), all.data());
      });
      ASSERT_EQ(FirstDifference(form.any_mode ? want : one, one), -1) << "round " << round;
      ASSERT_EQ(FirstDifference(one, all), -1) << "round " << round;
    }
  }
}

// A span of more pixels than one tile: the pixels of the sampler, and the sum of their alphas.
TYPED_TEST(SampleForms, LongSpans) {
  using Pixel = TypeParam;
  for (uint32_t round = 0; round < 60; ++round) {
    EdgeWorld<Pixel> edge(700, 2, 0, true, round);
    std::mt19937 random(round);
    const Pixel one = GuardedWorld<Pixel>::RandomPixel(random);
    int32_t left = 290;  // pixels of one alpha
    edge.Paint([&] {
      Pixel p = GuardedWorld<Pixel>::RandomPixel(random);
      if (left-- > 0 || round % 2 == 0) p.alpha = one.alpha;
      return p;
    });
    VX_SampPB record{};
    record.src = &edge.world;
    const auto x = static_cast<VX_Fixed>(random() % 65536);
    const auto y = static_cast<VX_Fixed>(random() % 65536);
    std::vector<Pixel> want(699), got(699);
    VX_AlphaSumOf<Pixel> want_sum = 77, got_sum = 77;
    for (int32_t i = 0; i < 699; ++i) {
      Pixel* const out = &want[static_cast<size_t>(i)];
      Samplers<Pixel>::forms[0].sample(nullptr, x + i * 65536, y, &record, out);
      want_sum += out->alpha;
    }
    const bool any_mode = Samplers<Pixel>::forms[0].any_mode;
    InModeOf(any_mode ? round : 0,
             [&] { Samplers<Pixel>::span(nullptr, 699, x, y, &record, &got_sum, got.data()); });
    ASSERT_EQ(FirstDifference(want, got), -1) << "round " << round;
    EXPECT_EQ(want_sum, got_sum) << "round " << round;
  }
}

// Positions ascend: outside, at the border, whole, repeated, or with the steps of a reduction to
// one half.
TYPED_TEST(SampleForms, Rows) {
  using Pixel = TypeParam;
  for (uint32_t round = 0; round < 4000; ++round) {
    Scene<Pixel> scene(round, 1);
    const auto position = [&] {
      return (scene.Below(14) - 2) * 65536 + (scene.Below(3) == 0 ? 0 : scene.Below(65536));
    };
    const auto radius = [&] {
      return scene.Below(8) == 0 ? scene.Below(60 * 65536) : 20000 + scene.Below(200000);
    };
    const bool halves = scene.Below(3) == 0;
    scene.record.x_radius = halves ? 65536 : radius();
    scene.record.y_radius = halves ? 65536 : radius();
    const VX_Fixed y = halves ? scene.Below(14) * 65536 - 32768 : position();
    VX_Fixed at = halves ? -65536 * scene.Below(3) - 32768 : position() - 65536;
    std::vector<VX_Fixed> x;
    const int32_t count = round % 50 == 0 ? 600 : 30;  // more than one tile
    for (int32_t i = 0; i < count; ++i) {
      x.push_back(at);
      at += halves ? 131072 : scene.Below(4) == 0 ? 0 : scene.Below(count == 30 ? 100000 : 3000);
      if (!halves && scene.Below(6) == 0) at = (at + 65535) & ~65535;
    }
    for (const auto sample : Samplers<Pixel>::rows) {
      std::vector<Pixel> want(x.size()), got(x.size());
      InModeOf(round, [&] {
        for (size_t i = 0; i < x.size(); ++i) sample(nullptr, x[i], y, &scene.record, &want[i]);
        VXp_RowForm<Pixel>(sample)(scene.record, x.data(), count, y,
                                   reinterpret_cast<char*>(got.data()));
      });
      const int differs = FirstDifference(want, got);
      ASSERT_EQ(differs, -1) << "round " << round << " at " << x[static_cast<size_t>(differs)]
                             << "," << y;
    }
  }
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

// --- boxes over NaN ------------------------------------------------------------------------------

// Only pixels inside the box change the average.
TEST(SamplerValues, BoxOverNaN) {
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

// Sets and batches consist of pointers only.
template <class Record>
bool SameMembers(const Record& a, const Record& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

TEST(SamplerSets, HoldThePresentSlots) {
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
