// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_ColorSettings.h"

namespace {

constexpr _t_QCE_ID kNullID{};

int32_t Order(const void* a, const void* b) {
  const auto x = reinterpret_cast<uintptr_t>(a), y = reinterpret_cast<uintptr_t>(b);
  return x < y ? -1 : static_cast<int32_t>(x > y);
}
int32_t Order(bool a, bool b) { return static_cast<int32_t>(a) - static_cast<int32_t>(b); }

}  // namespace

VX_ColorSettings::VX_ColorSettings(COR_QCE_ProfilePool* pool)
    : profileID(kNullID), linearize(0), linearBlending(0), profilePool(pool), valid(0) {}

VX_ColorSettings::VX_ColorSettings(const VX_ColorSettings& other) {
  VXp_TransferColorSettings(other);
}

VX_ColorSettings& VX_ColorSettings::operator=(const VX_ColorSettings& other) {
  VXp_TransferColorSettings(other);
  return *this;
}

VX_ColorSettings::~VX_ColorSettings() = default;

// Copies the settings, but not the cached profile and tables: callers may hold addresses of tables
// of `from`.
void VX_ColorSettings::VXp_TransferColorSettings(const VX_ColorSettings& from) {
  InvalidateCachedValues(from.profileID);
  linearize = from.linearize;
  linearBlending = from.linearBlending;
  profilePool = from.profilePool;
  valid = from.valid;
}

void VX_ColorSettings::InvalidateCachedValues(_t_QCE_ID id) {
  profileID = id;
  profile.reset();
  tables.reset();
}

bool VX_ColorSettings::operator==(const VX_ColorSettings& other) const {
  return linearize == other.linearize && linearBlending == other.linearBlending &&
         GetProfile() == other.GetProfile() && profilePool == other.profilePool;
}

bool VX_ColorSettings::operator!=(const VX_ColorSettings& other) const { return !(*this == other); }

int32_t VX_ColorSettings::GetSortOrder(const VX_ColorSettings& other) const {
  int32_t order = Order(profilePool, other.profilePool);
  if (order == 0) order = Order(GetProfile().get(), other.GetProfile().get());
  if (order == 0) order = Order(linearBlending != 0, other.linearBlending != 0);
  if (order == 0) order = Order(linearize != 0, other.linearize != 0);
  return order;
}

boost::shared_ptr<COR_QCE_Profile> VX_ColorSettings::GetProfile() const {
  if (profile == nullptr && !(profileID == kNullID)) {
    COR_QCE_ProfilePtr found;
    QCE_Error(COR_QCE_GetProfileByID(profilePool, profileID, &found));
    profile = found;
    valid = 1;
  }
  return profile;
}

// Only the identifier is stored. The pool returns its first profile with this identifier, so that
// equal settings refer to the same profile object.
void VX_ColorSettings::SetProfile(boost::shared_ptr<COR_QCE_Profile> chosen) {
  _t_QCE_ID id{};
  QCE_Error(COR_QCE_GetProfileID(profilePool, chosen, &id));
  InvalidateCachedValues(id);
  valid = 1;
}

_t_QCE_ID VX_ColorSettings::GetProfileID() const { return profileID; }
void VX_ColorSettings::SetProfileID(const _t_QCE_ID& id) { InvalidateCachedValues(id); }

COR_QCE_ProfilePool* VX_ColorSettings::GetProfilePool() const { return profilePool; }
void VX_ColorSettings::SetProfilePool(COR_QCE_ProfilePool* pool) { profilePool = pool; }

bool VX_ColorSettings::GetLinearize() const { return linearize != 0; }
void VX_ColorSettings::SetLinearize(bool on) { linearize = on ? 1 : 0; }
bool VX_ColorSettings::GetLinearBlending() const { return linearBlending != 0; }
void VX_ColorSettings::SetLinearBlending(bool on) { linearBlending = on ? 1 : 0; }

const VX_LinearBlendingTables* VX_ColorSettings::GetLinearBlendingTables(bool force) const {
  if (!force && (linearBlending == 0 || linearize != 0)) return nullptr;
  if (tables == nullptr) tables = VX_MakeLinearizationTables(GetProfile());
  return tables.get();
}

boost::shared_ptr<COR_QCE_Profile> VX_ColorSettings::GetAdjustedProfile() const {
  const COR_QCE_ProfilePtr stored = GetProfile();
  if (linearize == 0 || stored == nullptr) return stored;
  COR_QCE_ProfilePtr linear;
  QCE_Error(COR_QCE_GetLinearRGBProfile(stored, &linear));
  return linear;
}

float VX_ColorSettings::GetCalGrayGamma() const {
  float exponent = 0.0f;
  QCE_Error(COR_QCE_GetToneExponent(GetAdjustedProfile(), &exponent));
  return exponent;
}

bool VX_ColorSettings::IsValid() const { return valid != 0; }
