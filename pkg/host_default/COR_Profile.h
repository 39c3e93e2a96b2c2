// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A profile: its bytes, and what the engine reads from them.

#include <array>
#include <string>
#include <vector>

#include "COR_Curve.h"
#include "COR_Lcms.h"

// Immutable. If a profile has lookup tables as well as primaries and tone curves, only the latter
// are used, because they can be made linear.
class COR_QCE_Profile {
 public:
  // Throws the statuses of COR_QCE_ProfileFromMemory. Bytes after the size in the header are
  // ignored.
  COR_QCE_Profile(const uint8_t* bytes, size_t size);

  const std::vector<uint8_t>& bytes() const { return bytes_; }
  const std::u16string& description() const { return description_; }
  const host::ToneCurve& curve(int channel) const { return curves_[static_cast<size_t>(channel)]; }
  bool IsLinear() const;
  _t_QCE_ID Id() const;

  // Column c is the XYZ of primary c relative to the D50 white of profiles. The matrix is regular,
  // and white is positive in all three rows.
  const cmsMAT3& primaries() const { return primaries_; }

 private:
  void ReadPrimaries(cmsHPROFILE profile);
  void ReadCurves(cmsHPROFILE profile);
  void ReadDescription(cmsHPROFILE profile);

  std::vector<uint8_t> bytes_;
  host::LcmsContext context_;
  cmsMAT3 primaries_;
  std::vector<host::ToneCurve> curves_;
  std::u16string description_;
};

namespace host {

// Returns a built-in profile as bytes; empty for an unknown name.
std::vector<uint8_t> MakeBuiltInProfile(const char* name);
const char* BuiltInProfileName(int32_t index);

// Returns a profile with the same primaries and white point and identity curves, as bytes.
std::vector<uint8_t> MakeLinearProfile(const COR_QCE_Profile& profile);

}  // namespace host
