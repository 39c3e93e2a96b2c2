// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Builds Gaussian kernels.

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "VX/VX_Convolve.h"
#include "frame/VXp_Report.h"

namespace {

constexpr uint32_t kKernelNumber = 10;

// Returns the number of taps on each side of the centre: ceil(radius), reduced to its low 16 bits
// as a signed number. Returns -1 for an invalid radius, and if the reduced number is negative.
int32_t ReachOf(double radius) {
  constexpr double kEndOf32Bits = 2147483647.0;
  if (!(radius >= 0.0) || radius > kEndOf32Bits) return -1;
  return std::max<int32_t>(static_cast<int16_t>(static_cast<int64_t>(std::ceil(radius))), -1);
}

int64_t RowsOf(int32_t reach, int32_t flags) {
  return (flags & VX_Kernel_OneDimensional) != 0 ? 1 : 2 * int64_t{reach} + 1;
}

// Clamps a weight to 0..most and truncates it.
int32_t Weight(double real, double most) {
  return static_cast<int32_t>(std::clamp(real, 0.0, most));
}

// Fills the row of weights at distance y from the centre, from its ends inwards. The unrounded
// weights are added to `sum` in this order, on which the last bits of the sum depend.
void FillRow(double radius, double multiplier, int32_t reach, int64_t y, double& sum,
             int32_t* centre) {
  for (int64_t x = reach; x >= 0; --x) {
    const double distance =
        y == 0 ? static_cast<double>(x) : std::sqrt(static_cast<double>(x * x + y * y));
    const double real = VXp_GaussianValue(distance / (radius + 1.0)) * 255.0 * multiplier;
    const int32_t weight = Weight(real + 0.5, 255.0);
    centre[x] = weight;
    centre[-x] = weight;
    sum += real;
    if (x != 0) sum += real;
  }
}

}  // namespace

double VXp_GaussianValue(double d) {
  if (d > 1.0) return 0.0;
  return 1.0 - (1.0 - std::exp(-2.378 * d * d)) * 1.102;
}

int64_t VX_GaussianKernelSize(double radius, int32_t flags) {
  const int32_t reach = ReachOf(radius);
  return reach < 0 ? 0 : (2 * int64_t{reach} + 1) * RowsOf(reach, flags);
}

VX_Err VX_GaussianKernel(void* /*ref*/, double radius, int32_t flags, double multiplier,
                         int32_t* diameter, int32_t* kernel) {
  const int32_t reach = ReachOf(radius);
  if (reach < 0 || !std::isfinite(multiplier) || diameter == nullptr || kernel == nullptr) {
    return VXp_BadParameter(kKernelNumber);
  }
  const int64_t width = 2 * int64_t{reach} + 1;
  const int64_t rows = RowsOf(reach, flags);
  double sum = 0.0;
  for (int64_t row = 0; row < rows; ++row) {
    FillRow(radius, multiplier, reach, row - rows / 2, sum, kernel + row * width + reach);
  }
  // The weights are not scaled if their sum is 0, because then no factor gives another sum.
  if ((flags & VX_Kernel_Normalize) != 0 && sum != 0.0) {
    const double scale = 255.0 * static_cast<double>(width) * static_cast<double>(rows) / sum;
    for (int64_t i = 0; i < width * rows; ++i) kernel[i] = Weight(kernel[i] * scale, INT32_MAX);
  }
  *diameter = static_cast<int32_t>(width);
  return VX_Ok;
}
