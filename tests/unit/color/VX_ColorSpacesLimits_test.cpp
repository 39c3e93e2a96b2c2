// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// All colours of 8 bits there and back, and what the calls refuse and hold.

#include <climits>

#include "../PixelTestKit.h"
#include "VX/VX_ColorSpaces.h"

namespace {

bool ComesBack(const VX_Pixel8& p, decltype(&VX_RGBtoHLS_Straight) there,
               decltype(&VX_HLStoRGB_Straight) back) {
  VX_Fixed space[3];
  VX_Pixel8 q{};
  if (there(nullptr, &p, space) != 0 || back(nullptr, space, &q) != 0) return false;
  const auto near = [](int a, int b) { return std::abs(a - b) <= 1; };
  return near(p.red, q.red) && near(p.green, q.green) && near(p.blue, q.blue);
}

// VX_TEST_STRIDE=1 walks every colour; a prime that is large passes all levels of each channel.
uint32_t Stride() {
  const char* const text = std::getenv("VX_TEST_STRIDE");
  return text != nullptr ? static_cast<uint32_t>(std::strtoul(text, nullptr, 10)) : 61;
}

// Every call of one depth with each of its arguments missing.
template <class Pixel, class Component, class Number>
void ExpectRefusals(VX_Err (*const (&there)[2])(void*, const Pixel*, Component*),
                    VX_Err (*const (&back)[2])(void*, const Component*, Pixel*),
                    VX_Err (*const (&read)[4])(void*, const Pixel*, Number*)) {
  Pixel p{};
  Component space[3]{};
  Number number{};
  for (const auto call : there) {
    EXPECT_EQ(call(nullptr, nullptr, space), 3);
    EXPECT_EQ(call(nullptr, &p, nullptr), 3);
  }
  for (const auto call : back) {
    EXPECT_EQ(call(nullptr, nullptr, &p), 3);
    EXPECT_EQ(call(nullptr, space, nullptr), 3);
  }
  for (const auto call : read) {
    EXPECT_EQ(call(nullptr, nullptr, &number), 3);
    EXPECT_EQ(call(nullptr, &p, nullptr), 3);
  }
}

}  // namespace

TEST(ColorSpacesLimits, EveryColourComesBack) {
  for (uint32_t rgb = 0; rgb < 1u << 24; rgb += Stride()) {
    const VX_Pixel8 p = {77, static_cast<uint8_t>(rgb), static_cast<uint8_t>(rgb >> 8),
                         static_cast<uint8_t>(rgb >> 16)};
    ASSERT_TRUE(ComesBack(p, VX_RGBtoHLS_Straight, VX_HLStoRGB_Straight)) << Text(p);
    ASSERT_TRUE(ComesBack(p, VX_RGBtoYIQ_Straight, VX_YIQtoRGB_Straight)) << Text(p);
  }
}

TEST(ColorSpacesLimits, MissingArguments) {
  ExpectRefusals<VX_Pixel8, VX_Fixed, int32_t>(
      {VX_RGBtoHLS_Straight, VX_RGBtoYIQ_Straight}, {VX_HLStoRGB_Straight, VX_YIQtoRGB_Straight},
      {VX_Luminance_Straight, VX_Hue_Straight, VX_Lightness_Straight, VX_Saturation_Straight});
  ExpectRefusals<VX_Pixel16, VX_Fixed, int32_t>(
      {VX_RGBtoHLS_Straight16, VX_RGBtoYIQ_Straight16},
      {VX_HLStoRGB_Straight16, VX_YIQtoRGB_Straight16},
      {VX_Luminance_Straight16, VX_Hue_Straight16, VX_Lightness_Straight16,
       VX_Saturation_Straight16});
  ExpectRefusals<VX_PixelFloat, float, float>(
      {VX_RGBtoHLS_StraightFloat, VX_RGBtoYIQ_StraightFloat},
      {VX_HLStoRGB_StraightFloat, VX_YIQtoRGB_StraightFloat},
      {VX_Luminance_StraightFloat, VX_Hue_StraightFloat, VX_Lightness_StraightFloat,
       VX_Saturation_StraightFloat});
}

TEST(ColorSpacesLimits, AnyFixedNumbersGiveAColourOfTheScale) {
  constexpr VX_Fixed kOdd[] = {INT_MIN, -65536, -1, 0, 32768, 65537, INT_MAX};
  for (const VX_Fixed a : kOdd) {
    for (const VX_Fixed b : kOdd) {
      for (const VX_Fixed c : kOdd) {
        const VX_Fixed space[3] = {a, b, c};
        for (const auto back : {VX_HLStoRGB_Straight16, VX_YIQtoRGB_Straight16}) {
          VX_Pixel16 p = {9, 65535, 65535, 65535};
          EXPECT_EQ(back(nullptr, space, &p), 0);
          EXPECT_LE(std::max({p.red, p.green, p.blue}), 32768);
        }
      }
    }
  }
}

TEST(ColorSpacesLimits, SaturationWithoutAMeasureIsNone) {
  const VX_PixelFloat odd = {0, 1.5f, 1.0f, 0.5f};
  float hls[3];
  EXPECT_EQ(VX_RGBtoHLS_StraightFloat(nullptr, &odd, hls), 0);
  EXPECT_EQ(hls[1], 1.0f);
  EXPECT_EQ(hls[2], 0.0f);
}
