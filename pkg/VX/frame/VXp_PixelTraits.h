// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The arithmetic of one channel at each depth. All operations use it; none has rounding of its own.
// The rounding rules differ by depth on purpose.
//
// Work is the type in which channels are computed. Integer products wrap, so that values above full
// scale give some result without undefined behaviour. VXp_LaneTraits.h has the same arithmetic for
// four pixels. Code for both uses `?:` to select, joins conditions with & and |, and tests Any
// before work that may not be needed. Use SignedMul if the first factor may be negative: the result
// is that of Mul, but lanes compute it differently.

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "VX/VX_Package.h"
#include "VX/VX_Types.h"

// Not defined in general: a missing depth does not compile.
template <class PixelType>
struct VXp_PixelTraits;

// The part that is equal at every depth.
template <class PixelType, class WorkType>
struct VXp_ChannelTraits {
  using Pixel = PixelType;
  using Channel = VX_ChannelOf<PixelType>;
  using Work = WorkType;

  static constexpr bool Any(bool condition) { return condition; }
  static constexpr Work Min(Work a, Work b) { return a < b ? a : b; }
  static constexpr Work Max(Work a, Work b) { return a > b ? a : b; }
  static Work Abs(Work a) { return std::abs(a); }
};

template <>
struct VXp_PixelTraits<VX_Pixel8> : VXp_ChannelTraits<VX_Pixel8, int32_t> {
  static constexpr int32_t kDepth = 8;
  static constexpr Work kFull = 255;
  static constexpr Work kHalf = 128;
  static constexpr Work Full() { return kFull; }

  // a b / 255 rounded to nearest.
  static constexpr Work Mul(Work a, Work b) {
    const int32_t t = a * b;
    return (((t + 128) >> 8) + t + 128) >> 8;
  }
  static constexpr Work SignedMul(Work a, Work b) { return Mul(a, b); }
  static constexpr Work Inv(Work a) { return kFull - a; }
  // The product has a signed factor; the sum is modulo 256.
  static constexpr Work Lerp(Work x, Work y, Work t) { return (x + Mul(y - x, t)) & 0xFF; }
  static constexpr Work Union(Work a, Work b) { return Inv(Mul(Inv(a), Inv(b))); }
  // n / a at scale 255; 255 if a is 0.
  static Work Div(Work n, Work a) {
    return VXp_G_fcd_table[a * 256 + std::clamp(n, Work{0}, kFull)];
  }
  // a b / c truncated; 0 if c is 0.
  static constexpr Work Fraction(Work a, Work b, Work c) { return c == 0 ? 0 : a * b / c; }
  static constexpr Work Luma(Work r, Work g, Work b) {
    return (9798 * r + 19235 * g + 3735 * b + 16384) >> 15;
  }
  static constexpr Work LumaAsByte(Work luma) { return luma; }
};

template <>
struct VXp_PixelTraits<VX_Pixel16> : VXp_ChannelTraits<VX_Pixel16, int32_t> {
  static constexpr int32_t kDepth = 16;
  static constexpr Work kFull = 32768;
  static constexpr Work kHalf = 16384;
  static constexpr Work Full() { return kFull; }

  // Adds 16383, one less than a half.
  static constexpr Work Mul(Work a, Work b) {
    const uint32_t t = static_cast<uint32_t>(a) * static_cast<uint32_t>(b) + 16383u;
    return static_cast<Work>(t) >> 15;
  }
  static constexpr Work SignedMul(Work a, Work b) { return Mul(a, b); }
  static constexpr Work Inv(Work a) { return kFull - a; }
  // Truncates, unlike Mul.
  static constexpr Work Lerp(Work x, Work y, Work t) {
    const auto product =
        static_cast<int32_t>(static_cast<uint32_t>(y - x) * static_cast<uint32_t>(t));
    return (x + (product >> 15)) & 0xFFFF;
  }
  static constexpr Work Union(Work a, Work b) { return Inv(Mul(Inv(a), Inv(b))); }
  // n / a at scale 32768; full scale if n >= a, which includes a = 0.
  static constexpr Work Div(Work n, Work a) {
    if (n >= a) return kFull;
    const auto numerator =
        (static_cast<uint32_t>(a) >> 1) + (static_cast<uint32_t>(std::max(n, Work{0})) << 15);
    return static_cast<Work>(numerator / static_cast<uint32_t>(a));
  }
  // a b / c truncated; 0 if c is 0.
  static constexpr Work Fraction(Work a, Work b, Work c) {
    return c == 0 ? 0 : static_cast<Work>(int64_t{a} * b / c);
  }
  static constexpr Work Luma(Work r, Work g, Work b) {
    return static_cast<Work>((9798u * static_cast<uint32_t>(r) + 19235u * static_cast<uint32_t>(g) +
                              3735u * static_cast<uint32_t>(b) + 16384u) >>
                             15);
  }
  static constexpr Work LumaAsByte(Work luma) {
    return static_cast<Work>((static_cast<uint32_t>(luma) * 255u + 16384u) >> 15);
  }
};

template <>
struct VXp_PixelTraits<VX_PixelFloat> : VXp_ChannelTraits<VX_PixelFloat, float> {
  static constexpr int32_t kDepth = 32;
  static constexpr Work kFull = 1.0f;
  static constexpr Work kHalf = 0.5f;
  static constexpr Work Full() { return kFull; }

  static constexpr Work Mul(Work a, Work b) { return a * b; }
  static constexpr Work SignedMul(Work a, Work b) { return a * b; }
  static constexpr Work Inv(Work a) { return 1.0f - a; }
  static constexpr Work Lerp(Work x, Work y, Work t) { return x + (y - x) * t; }
  static constexpr Work Union(Work a, Work b) { return Inv(Mul(Inv(a), Inv(b))); }
  // 1 for zero, negative and denormal divisors.
  static constexpr Work Div(Work n, Work a) { return a < 1.17549435e-38f ? 1.0f : n / a; }
  static constexpr Work Fraction(Work a, Work b, Work c) { return a * b / c; }
  static constexpr Work Luma(Work r, Work g, Work b) {
    return 0.299f * r + 0.587f * g + 0.114f * b;
  }
  // Clamped like the conversion of a channel; NaN becomes 0.
  static constexpr int32_t LumaAsByte(Work luma) {
    const float positive = luma > 0.0f ? luma : 0.0f;
    const float held = positive < 1.0f ? positive : 1.0f;
    return static_cast<int32_t>(static_cast<double>(held) * 255.0 + 0.5);
  }
};
