// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Colour spaces against the twin's formulas in real numbers: both directions, rounding, limits.

#include "VX/VX_ColorSpaces.h"

#include "reference/RefArithmetic.h"
#include "reference/RefColorSpaces.h"
#include "unit/PixelTestKit.h"

namespace {

// --- the functions of a depth --------------------------------------------------------------------

template <class Pixel, class Value, class Number>
struct Functions {
  VX_Err (*to_hls)(void*, const Pixel*, Value[3]);
  VX_Err (*from_hls)(void*, const Value[3], Pixel*);
  VX_Err (*to_yiq)(void*, const Pixel*, Value[3]);
  VX_Err (*from_yiq)(void*, const Value[3], Pixel*);
  VX_Err (*luminance)(void*, const Pixel*, Number*);
  VX_Err (*hls[3])(void*, const Pixel*, Number*);
  Value space[3];
  Number number;
};

#define VX_FUNCTIONS(suffix)                                                                      \
  {                                                                                               \
    VX_RGBtoHLS_Straight##suffix, VX_HLStoRGB_Straight##suffix, VX_RGBtoYIQ_Straight##suffix,     \
        VX_YIQtoRGB_Straight##suffix, VX_Luminance_Straight##suffix,                              \
        {VX_Hue_Straight##suffix, VX_Lightness_Straight##suffix, VX_Saturation_Straight##suffix}, \
        {}, {}                                                                                    \
  }
template <class Pixel>
constexpr Functions<VX_Pixel8, VX_Fixed, int32_t> kFunctions = VX_FUNCTIONS();
template <>
constexpr Functions<VX_Pixel16, VX_Fixed, int32_t> kFunctions<VX_Pixel16> = VX_FUNCTIONS(16);
template <>
constexpr Functions<VX_PixelFloat, float, float> kFunctions<VX_PixelFloat> = VX_FUNCTIONS(Float);
#undef VX_FUNCTIONS

// Returns whether `got` is want * scale rounded to nearest, halves upward; floats are rounded once,
// from doubles. The margins are the errors of double precision.
template <class Number>
bool IsNearest(Number got, long double want, long double scale) {
  const long double error = static_cast<long double>(got) - want * scale;
  if (std::is_same_v<Number, float>) return std::abs(error) <= std::abs(want) * 0x1p-24L + 1e-12L;
  return error > -0.5L - 1e-7L && error <= 0.5L + 1e-7L;
}

template <class Pixel>
class ColorSpaces : public testing::Test {
 protected:
  static constexpr auto kCall = kFunctions<Pixel>;
  using Value = std::decay_t<decltype(kCall.space[0])>;
  using Number = std::decay_t<decltype(kCall.number)>;
  static constexpr bool kIsFloat = kDepth<Pixel> == 32;
  static constexpr long double kFullScale = kFull<Pixel>, kUnit = kIsFloat ? 1 : 65536;

  // Returns whether the numbers of a pixel are the nearest to those of the formulas.
  bool Agrees(const Pixel& p) {
    const vxref::Triple rgb = {p.red / kFullScale, p.green / kFullScale, p.blue / kFullScale};
    const vxref::Triple want[2] = {vxref::HlsOf(rgb), vxref::YiqOf(rgb)};
    Value got[2][3] = {};
    Number number = 0;
    bool same = kCall.to_hls(nullptr, &p, got[0]) == 0 && kCall.to_yiq(nullptr, &p, got[1]) == 0;
    for (size_t i = 0; i < 3; ++i) {
      for (const size_t yiq : {0, 1}) same = same && IsNearest(got[yiq][i], want[yiq][i], kUnit);
      same = same && kCall.hls[i](nullptr, &p, &number) == 0 &&
             IsNearest(number, want[0][i], kFullScale);
    }
    using D = typename vxref::DepthOf<Pixel>::D;
    const typename D::Wide colors[3] = {p.red, p.green, p.blue};
    return same && kCall.luminance(nullptr, &p, &number) == 0 &&
           number == static_cast<Number>(D::Luma(colors));
  }

  // Returns whether both inverses of three numbers are the nearest pixels. Integers are limited.
  bool InversesAgree(const double (&numbers)[2][3]) {
    bool same = true;
    for (const size_t yiq : {0, 1}) {
      Value in[3];
      vxref::Triple exact;
      for (size_t i = 0; i < 3; ++i) {
        in[i] = static_cast<Value>(numbers[yiq][i] * static_cast<double>(kUnit));
        exact[i] = in[i] / kUnit;
      }
      const vxref::Triple want = yiq ? vxref::RgbOfYiq(exact) : vxref::RgbOfHls(exact);
      Pixel out = {kFull<Pixel>, 0, 0, 0};
      same = same && (yiq ? kCall.from_yiq : kCall.from_hls)(nullptr, in, &out) == 0 &&
             out.alpha == kFull<Pixel>;
      const VX_ChannelOf<Pixel> channels[] = {out.red, out.green, out.blue};
      for (size_t c = 0; c < 3; ++c) {
        const long double limited = kIsFloat ? want[c] : std::clamp(want[c], 0.0L, 1.0L);
        same = same && IsNearest(channels[c], limited, kFullScale);
      }
    }
    return same;
  }
};
TYPED_TEST_SUITE(ColorSpaces, PixelTypes, DepthNames);

// Colours of few and of many levels. Hues of any number of turns, and numbers of colours outside
// the range of pixels.
TYPED_TEST(ColorSpaces, AgreeWithFormulas) {
  std::mt19937 random(TestSeed());
  const auto between = [&random](double low, double high) {
    return low + (high - low) * static_cast<double>(random()) / 4294967295.0;
  };
  for (int run = 0; run < 100000; ++run) {
    TypeParam p = {};
    for (auto* channel : {&p.red, &p.green, &p.blue}) {
      const double unit = run % 2 ? static_cast<double>(random() % 18) / 17 : between(0, 1);
      *channel = static_cast<VX_ChannelOf<TypeParam>>(unit * double(kFull<TypeParam>));
    }
    ASSERT_TRUE(this->Agrees(p)) << Text(p);
    const double hue = run % 4 == 0 ? 60 * (run / 4 % 25 - 12) : between(-1000, 1000);
    const double limit = run % 3 == 0 ? 3 : 0.6;
    const double numbers[2][3] = {
        {hue, between(0, 1), between(0, 1)},
        {between(-limit, 1 + limit), between(-limit, limit), between(-limit, limit)}};
    ASSERT_TRUE(this->InversesAgree(numbers))
        << testing::PrintToString(numbers[0]) << testing::PrintToString(numbers[1]);
  }
}

TYPED_TEST(ColorSpaces, WrongArgumentsAndExtremes) {
  TypeParam p{};
  auto [to_hls, from_hls, to_yiq, from_yiq, luminance, hls, space, number] = this->kCall;
  for (const auto call : {to_hls, to_yiq}) {
    EXPECT_TRUE(call(nullptr, nullptr, space) == 3 && call(nullptr, &p, nullptr) == 3);
  }
  for (const auto call : {luminance, hls[0], hls[1], hls[2]}) {
    EXPECT_TRUE(call(nullptr, nullptr, &number) == 3 && call(nullptr, &p, nullptr) == 3);
  }
  for (const auto call : {from_hls, from_yiq}) {
    EXPECT_TRUE(call(nullptr, nullptr, &p) == 3 && call(nullptr, space, nullptr) == 3);
    constexpr int32_t kOdd[] = {INT32_MIN, -65536, -1, 0, 32768, 65537, INT32_MAX};
    for (int i = 0; i < 343 && !this->kIsFloat; ++i) {
      const int places[] = {i % 7, i / 7 % 7, i / 49};
      for (int k = 0; k < 3; ++k) {
        space[k] = static_cast<typename TestFixture::Value>(kOdd[places[k]]);
      }
      EXPECT_EQ(call(nullptr, space, &p), 0);
      EXPECT_LE(std::max({p.red, p.green, p.blue}), kFull<TypeParam>);
    }
  }
}

TEST(ColorSpacesLimits, AboveWhite) {
  std::array<VX_Fixed, 3> got, want;
  // 16-bit values above white are white. Float saturation is 0 where its divisor is 0.
  const VX_Pixel16 above = {0, 65535, 40000, 0}, white = {0, 32768, 32768, 0};
  for (const auto function : {VX_RGBtoHLS_Straight16, VX_RGBtoYIQ_Straight16}) {
    EXPECT_EQ(function(nullptr, &above, got.data()), function(nullptr, &white, want.data()));
    EXPECT_EQ(got, want);
  }
  const VX_PixelFloat bright = {0, 1.5f, 1.0f, 0.5f};
  float hls[3];
  EXPECT_EQ(VX_RGBtoHLS_StraightFloat(nullptr, &bright, hls), 0);
  EXPECT_TRUE(hls[1] == 1.0f && hls[2] == 0.0f);
}

}  // namespace
