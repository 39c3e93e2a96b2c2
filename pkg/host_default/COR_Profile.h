// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A profile as the engine knows it: its bytes, and what they say.

#include <array>
#include <string>
#include <vector>

#include "COR_Curve.h"
#include "COR_Lcms.h"

// Immutable. Only primaries and tone curves count, also where there are tables besides: that is
// what can be made linear.
class COR_QCE_Profile {
 public:
  // Throws as COR_QCE_ProfileFromMemory tells. Bytes past the claimed size are left out.
  COR_QCE_Profile(const uint8_t* bytes, size_t size);

  const std::vector<uint8_t>& bytes() const { return bytes_; }
  const std::u16string& description() const { return description_; }
  const host::ToneCurve& curve(int channel) const { return curves_[static_cast<size_t>(channel)]; }
  bool IsLinear() const;
  _t_QCE_ID Id() const;

  // Column c holds the XYZ of primary c, on the D50 white of profiles; regular, and white is
  // positive in all three.
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

// A built-in profile, as bytes. Null for an unknown name.
std::vector<uint8_t> MakeBuiltInProfile(const char* name);
const char* BuiltInProfileName(int32_t index);

// The profile with the same primaries and white and identity curves, as bytes.
std::vector<uint8_t> MakeLinearProfile(const COR_QCE_Profile& profile);

}  // namespace host
