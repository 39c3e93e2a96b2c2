// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// In which colours a project works, and the tables that blending in linear light reads.
//
// Profiles are those of the colour engine (host/COR.h). Where the engine fails its status is
// thrown, an int32_t by value, and nothing has changed.

#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <string>

#include "VX/VX_LinearBlendingTables.h"
#include "VX/VX_Types.h"
#include "host/COR.h"

// The tables for a profile. `linearize` is what the engine makes of the 256 greys on the way to the
// profile's linear counterpart; `delinearize` is the inverse of it, brought to 4097 entries and
// made to rise first; the exponents are those of the engine for this profile.
VX_API boost::shared_ptr<VX_LinearBlendingTables> VX_MakeLinearizationTables(
    boost::shared_ptr<COR_QCE_Profile> profile);

// From a profile to its linear counterpart, for 16-bit pixels.
VX_API boost::shared_ptr<COR_QCE_Transform> VX_GetLinearizeTransform(
    const boost::shared_ptr<COR_QCE_Profile>& profile);

// The choices of a project, with what is dear to compute from them kept: the profile that the ID
// stands for, and the tables. Both are made when first asked for, without a lock, so the first
// GetProfile and GetLinearBlendingTables belong on one thread; comparing two objects asks for the
// profiles. The pool is not owned and must outlive the object; without one an ID cannot be
// resolved.
class VX_API VX_ColorSettings {
 public:
  explicit VX_ColorSettings(COR_QCE_ProfilePool* pool);

  // Copies the choices, not what was made from them.
  VX_ColorSettings(const VX_ColorSettings& other);
  VX_ColorSettings& operator=(const VX_ColorSettings& other);
  ~VX_ColorSettings();

  // Equal: the same two booleans, the same profile object and the same pool.
  bool operator==(const VX_ColorSettings& other) const;
  bool operator!=(const VX_ColorSettings& other) const;

  // -1, 0 or 1: by the address of the pool, that of the profile, linear blending, linearize; false
  // comes first.
  int32_t GetSortOrder(const VX_ColorSettings& other) const;

  // Throws QCE_UnknownID where the pool has never met the ID, QCE_BadArgument where there is no
  // pool. The null ID gives null.
  boost::shared_ptr<COR_QCE_Profile> GetProfile() const;

  // Keeps the identity only; the pool learns the profile. Throws QCE_BadArgument for null.
  void SetProfile(boost::shared_ptr<COR_QCE_Profile> profile);

  _t_QCE_ID GetProfileID() const;
  // Drops profile and tables, also for the ID that is held already.
  void SetProfileID(const _t_QCE_ID& id);

  COR_QCE_ProfilePool* GetProfilePool() const;
  void SetProfilePool(COR_QCE_ProfilePool* pool);

  // Work in linear light throughout, and blend in linear light only. Setting drops nothing.
  bool GetLinearize() const;
  void SetLinearize(bool linearize);
  bool GetLinearBlending() const;
  void SetLinearBlending(bool linear_blending);

  // The tables for blending: null unless linear blending is chosen and linearize is not; with
  // `force` in any case. They are those of the profile, adjusted or not. They belong to this object
  // and live until the profile is set, or an object is assigned to this one. Throws QCE_BadArgument
  // where there is no profile.
  const VX_LinearBlendingTables* GetLinearBlendingTables(bool force) const;

  // The profile, or with linearize its linear counterpart; null without a profile.
  boost::shared_ptr<COR_QCE_Profile> GetAdjustedProfile() const;

  // The exponent of the adjusted profile, from stored to linear; that of sRGB without a profile.
  float GetCalGrayGamma() const;

  // True once a profile was resolved or set, for good; a copy takes it over.
  bool IsValid() const;

 private:
  void VXp_TransferColorSettings(const VX_ColorSettings& from);
  void InvalidateCachedValues(_t_QCE_ID id);

  _t_QCE_ID profileID;
  mutable boost::shared_ptr<COR_QCE_Profile> profile;
  uint8_t linearize;
  uint8_t linearBlending;
  mutable boost::shared_ptr<VX_LinearBlendingTables> tables;
  COR_QCE_ProfilePool* profilePool;
  mutable uint8_t valid;
};
static_assert(sizeof(VX_ColorSettings) == 72);

// For callers that have no settings of a project: sRGB, blending as stored. Made on the first call,
// without a lock, the same object until VX_Death.
VX_API VX_ColorSettings* VX_GetEmergencyColorSettings();

// "Working Space - " and the description of the adjusted profile; "None" for null, for settings
// that are not valid, and where there is no profile. Both texts in the user's language.
VX_API std::u16string VX_GetWorkingSpaceProfileName(const VX_ColorSettings* settings);
