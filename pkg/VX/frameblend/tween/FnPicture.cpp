// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/tween/FnPicture.h"

#include <cmath>

std::array<float, 6> FnSincWeights(float fraction) {
  constexpr double kPi = 3.14159265358979323846;
  std::array<float, 6> weights = {0, 0, 1, 0, 0, 0};
  if (fraction == 0) return weights;
  float sum = 0;
  for (int32_t i = 0; i < 6; ++i) {
    const double t = kPi * (static_cast<double>(fraction) + 2 - i);
    const double weight = t == 0 ? 1 : 3 * std::sin(t) * std::sin(t / 3) / (t * t);
    weights[static_cast<size_t>(i)] = static_cast<float>(weight);
    sum += static_cast<float>(weight);
  }
  for (float& weight : weights) weight /= sum;
  return weights;
}
