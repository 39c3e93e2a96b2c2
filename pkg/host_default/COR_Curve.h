// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The tone curve of one channel, in both directions.

#include <array>
#include <vector>

#include "COR_Lcms.h"

namespace host {

// The published parameters of two curves: g a b c d of (a x + b) ^ g for x >= d, else c x.
using PublishedCurve = std::array<double, 5>;
inline constexpr PublishedCurve kSrgbCurve = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
inline constexpr PublishedCurve kRec709Curve = {1 / 0.45, 1 / 1.099, 0.099 / 1.099, 1 / 4.5, 0.081};

// Above white, curves given by a formula are extended and curves given by a table are clamped.
// Negative values are mirrored; NaN is preserved. Thread-safe.
class ToneCurve {
 public:
  // Copies `curve`; its context must outlive this object. Throws QCE_BadCurve if the last value is
  // not above the first.
  ToneCurve(const LcmsContext& context, const cmsToneCurve* curve);

  float ToLinear(float stored) const;

  // Returns the stored value for a linear value. If the curve is constant at the linear value,
  // returns the end of the constant segment. Decreasing segments are treated as constant.
  float ToStored(float linear) const;

  // The forms of ToLinear and ToStored for float pixels. Parameters in files are rounded to
  // 1/65536, which changes stored values near black by up to 1e-5. Therefore, if they are those of
  // a published curve, the exact parameters of that curve are used.
  float ToLinearFloat(float stored) const;
  float ToStoredFloat(float linear) const;

  // Returns the exponent of the conversion from encoded to linear values.
  double Exponent() const;

  bool IsIdentity() const;
  bool operator==(const ToneCurve& other) const;

 private:
  cmsInt32Number Type() const;  // 0 for a table
  bool IsPurePower() const;
  void MakePublished(const LcmsContext& context);
  double FittedExponent() const;

  LcmsCurve forward_;
  LcmsCurve backward_;           // null for a table
  LcmsCurve published_forward_;  // null if the curve is not a published one
  LcmsCurve published_backward_;
  std::vector<uint16_t> table_;  // empty for a formula
  std::vector<uint16_t> rising_;
};

}  // namespace host
