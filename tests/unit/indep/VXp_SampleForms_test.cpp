// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The forms for many points and for rows against the samplers called pixel by pixel.

#include <gtest/gtest.h>

#include <cfenv>
#include <cstring>
#include <vector>

#include "../EdgeWorld.h"
#include "../GuardedWorld.h"
#include "../PixelTestKit.h"
#include "VX/VX_OverrideTable.h"
#include "indep/VXp_SamplePoints.h"
#include "indep/VXp_SampleRow.h"

namespace {

template <class Pixel>
struct Form {
  VX_SampleFunc<Pixel> sample;
  VXp_SamplePointsFunc<Pixel> points;
};
template <class Pixel>
struct Samplers;
template <>
struct Samplers<VX_Pixel8> {
  using P = VX_Pixel8;
  static constexpr Form<P> forms[] = {{VX_SubpixelSample_Straight, VXp_StraightPoints<P>},
                                      {VX_SubpixelSampleNoClip_Straight_SSE2, VXp_SinglePoints}};
  static constexpr VX_SampleFunc<P> rows[] = {VX_SubpixelSample_Straight, VX_SubpixelSample_Premul,
                                              VX_AreaSample_Straight, VX_AreaSample_Premul};
};
template <>
struct Samplers<VX_Pixel16> {
  using P = VX_Pixel16;
  static constexpr Form<P> forms[] = {{VX_SubpixelSample_Straight16, VXp_StraightPoints<P>}};
  static constexpr VX_SampleFunc<P> rows[] = {VX_SubpixelSample_Straight16,
                                              VX_SubpixelSample_Premul16, VX_AreaSample_Straight16,
                                              VX_AreaSample_Premul16};
};
template <>
struct Samplers<VX_PixelFloat> {
  using P = VX_PixelFloat;
  static constexpr Form<P> forms[] = {{VX_SubpixelCPlusPlusFloat, VXp_StraightPoints<P>}};
  static constexpr VX_SampleFunc<P> rows[] = {
      VX_SubpixelCPlusPlusFloat, VX_SubpixelSample_PremulFloat, VX_AreaSample_CPlusPlus<P>,
      VX_AreaSample_PremulFloat};
};

// A world that ends where memory ends: free pixels, one alpha, no alpha, few values, or (integers)
// any bits.
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

constexpr int kRoundingModes[] = {FE_TONEAREST, FE_TONEAREST, FE_UPWARD, FE_TOWARDZERO};

template <class Pixel>
class SampleForms : public testing::Test {};
TYPED_TEST_SUITE(SampleForms, PixelTypes, DepthNames);

}  // namespace

TYPED_TEST(SampleForms, Points) {
  using Pixel = TypeParam;
  for (uint32_t round = 0; round < 4000; ++round) {
    Scene<Pixel> scene(round, 2);
    // Whole positions, a little off whole ones, quarters, or any.
    const int32_t grid = round % 8 < 2 ? 65536 : round % 8 == 2 ? 16384 : 1;
    const auto position = [&](int32_t size) {
      const VX_Fixed at = scene.Below((size - 1) * 65536) / grid * grid;
      if (round % 8 != 1) return at;
      return at + (scene.Below(2) != 0 ? scene.Below(8) : 65535 - scene.Below(8));
    };
    const auto count = static_cast<size_t>(1 + scene.Below(40));
    std::vector<VX_Fixed> x(count), y(count);
    for (VX_Fixed& at : x) at = position(scene.edge.world.width);
    for (VX_Fixed& at : y) at = position(scene.edge.world.height);
    for (const auto& form : Samplers<Pixel>::forms) {
      std::vector<Pixel> want(count), got(count);
      std::fesetround(kRoundingModes[round % 4]);
      for (size_t i = 0; i < count; ++i) form.sample(nullptr, x[i], y[i], &scene.record, &want[i]);
      form.points(scene.record, x.data(), y.data(), static_cast<int32_t>(count), got.data());
      std::fesetround(FE_TONEAREST);
      const int at = FirstDifference(want, got);
      ASSERT_EQ(at, -1) << "round " << round << " at " << x[static_cast<size_t>(at)] << ","
                        << y[static_cast<size_t>(at)];
    }
  }
}

// Ascending positions: outside, at the border, whole, repeated, and in the steps of a reduction to
// a half.
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
      std::fesetround(kRoundingModes[round % 4]);
      for (size_t i = 0; i < x.size(); ++i) sample(nullptr, x[i], y, &scene.record, &want[i]);
      VXp_RowForm<Pixel>(sample)(scene.record, x.data(), count, y,
                                 reinterpret_cast<char*>(got.data()));
      std::fesetround(FE_TONEAREST);
      const int differs = FirstDifference(want, got);
      ASSERT_EQ(differs, -1) << "round " << round << " at " << x[static_cast<size_t>(differs)]
                             << "," << y;
    }
  }
}

// --- the library's own forms are used for its own samplers only ----------------------------------

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
  const Form<VX_Pixel8> forms[] = {
      {VX_SubpixelSampleNoClip_Straight, VXp_StraightPoints<VX_Pixel8>},
      {VX_SubpixelSampleNoClip_Straight_SSE2, VXp_SinglePoints}};
  for (const auto& [unclipped, points] : forms) {
    set.unclipped = unclipped;
    EXPECT_EQ(VXp_OwnPoints(set), points);
  }
  EXPECT_EQ(VXp_RowForm<VX_Pixel8>(VX_NNSample), nullptr);
}
