// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Tables of profiles against their definition: the curve, its inverse by the slow twin, the
// exponent, and all stored values there and back.

#include <array>

#include "VX/VX_ColorSettings.h"
#include "reference/RefTables.h"
#include "unit/GuardedWorld.h"
#include "unit/PixelTestKit.h"

namespace {

// --- the twin by hand ----------------------------------------------------------------------------

// The inverse of a square is flat at first: 16-bit values up to 64 give linear 0, the next ones 1.
// A step from nothing to white between codes 127 and 128, in 16-bit values from 16320 (64 of 32768
// already) to 16456: what is below it comes back as its foot.
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

// The profile of an RGB display with the primaries of sRGB, one curve of 256 values for the three.
class DisplayProfile {
 public:
  explicit DisplayProfile(const std::function<double(double)>& curve) {
    constexpr double kColumns[4][3] = {{0.9642, 1, 0.8249},
                                       {0.4360, 0.2225, 0.0139},
                                       {0.3851, 0.7169, 0.0971},
                                       {0.1431, 0.0606, 0.7141}};
    constexpr uint32_t kTags = 7, kFirst = 128 + 4 + 12 * kTags, kCurve = kFirst + 4 * 20;
    constexpr uint32_t kEnd = kCurve + 12 + 512;
    for (const uint32_t word : {kEnd, 0u, 0x02400000u}) Word(word);
    for (const char* code : {"mntr", "RGB ", "XYZ "}) Code(code);
    for (const uint32_t word : {0x07EA0001u, 0x00010000u, 0u}) Word(word);
    Code("acsp");
    bytes_.resize(68);
    for (const uint32_t word : {0xF6D6u, 0x10000u, 0xD32Du}) Word(word);
    bytes_.resize(128);
    Word(kTags);
    uint32_t at = kFirst;
    for (const char* tag : {"wtpt", "rXYZ", "gXYZ", "bXYZ"}) Tag(tag, at, 20), at += 20;
    for (const char* tag : {"rTRC", "gTRC", "bTRC"}) Tag(tag, kCurve, 12 + 512);
    for (const auto& column : kColumns) {
      Code("XYZ "), Word(0);
      for (const double v : column) Word(static_cast<uint32_t>(std::lround(v * 65536)));
    }
    Code("curv"), Word(0), Word(256);
    for (int i = 0; i < 256; ++i) {
      const auto v = static_cast<uint16_t>(std::lround(curve(i / 255.0) * 65535));
      bytes_.push_back(static_cast<uint8_t>(v >> 8)), bytes_.push_back(static_cast<uint8_t>(v));
    }
  }
  COR_QCE_ProfilePtr Read() const {
    COR_QCE_ProfilePtr profile;
    EXPECT_EQ(COR_QCE_ProfileFromMemory(bytes_.data(), bytes_.size(), &profile), QCE_Ok);
    return profile;
  }

 private:
  void Word(uint32_t v) {
    for (int i = 24; i >= 0; i -= 8) bytes_.push_back(static_cast<uint8_t>(v >> i));
  }
  void Code(const char* code) { bytes_.insert(bytes_.end(), code, code + 4); }
  void Tag(const char* code, uint32_t at, uint32_t size) { Code(code), Word(at), Word(size); }

