// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "COR_Codes.h"

#include <algorithm>

namespace host {

Codes::Codes(const ToneCurve& curve, uint32_t last)
    : black_(curve.ToLinear(0)), bounds_(last), starts_(kCells + 1) {
  float highest = -1;
  for (uint32_t code = 0; code < last; ++code) {
    const double middle = (code + 0.5) / last;
    highest = std::max(highest, curve.ToLinear(static_cast<float>(middle)));
    bounds_[code] = highest;
  }
  for (uint32_t cell = 0; cell <= kCells; ++cell) {
    const float start = static_cast<float>(cell) / kCells;
    const auto above = std::upper_bound(bounds_.begin(), bounds_.end(), start);
    starts_[cell] = static_cast<uint32_t>(above - bounds_.begin());
  }
}

uint32_t Codes::Nearest(float light) const {
  if (!(light > black_)) return 0;
  if (light < 0) return starts_[0];
  if (light >= 1) return starts_[kCells];
  const auto cell = static_cast<size_t>(light * kCells);
  const float* first = bounds_.data() + starts_[cell];
  const float* end = bounds_.data() + starts_[cell + 1];
  return static_cast<uint32_t>(std::upper_bound(first, end, light) - bounds_.data());
}

}  // namespace host
