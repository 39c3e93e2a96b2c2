// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Colour settings on the embedded engine: defaults, tables, comparison, copies, refusals, names.

#include "VX/VX_ColorSettings.h"

#include <gtest/gtest.h>

#include <memory>
#include <tuple>
#include <vector>

#include "color/VXp_Utf16.h"
#include "unit/ColorKit.h"

namespace {

using colorkit::DescriptionOf, colorkit::ExponentOf, colorkit::Named;

using PoolPtr = std::unique_ptr<COR_QCE_ProfilePool, void (*)(COR_QCE_ProfilePool*)>;

PoolPtr NewPool() {
  return {colorkit::Get<COR_QCE_ProfilePool*>(COR_QCE_NewProfilePool), COR_QCE_DisposeProfilePool};
}

template <class Body>
int32_t Thrown(Body&& body) {
  try {
    body();
  } catch (int32_t code) {
    return code;
  }
  return 0;
}

class ColorSettings : public testing::Test {
 protected:
  VX_ColorSettings Of(const char* name) const {
    VX_ColorSettings settings(pool_.get());
    settings.SetProfile(Named(name));
    return settings;
  }

  // Checks the calls of settings whose profile is missing.
  void ExpectNoProfile(VX_ColorSettings& settings, int32_t code) {
    EXPECT_EQ(Thrown([&] { EXPECT_EQ(settings.GetProfile(), nullptr); }), code);
    EXPECT_EQ(Thrown([&] { EXPECT_EQ(settings.GetAdjustedProfile(), nullptr); }), code);
    EXPECT_EQ(Thrown([&] { EXPECT_EQ(settings.GetCalGrayGamma(), ExponentOf(Named("sRGB"))); }),
              code);
    EXPECT_TRUE(VX_GetWorkingSpaceProfileName(&settings) == u"None");
    EXPECT_EQ(Thrown([&] { settings.GetLinearBlendingTables(true); }),
              code == 0 ? int32_t{QCE_BadArgument} : code);
    EXPECT_FALSE(settings.IsValid());
  }

  PoolPtr pool_ = NewPool();
};

}  // namespace

TEST_F(ColorSettings, WithoutAProfile) {
  VX_ColorSettings settings = Of("sRGB");
  const _t_QCE_ID known = settings.GetProfileID(), strange = {{1, 2, 3, 4}};
  const VX_LinearBlendingTables* const tables = settings.GetLinearBlendingTables(true);
  EXPECT_EQ(Thrown([&] { settings.SetProfile(nullptr); }), QCE_BadArgument);
  EXPECT_TRUE(settings.GetProfileID() == known);
  EXPECT_EQ(settings.GetLinearBlendingTables(true), tables);

  for (const bool linearize : {false, true}) {
    VX_ColorSettings bad(pool_.get());
    bad.SetLinearize(linearize);
    ExpectNoProfile(bad, 0);
    bad.SetProfileID(strange);
    ExpectNoProfile(bad, QCE_UnknownID);
    EXPECT_EQ(Thrown([&] { EXPECT_TRUE(bad != bad); }), QCE_UnknownID);
    bad.SetProfilePool(nullptr);
    ExpectNoProfile(bad, QCE_BadArgument);
    EXPECT_TRUE(bad.GetProfileID() == strange);
    bad.SetProfilePool(pool_.get());
    bad.SetProfileID(known);
    EXPECT_EQ(bad.GetProfile(), settings.GetProfile());
    EXPECT_TRUE(bad.IsValid());
  }
  EXPECT_TRUE(VX_GetWorkingSpaceProfileName(nullptr) == u"None");
  settings.SetProfileID(strange);
  EXPECT_EQ(Thrown([&] { VX_GetWorkingSpaceProfileName(&settings); }), QCE_UnknownID);
}

TEST_F(ColorSettings, TablesForLinearBlendingOrByForce) {
  for (int choice = 0; choice < 8; ++choice) {
    const bool blending = choice & 1, linearize = choice & 2, force = choice & 4;
    VX_ColorSettings settings = Of("gamma 1.8");
    settings.SetLinearBlending(blending);
    settings.SetLinearize(linearize);
    const VX_LinearBlendingTables* const tables = settings.GetLinearBlendingTables(force);
    EXPECT_EQ(tables != nullptr, force || (blending && !linearize)) << choice;
    EXPECT_NEAR(tables != nullptr ? tables->gamma : 1.8f, 1.8f, 1e-3f) << choice;
    EXPECT_NEAR(settings.GetCalGrayGamma(), linearize ? 1.0f : 1.8f, 1e-3f) << choice;
    EXPECT_TRUE(VX_GetWorkingSpaceProfileName(&settings) ==
                u"Working Space - " + DescriptionOf(settings.GetAdjustedProfile()));
  }
}

