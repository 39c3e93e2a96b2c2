// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The tone curve of one channel, in both directions.

#include <vector>

#include "COR_Lcms.h"

namespace host {

// Curves given by a formula go on beyond white, those given by a table end there; values below 0
// are mirrored. What is not a number stays so. Any number of threads may share one.
class ToneCurve {
 public:
  // Copies `curve`, whose context must outlive this. Throws QCE_BadCurve when it does not rise from
  // its first value to its last.
  ToneCurve(const LcmsContext& context, const cmsToneCurve* curve);

  float ToLinear(float stored) const;

  // Where the curve stands still, the end of the stretch; where it falls, as if it stood still.
  float ToStored(float linear) const;

  // From stored to linear.
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
