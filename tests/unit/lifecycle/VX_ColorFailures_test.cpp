// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Colour settings on an engine that is watched: what is asked for again and what is kept, and each
// of its calls failing by turns.

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <vector>

#include "VX/VX_ColorSettings.h"
#include "VX/VX_Package.h"
#include "hostdouble/HostDouble.h"

namespace {

constexpr int32_t kStatus = QCE_Damaged;

int32_t Thrown(const std::function<void()>& body) {
  try {
    body();
  } catch (int32_t code) {
    return code;
  }
  return 0;
}

class ColorFailures : public testing::Test {
 protected:
  void SetUp() override {
    VX_Death();
    host_.emplace();
    ASSERT_EQ(VX_Birth(), 0);
    alive_ = host_->Leaked();
    ASSERT_EQ(COR_QCE_NewProfilePool(&pool_), QCE_Ok);
    ASSERT_EQ(COR_QCE_ProfileFromName("gamma 1.8", &profile_), QCE_Ok);
  }
  void TearDown() override {
    profile_.reset();
    COR_QCE_DisposeProfilePool(pool_);
    EXPECT_EQ(host_->Leaked(), alive_);
    VX_Death();
    EXPECT_EQ(host_->Leaked(), 0);
    host_.reset();
    ASSERT_EQ(VX_Birth(), 0);
  }

  size_t CallsTo(const char* name) const { return host_->CallsTo(name).size(); }

  std::optional<HostDouble> host_;
  int64_t alive_ = 0;
  COR_QCE_ProfilePool* pool_ = nullptr;
  COR_QCE_ProfilePtr profile_;
};

}  // namespace

TEST_F(ColorFailures, CachesAreDroppedAndKept) {
  const auto use = [](VX_ColorSettings& s) {
    s.GetProfile();
    s.GetLinearBlendingTables(true);
  };
  VX_ColorSettings settings(pool_);
  settings.SetProfile(profile_);
  use(settings);
  struct {
    const char* what;
    std::function<void(VX_ColorSettings&)> act;
    bool drops;
  } const cases[] = {
      {"nothing", [](VX_ColorSettings&) {}, false},
      {"linearize", [](VX_ColorSettings& s) { s.SetLinearize(true); }, false},
      {"linear blending", [](VX_ColorSettings& s) { s.SetLinearBlending(true); }, false},
      {"pool", [&](VX_ColorSettings& s) { s.SetProfilePool(pool_); }, false},
      {"the same ID", [](VX_ColorSettings& s) { s.SetProfileID(s.GetProfileID()); }, true},
      {"the same profile", [&](VX_ColorSettings& s) { s.SetProfile(profile_); }, true},
      {"its own copy", [](VX_ColorSettings& s) { s = VX_ColorSettings(s); }, true},
  };
  for (const auto& [what, act, drops] : cases) {
    const size_t resolved = CallsTo("COR_QCE_GetProfileByID"), applied = CallsTo("COR_QCE_Apply");
    act(settings);
    use(settings);
    use(settings);
    EXPECT_EQ(CallsTo("COR_QCE_GetProfileByID") - resolved, drops ? 1u : 0u) << what;
    EXPECT_EQ(CallsTo("COR_QCE_Apply") - applied, drops ? 1u : 0u) << what;
  }
}