// By pool, profile, linear blending, linearize. Profiles of equal bytes are one profile.
TEST_F(ColorSettings, EqualityAndOrder) {
  const PoolPtr other_pool = NewPool();
  const auto make = [&](int i) {
    VX_ColorSettings settings((i & 8) != 0 ? pool_.get() : other_pool.get());
    settings.SetProfile(Named((i & 4) != 0 ? "sRGB" : "Display P3"));
    settings.SetLinearBlending((i & 2) != 0);
    settings.SetLinearize((i & 1) != 0);
    return settings;
  };
  const auto key = [](const VX_ColorSettings& s) {
    return std::make_tuple(reinterpret_cast<uintptr_t>(s.GetProfilePool()),
                           reinterpret_cast<uintptr_t>(s.GetProfile().get()), s.GetLinearBlending(),
                           s.GetLinearize());
  };
  for (int i = 0; i < 256; ++i) {
    const VX_ColorSettings a = make(i / 16), b = make(i % 16);
    EXPECT_EQ(a.GetSortOrder(b), key(a) < key(b) ? -1 : key(b) < key(a) ? 1 : 0);
    EXPECT_EQ(a == b, i / 16 == i % 16);
    EXPECT_EQ(a != b, i / 16 != i % 16);
  }
}

// Copies have the same choices and make tables of their own.
TEST_F(ColorSettings, Copies) {
  VX_ColorSettings from = Of("gamma 2.4");
  from.SetLinearBlending(true);
  const VX_LinearBlendingTables* const tables = from.GetLinearBlendingTables(false);
  const VX_ColorSettings copy(from);
  VX_ColorSettings assigned = Of("gamma 1.8");
  EXPECT_NEAR(assigned.GetLinearBlendingTables(true)->gamma, 1.8f, 1e-3f);
  assigned = from;
  VX_ColorSettings filled(pool_.get());
  filled = from;
  for (const VX_ColorSettings* to : {&copy, const_cast<const VX_ColorSettings*>(&assigned),
                                     const_cast<const VX_ColorSettings*>(&filled)}) {
    EXPECT_TRUE(to->IsValid());  // before a call finds the profile
    EXPECT_TRUE(*to == from && to->GetProfileID() == from.GetProfileID());
    EXPECT_NE(to->GetLinearBlendingTables(false), tables);
    EXPECT_EQ(to->GetLinearBlendingTables(false)->gamma, tables->gamma);
  }
  EXPECT_EQ(from.GetLinearBlendingTables(false), tables);

  const VX_ColorSettings* const emergency = VX_GetEmergencyColorSettings();
  EXPECT_EQ(VX_GetEmergencyColorSettings(), emergency);
  EXPECT_TRUE(emergency->GetProfileID() == Of("sRGB").GetProfileID());
  EXPECT_EQ(emergency->GetLinearBlendingTables(false), nullptr);
  EXPECT_TRUE(emergency->IsValid() && emergency->GetProfile() != nullptr);
}

// Texts of the host may be in any language, and damaged.
TEST(WideTexts, FromUtf8) {
  const std::u16string no = u"\uFFFD";
  const std::pair<std::string, std::u16string> cases[] = {
      {"", u""},
      {"Arbeitsfarbraum \xe2\x80\x93 \xc3\xbc", u"Arbeitsfarbraum \u2013 \u00fc"},
      {"\xf0\x9f\x8c\x88!", u"\U0001F308!"},
      {"\x7f\xdf\xbf\xef\xbf\xbf\xf4\x8f\xbf\xbf", u"\x7f\x7ff\xffff\xdbff\xdfff"},
      {"a\x80z", u"a" + no + u"z"},             // stray
      {"\xc3", no},                             // short
      {"\xe2\x80z", no + no + u"z"},            // short
      {"\xc0\xaf", no + no},                    // overlong
      {"\xed\xa0\x80", no + no + no},           // half of a pair
      {"\xf4\x90\x80\x80", no + no + no + no},  // above the last code point
      {"\xff\xfe", no + no},
  };
  for (const auto& [text, wide] : cases) EXPECT_TRUE(VXp_Utf16(text) == wide) << text;
}
