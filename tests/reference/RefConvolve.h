// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of kernels and convolution: one destination pixel and one kernel element at a
// time.
//
// Arguments must be valid; they are not checked: worlds with pixels of the depth of the template
// argument, and an odd kernel size of at most 65535. Results are written to `dst`.

#include <cmath>
#include <type_traits>
#include <vector>

#include "RefArithmetic.h"
#include "VX/VX_Convolve.h"

namespace vxref {

struct Shape {
  int64_t half_width, half_height;

  Shape(int32_t flags, int32_t kernel_size) : half_width(kernel_size / 2), half_height(half_width) {
    if (flags % 2 != 0) (flags & 32 ? half_width : half_height) = 0;
  }
  int64_t Width() const { return 2 * half_width + 1; }
  int64_t Taps() const { return Width() * (2 * half_height + 1); }
};

inline int64_t Divisor(const Shape& shape, int32_t flags, const int32_t* kernel) {
  if ((flags & 2) == 0) return 256 * shape.Taps();
  int64_t sum = 0;
  for (int64_t i = 0; i < shape.Taps(); ++i) sum += kernel[i];
  return sum == 0 ? 1 : sum;
}

template <class Channel>
Channel Finished(int64_t sum, int64_t divisor, bool clamp, bool /*alpha*/) {
  int64_t value = sum / divisor;
  const int64_t white = sizeof(Channel) == 1 ? 255 : 32768;
  if (clamp && value < 0) value = 0;
  if (clamp && value > white) value = white;
  return static_cast<Channel>(value & (sizeof(Channel) == 1 ? 0xFF : 0xFFFF));
}

template <class Channel>
Channel Finished(float sum, int64_t divisor, bool clamp, bool alpha) {
  float value = sum / static_cast<float>(divisor);
  if (clamp && value < 0.0f) value = 0.0f;
  if (clamp && value > 1.0f) value = 1.0f;
  if (alpha && value > 1.0f) value = 1.0f;
  if (alpha && value < 1e-30f) value = 0.0f;
  return value;
}

// `kernels` are those of alpha, red, green, blue.
template <class Pixel>
void Convolve(const VX_LayerDef& src, int32_t flags, int32_t kernel_size,
              const int32_t* const kernels[4], const VX_LayerDef& dst) {
  using Channel = VX_ChannelOf<Pixel>;
  constexpr bool kFloat = std::is_same_v<Channel, float>;
  const Shape shape(flags, kernel_size);
  for (int c = 0; c < 4; ++c) {
    const int64_t divisor = Divisor(shape, flags, kernels[c]);
    for (int64_t y = 0; y < dst.height; ++y) {
      for (int64_t x = 0; x < dst.width; ++x) {
        std::conditional_t<kFloat, float, int64_t> sum = 0;
        for (int64_t i = 0; i < shape.Taps(); ++i) {
          const int64_t column = x - shape.half_width + i % shape.Width();
          const int64_t row = y - shape.half_height + i / shape.Width();
          if (column < 0 || column >= src.width || row < 0 || row >= src.height) continue;
          const Channel value = At<Channel>(src, 4 * column + c, row);
          if constexpr (kFloat) {
            sum += value * static_cast<float>(kernels[c][i]);
          } else {
            sum += int64_t{value} * kernels[c][i];
          }
        }
        At<Channel>(dst, 4 * x + c, y) = Finished<Channel>(sum, divisor, (flags & 4) == 0, c == 0);
      }
    }
  }
}

inline std::vector<int32_t> GaussianKernel(double radius, int32_t flags, double multiplier) {
  const int64_t reach = static_cast<int64_t>(std::ceil(radius));
  const int64_t rows = flags % 2 != 0 ? 0 : reach;
  std::vector<int32_t> kernel;
  double sum = 0;
  for (int64_t y = -rows; y <= rows; ++y) {
    for (int64_t x = -reach; x <= reach; ++x) {
      const double from_centre =
          y == 0 ? std::abs(static_cast<double>(x)) : std::sqrt(static_cast<double>(x * x + y * y));
      const double d = from_centre / (radius + 1);
      double weight = d > 1.0 ? 0.0 : 1 - (1 - std::exp(-2.378 * d * d)) * 1.102;
      weight = weight * 255 * multiplier;
      // The sum of a row of weights, by its symmetry: columns left of the centre count twice. The
      // product adds in this order, and the order changes the rounding of a floating-point sum.
      if (x <= 0) sum += weight;
      if (x < 0) sum += weight;
      const double rounded = std::trunc(weight + 0.5);
      kernel.push_back(static_cast<int32_t>(rounded < 0 ? 0 : rounded > 255 ? 255 : rounded));
    }
  }
  if ((flags & 2) == 0 || sum == 0) return kernel;
  const double scale = 255 * static_cast<double>(kernel.size()) / sum;
  for (int32_t& weight : kernel) weight = static_cast<int32_t>(weight * scale);
  return kernel;
}

}  // namespace vxref
