// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Colour spaces against the twin's formulas in real numbers: both directions, rounding, limits.

#include "VX/VX_ColorSpaces.h"

#include "reference/RefArithmetic.h"
#include "reference/RefColorSpaces.h"
#include "unit/PixelTestKit.h"

namespace {

// --- the functions of a depth --------------------------------------------------------------------

template <class PixelType, class ValueType, class NumberType>
struct Functions {
  using Pixel = PixelType;
  using Value = ValueType;
  using Number = NumberType;
  VX_Err (*to_hls)(void*, const Pixel*, Value[3]);
  VX_Err (*from_hls)(void*, const Value[3], Pixel*);
  VX_Err (*to_yiq)(void*, const Pixel*, Value[3]);
  VX_Err (*from_yiq)(void*, const Value[3], Pixel*);
  VX_Err (*luminance)(void*, const Pixel*, Number*);
  VX_Err (*hls[3])(void*, const Pixel*, Number*);
};

template <class Pixel>
constexpr Functions<VX_Pixel8, VX_Fixed, int32_t> kFunctions = {
    VX_RGBtoHLS_Straight,  VX_HLStoRGB_Straight,
    VX_RGBtoYIQ_Straight,  VX_YIQtoRGB_Straight,
    VX_Luminance_Straight, {VX_Hue_Straight, VX_Lightness_Straight, VX_Saturation_Straight}};
template <>
constexpr Functions<VX_Pixel16, VX_Fixed, int32_t> kFunctions<VX_Pixel16> = {
    VX_RGBtoHLS_Straight16,
    VX_HLStoRGB_Straight16,
    VX_RGBtoYIQ_Straight16,
    VX_YIQtoRGB_Straight16,
    VX_Luminance_Straight16,
    {VX_Hue_Straight16, VX_Lightness_Straight16, VX_Saturation_Straight16}};
template <>
constexpr Functions<VX_PixelFloat, float, float> kFunctions<VX_PixelFloat> = {
    VX_RGBtoHLS_StraightFloat,
    VX_HLStoRGB_StraightFloat,
    VX_RGBtoYIQ_StraightFloat,
    VX_YIQtoRGB_StraightFloat,
    VX_Luminance_StraightFloat,
    {VX_Hue_StraightFloat, VX_Lightness_StraightFloat, VX_Saturation_StraightFloat}};

template <class Pixel>
vxref::Triple Unit(const Pixel& p) {
  const long double full = kFull<Pixel>;
  return {p.red / full, p.green / full, p.blue / full};
}

// --- comparison ----------------------------------------------------------------------------------

// Returns whether `got` is want * scale rounded to nearest, halves upward. The margin is the error
// of double precision at exact halves.
template <class Integer>
bool IsNearest(Integer got, long double want, long double scale) {
  const long double error = static_cast<long double>(got) - want * scale;
  return error > -0.5L - 1e-7L && error <= 0.5L + 1e-7L;
}
// Floats are rounded once, from doubles. 1e-12 is the error of a difference of doubles.
bool IsNearest(float got, long double want, long double) {
  return std::abs(got - want) <= std::abs(want) * 0x1p-24L + 1e-12L;
}

template <class Value>
constexpr long double kUnit = std::is_same_v<Value, float> ? 1 : 65536;

// Checks a pixel of an inverse: each channel is the nearest; integers are limited to 0..full scale.
template <class Pixel>
testing::AssertionResult IsPixel(const Pixel& got, const vxref::Triple& want) {
  const VX_ChannelOf<Pixel> channels[] = {got.red, got.green, got.blue};
  for (size_t c = 0; c < 3; ++c) {
    const long double limited = kDepth<Pixel> == 32 ? want[c] : std::clamp(want[c], 0.0L, 1.0L);
    if (IsNearest(channels[c], limited, kFull<Pixel>)) continue;
    return testing::AssertionFailure() << Text(got) << ", but channel " << c << " is " << limited;
  }
  return testing::AssertionSuccess();
}

template <class Pixel>
class ColorSpaces : public testing::Test {
 protected:
  static constexpr auto kCall = kFunctions<Pixel>;
  using Value = typename decltype(kCall)::Value;
  using Number = typename decltype(kCall)::Number;

