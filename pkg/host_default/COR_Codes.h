// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <vector>

#include "COR_Curve.h"

namespace host {

// The codes 0..last of a channel, found by their light: the one whose stored value is nearest,
// without a power for each pixel.
class Codes {
 public:
  Codes(const ToneCurve& curve, uint32_t last);

  // Light up to that of code 0 gives 0, light above that of the last code the last.
  uint32_t Nearest(float light) const;

 private:
  static constexpr uint32_t kCells = 4096;

  float black_;
  std::vector<float> bounds_;     // the light half a code above each code but the last, rising
  std::vector<uint32_t> starts_;  // how many bounds are at or below the start of each cell
};

}  // namespace host
