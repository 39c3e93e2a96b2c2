// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once
// The arithmetic of one channel at each depth. No operation writes its own rounding: what differs
// by depth is here, and the roundings differ on purpose.
//
// Work is the type in which channels are computed. Integer products wrap instead of overflowing, so
// that values beyond full scale give some value and never undefined behaviour.

#include <algorithm>
#include <cstdint>

#include "VX/VX_Package.h"
#include "VX/VX_Types.h"

// The general case is left empty: a forgotten depth does not compile.
template <class PixelType>
struct VXp_PixelTraits;

template <>
struct VXp_PixelTraits<VX_Pixel8> {
  using Pixel = VX_Pixel8;
  using Channel = uint8_t;
  using Work = int32_t;
  static constexpr int32_t kDepth = 8;
  static constexpr Work kFull = 255;
  static constexpr Work kHalf = 128;

  // a b / 255, rounded to nearest.
  static constexpr Work Mul(Work a, Work b) {
    const int32_t t = a * b;
    return (((t + 128) >> 8) + t + 128) >> 8;
  }
  static constexpr Work Inv(Work a) { return kFull - a; }
  // The product works on the signed difference; the sum is modulo 256.
  static constexpr Work Lerp(Work x, Work y, Work t) { return (x + Mul(y - x, t)) & 0xFF; }
  static constexpr Work Union(Work a, Work b) { return Inv(Mul(Inv(a), Inv(b))); }
  // n / a at scale 255. Row 0 of the table is 255.
  static Work Div(Work n, Work a) {
    return VXp_G_fcd_table[a * 256 + std::clamp(n, Work{0}, kFull)];
  }
  static constexpr Work Luma(Work r, Work g, Work b) {
    return (9798 * r + 19235 * g + 3735 * b + 16384) >> 15;
  }
};

template <>
struct VXp_PixelTraits<VX_Pixel16> {
  using Pixel = VX_Pixel16;
  using Channel = uint16_t;
  using Work = int32_t;
  static constexpr int32_t kDepth = 16;
  static constexpr Work kFull = 32768;
  static constexpr Work kHalf = 16384;

  // Rounds with 16383, one below the half. One factor may be negative.
  static constexpr Work Mul(Work a, Work b) {
    const uint32_t t = static_cast<uint32_t>(a) * static_cast<uint32_t>(b) + 16383u;
    return static_cast<Work>(t) >> 15;
  }
  static constexpr Work Inv(Work a) { return kFull - a; }
  // Truncates, unlike Mul.
  static constexpr Work Lerp(Work x, Work y, Work t) {
    const auto product =
        static_cast<int32_t>(static_cast<uint32_t>(y - x) * static_cast<uint32_t>(t));
    return (x + (product >> 15)) & 0xFFFF;
  }
  static constexpr Work Union(Work a, Work b) { return Inv(Mul(Inv(a), Inv(b))); }
  // n / a at scale 32768; n at or above a gives full scale, which also guards a of 0.
  static constexpr Work Div(Work n, Work a) {
    if (n >= a) return kFull;
    const auto numerator =
        (static_cast<uint32_t>(a) >> 1) + (static_cast<uint32_t>(std::max(n, Work{0})) << 15);
    return static_cast<Work>(numerator / static_cast<uint32_t>(a));
  }
  static constexpr Work Luma(Work r, Work g, Work b) {
    return static_cast<Work>((9798u * static_cast<uint32_t>(r) + 19235u * static_cast<uint32_t>(g) +
                              3735u * static_cast<uint32_t>(b) + 16384u) >>
                             15);
  }
};

template <>
struct VXp_PixelTraits<VX_PixelFloat> {
  using Pixel = VX_PixelFloat;
  using Channel = float;
  using Work = float;
  static constexpr int32_t kDepth = 32;
  static constexpr Work kFull = 1.0f;
  static constexpr Work kHalf = 0.5f;

  static constexpr Work Mul(Work a, Work b) { return a * b; }
  static constexpr Work Inv(Work a) { return 1.0f - a; }
  static constexpr Work Lerp(Work x, Work y, Work t) { return x + (y - x) * t; }
  static constexpr Work Union(Work a, Work b) { return Inv(Mul(Inv(a), Inv(b))); }
  // Nothing, less than nothing and denormals divide to full scale.
  static constexpr Work Div(Work n, Work a) { return a < 1.17549435e-38f ? 1.0f : n / a; }
  static constexpr Work Luma(Work r, Work g, Work b) {
    return 0.299f * r + 0.587f * g + 0.114f * b;
  }
};
