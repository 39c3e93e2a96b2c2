// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <vector>

#include "COR_Curve.h"

namespace host {

// Finds, for a linear value ("light"), the code 0..last of a channel whose encoded value is
// nearest, without computing a power for each pixel.
class Codes {
 public:
  Codes(const ToneCurve& curve, uint32_t last);

  // A linear value at or below that of code 0 gives 0. A linear value above that of the last code
  // gives the last code.
  uint32_t Nearest(float light) const;

 private:
  static constexpr uint32_t kCells = 4096;

  float black_;
  std::vector<float> bounds_;     // light of code + 1/2 for all codes except the last, ascending
  std::vector<uint32_t> starts_;  // by interval of light: the number of bounds up to its start
};

}  // namespace host
