// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <gtest/gtest.h>

#include <cmath>

#include "VX/VX_GuessAlpha.h"
#include "unit/GuardedWorld.h"
#include "unit/PixelTestKit.h"

namespace {

template <class Pixel>
VX_ChannelOf<Pixel> Store(double unit) {
  return static_cast<VX_ChannelOf<Pixel>>(
      kDepth<Pixel> == 32 ? unit : std::floor(unit * kFull<Pixel> + 0.5));
}

template <class Pixel>
class GuessAlpha : public testing::Test {};
TYPED_TEST_SUITE(GuessAlpha, PixelTypes);

}  // namespace

// Random straight pictures, as they are and laid on each matte, alpha and colours rounded apart.
TYPED_TEST(GuessAlpha, TellsHowPicturesWereMade) {
  for (const int32_t kind : {VX_Alpha_Straight, VX_Alpha_PremulBlack, VX_Alpha_PremulWhite}) {
    GuardedWorld<TypeParam> picture(40, 30, 5, 77);
    std::mt19937 random(9);
    const auto unit = [&] { return random() % 4096 / 4095.0; };
    int64_t partial = 0;
    for (int32_t y = 0; y < 30; ++y) {
      for (int32_t x = 0; x < 40; ++x) {
        const double alpha = x < 10 ? 1.0 : x < 20 ? 0.0 : unit();
        const auto color = [&]() -> VX_ChannelOf<TypeParam> {
          if (kind == VX_Alpha_Straight) return Store<TypeParam>(unit());
          return Store<TypeParam>(unit() * alpha + (kind == VX_Alpha_PremulWhite) * (1 - alpha));
        };
        const auto stored = Store<TypeParam>(alpha);
        partial += stored > 0 && stored < kFull<TypeParam>;
        picture.Set(picture.bytes, x, y, {stored, color(), color(), color()});
      }
    }
    const std::vector<uint8_t> before = picture.bytes;
    VX_AlphaGuess guess;
    EXPECT_EQ(VX_GuessAlpha(nullptr, &picture.world, &guess), 0);
    EXPECT_EQ(guess.kind, kind);
    EXPECT_EQ(guess.partial, partial);
    EXPECT_EQ(guess.beyond_black == 0, kind == VX_Alpha_PremulBlack);
    EXPECT_EQ(guess.beyond_white == 0, kind == VX_Alpha_PremulWhite);
    EXPECT_EQ(picture.bytes, before);
  }
}

TEST(GuessAlphaUndecided, IsReported) {
  struct Case {
    VX_Pixel8 pixel;
    int64_t partial;
  };
  Reports();
  VX_AlphaGuess guess;
  // Opaque; clear; a colour that both mattes can make; a code below white, which is rounding.
  for (const Case& c : {Case{{255, 0, 9, 255}, 0}, Case{{0, 9, 9, 9}, 0},
                        Case{{128, 128, 127, 127}, 1}, Case{{128, 126, 127, 128}, 1}}) {
    GuardedWorld<VX_Pixel8> picture(1, 1, 3, 1);
    picture.Set(picture.bytes, 0, 0, c.pixel);
    EXPECT_EQ(VX_GuessAlpha(nullptr, &picture.world, &guess), 3);
    EXPECT_EQ(guess.kind, 0);
    EXPECT_EQ(guess.partial, c.partial);
    EXPECT_EQ(guess.beyond_black + guess.beyond_white, 0);
    EXPECT_EQ(Reports(), (ReportList{{0x2503E7, "Unable to guess alpha channel."}}));
  }
  VX_LayerDef empty{};
  EXPECT_EQ(VX_GuessAlpha(nullptr, &empty, &guess), 3);
  EXPECT_EQ(VX_GuessAlpha(nullptr, nullptr, &guess), 3);
  EXPECT_EQ(VX_GuessAlpha(nullptr, &empty, nullptr), 3);
  EXPECT_EQ(Reports(), ReportList(3, {0x2503E7, kBadParameterText}));
}
