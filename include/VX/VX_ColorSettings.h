// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The colour settings of a project, and the tables for blending in linear light.
//
// Profiles are objects of the colour engine (host/COR.h). If the engine fails, these calls throw
// its status (an int32_t by value), and nothing has changed.

#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <string>

#include "VX/VX_LinearBlendingTables.h"
#include "VX/VX_Types.h"
#include "host/COR.h"

// Builds the tables for a profile. `linearize` contains the engine's conversion of the 256 8-bit
// greys to the linear counterpart of the profile. `delinearize` contains the inverse conversion,
// made monotonic, with 4097 entries. The exponents are those that the engine reports for this
// profile.
VX_API boost::shared_ptr<VX_LinearBlendingTables> VX_MakeLinearizationTables(
    boost::shared_ptr<COR_QCE_Profile> profile);

// Returns a transform for 16-bit pixels from a profile to its linear counterpart.
VX_API boost::shared_ptr<COR_QCE_Transform> VX_GetLinearizeTransform(
    const boost::shared_ptr<COR_QCE_Profile>& profile);

// The settings of a project. The profile object and the tables are computed from the profile's ID
// on first use and cached.
//
// Ownership: the pool is not owned and must outlive the object; without a pool an ID cannot be
// resolved.
// Threads: the first use does not lock. Call GetProfile and GetLinearBlendingTables once on one
// thread before other threads use the object. Comparisons call GetProfile.
class VX_API VX_ColorSettings {
 public:
  explicit VX_ColorSettings(COR_QCE_ProfilePool* pool);

  // Copies the settings, not the computed data.
  VX_ColorSettings(const VX_ColorSettings& other);
  VX_ColorSettings& operator=(const VX_ColorSettings& other);
  ~VX_ColorSettings();

  // Compares linear blending, linearize, the profile objects and the pools.
  bool operator==(const VX_ColorSettings& other) const;
  bool operator!=(const VX_ColorSettings& other) const;

  // Returns -1, 0 or 1. Compares in this order: address of the pool, address of the profile, linear
  // blending, linearize; false is less than true.
  int32_t GetSortOrder(const VX_ColorSettings& other) const;

  // Returns the profile object; null for the null ID. Throws QCE_UnknownID if the pool does not
  // contain the ID, QCE_BadArgument if there is no pool.
  boost::shared_ptr<COR_QCE_Profile> GetProfile() const;

  // Stores the ID of the profile, but not the object, and adds the profile to the pool. Throws
  // QCE_BadArgument for null.
  void SetProfile(boost::shared_ptr<COR_QCE_Profile> profile);

  _t_QCE_ID GetProfileID() const;
  // Sets the ID and discards the cached profile and tables, also if the ID is the same.
  void SetProfileID(const _t_QCE_ID& id);

  COR_QCE_ProfilePool* GetProfilePool() const;
  void SetProfilePool(COR_QCE_ProfilePool* pool);

  // Linearize: all operations work in linear light. LinearBlending: only blending does. The setters
  // do not discard the cached profile and tables.
  bool GetLinearize() const;
  void SetLinearize(bool linearize);
  bool GetLinearBlending() const;
  void SetLinearBlending(bool linear_blending);

  // Returns the tables of the profile. Returns null if linear blending is off or linearize is on,
  // unless `force` is true. The object owns the tables. They are valid until its profile is set or
  // another object is assigned to it. Throws QCE_BadArgument if there is no profile.
  const VX_LinearBlendingTables* GetLinearBlendingTables(bool force) const;

  // Returns the profile, or its linear counterpart if linearize is on; null if there is no profile.
  boost::shared_ptr<COR_QCE_Profile> GetAdjustedProfile() const;

  // Returns the exponent (encoded to linear) of the adjusted profile, or of sRGB if there is none.
  float GetCalGrayGamma() const;

  // Returns true if a profile was resolved from its ID or set on this object, or on the object from
  // which it was copied.
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

// Returns settings for callers without a project: sRGB, blending of encoded values. The first call
// creates the object, without a lock. All calls return the same object until VX_Death frees it.
VX_API VX_ColorSettings* VX_GetEmergencyColorSettings();

// Returns "Working Space - " and the description of the adjusted profile, or "None" if settings is
// null, not valid, or has no profile. Both texts are in the user's language.
VX_API std::u16string VX_GetWorkingSpaceProfileName(const VX_ColorSettings* settings);