  std::vector<uint8_t> bytes_;
};

struct Curve {
  const char* name;  // of a built-in profile, or for people
  double (*at)(double);
  bool built_in;
};

double Srgb(double x) { return x <= 0.04045 ? x / 12.92 : std::pow((x + 0.055) / 1.055, 2.4); }
double Rec709(double x) { return x < 0.081 ? x / 4.5 : std::pow((x + 0.099) / 1.099, 1 / 0.45); }
double ProPhoto(double x) { return x < 0.03125 ? x / 16 : std::pow(x, 1.8); }

constexpr Curve kCurves[] = {
    {"sRGB", Srgb, true},
    {"gamma 1.0", [](double x) { return x; }, true},
    {"gamma 1.8", [](double x) { return std::pow(x, 1.8); }, true},
    {"gamma 2.2", [](double x) { return std::pow(x, 2.2); }, true},
    {"gamma 2.4", [](double x) { return std::pow(x, 2.4); }, true},
    {"Rec.709", Rec709, true},
    {"Display P3", Srgb, true},
    {"ProPhoto", ProPhoto, true},
    {"flat stretch", [](double x) { return x < 0.3   ? x
                                           : x < 0.6 ? 0.3
                                                     : 1.75 * x - 0.75; }, false},
    {"steps", [](double x) { return x < 0.35  ? 0.05
                                    : x < 0.7 ? 0.25
                                              : 0.9; }, false},
};

COR_QCE_ProfilePtr ProfileOf(const Curve& curve) {
  if (!curve.built_in) return DisplayProfile(curve.at).Read();
  COR_QCE_ProfilePtr profile;
  EXPECT_EQ(COR_QCE_ProfileFromName(curve.name, &profile), QCE_Ok) << curve.name;
  return profile;
}

// Least squares of y = x to the g over 16 values from 0.1 to 0.9, found by trying.
double Exponent(const Curve& curve) {
  double best = 0, least = 1e9;
  for (double g = 0.5; g < 3; g += 2e-5) {
    double error = 0;
    for (int i = 0; i < 16; ++i) {
      const double x = 0.1 + 0.8 * i / 15, d = std::pow(x, g) - curve.at(x);
      error += d * d;
    }
    if (error < least) best = g, least = error;
  }
  return best;
}

// --- tables --------------------------------------------------------------------------------------

TEST(LinearTables, EveryBuiltInCurveIsHere) {
  size_t count = 0;
  for (int32_t i = 0; COR_QCE_BuiltInProfileName(i) != nullptr; ++i, ++count) {
    EXPECT_TRUE(std::any_of(std::begin(kCurves), std::end(kCurves), [i](const Curve& curve) {
      return std::string(curve.name) == COR_QCE_BuiltInProfileName(i);
    })) << COR_QCE_BuiltInProfileName(i);
  }
  EXPECT_EQ(count, 8u);
}

// A code is rounded to 16 bits first, which is half of a 128th on the way to the next code, and the
// engine rounds twice. Exponents stand in a profile with 16 fraction bits, curves by 256 values.
TEST(LinearTables, AreTheCurveAndItsInverse) {
  for (const Curve& curve : kCurves) {
    SCOPED_TRACE(curve.name);
    const auto tables = VX_MakeLinearizationTables(ProfileOf(curve));
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
    EXPECT_NEAR(static_cast<double>(tables->gamma), Exponent(curve), curve.built_in ? 1e-4 : 1e-3);
  }
}

// --- there and back ------------------------------------------------------------------------------

// An entry of the inverse stands for 8 linear units, and straight lines join the entries: what
// comes back lies in the same 8 units, but for the rounding of the stored value, which is worth up
// to half the slope, and of three table reads. On a flat stretch any stored value will do. Bytes
// that are further apart than that come back as they were.
TEST(LinearTables, AllValuesComeBack) {
  for (const Curve& curve : kCurves) {
    SCOPED_TRACE(curve.name);
    const auto tables = VX_MakeLinearizationTables(ProfileOf(curve));
    std::array<int64_t, 32769> linear;
    for (int64_t v = 0; v <= 32768; ++v) {
      linear[static_cast<size_t>(v)] = vxref::WordToLinear(*tables, v);
    }
    for (size_t v = 0; v <= 32768; ++v) {
      const int64_t back = vxref::LinearToWord(*tables, linear[v]);
      const auto at = static_cast<size_t>(back);
      const int64_t slope =
          linear[std::min<size_t>(at + 1, 32768)] - linear[std::max<size_t>(at, 1) - 1];
      const bool in_piece = !curve.built_in && std::abs(back - static_cast<int64_t>(v)) <= 8;
      ASSERT_TRUE(in_piece || std::abs(linear[at] - linear[v]) <= 8 + slope / 4 + 2)
          << v << " gives " << back;
    }
    for (int c = 0; c < 256; ++c) {
      const int64_t here = tables->linearize[c];
      const bool apart = (c == 0 || here - tables->linearize[c - 1] >= 8) &&
                         (c == 255 || tables->linearize[c + 1] - here >= 8);
      const int64_t back = vxref::LinearToByte(*tables, here);
      ASSERT_TRUE(!apart || back == c) << c << " gives " << back;
      ASSERT_LE(std::abs(tables->linearize[back] - here), 8) << c << " gives " << back;
    }
  }
}

}  // namespace
