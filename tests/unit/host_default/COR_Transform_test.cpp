// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Results of transforms against the published formulas of the spaces.

#include <algorithm>
#include <cstring>
#include <limits>

#include "unit/ColorKit.h"

using namespace colorkit;

namespace {

using COR_Transform = ColorTest;

double Stairs(double v) { return v < 0.5 ? v / 2 : v < 0.75 ? 0.25 : 0.25 + 3 * (v - 0.75); }

TEST_F(COR_Transform, PublishedCurvesAndTheirInverses) {
  const Bytes srgb_formula = Formula(4, {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045, 0, 0});
  const struct {
    const char* what;
    COR_QCE_ProfilePtr profile;
    double (*curve)(double);
  } cases[] = {{"sRGB", Named("sRGB"), Srgb},
               {"Rec.709", Named("Rec.709"), Rec709},
               {"ProPhoto", Named("ProPhoto"), Romm},
               {"gamma 1.0", Named("gamma 1.0"), Identity},
               {"gamma 2.4", Named("gamma 2.4"), Power24},
               {"table", Opened(FileWith(TableOf(Power22, 4096))), Power22},
               {"toe and offset", Opened(FileWith(srgb_formula)), Srgb},
               {"constant segment", Opened(FileWith(TableOf(Stairs, 5))), Stairs}};
  for (const auto& [what, profile, curve] : cases) {
    SCOPED_TRACE(what);
    const COR_QCE_ProfilePtr linear = Linear(profile);
    auto words = Through(profile, linear, Greys<uint16_t>(32768));
    auto bytes = Through(profile, linear, Greys<uint8_t>(255));
    for (size_t v = 0; v <= 32768; ++v) {
      // The segments of Rec.709 differ where they meet.
      const bool meets = curve == Rec709 && std::abs(double(v) / 32768 - 0.081) < 0.001;
      ASSERT_NEAR(words[4 * v + 1], 32768 * curve(double(v) / 32768), meets ? 9 : 1.3) << v;
      ASSERT_TRUE(words[4 * v] == 32768 && words[4 * v + 1] == words[4 * v + 3]);
      if (v % 32 != 0) continue;
      const auto grey = float(v) / 32768;
      const auto light = Through<float>(profile, linear, {0.5f, grey, grey, grey});
      ASSERT_NEAR(light[2], curve(double(grey)), 2e-5) << grey;
      ASSERT_EQ(light[0], 0.5f);
    }
    EXPECT_EQ(words.back(), 32768);
    for (size_t v = 0; v <= 255; ++v) {
      ASSERT_NEAR(bytes[4 * v + 2], 255 * curve(double(v) / 255), 0.51) << v;
    }
    if (curve == Stairs) continue;  // has no inverse
    // The light of a stored value differs by at most half a code.
    bytes = Through(linear, profile, Greys<uint8_t>(255));
    for (size_t v = 0; v <= 255; ++v) {
      const double code = bytes[4 * v + 1], light = double(v) / 255;
      ASSERT_LE(curve(std::max(code - 0.51, 0.0) / 255), light + 2e-5) << v;
      ASSERT_GE(curve(std::min(code + 0.51, 255.0) / 255), light - 2e-5) << v;
    }
    // A copy with other bytes, so that both curves are evaluated. The first segments of the table
    // are wider than codes.
    Bytes file = BytesOf(profile);
    file[50] ^= 1;
    const COR_QCE_ProfilePtr copy = Opened(file);
    bytes = Through(profile, copy, Greys<uint8_t>(255));
    words = Through(profile, copy, Greys<uint16_t>(32768));
    for (size_t v = curve == Power22 ? 2 : 0; v <= 255; ++v) ASSERT_EQ(bytes[4 * v + 1], v);
    for (size_t v = curve == Power22 ? 3000 : 0; v <= 32768; ++v) {
      ASSERT_NEAR(words[4 * v + 1], double(v), curve == Rec709 ? 9 : 0);
    }
  }
}

TEST_F(COR_Transform, PrimariesFollowThePublishedMatrix) {
  // Linear light of Display P3 in that of sRGB; both have the white D65.
  const double matrix[3][3] = {
      {1.2249402, -0.2249402, 0}, {-0.0420569, 1.0420569, 0}, {-0.0196376, -0.0786361, 1.0982736}};
  const COR_QCE_ProfilePtr p3 = Linear(Named("Display P3")), srgb = Linear(Named("sRGB"));
  for (size_t c = 0; c < 3; ++c) {
    const auto row = Through<float>(p3, srgb, {0, 1.f * (c == 0), 1.f * (c == 1), 1.f * (c == 2)});
    for (size_t k = 0; k < 3; ++k) EXPECT_NEAR(row[k + 1], matrix[k][c], 2e-4) << k << c;
  }
  EXPECT_EQ(Through<uint8_t>(p3, srgb, {255, 255, 0, 0}), (std::vector<uint8_t>{255, 255, 0, 0}));
  for (const char* from : {"sRGB", "ProPhoto", "Display P3"}) {
    for (const char* to : {"sRGB", "ProPhoto", "Display P3"}) {
      const auto words = Through(Named(from), Named(to), Greys<uint16_t>(32768));
      EXPECT_EQ(words.back(), 32768);
      for (size_t v = 0; v < words.size(); v += 4) {
        ASSERT_TRUE(words[v + 1] == words[v + 2] && words[v + 1] == words[v + 3]) << v;
      }
    }
  }
}

// Formulas are continued, tables end; negative values are mirrored.
TEST_F(COR_Transform, ValuesOutsideTheRange) {
  constexpr float kInf = std::numeric_limits<float>::infinity();
  const COR_QCE_ProfilePtr srgb = Named("sRGB"), linear = Linear(srgb);
  const auto light = Through<float>(srgb, linear, {2, 1.5f, -0.5f, -1.5f});
  const auto back = Through(linear, srgb, light);
  for (size_t c = 1; c < 4; ++c) {
    const double stored = c == 1 ? 1.5 : c == 2 ? -0.5 : -1.5;
    EXPECT_NEAR(light[c], std::copysign(Srgb(std::abs(stored)), stored), 1e-4);
    EXPECT_NEAR(back[c], stored, 1e-5);
  }
  const COR_QCE_ProfilePtr table = Opened(FileWith(TableOf(Power22, 64)));
  EXPECT_EQ(Through<float>(table, Linear(table), {1, 1.5f, -2, 1}),
            (std::vector<float>{1, 1, -1, 1}));
  for (const COR_QCE_ProfilePtr& profile : {srgb, table}) {
    const auto odd = Through<float>(profile, Linear(profile), {1, std::nanf(""), kInf, -kInf});
    EXPECT_TRUE(std::isnan(odd[1]) && odd[2] >= 1 && odd[3] <= -1);
  }
  for (const COR_QCE_ProfilePtr& to : {srgb, linear, table}) {
    EXPECT_EQ(Through<uint16_t>(srgb, to, {65535, 32769, 65535, 32768}),
              (std::vector<uint16_t>{65535, 32768, 32768, 32768}));
  }
}

// Also at addresses that are not aligned.
TEST_F(COR_Transform, AlphaIsCopiedOrKept) {
  const COR_QCE_ProfilePtr from = Named("sRGB"), to = Named("Rec.709");
  constexpr uint32_t k16 = QCE_Format_Argb16;
  const auto transform = Get<COR_QCE_TransformPtr>(COR_QCE_NewTransform, from, to, k16);
  std::vector<uint16_t> row(4 * 5);
  for (size_t i = 0; i < row.size(); ++i) row[i] = uint16_t(3000 * i);  // some are above white
  const std::vector<uint16_t> wanted = Through(from, to, row);
  EXPECT_EQ(wanted[16], row[16]);
  std::vector<char> src(41), dst(43);
  std::memcpy(src.data() + 1, row.data(), 40);
  const COR_QCE_Options copy = {1, QCE_Option_KeepAlpha, 7}, keep = {1, QCE_Option_KeepAlpha, 0};
  for (const COR_QCE_Options* options :
       {static_cast<const COR_QCE_Options*>(nullptr), &copy, &keep}) {
    std::fill(dst.begin(), dst.end(), 0x77);
    ASSERT_EQ(COR_QCE_Apply(transform, k16, src.data() + 1, k16, dst.data() + 3, 5, options), 0);
    std::memcpy(row.data(), dst.data() + 3, 40);
    for (size_t i = 0; i < row.size(); ++i) {
      EXPECT_EQ(row[i], options == &keep && i % 4 == 0 ? 0x7777 : wanted[i]) << i;
    }
  }
}

}  // namespace
