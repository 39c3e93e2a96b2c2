// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of the colour spaces, in real numbers without scaling and rounding. Red, green and
// blue are 0..1.

#include <algorithm>
#include <array>
#include <cmath>

namespace vxref {

using Triple = std::array<long double, 3>;

inline constexpr Triple kYiq[3] = {
    {0.299L, 0.587L, 0.114L}, {0.596L, -0.274L, -0.322L}, {0.211L, -0.523L, 0.312L}};

inline long double Determinant(const Triple& a, const Triple& b, const Triple& c) {
  return a[0] * (b[1] * c[2] - b[2] * c[1]) - a[1] * (b[0] * c[2] - b[2] * c[0]) +
         a[2] * (b[0] * c[1] - b[1] * c[0]);
}

// H is 0..360 degrees, L and S are 0..1. For greys H and S are 0.
inline Triple HlsOf(const Triple& rgb) {
  const auto [low, high] = std::minmax({rgb[0], rgb[1], rgb[2]});
  const long double range = high - low, lightness = (high + low) / 2;
  if (range == 0) return {0, lightness, 0};
  const long double max_range = lightness <= 0.5L ? high + low : 2 - high - low;
  // Hue: the primary of the largest channel is at 0 (red), 120 (green) or 240 (blue) degrees. The
  // difference of the other two channels moves the hue by up to 60 degrees to either side.
  const size_t largest = rgb[0] == high ? 0 : rgb[1] == high ? 1 : 2;
  const long double turn = (rgb[(largest + 1) % 3] - rgb[(largest + 2) % 3]) / range;
  const long double degrees = 60 * (2 * static_cast<long double>(largest) + turn);
  return {degrees < 0 ? degrees + 360 : degrees, lightness, range / max_range};
}

// A channel has its highest value at hues within 60 degrees of its primary. It decreases linearly
// over the next 60 degrees, and has its lowest value at all other hues.
inline Triple RgbOfHls(const Triple& hls) {
  const long double chroma = (1 - std::abs(2 * hls[1] - 1)) * hls[2];
  Triple rgb{};
  for (size_t i = 0; i < 3; ++i) {
    const long double apart =
        std::abs(std::remainder(hls[0] - 120 * static_cast<long double>(i), 360.0L));
    rgb[i] = hls[1] - chroma / 2 + chroma * std::clamp(2 - apart / 60, 0.0L, 1.0L);
  }
  return rgb;
}

inline Triple YiqOf(const Triple& rgb) {
  Triple yiq{};
  for (size_t i = 0; i < 3; ++i) {
    for (size_t c = 0; c < 3; ++c) yiq[i] += kYiq[i][c] * rgb[c];
  }
  return yiq;
}

// Solves the three equations of YiqOf by Cramer's rule.
inline Triple RgbOfYiq(const Triple& yiq) {
  Triple columns[3];
  for (size_t c = 0; c < 3; ++c) columns[c] = {kYiq[0][c], kYiq[1][c], kYiq[2][c]};
  const long double whole = Determinant(columns[0], columns[1], columns[2]);
  return {Determinant(yiq, columns[1], columns[2]) / whole,
          Determinant(columns[0], yiq, columns[2]) / whole,
          Determinant(columns[0], columns[1], yiq) / whole};
}

}  // namespace vxref
