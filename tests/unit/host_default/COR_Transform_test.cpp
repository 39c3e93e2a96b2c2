// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// What transforms compute, against the published formulas of the spaces.

#include <algorithm>
#include <cstring>
#include <limits>

#include "unit/ColorKit.h"

using namespace colorkit;

namespace {

using COR_Transform = ColorTest;

double Srgb(double v) { return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); }
double Rec709(double v) { return v < 0.081 ? v / 4.5 : std::pow((v + 0.099) / 1.099, 1 / 0.45); }
double Romm(double v) { return v < 1.0 / 32 ? v / 16 : std::pow(v, 1.8); }
double Power22(double v) { return std::pow(v, 2.2); }
double Power24(double v) { return std::pow(v, 2.4); }
double Identity(double v) { return v; }
double Stairs(double v) { return v < 0.5 ? v / 2 : v < 0.75 ? 0.25 : 0.25 + 3 * (v - 0.75); }

struct Case {
  const char* what;
  COR_QCE_ProfilePtr profile;
  double (*curve)(double);
};

std::vector<Case> Cases() {
  return {
      {"sRGB", Named("sRGB"), Srgb},
      {"P3", Named("Display P3"), Srgb},
      {"709", Named("Rec.709"), Rec709},
      {"ProPhoto", Named("ProPhoto"), Romm},
      {"1.0", Named("gamma 1.0"), Identity},
      {"2.4", Named("gamma 2.4"), Power24},
      {"table", Opened(WithCurve(Table(PowerTable(2.2, 4096))).Write()), Power22},
      {"formula with toe and offset",
       Opened(WithCurve(Formula(4, {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045, 0, 0}))
                  .Write()),
       Srgb},
      {"flat stretch", Opened(WithCurve(Table({0, 8192, 16384, 16384, 65535})).Write()), Stairs},
  };
}

// How far a 16-bit value may be off. The pieces of Rec.709 do not quite meet.
double Error(const Case& c, size_t v) {
  return c.curve == Rec709 && std::abs(double(v) / 32768 - 0.081) < 0.001 ? 9 : 1.3;
}

TEST_F(COR_Transform, LightFollowsThePublishedCurves) {
  for (const Case& c : Cases()) {
    const COR_QCE_ProfilePtr linear = Linear(c.profile);
    const std::vector<uint16_t> words = Through(c.profile, linear, Greys<uint16_t>(32768));
    const std::vector<uint8_t> bytes = Through(c.profile, linear, Greys<uint8_t>(255));
    for (size_t v = 0; v <= 32768; ++v) {
      ASSERT_NEAR(words[4 * v + 1], 32768 * c.curve(double(v) / 32768), Error(c, v)) << c.what << v;
      ASSERT_EQ(words[4 * v + 1], words[4 * v + 3]);
      ASSERT_EQ(words[4 * v], 32768);
    }
    EXPECT_EQ(words.back(), 32768) << c.what;
    for (size_t v = 0; v <= 255; ++v) {
      ASSERT_NEAR(bytes[4 * v + 2], 255 * c.curve(double(v) / 255), 0.51) << c.what << v;
    }
    for (double v = 0; v <= 1; v += 1.0 / 1024) {
      const auto grey = float(v);
      const std::vector<float> light = Through<float>(c.profile, linear, {0.5f, grey, grey, grey});
      ASSERT_NEAR(light[2], c.curve(v), 2e-5) << c.what << v;
      ASSERT_EQ(light[0], 0.5f);
    }
  }
}

// Half of the light is code 188 of sRGB.
TEST_F(COR_Transform, LightIsStoredByTheInverse) {
  const COR_QCE_ProfilePtr linear = Linear(Named("sRGB"));
  EXPECT_EQ(Through<uint8_t>(linear, Named("sRGB"), {255, 128, 128, 0})[1], 188);
  for (const Case& c : Cases()) {
    if (c.curve == Stairs) continue;  // has no inverse
    const std::vector<uint8_t> bytes = Through(linear, c.profile, Greys<uint8_t>(255));
    const std::vector<uint16_t> words = Through(linear, c.profile, Greys<uint16_t>(32768));
    for (size_t v = 0; v <= 255; ++v) {  // what is stored must stand for the light, half a code off
      const double code = bytes[4 * v + 1];
      ASSERT_LE(c.curve(std::max(code - 0.51, 0.0) / 255), v / 255.0) << c.what << v;
      ASSERT_GE(c.curve(std::min(code + 0.51, 255.0) / 255), v / 255.0) << c.what << v;
    }
    for (size_t v = 0; v <= 32768; v += 7) {
      const double code = words[4 * v + 1];
      ASSERT_LE(c.curve(std::max(code - 1.5, 0.0) / 32768), v / 32768.0 + 2e-5) << c.what << v;
      ASSERT_GE(c.curve(std::min(code + 1.5, 32768.0) / 32768), v / 32768.0 - 2e-5) << c.what << v;
    }
  }
}

