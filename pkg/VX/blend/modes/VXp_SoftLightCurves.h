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

// The curves for 8 bits, Down and then Up, with three entries of padding, because four entries are
// loaded at once.
constexpr std::array<uint8_t, 515> MakeByteCurves() {
  std::array<uint8_t, 515> curves{};
  for (int i = 0; i < 256; ++i) {
    const double x = i / 255.0;
    const double d = x <= 0.25 ? ((16.0 * x - 12.0) * x + 4.0) * x : SquareRoot(x);
    curves[i] = static_cast<uint8_t>(255.0 * (x * (1.0 - x)) + 0.5);
    curves[256 + i] = static_cast<uint8_t>(255.0 * (d - x) + 0.5);
  }
  return curves;
}

inline constexpr std::array<uint8_t, 515> kCurves8 = MakeByteCurves();

}  // namespace vxp_soft_light

template <>
struct VXp_SoftLightCurves<VXp_PixelTraits<VX_Pixel8>> {
  static int32_t UpOrDown(bool up, int32_t m) {
    return vxp_soft_light::kCurves8[(m & 0xFF) + (up ? 256 : 0)];
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
    return VXp_LookUpEighths(VXp_G_SoftLight16[up ? 1 : 0], m);
  }
};

template <>
struct VXp_SoftLightCurves<VXp_PixelTraits<VX_PixelFloat>> {
  static float UpOrDown(bool up, float m) {
    const float* const table = VXp_G_SoftLightF[up ? 1 : 0];
    const float positive = m > 0.0f ? m : 0.0f;  // NaN becomes 0
    const float position = 4096.0f * (positive < 1.0f ? positive : 1.0f);
    const auto i = static_cast<int32_t>(position);
    const float fraction = position - static_cast<float>(i);
    const float next = table[i + (i < 4096)];
    return table[i] + fraction * (next - table[i]);
  }
};

// --- in lanes ------------------------------------------------------------------------------------
//
// The condition `up` is -1 or 0 in each lane, so subtracting its multiple moves an index to the
// second table.

template <int32_t lanes>
struct VXp_SoftLightCurves<VXp_LaneTraits<VX_Pixel8, lanes>> {
  using Ints = VXp_Lanes<int32_t, lanes>;
  static Ints UpOrDown(Ints up, Ints m) {
    return VXp_Gathered<1>(vxp_soft_light::kCurves8.data(), (m & 0xFF) - up * 256) & 0xFF;
  }
};

template <int32_t lanes>
struct VXp_SoftLightCurves<VXp_ShortTraits<lanes>> {
  using Work = VXp_Lanes<int16_t, lanes>;
  using Ints = VXp_Lanes<int32_t, lanes / 2>;
  static Work UpOrDown(Work up, Work m) {
    const auto at = reinterpret_cast<Ints>((m & 0xFF) - up * 256);
    const uint8_t* const curves = vxp_soft_light::kCurves8.data();
    const Ints low = VXp_Gathered<1>(curves, at & 0xFFFF), high = VXp_Gathered<1>(curves, at >> 16);
    return reinterpret_cast<Work>((low & 0xFF) | (high & 0xFF) << 16);
  }
};

template <int32_t lanes>
struct VXp_SoftLightCurves<VXp_LaneTraits<VX_Pixel16, lanes>> {
  using Ints = VXp_Lanes<int32_t, lanes>;
  static Ints UpOrDown(Ints up, Ints m) {
    const Ints zero{}, white = zero + 32768;
    const Ints positive = m > zero ? m : zero, x = positive < white ? positive : white;
    const Ints i = x >> 3, fraction = x & 7;
    const Ints pair = VXp_Gathered<2>(VXp_G_SoftLight16, i - up * (kVXp_SoftLightEntries + 1));
    const Ints v = pair & 0xFFFF;
    const Ints next = reinterpret_cast<Ints>(reinterpret_cast<VXp_WordsLike<Ints>>(pair) >> 16);
    return v + ((fraction * (next - v) + 4) >> 3);
  }
};

template <int32_t lanes>
struct VXp_SoftLightCurves<VXp_LaneTraits<VX_PixelFloat, lanes>> {
  using Ints = VXp_Lanes<int32_t, lanes>;
  using Floats = VXp_Lanes<float, lanes>;
  static Floats UpOrDown(Ints up, Floats m) {
    const Floats zero{}, one = zero + 1.0f;
    const Floats positive = m > zero ? m : zero;  // NaN becomes 0
    const Floats position = 4096.0f * (positive < one ? positive : one);
    const Ints i = VXp_Truncated(position), at = i - up * (kVXp_SoftLightEntries + 1);
    const Floats fraction = position - VXp_AsFloat(i);
    const auto v = reinterpret_cast<Floats>(VXp_Gathered<4>(VXp_G_SoftLightF, at));
    // There is no entry after the last one; it is used itself.
    const auto next = reinterpret_cast<Floats>(VXp_Gathered<4>(VXp_G_SoftLightF, at - (i < 4096)));
    return v + fraction * (next - v);
  }
};