  void CheckSpace(const Pixel& p, decltype(kCall.to_hls) convert, const vxref::Triple& want) {
    Value got[3] = {};
    ASSERT_EQ(convert(nullptr, &p, got), 0);
    for (size_t i = 0; i < 3; ++i) {
      ASSERT_TRUE(IsNearest(got[i], want[i], kUnit<Value>))
          << Text(p) << " gives " << +got[i] << " as number " << i << ", not " << want[i];
    }
  }

  void Check(const Pixel& p) {
    const vxref::Triple hls = vxref::HlsOf(Unit(p));
    CheckSpace(p, kCall.to_hls, hls);
    CheckSpace(p, kCall.to_yiq, vxref::YiqOf(Unit(p)));
    Number number = 0;
    for (size_t i = 0; i < 3; ++i) {
      ASSERT_EQ(kCall.hls[i](nullptr, &p, &number), 0);
      ASSERT_TRUE(IsNearest(number, hls[i], kFull<Pixel>))
          << "number " << i << " of " << Text(p) << " is " << number << ", not " << hls[i];
    }
    using D = typename vxref::DepthOf<Pixel>::D;
    const typename D::Wide colors[3] = {p.red, p.green, p.blue};
    ASSERT_EQ(kCall.luminance(nullptr, &p, &number), 0);
    ASSERT_EQ(number, static_cast<Number>(D::Luma(colors))) << Text(p);
  }
};
TYPED_TEST_SUITE(ColorSpaces, PixelTypes, DepthNames);

// --- trials --------------------------------------------------------------------------------------

TYPED_TEST(ColorSpaces, AgreeWithFormulas) {
  using Channel = VX_ChannelOf<TypeParam>;
  const auto part = [](int i) { return static_cast<Channel>(i * kFull<TypeParam> / 255); };
  for (int red = 0; red <= 255; red += 5) {
    for (int green = 0; green <= 255; green += 5) {
      for (int blue = 0; blue <= 255; blue += 5) {
        this->Check({1, part(red), part(green), part(blue)});
        if (this->HasFatalFailure()) return;
      }
    }
  }
  std::mt19937 random(TestSeed());
  const auto any = [&random] {
    const auto unit = static_cast<double>(random()) / 4294967295.0;
    return static_cast<Channel>(unit * double(kFull<TypeParam>) + (kDepth<TypeParam> < 32) * 0.5);
  };
  for (int run = 0; run < 40000; ++run) {
    this->Check({0, any(), any(), any()});
    if (this->HasFatalFailure()) return;
  }
}

// Hues of any number of turns, colours outside the range of pixels, and (integers) extreme numbers.
TYPED_TEST(ColorSpaces, InversesTakeAnyNumbers) {
  using Value = typename TestFixture::Value;
  std::mt19937 random(TestSeed());
  const auto between = [&random](double low, double high) {
    return low + (high - low) * static_cast<double>(random()) / 4294967295.0;
  };
  for (int run = 0; run < 40000; ++run) {
    const double hue = run % 4 == 0 ? 60 * (run / 4 % 25 - 12) : between(-1000, 1000);
    const double limit = run % 3 == 0 ? 3 : 0.6;
    const double numbers[2][3] = {
        {hue, between(0, 1), between(0, 1)},
        {between(-limit, 1 + limit), between(-limit, limit), between(-limit, limit)}};
    for (const bool yiq : {false, true}) {
      Value in[3];
      vxref::Triple exact;
      for (size_t i = 0; i < 3; ++i) {
        in[i] = static_cast<Value>(numbers[yiq][i] * static_cast<double>(kUnit<Value>));
        exact[i] = in[i] / kUnit<Value>;
      }
      TypeParam out = {kFull<TypeParam>, 0, 0, 0};
      EXPECT_EQ((yiq ? this->kCall.from_yiq : this->kCall.from_hls)(nullptr, in, &out), 0);
      ASSERT_TRUE(IsPixel(out, yiq ? vxref::RgbOfYiq(exact) : vxref::RgbOfHls(exact)))
          << exact[0] << ", " << exact[1] << ", " << exact[2];
      ASSERT_EQ(out.alpha, kFull<TypeParam>);
    }
  }
  if constexpr (std::is_same_v<Value, VX_Fixed>) {
    constexpr VX_Fixed kOdd[] = {INT32_MIN, -65536, -1, 0, 32768, 65537, INT32_MAX};
    for (int i = 0; i < 343; ++i) {
      const VX_Fixed in[3] = {kOdd[i % 7], kOdd[i / 7 % 7], kOdd[i / 49]};
      for (const auto back : {this->kCall.from_hls, this->kCall.from_yiq}) {
        TypeParam p = {};
        EXPECT_EQ(back(nullptr, in, &p), 0);
        EXPECT_LE(std::max({p.red, p.green, p.blue}), kFull<TypeParam>);
      }
    }
  }
}

TYPED_TEST(ColorSpaces, RefuseMissingArguments) {
  TypeParam p{};
  typename TestFixture::Value space[3]{};
  typename TestFixture::Number number{};
  const auto& call = this->kCall;
  for (const auto there : {call.to_hls, call.to_yiq}) {
    EXPECT_EQ(there(nullptr, nullptr, space), 3);
    EXPECT_EQ(there(nullptr, &p, nullptr), 3);
  }
  for (const auto back : {call.from_hls, call.from_yiq}) {
    EXPECT_EQ(back(nullptr, nullptr, &p), 3);
    EXPECT_EQ(back(nullptr, space, nullptr), 3);
  }
  for (const auto read : {call.luminance, call.hls[0], call.hls[1], call.hls[2]}) {
    EXPECT_EQ(read(nullptr, nullptr, &number), 3);
    EXPECT_EQ(read(nullptr, &p, nullptr), 3);
  }
}

// --- by hand -------------------------------------------------------------------------------------

TEST(ColorSpacesByHand, Primaries) {
  struct Case {
    VX_Pixel8 p;
    VX_Fixed hls[3], yiq[3];
  };
  // 0.299 is 19595 of 65536, 0.596 is 39059, 0.211 is 13828, and so on.
  const Case cases[] = {
      {{0, 255, 0, 0}, {0, 32768, 65536}, {19595, 39059, 13828}},
      {{0, 0, 255, 0}, {120 << 16, 32768, 65536}, {38470, -17957, -34275}},
      {{0, 0, 0, 255}, {240 << 16, 32768, 65536}, {7471, -21103, 20447}},
      {{0, 255, 255, 0}, {60 << 16, 32768, 65536}, {58065, 21103, -20447}},
      {{0, 255, 0, 255}, {300 << 16, 32768, 65536}, {27066, 17957, 34275}},
      {{0, 255, 255, 255}, {0, 65536, 0}, {65536, 0, 0}},
      {{0, 0, 0, 0}, {0, 0, 0}, {0, 0, 0}},
      {{0, 51, 51, 51}, {0, 13107, 0}, {13107, 0, 0}},
  };
  for (const Case& c : cases) {
    VX_Fixed hls[3], yiq[3];
    EXPECT_EQ(VX_RGBtoHLS_Straight(nullptr, &c.p, hls), 0);
    EXPECT_EQ(VX_RGBtoYIQ_Straight(nullptr, &c.p, yiq), 0);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(hls[i], c.hls[i]) << Text(c.p) << ", H, L, S " << i;
      EXPECT_EQ(yiq[i], c.yiq[i]) << Text(c.p) << ", Y, I, Q " << i;
    }
  }
}

// 16-bit values above white are white. Float saturation is 0 where its divisor is 0.
TEST(ColorSpacesByHand, Limits) {
  const VX_Pixel16 above = {0, 65535, 40000, 0}, white = {0, 32768, 32768, 0};
  for (const auto function : {VX_RGBtoHLS_Straight16, VX_RGBtoYIQ_Straight16}) {
    VX_Fixed got[3], want[3];
    EXPECT_TRUE(function(nullptr, &above, got) == 0 && function(nullptr, &white, want) == 0);
    EXPECT_EQ(std::memcmp(got, want, sizeof got), 0);
  }
  const VX_PixelFloat bright = {0, 1.5f, 1.0f, 0.5f};
  float hls[3];
  EXPECT_EQ(VX_RGBtoHLS_StraightFloat(nullptr, &bright, hls), 0);
  EXPECT_EQ(hls[1], 1.0f);
  EXPECT_EQ(hls[2], 0.0f);
}

}  // namespace
