// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <vector>

#include "COR_Curve.h"

namespace host {

// Finds, without a power function per pixel, the code 0..last of a channel whose encoded value is
// nearest to a linear value ("light").
class Codes {
 public:
  Codes(const ToneCurve& curve, uint32_t last);

  // Linear values up to that of code 0 give 0, values above that of the last code give the last
  // code.
  uint32_t Nearest(float light) const;

 private:
  static constexpr uint32_t kCells = 4096;

  float black_;
  std::vector<float> bounds_;     // light of code + 1/2 for all codes but the last, ascending
  std::vector<uint32_t> starts_;  // number of bounds at or below the start of each cell
};

}  // namespace host
