// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Rows of samples against the samplers called pixel by pixel.

#include "indep/VXp_SampleRow.h"

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
    return {VX_SubpixelSample_Straight, VX_SubpixelSample_Premul, VX_AreaSample_Straight,
            VX_AreaSample_Premul};
  } else if constexpr (sizeof(Pixel) == 8) {
    return {VX_SubpixelSample_Straight16, VX_SubpixelSample_Premul16, VX_AreaSample_Straight16,
            VX_AreaSample_Premul16};
  } else {
    return {VX_SubpixelCPlusPlusFloat, VX_SubpixelSample_PremulFloat,
            VX_AreaSample_CPlusPlus<VX_PixelFloat>, VX_AreaSample_PremulFloat};
  }
}

// A picture, a height, and ascending positions of all the kinds that tell ways apart: outside, at
// the border, whole, repeated, and in the steps of a reduction to a half.
template <class Pixel>
struct Case {
  std::mt19937 random;
  EdgeWorld<Pixel> edge;
  VX_SampPB record{};
  std::vector<VX_Fixed> x;
  VX_Fixed y;

  explicit Case(uint32_t round)
      : random(TestSeed() + round),
        edge(Below(12) + 1, Below(12) + 1, Below(7), round % 2 == 0, round) {
    const uint32_t kind =
        random() % 5;  // any, one alpha, transparent, few values, no bits ruled out
    const Pixel one = GuardedWorld<Pixel>::RandomPixel(random);
    edge.Paint([&] {
      Pixel p = GuardedWorld<Pixel>::RandomPixel(random);
      if (kind == 1) p.alpha = one.alpha;
      if (kind == 2) p.alpha = 0;
      if (kind == 3) p = random() % 4 == 0 ? p : one;
      if (kind == 4 && sizeof(Pixel) != 16) {
        for (size_t i = 0; i < sizeof p; ++i) {
          reinterpret_cast<uint8_t*>(&p)[i] = static_cast<uint8_t>(random());
        }
      }
      return p;
    });
    record.src = &edge.world;
    const bool halves = random() % 3 == 0;
    record.x_radius = halves ? 65536 : AnyRadius();
    record.y_radius = halves ? 65536 : AnyRadius();
    y = halves ? Below(14) * 65536 - 32768 : AnyPosition();
    VX_Fixed position = AnyPosition() - 65536;
    if (halves) position = -65536 * Below(3) - 32768;
    for (int32_t i = 0; i < 30; ++i) {
      x.push_back(position);
      position += halves ? 131072 : random() % 4 == 0 ? 0 : Below(100000);
      if (!halves && random() % 6 == 0) position = (position + 65535) & ~65535;
    }
  }
  int32_t Below(uint32_t bound) { return static_cast<int32_t>(random() % bound); }
  VX_Fixed AnyPosition() {
    return (Below(14) - 2) * 65536 + (random() % 3 == 0 ? 0 : Below(65536));
  }
  VX_Fixed AnyRadius() { return random() % 8 == 0 ? Below(60 * 65536) : 20000 + Below(200000); }
};

template <class Pixel>
class SampleRow : public testing::Test {};
using AllDepths = testing::Types<VX_Pixel8, VX_Pixel16, VX_PixelFloat>;
TYPED_TEST_SUITE(SampleRow, AllDepths);

}  // namespace

TYPED_TEST(SampleRow, GivesWhatTheSamplerGives) {
  using Pixel = TypeParam;
  constexpr int kModes[] = {FE_TONEAREST, FE_TONEAREST, FE_UPWARD, FE_TOWARDZERO};
  for (uint32_t round = 0; round < 4000; ++round) {
    Case<Pixel> c(round);
    for (const auto sample : Samplers<Pixel>()) {
      const VXp_SampleRowFunc form = VXp_RowForm<Pixel>(sample);
      ASSERT_NE(form, nullptr);
      std::vector<Pixel> want(c.x.size()), got(c.x.size());
      std::fesetround(kModes[round % 4]);
      for (size_t i = 0; i < c.x.size(); ++i) sample(nullptr, c.x[i], c.y, &c.record, &want[i]);
      form(c.record, c.x.data(), static_cast<int32_t>(c.x.size()), c.y,
           reinterpret_cast<char*>(got.data()));
      std::fesetround(FE_TONEAREST);
      for (size_t i = 0; i < c.x.size(); ++i) {
        ASSERT_EQ(std::memcmp(&got[i], &want[i], sizeof(Pixel)), 0)
            << "round " << round << " place " << i << " at " << c.x[i] << "," << c.y << " of "
            << c.edge.world.width << "x" << c.edge.world.height;
      }
    }
  }
}

TEST(SampleRowForms, AreForTheLibrarysOwnAlone) {
  const VX_SampleFunc<VX_Pixel8> other = [](VX_ProgressInfo*, VX_Fixed, VX_Fixed, const VX_SampPB*,
                                            VX_Pixel8*) -> VX_Err { return 0; };
  EXPECT_EQ(VXp_RowForm<VX_Pixel8>(other), nullptr);
  EXPECT_EQ(VXp_RowForm<VX_Pixel8>(VX_NNSample), nullptr);
}
