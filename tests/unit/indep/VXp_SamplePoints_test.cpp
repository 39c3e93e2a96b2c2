// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Samples at many positions against the samplers called pixel by pixel.

#include "indep/VXp_SamplePoints.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <vector>

#include "../BornEnvironment.h"
#include "../EdgeWorld.h"
#include "../GuardedWorld.h"

namespace {

template <class Pixel>
std::vector<VX_SampleFunc<Pixel>> Samplers() {
  if constexpr (sizeof(Pixel) == 4) {
    return {VX_SubpixelSample_Straight, VX_SubpixelSampleNoClip_Straight,
            VX_SubpixelSampleNoClip_Straight_SSE2};
  } else if constexpr (sizeof(Pixel) == 8) {
    return {VX_SubpixelSample_Straight16, VX_SubpixelSampleNoClip_Straight16};
  } else {
    return {VX_SubpixelCPlusPlusFloat, VX_SubpixelCPlusPlusNoClipFloat};
  }
}

template <class Pixel>
class SamplePoints : public testing::Test {};
using AllDepths = testing::Types<VX_Pixel8, VX_Pixel16, VX_PixelFloat>;
TYPED_TEST_SUITE(SamplePoints, AllDepths);

}  // namespace

// Worlds that end where memory ends, of free pixels, one alpha, no alpha, or few values; lines in
// every direction between two places inside, whole places among them.
TYPED_TEST(SamplePoints, GivesWhatTheSamplerGives) {
  using Pixel = TypeParam;
  constexpr int kModes[] = {FE_TONEAREST, FE_TONEAREST, FE_UPWARD, FE_TOWARDZERO};
  std::mt19937 random(TestSeed());
  const auto below = [&](int32_t bound) {
    return static_cast<int32_t>(random() % static_cast<uint32_t>(bound));
  };
  for (uint32_t round = 0; round < 4000; ++round) {
    const int32_t width = 2 + below(12), height = 2 + below(12);
    EdgeWorld<Pixel> edge(width, height, below(7), round % 2 == 0, round);
    const uint32_t kind = random() % 4;
    const Pixel one = GuardedWorld<Pixel>::RandomPixel(random);
    edge.Paint([&] {
      Pixel p = GuardedWorld<Pixel>::RandomPixel(random);
      if (kind == 1) p.alpha = one.alpha;
      if (kind == 2) p.alpha = 0;
      if (kind == 3) p = random() % 4 == 0 ? p : one;
      return p;
    });
    VX_SampPB record{};
    record.src = &edge.world;
    const int32_t grid = round % 8 == 0 || round % 8 == 2 ? 65536 : round % 8 == 1 ? 16384 : 1;
    const int32_t count = 1 + below(40);
    const auto place = [&](int32_t size) { return below((size - 1) * 65536) / grid * grid; };
    const bool close = round % 8 == 2;  // a little off whole places, where shares are tiny
    const auto nudge = [&] { return !close ? 0 : below(2) != 0 ? below(8) : 65535 - below(8); };
    const VX_Fixed x = place(width) + nudge(), y = place(height) + nudge();
    const VX_Fixed dx = (place(width) - x) / count / grid * grid;
    const VX_Fixed dy = (place(height) - y) / count / grid * grid;
    for (const auto sample : Samplers<Pixel>()) {
      const auto points = VXp_PointsForm<Pixel>(sample);
      ASSERT_NE(points, nullptr);
      std::vector<Pixel> want(static_cast<size_t>(count)), got(want.size());
      std::fesetround(kModes[round % 4]);
      std::vector<VX_Fixed> xs, ys;
      for (int32_t i = 0; i < count; ++i) {
        xs.push_back(x + i * dx);
        ys.push_back(y + i * dy);
        sample(nullptr, xs.back(), ys.back(), &record, &want[static_cast<size_t>(i)]);
      }
      points(record, xs.data(), ys.data(), count, got.data());
      std::fesetround(FE_TONEAREST);
      for (size_t i = 0; i < want.size(); ++i) {
        ASSERT_EQ(std::memcmp(&got[i], &want[i], sizeof(Pixel)), 0)
            << "round " << round << " place " << i << " of " << x << "," << y << " by " << dx << ","
            << dy;
      }
    }
  }
}

TEST(SamplePointsForms, AreForTheLibrarysOwnAlone) {
  const VX_SampleFunc<VX_Pixel8> other = [](VX_ProgressInfo*, VX_Fixed, VX_Fixed, const VX_SampPB*,
                                            VX_Pixel8*) -> VX_Err { return 0; };
  EXPECT_EQ(VXp_PointsForm<VX_Pixel8>(other), nullptr);
  EXPECT_EQ(VXp_PointsForm<VX_Pixel8>(VX_SubpixelSample_Premul), nullptr);
}