// The status comes out, what was held stays, and the next try works.
TEST_F(ColorFailures, EveryCallFails) {
  struct {
    const char* service;
    std::function<void(VX_ColorSettings&)> act;
  } const cases[] = {
      {"COR_QCE_GetProfileID", [&](VX_ColorSettings& s) { s.SetProfile(profile_); }},
      {"COR_QCE_GetProfileByID", [](VX_ColorSettings& s) { s.GetProfile(); }},
      {"COR_QCE_GetProfileByID", [](VX_ColorSettings& s) { static_cast<void>(s == s); }},
      {"COR_QCE_GetProfileByID", [](VX_ColorSettings& s) { s.GetLinearBlendingTables(true); }},
      {"COR_QCE_GetLinearRGBProfile", [](VX_ColorSettings& s) { s.GetLinearBlendingTables(true); }},
      {"COR_QCE_NewTransform", [](VX_ColorSettings& s) { s.GetLinearBlendingTables(true); }},
      {"COR_QCE_Apply", [](VX_ColorSettings& s) { s.GetLinearBlendingTables(true); }},
      {"COR_QCE_GetToneExponent", [](VX_ColorSettings& s) { s.GetLinearBlendingTables(true); }},
      {"COR_QCE_GetToneExponent", [](VX_ColorSettings& s) { s.GetCalGrayGamma(); }},
      {"COR_QCE_GetLinearRGBProfile",
       [](VX_ColorSettings& s) {
         s.SetLinearize(true);
         s.GetAdjustedProfile();
       }},
      {"COR_QCE_GetProfileDescription",
       [](VX_ColorSettings& s) { VX_GetWorkingSpaceProfileName(&s); }},
  };
  for (const auto& [service, act] : cases) {
    VX_ColorSettings settings(pool_);
    settings.SetProfile(profile_);
    const _t_QCE_ID id = settings.GetProfileID();
    const int64_t alive = host_->Leaked();
    host_->Fail(service, kStatus);
    EXPECT_EQ(Thrown([&] { act(settings); }), kStatus) << service;
    EXPECT_EQ(host_->Leaked(), alive) << service;
    EXPECT_TRUE(settings.GetProfileID() == id) << service;
    EXPECT_TRUE(settings.IsValid()) << service;
    host_->Fail(service, 0);
    EXPECT_EQ(Thrown([&] { act(settings); }), 0) << service;
  }
}

TEST_F(ColorFailures, NoMemoryAtAnyPlace) {
  VX_ColorSettings settings(pool_);
  settings.SetProfile(profile_);
  const int64_t alive = host_->Leaked();
  int failures = 0;
  for (int nth = 1;; ++nth) {
    host_->FailAllocation(nth);
    const int32_t code = Thrown([&] { settings.GetLinearBlendingTables(true); });
    host_->FailAllocation(0);
    EXPECT_EQ(host_->Leaked(), alive);
    if (code == 0) break;
    EXPECT_EQ(code, QCE_OutOfMemory);
    ++failures;
  }
  EXPECT_GT(failures, 2);
}

// A failed attempt leaves nothing that a later one would meet; the object lives until the package's
// end, and goes before the engine does.
TEST_F(ColorFailures, EmergencyObject) {
  for (const char* service :
       {"COR_QCE_NewProfilePool", "COR_QCE_ProfileFromName", "COR_QCE_GetProfileID"}) {
    const int64_t alive = host_->Leaked();
    host_->Fail(service, kStatus);
    EXPECT_EQ(Thrown([] { VX_GetEmergencyColorSettings(); }), kStatus) << service;
    EXPECT_EQ(host_->Leaked(), alive) << service;
    host_->Fail(service, 0);
  }
  VX_ColorSettings* const settings = VX_GetEmergencyColorSettings();
  EXPECT_EQ(VX_GetEmergencyColorSettings(), settings);
  EXPECT_NE(settings->GetLinearBlendingTables(true), nullptr);
  EXPECT_EQ(VX_Death(), 0);
  const std::vector<std::string> names = host_->CallNames();
  ASSERT_GE(names.size(), 2u);
  EXPECT_EQ(names[names.size() - 2], "COR_QCE_DisposeProfilePool");
  EXPECT_EQ(names.back(), "COR_ReleaseClient");
  EXPECT_EQ(Thrown([] { VX_GetEmergencyColorSettings(); }), QCE_NotAvailable);
  ASSERT_EQ(VX_Birth(), 0);
  EXPECT_NE(VX_GetEmergencyColorSettings(), nullptr);
  alive_ = 0;
  profile_.reset();
  COR_QCE_DisposeProfilePool(pool_);
  pool_ = nullptr;
  EXPECT_EQ(VX_Death(), 0);
  EXPECT_EQ(host_->Leaked(), 0);
}
