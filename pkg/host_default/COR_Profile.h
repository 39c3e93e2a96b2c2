// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A profile: its bytes, and the data that the engine reads from them.

#include <array>
#include <string>
#include <vector>

#include "COR_Curve.h"
#include "COR_Lcms.h"

// Immutable. If a profile contains lookup tables and also primaries with tone curves, the tables
// are ignored, because only primaries and curves can be converted to a linear counterpart.
class COR_QCE_Profile {
 public:
  // Parses a profile. Throws the statuses of COR_QCE_ProfileFromMemory. Bytes after the size in the
  // header are ignored.
  COR_QCE_Profile(const uint8_t* bytes, size_t size);

  const std::vector<uint8_t>& bytes() const { return bytes_; }
  const std::u16string& description() const { return description_; }
  const host::ToneCurve& curve(int channel) const { return curves_[static_cast<size_t>(channel)]; }
  bool IsLinear() const;
  _t_QCE_ID Id() const;

  // Column c is the XYZ of primary c, relative to the D50 white of ICC profiles. The matrix is
  // invertible, and the sum of each row is positive.
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

// Returns the bytes of a built-in profile; empty for an unknown name.
std::vector<uint8_t> MakeBuiltInProfile(const char* name);
const char* BuiltInProfileName(int32_t index);

// Returns the bytes of a profile with the same primaries and white point, and identity curves.
std::vector<uint8_t> MakeLinearProfile(const COR_QCE_Profile& profile);

}  // namespace host
