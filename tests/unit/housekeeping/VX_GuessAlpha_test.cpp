// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <gtest/gtest.h>

#include <cmath>

#include "VX/VX_GuessAlpha.h"
#include "unit/GuardedWorld.h"
#include "unit/PixelTestKit.h"
#include "unit/ThreadIterator.h"

namespace {

template <class Pixel>
class GuessAlpha : public testing::Test {};
TYPED_TEST_SUITE(GuessAlpha, PixelTypes);

}  // namespace

// Random straight pictures, as they are and on each matte; alpha and colours are rounded apart.
TYPED_TEST(GuessAlpha, FindsTheMatte) {
  const auto store = [](double unit) {
    return static_cast<VX_ChannelOf<TypeParam>>(
        kDepth<TypeParam> == 32 ? unit : std::floor(unit * kFull<TypeParam> + 0.5));
  };
  for (const int32_t kind : {VX_Alpha_Straight, VX_Alpha_PremulBlack, VX_Alpha_PremulWhite}) {
    GuardedWorld<TypeParam> picture(40, 30, 5, 77);
    std::mt19937 random(9);
    int64_t partial = 0;
    for (int32_t i = 0; i < 1200; ++i) {
      const auto unit = [&] { return random() % 4096 / 4095.0; };
      const double alpha = i % 40 < 10 ? 1.0 : i % 40 < 20 ? 0.0 : unit();
      const auto color = [&] {
        if (kind == VX_Alpha_Straight) return store(unit());
        return store(unit() * alpha + (kind == VX_Alpha_PremulWhite) * (1 - alpha));
      };
      const auto stored = store(alpha);
      partial += stored > 0 && stored < kFull<TypeParam>;
      picture.Set(i % 40, i / 40, {stored, color(), color(), color()});
    }
    for (const int32_t threads : {1, 3}) {
      const ThreadIterator iterator(threads);
      VX_AlphaGuess guess;
      EXPECT_EQ(VX_GuessAlpha(nullptr, &picture.world, &guess), 0);
      EXPECT_EQ(guess.kind, kind);
      EXPECT_EQ(guess.partial, partial);
      EXPECT_EQ(guess.beyond_black == 0, kind == VX_Alpha_PremulBlack);
      EXPECT_EQ(guess.beyond_white == 0, kind == VX_Alpha_PremulWhite);
    }
  }
}

TEST(GuessAlphaUndecided, IsReported) {
  Reports();
  VX_AlphaGuess guess;
  // Opaque; clear; a colour that both mattes can make; a code below white, which is rounding.
  for (const auto& [pixel, partial] : {std::pair<VX_Pixel8, int64_t>{{255, 0, 9, 255}, 0},
                                       {{0, 9, 9, 9}, 0},
                                       {{128, 128, 127, 127}, 1},
                                       {{128, 126, 127, 128}, 1}}) {
    GuardedWorld<VX_Pixel8> picture(1, 1, 3, 1);
    picture.Set(0, 0, pixel);
    EXPECT_EQ(VX_GuessAlpha(nullptr, &picture.world, &guess), 3);
    EXPECT_EQ(guess.kind, 0);
    EXPECT_EQ(guess.partial, partial);
    EXPECT_EQ(guess.beyond_black + guess.beyond_white, 0);
    EXPECT_EQ(Reports(), (ReportList{{0x2503E7, "Unable to guess alpha channel."}}));
  }
  VX_LayerDef empty{};
  EXPECT_EQ(VX_GuessAlpha(nullptr, &empty, &guess), 3);
  EXPECT_EQ(VX_GuessAlpha(nullptr, nullptr, &guess), 3);
  EXPECT_EQ(VX_GuessAlpha(nullptr, &empty, nullptr), 3);
  EXPECT_EQ(Reports(), ReportList(3, {0x2503E7, kBadParameterText}));
}
