// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Composites with the tables of a profile give what light would.

#include <cmath>

#include "../PixelTestKit.h"
#include "VX/VX_ColorSettings.h"
#include "VX/VX_Transfer.h"

namespace {

struct Blend {
  const char* name;
  int32_t mode;
  float opacity;
  double src, dst;  // stored greys
  double (*light)(double s, double d, double opacity);
};

constexpr Blend kBlends[] = {
    {"half white over black", VX_Xfer_InFront, 0.5f, 1.0, 0.0,
     [](double s, double d, double o) { return o * s + (1 - o) * d; }},
    {"half black over white", VX_Xfer_InFront, 0.5f, 0.0, 1.0,
     [](double s, double d, double o) { return o * s + (1 - o) * d; }},
    {"sum", VX_Xfer_Add, 1.0f, 0.5, 0.5, [](double s, double d, double) { return s + d; }},
    {"product", VX_Xfer_Multiply, 1.0f, 0.75, 0.75,
     [](double s, double d, double) { return s * d; }},
    {"screen", VX_Xfer_Screen, 1.0f, 0.5, 0.25,
     [](double s, double d, double) { return 1 - (1 - s) * (1 - d); }},
};

double SrgbToLight(double v) {
  return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
}
double LightToSrgb(double v) {
  return v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1 / 2.4) - 0.055;
}

template <class Pixel>
VX_ChannelOf<Pixel> Stored(double v) {
  if constexpr (kDepth<Pixel> == 32) return static_cast<float>(v);
  return static_cast<VX_ChannelOf<Pixel>>(std::lround(v * kFull<Pixel>));
}

template <class Pixel>
Pixel Composite(const Blend& blend, const VX_LinearBlendingTables* tables) {
  const auto grey = [](double v) {
    const VX_ChannelOf<Pixel> c = Stored<Pixel>(v);
    return Pixel{kFull<Pixel>, c, c, c};
  };
  Pixel src = grey(blend.src), dst = grey(blend.dst);
  const auto world = [](Pixel* p) {
    VX_LayerDef layer{};
    layer.data = p;
    layer.width = layer.height = 1;
    layer.rowbytes = sizeof(Pixel);
    VXp_SetWorldDepth(&layer, kDepth<Pixel>);
    return layer;
  };
  const VX_LayerDef from = world(&src);
  VX_LayerDef to = world(&dst);
  const VX_CompositeModePlus mode(blend.mode, blend.opacity, nullptr, false, 0);
  EXPECT_EQ(VX_TransferRect(nullptr, 0, 0, VX_Field_Both, nullptr, &from, &mode, tables, nullptr, 0,
                            0, &to),
            0);
  return dst;
}

COR_QCE_ProfilePtr Named(const char* name) {
  COR_QCE_ProfilePtr profile;
  EXPECT_EQ(COR_QCE_ProfileFromName(name, &profile), QCE_Ok);
  return profile;
}

}  // namespace

// 128 of 255 is the half that 8 bits have.
TEST(LinearLight, HalfWhiteOverBlackIs188) {
  const VX_LinearBlendingTables* const tables =
      VX_GetEmergencyColorSettings()->GetLinearBlendingTables(true);
  const VX_Pixel8 p = Composite<VX_Pixel8>(kBlends[0], tables);
  EXPECT_EQ(Text(p), "{255, 188, 188, 188}");
}

// What the operands of a depth, which are rounded to it, give in that light.
template <class Pixel>
double Expected(const Blend& blend, double (*to_light)(double), double (*to_stored)(double)) {
  const auto rounded = [](double v) {
    return static_cast<double>(Stored<Pixel>(v)) / kFull<Pixel>;
  };
  const double light = blend.light(to_light(rounded(blend.src)), to_light(rounded(blend.dst)),
                                   rounded(static_cast<double>(blend.opacity)));
  return to_stored(light);
}

// Integer pixels blend by the curve of the profile, within the rounding of their depth and the
// grain of the tables; floats by its exponent.
TEST(LinearLight, GreysBlendAsLight) {
  const VX_LinearBlendingTables* const tables =
      VX_GetEmergencyColorSettings()->GetLinearBlendingTables(true);
  static double gamma = 0;
  gamma = static_cast<double>(tables->gamma);
  for (const Blend& blend : kBlends) {
    EXPECT_NEAR(Composite<VX_Pixel8>(blend, tables).green / 255.0,
                Expected<VX_Pixel8>(blend, SrgbToLight, LightToSrgb), 0.6 / 255)
        << blend.name;
    EXPECT_NEAR(Composite<VX_Pixel16>(blend, tables).green / 32768.0,
                Expected<VX_Pixel16>(blend, SrgbToLight, LightToSrgb), 6.0 / 32768)
        << blend.name;
    const double power = Expected<VX_PixelFloat>(
        blend, [](double v) { return std::pow(v, gamma); },
        [](double v) { return std::pow(v, 1 / gamma); });
    EXPECT_NEAR(Composite<VX_PixelFloat>(blend, tables).green, power, 1e-6) << blend.name;
  }
}

// In a profile whose values are light already the tables make no difference but for their rounding.
TEST(LinearLight, LinearProfileChangesNothing) {
  const auto tables = VX_MakeLinearizationTables(Named("gamma 1.0"));
  for (const Blend& blend : kBlends) {
    EXPECT_NEAR(Composite<VX_Pixel8>(blend, tables.get()).red,
                Composite<VX_Pixel8>(blend, nullptr).red, 1)
        << blend.name;
    EXPECT_NEAR(Composite<VX_Pixel16>(blend, tables.get()).red,
                Composite<VX_Pixel16>(blend, nullptr).red, 3)
        << blend.name;
  }
}
