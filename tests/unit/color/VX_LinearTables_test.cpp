// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Linear-light tables of profiles against their definition: the curve, its inverse by the slow
// twin, the profile's exponent; and composites with them.

#include "VX/VX_ColorSettings.h"
#include "VX/VX_Transfer.h"
#include "reference/RefTables.h"
#include "unit/ColorKit.h"
#include "unit/PixelTestKit.h"

namespace {

// The inverse of a square is 0 at first: 16-bit values up to 64 have the linear value 0. A step
// from 0 to white between codes 127 and 128 covers the 16-bit values 16320 to 16456; linear values
// below white have the inverse at the start of the step's segment.
TEST(LinearTables, TwinByHand) {
  uint16_t square[256], step[256];
  for (int i = 0; i < 256; ++i) {
    square[i] = static_cast<uint16_t>(std::lround(i * i * 32768.0 / 65025));
    step[i] = i < 128 ? 0 : 32768;
  }
  EXPECT_EQ(vxref::TablesOf(square, 2).delinearize[0], 64);
  const VX_LinearBlendingTables tables = vxref::TablesOf(step, 1);
  const std::pair<int, int> entries[] = {
      {0, 16312}, {8, 16320}, {4088, 16448}, {4095, 16455}, {4096, 32768}};
  for (const auto& [i, want] : entries) EXPECT_EQ(tables.delinearize[i], want) << i;
}

// --- profiles ------------------------------------------------------------------------------------

struct Curve {
  const char* name;  // of the built-in profile, if it is one
  double (*at)(double);
  bool built_in;
};

double Srgb(double x) { return x <= 0.04045 ? x / 12.92 : std::pow((x + 0.055) / 1.055, 2.4); }
double Rec709(double x) { return x < 0.081 ? x / 4.5 : std::pow((x + 0.099) / 1.099, 1 / 0.45); }
double ProPhoto(double x) { return x < 0.03125 ? x / 16 : std::pow(x, 1.8); }

constexpr Curve kCurves[] = {
    {"sRGB", Srgb, true},
    {"gamma 1.0", [](double x) { return x; }, true},
    {"gamma 2.4", [](double x) { return std::pow(x, 2.4); }, true},
    {"Rec.709", Rec709, true},
    {"ProPhoto", ProPhoto, true},
    {"constant segment", [](double x) { return x < 0.3   ? x
                                               : x < 0.6 ? 0.3
                                                         : 1.75 * x - 0.75; },
     false},
    {"steps", [](double x) { return x < 0.35  ? 0.05
                                    : x < 0.7 ? 0.25
                                              : 0.9; }, false},
};

COR_QCE_ProfilePtr ProfileOf(const Curve& curve) {
  if (curve.built_in) return colorkit::Named(curve.name);
  std::vector<uint16_t> values;
  for (int i = 0; i < 256; ++i) {
    values.push_back(static_cast<uint16_t>(std::lround(curve.at(i / 255.0) * 65535)));
  }
  return colorkit::Opened(colorkit::WithCurve(colorkit::Table(values)).Write());
}

// Tolerance of the curve: each code is first rounded to 16 bits, at most half of 1/128 of the step
// to the next code, and the engine rounds twice.
TEST(LinearTables, AreTheCurveAndItsInverse) {
  for (const Curve& curve : kCurves) {
    SCOPED_TRACE(curve.name);
    const COR_QCE_ProfilePtr profile = ProfileOf(curve);
    const auto tables = VX_MakeLinearizationTables(profile);
    ASSERT_TRUE(tables != nullptr);
    for (int i = 0; i < 256; ++i) {
      const double here = curve.at(i / 255.0) * 32768;
      const double jump = std::max(std::abs(here - curve.at(std::max(i - 1, 0) / 255.0) * 32768),
                                   std::abs(here - curve.at(std::min(i + 1, 255) / 255.0) * 32768));
      ASSERT_NEAR(tables->linearize[i], here, 1 + jump / 200) << i;
    }
    const VX_LinearBlendingTables want = vxref::TablesOf(tables->linearize, tables->gamma);
    for (int i = 0; i <= 4096; ++i) ASSERT_EQ(tables->delinearize[i], want.delinearize[i]) << i;
    EXPECT_EQ(tables->invGamma, want.invGamma);
    EXPECT_EQ(tables->gamma, colorkit::ExponentOf(profile));
  }
}

// --- composites ----------------------------------------------------------------------------------

template <class Pixel>
double HalfWhiteOverBlack(const VX_LinearBlendingTables* tables) {
  constexpr auto full = kFull<Pixel>;
  Pixel white{full, full, full, full}, black{full, 0, 0, 0};
  const auto world = [](Pixel* p) {
    VX_LayerDef layer{};
    layer.data = p;
    layer.width = layer.height = 1;
    layer.rowbytes = sizeof(Pixel);
    VXp_SetWorldDepth(&layer, kDepth<Pixel>);
    return layer;
  };
  const VX_LayerDef from = world(&white);
  VX_LayerDef to = world(&black);
  const VX_CompositeModePlus mode(VX_Xfer_InFront, 0.5f, nullptr, false, 0);
  EXPECT_EQ(VX_TransferRect(nullptr, 0, 0, 0, nullptr, &from, &mode, tables, nullptr, 0, 0, &to),
            0);
  return black.green;
}

// By hand: 0.5 in sRGB is 0.735357; 8 bits have 128 / 255, which gives 187.67. Floats use the
// exponent instead of the curve.
TEST(LinearLight, HalfWhiteOverBlack) {
  const VX_LinearBlendingTables* const tables =
      VX_GetEmergencyColorSettings()->GetLinearBlendingTables(true);
  EXPECT_EQ(HalfWhiteOverBlack<VX_Pixel8>(tables), 188);
  EXPECT_NEAR(HalfWhiteOverBlack<VX_Pixel16>(tables), 0.735357 * 32768, 6);
  EXPECT_NEAR(HalfWhiteOverBlack<VX_PixelFloat>(tables),
              std::pow(0.5, 1 / static_cast<double>(tables->gamma)), 1e-6);
}

}  // namespace