TEST_F(COR_Transform, CodesComeBack) {
  for (const Case& c : Cases()) {
    if (c.curve == Stairs) continue;
    Bytes bytes = BytesOf(c.profile);
    bytes[50] ^= 1;  // other bytes, so that both curves are worked through
    const COR_QCE_ProfilePtr twin = Opened(bytes);
    // The steps of a table near black are wider than codes.
    const bool is_table = c.curve == Power22;
    const std::vector<uint8_t> small = Through(c.profile, twin, Greys<uint8_t>(255));
    for (size_t v = is_table ? 2 : 0; v <= 255; ++v) ASSERT_EQ(small[4 * v + 1], v) << c.what;
    const std::vector<uint16_t> words = Through(c.profile, twin, Greys<uint16_t>(32768));
    for (size_t v = is_table ? 3000 : 0; v <= 32768; ++v) {
      ASSERT_NEAR(words[4 * v + 1], double(v), c.curve == Rec709 ? Error(c, v) : 0) << c.what << v;
    }
    EXPECT_EQ(words[1], 0);
  }
  const COR_QCE_ProfilePtr profile = Named("ProPhoto");
  EXPECT_EQ(Through(profile, profile, Greys<uint16_t>(32768)), Greys<uint16_t>(32768));
}

TEST_F(COR_Transform, PrimariesFollowThePublishedMatrix) {
  // Linear light of Display P3 in that of sRGB; both have the white of D65.
  const double matrix[3][3] = {
      {1.2249402, -0.2249402, 0}, {-0.0420569, 1.0420569, 0}, {-0.0196376, -0.0786361, 1.0982736}};
  const COR_QCE_ProfilePtr p3 = Linear(Named("Display P3")), srgb = Linear(Named("sRGB"));
  for (size_t c = 0; c < 3; ++c) {
    std::vector<float> row(4);
    row[c + 1] = 1;
    row = Through(p3, srgb, row);
    for (size_t k = 0; k < 3; ++k) EXPECT_NEAR(row[k + 1], matrix[k][c], 2e-4) << k << c;
    // Outside of what integers hold, they end.
    std::vector<uint8_t> bytes = {255, 0, 0, 0};
    bytes[c + 1] = 255;
    bytes = Through(p3, srgb, bytes);
    for (size_t k = 0; k < 3; ++k) {
      EXPECT_EQ(bytes[k + 1], std::lround(255 * std::clamp(matrix[k][c], 0.0, 1.0)));
    }
  }
}

TEST_F(COR_Transform, WhiteStaysWhiteAndGreyGrey) {
  const Case neutral[] = {{"", Named("sRGB"), nullptr},
                          {"", Named("ProPhoto"), nullptr},
                          {"", Named("Display P3"), nullptr}};
  for (const Case& from : neutral) {
    for (const Case& to : neutral) {
      const std::vector<uint16_t> words = Through(from.profile, to.profile, Greys<uint16_t>(32768));
      EXPECT_EQ(words.back(), 32768);
      for (size_t v = 0; v < words.size(); v += 4) {
        ASSERT_EQ(words[v + 1], words[v + 2]);
        ASSERT_EQ(words[v + 1], words[v + 3]);
      }
      const std::vector<float> white = {1, 1, 1, 1};
      EXPECT_EQ(Through(from.profile, to.profile, white), white);
    }
  }
}

TEST_F(COR_Transform, ValuesOutsideTheRange) {
  constexpr float kInf = std::numeric_limits<float>::infinity();
  const COR_QCE_ProfilePtr srgb = Named("sRGB"), linear = Linear(srgb);
  const std::vector<float> light = Through<float>(srgb, linear, {2, 1.5f, -0.5f, -1.5f});
  EXPECT_NEAR(light[1], Srgb(1.5), 1e-4);
  EXPECT_NEAR(light[2], -Srgb(0.5), 1e-5);
  EXPECT_NEAR(light[3], -Srgb(1.5), 1e-4);
  const std::vector<float> back = Through(linear, srgb, light);
  EXPECT_NEAR(back[1], 1.5, 1e-5);
  EXPECT_NEAR(back[2], -0.5, 1e-6);

  const COR_QCE_ProfilePtr table = Opened(WithCurve(Table(PowerTable(2.2, 64))).Write());
  EXPECT_EQ(Through<float>(table, Linear(table), {1, 1.5f, -2, 1}),
            (std::vector<float>{1, 1, -1, 1}));
  for (const COR_QCE_ProfilePtr& profile : {srgb, table}) {
    const std::vector<float> odd =
        Through<float>(profile, Linear(profile), {1, std::nanf(""), kInf, -kInf});
    EXPECT_TRUE(std::isnan(odd[1]));
    EXPECT_GE(odd[2], 1);
    EXPECT_LE(odd[3], -1);
  }
  for (const COR_QCE_ProfilePtr& to : {srgb, linear, table}) {
    EXPECT_EQ(Through<uint16_t>(srgb, to, {65535, 32769, 65535, 32768}),
              (std::vector<uint16_t>{65535, 32768, 32768, 32768}));
  }
}

TEST_F(COR_Transform, RowsNeedNoAlignment) {
  const COR_QCE_ProfilePtr from = Named("sRGB"), to = Named("ProPhoto");
  COR_QCE_TransformPtr transform;
  constexpr uint32_t kFormat = QCE_Format_ArgbFloat;
  ASSERT_EQ(COR_QCE_NewTransform(from, to, kFormat, &transform), QCE_Ok);
  const std::vector<float> row = {0.5f, 0.1f, 0.2f, 0.3f, 1, 0.9f, 0.6f, 0};
  std::vector<float> wanted = Through(from, to, row);
  std::vector<char> src(33), dst(35);
  std::memcpy(src.data() + 1, row.data(), 32);
  ASSERT_EQ(COR_QCE_Apply(transform, kFormat, src.data() + 1, kFormat, dst.data() + 3, 2, nullptr),
            QCE_Ok);
  EXPECT_EQ(std::memcmp(dst.data() + 3, wanted.data(), 32), 0);
}

}  // namespace
