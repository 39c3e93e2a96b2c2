// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The tone curve of one channel, in both directions.

#include <vector>

#include "COR_Lcms.h"

namespace host {

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

  // Returns the exponent of the conversion from encoded to linear values.
  double Exponent() const;

  bool IsIdentity() const;
  bool operator==(const ToneCurve& other) const;

 private:
  cmsInt32Number Type() const;  // 0 for a table
  bool IsPurePower() const;
  double FittedExponent() const;

  LcmsCurve forward_;
  LcmsCurve backward_;           // null for a table
  std::vector<uint16_t> table_;  // empty for a formula
  std::vector<uint16_t> rising_;
};

}  // namespace host
