// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Colour settings on the embedded engine: defaults, tables, comparison, copies, refusals, names.

#include "VX/VX_ColorSettings.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <tuple>
#include <vector>

#include "color/VXp_Utf16.h"
#include "unit/ColorKit.h"

namespace {

using colorkit::DescriptionOf, colorkit::ExponentOf, colorkit::Named;

using PoolPtr = std::unique_ptr<COR_QCE_ProfilePool, void (*)(COR_QCE_ProfilePool*)>;

PoolPtr NewPool() {
  COR_QCE_ProfilePool* pool = nullptr;
  EXPECT_EQ(COR_QCE_NewProfilePool(&pool), QCE_Ok);
  return {pool, COR_QCE_DisposeProfilePool};
}

int32_t Thrown(const std::function<void()>& body) {
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

  PoolPtr pool_ = NewPool();
};

constexpr _t_QCE_ID kStrange = {{1, 2, 3, 4}};

}  // namespace

TEST_F(ColorSettings, WithoutAProfile) {
  VX_ColorSettings settings(pool_.get());
  for (const bool linearize : {false, true}) {
    settings.SetLinearize(linearize);
    EXPECT_EQ(settings.GetProfile(), nullptr);
    EXPECT_EQ(settings.GetAdjustedProfile(), nullptr);
    EXPECT_EQ(settings.GetCalGrayGamma(), ExponentOf(Named("sRGB")));
    EXPECT_EQ(Thrown([&] { settings.GetLinearBlendingTables(true); }), QCE_BadArgument);
    EXPECT_TRUE(VX_GetWorkingSpaceProfileName(&settings) == u"None");
  }
  EXPECT_TRUE(settings.GetProfileID() == _t_QCE_ID{});
  EXPECT_FALSE(settings.IsValid());
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
  }
}

// By pool, profile, linear blending, linearize. Profiles of equal bytes are one profile.
TEST_F(ColorSettings, EqualityAndOrder) {
  const PoolPtr other_pool = NewPool();
  COR_QCE_ProfilePool* const pools[] = {pool_.get(), other_pool.get()};
  const COR_QCE_ProfilePtr profiles[] = {Named("sRGB"), Named("Display P3")};
  const auto make = [&](int i) {
    VX_ColorSettings settings(pools[i >> 3]);
    settings.SetProfile(profiles[i >> 2 & 1]);
    settings.SetLinearBlending((i & 2) != 0);
    settings.SetLinearize((i & 1) != 0);
    return settings;
  };
  const auto key = [&](int i) {
    return std::make_tuple(reinterpret_cast<uintptr_t>(pools[i >> 3]),
                           reinterpret_cast<uintptr_t>(profiles[i >> 2 & 1].get()), i & 3);
  };
  for (int x = 0; x < 16; ++x) {
    for (int y = 0; y < 16; ++y) {
      const VX_ColorSettings a = make(x), b = make(y);
      EXPECT_EQ(a.GetSortOrder(b), key(x) < key(y) ? -1 : key(y) < key(x) ? 1 : 0);
      EXPECT_EQ(a == b, x == y);
      EXPECT_EQ(a != b, x != y);
    }
  }
  EXPECT_EQ(Of("sRGB").GetProfile(), Of("sRGB").GetProfile());
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
  for (const VX_ColorSettings* to : {&copy, static_cast<const VX_ColorSettings*>(&assigned)}) {
    EXPECT_TRUE(to->IsValid());  // before a call finds the profile
    EXPECT_TRUE(*to == from);
    EXPECT_TRUE(to->GetProfileID() == from.GetProfileID());
    EXPECT_NE(to->GetLinearBlendingTables(false), tables);
    EXPECT_EQ(to->GetLinearBlendingTables(false)->gamma, tables->gamma);
  }
  assigned = VX_ColorSettings(pool_.get());
  EXPECT_FALSE(assigned.IsValid());
  EXPECT_EQ(from.GetLinearBlendingTables(false), tables);
}

TEST_F(ColorSettings, RefusalsChangeNothing) {
  VX_ColorSettings settings = Of("sRGB");
  const _t_QCE_ID known = settings.GetProfileID();
  const VX_LinearBlendingTables* const tables = settings.GetLinearBlendingTables(true);
  EXPECT_EQ(Thrown([&] { settings.SetProfile(nullptr); }), QCE_BadArgument);
  EXPECT_TRUE(settings.GetProfileID() == known);
  EXPECT_EQ(settings.GetLinearBlendingTables(true), tables);

  const VX_ColorSettings good = settings;
  struct {
    COR_QCE_ProfilePool* pool;
    QCE_Status status;
  } const cases[] = {{pool_.get(), QCE_UnknownID}, {nullptr, QCE_BadArgument}};
  for (const auto& [pool, status] : cases) {
    VX_ColorSettings bad(pool);
    bad.SetProfileID(kStrange);
    EXPECT_EQ(Thrown([&] { bad.GetProfile(); }), status);
    EXPECT_EQ(Thrown([&] { bad.GetAdjustedProfile(); }), status);
    EXPECT_EQ(Thrown([&] { bad.GetCalGrayGamma(); }), status);
    EXPECT_EQ(Thrown([&] { bad.GetLinearBlendingTables(true); }), status);
    EXPECT_EQ(Thrown([&] { static_cast<void>(bad == good); }), status);
    EXPECT_TRUE(bad.GetProfileID() == kStrange);
    EXPECT_FALSE(bad.IsValid());
    bad.SetProfilePool(pool_.get());
    bad.SetProfileID(known);
    EXPECT_EQ(bad.GetProfile(), good.GetProfile());
    EXPECT_TRUE(bad.IsValid());
  }
}

TEST_F(ColorSettings, Names) {
  VX_ColorSettings settings = Of("gamma 2.2");
  for (const bool linearize : {false, true}) {
    settings.SetLinearize(linearize);
    const std::u16string description = DescriptionOf(settings.GetAdjustedProfile());
    EXPECT_FALSE(description.empty());
    EXPECT_TRUE(VX_GetWorkingSpaceProfileName(&settings) == u"Working Space - " + description);
  }
  settings.SetProfileID({});
  EXPECT_TRUE(VX_GetWorkingSpaceProfileName(&settings) == u"None");
  EXPECT_TRUE(VX_GetWorkingSpaceProfileName(nullptr) == u"None");
  settings.SetProfileID(kStrange);
  EXPECT_EQ(Thrown([&] { VX_GetWorkingSpaceProfileName(&settings); }), QCE_UnknownID);
}

TEST_F(ColorSettings, EmergencyObjectIsSrgbAsStored) {
  const VX_ColorSettings* const settings = VX_GetEmergencyColorSettings();
  ASSERT_NE(settings, nullptr);
  EXPECT_EQ(VX_GetEmergencyColorSettings(), settings);
  EXPECT_TRUE(settings->IsValid());
  EXPECT_TRUE(settings->GetProfileID() == Of("sRGB").GetProfileID());
  EXPECT_EQ(settings->GetLinearBlendingTables(false), nullptr);
  EXPECT_NE(settings->GetProfile(), nullptr);
}

// Texts of the host may be in any language, and damaged.
TEST(WideTexts, FromUtf8) {
  const std::u16string no = u"\uFFFD";
  struct {
    std::string text;
    std::u16string wide;
  } const cases[] = {
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
