// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The two curves of soft light: Up is D(x) - x and Down is x (1 - x), where x is m / F for a
// destination channel m (VXp_MattedModes.h). D(x) is ((16x - 12)x + 4)x for x up to 1/4, else the
// square root of x.

#include <algorithm>
#include <array>

#include "frame/VXp_LaneTraits.h"
#include "frame/VXp_Tables.h"

template <class T>
struct VXp_SoftLightCurves;

namespace vxp_soft_light {

// Returns the square root of x by Newton's method, whose values approach the root from above. The
// iteration ends when they no longer decrease. The error is about one unit in the last place.
constexpr double SquareRoot(double x) {
  double r = 1.0;
  for (;;) {
    const double next = 0.5 * (r + x / r);
    if (next >= r) return r;
    r = next;
  }
}

constexpr std::array<uint8_t, 256> MakeByteCurve(bool up) {
  std::array<uint8_t, 256> curve{};
  for (int i = 0; i < 256; ++i) {
    const double x = i / 255.0;
    const double d = x <= 0.25 ? ((16.0 * x - 12.0) * x + 4.0) * x : SquareRoot(x);
    curve[i] = static_cast<uint8_t>(255.0 * (up ? d - x : x * (1.0 - x)) + 0.5);
  }
  return curve;
}

inline constexpr std::array<uint8_t, 256> kUp8 = MakeByteCurve(true);
inline constexpr std::array<uint8_t, 256> kDown8 = MakeByteCurve(false);

}  // namespace vxp_soft_light

template <>
struct VXp_SoftLightCurves<VXp_PixelTraits<VX_Pixel8>> {
  static int32_t UpOrDown(bool up, int32_t m) {
    return up ? vxp_soft_light::kUp8[m & 0xFF] : vxp_soft_light::kDown8[m & 0xFF];
  }
};

// Returns the table value at `position`, which counts eighths of an entry, interpolated between the
// two neighbouring entries of 4097. The position is clamped to the table.
inline int32_t VXp_LookUpEighths(const uint16_t* table, int32_t position) {
  const int32_t x = std::clamp(position, 0, 32768);
  const int32_t i = x >> 3;
  const int32_t fraction = x & 7;
  const int32_t v = table[i];
  const int32_t next = table[i + (i < 4096)];
  return v + ((fraction * (next - v) + 4) >> 3);
}

template <>
struct VXp_SoftLightCurves<VXp_PixelTraits<VX_Pixel16>> {
  static int32_t UpOrDown(bool up, int32_t m) {
    return VXp_LookUpEighths(up ? VXp_G_SoftLightDelta16 : VXp_G_SoftLightParabola16, m);
  }
};

template <>
struct VXp_SoftLightCurves<VXp_PixelTraits<VX_PixelFloat>> {
  static float UpOrDown(bool up, float m) {
    const float* const table = up ? VXp_G_SoftLightDeltaF : VXp_G_SoftLightParabolaF;
    const float positive = m > 0.0f ? m : 0.0f;  // NaN becomes 0
    const float position = 4096.0f * (positive < 1.0f ? positive : 1.0f);
    const auto i = static_cast<int32_t>(position);
    const float fraction = position - static_cast<float>(i);
    const float next = table[i + (i < 4096)];
    return table[i] + fraction * (next - table[i]);
  }
};

// The lane form looks up each lane separately.
template <class Pixel, int32_t lanes>
struct VXp_SoftLightCurves<VXp_LaneTraits<Pixel, lanes>> {
  using L = VXp_LaneTraits<Pixel, lanes>;
  using Work = typename L::Work;
  static Work UpOrDown(typename L::Ints up, Work m) {
    Work curve;
    for (int32_t i = 0; i < lanes; ++i) {
      curve[i] = VXp_SoftLightCurves<VXp_PixelTraits<Pixel>>::UpOrDown(up[i] != 0, m[i]);
    }
    return curve;
  }
};
