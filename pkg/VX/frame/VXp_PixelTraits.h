// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The arithmetic of one channel at each depth. All operations use it and define no rounding of
// their own. The rounding rules differ by depth because existing projects depend on them.
//
// Work is the type in which channels are computed. Integer products wrap, so that values above full
// scale give some result without undefined behaviour. VXp_LaneTraits.h has the same arithmetic for
// several pixels. Code that is compiled for both selects with `?:`, joins conditions with & and |,
// and skips an expensive computation if Any(condition) is false, that is, if the condition is false
// in all lanes. SignedMul has the result of Mul; use it if the first factor may be negative,
// because lanes compute that case differently. DivWithin has the result of Div for 0 <= n <= a and
// a > 0, and any result for other operands; it is faster in lanes of 8-bit pixels. In lanes of
// 8-bit pixels the product of Mul must be below 2^16 where its result is used.

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "VX/VX_Package.h"
#include "VX/VX_Types.h"

// Only declared here, so that a depth without a specialisation does not compile.
template <class PixelType>
struct VXp_PixelTraits;

// The members that are the same at every depth.
template <class PixelType, class WorkType>
struct VXp_ChannelTraits {
  using Pixel = PixelType;
  using Channel = VX_ChannelOf<PixelType>;
  using Work = WorkType;

  static constexpr bool Any(bool condition) { return condition; }
  static constexpr bool AnyZero(Work v) { return v == Work{}; }
  static constexpr bool AnyNonzero(Work v) { return v != Work{}; }
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
  // Returns x + (y - x) t / 255. If y is less than x, the product is negative, and the sum is taken
  // modulo 256.
  static constexpr Work Lerp(Work x, Work y, Work t) { return (x + Mul(y - x, t)) & 0xFF; }
  static constexpr Work Union(Work a, Work b) { return Inv(Mul(Inv(a), Inv(b))); }
  // 255 n / a from the table, at most 255; 255 if a is 0.
  static Work Div(Work n, Work a) {
    return VXp_G_fcd_table[a * 256 + std::clamp(n, Work{0}, kFull)];
  }
  static Work DivWithin(Work n, Work a) { return Div(n, a); }
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

  // a b / 32768. Adds 16383, one less than a half, so halves are rounded down.
  static constexpr Work Mul(Work a, Work b) {
    const uint32_t t = static_cast<uint32_t>(a) * static_cast<uint32_t>(b) + 16383u;
    return static_cast<Work>(t) >> 15;
  }
  static constexpr Work SignedMul(Work a, Work b) { return Mul(a, b); }
  static constexpr Work Inv(Work a) { return kFull - a; }
  // The product is truncated, unlike in Mul.
  static constexpr Work Lerp(Work x, Work y, Work t) {
    const auto product =
        static_cast<int32_t>(static_cast<uint32_t>(y - x) * static_cast<uint32_t>(t));
    return (x + (product >> 15)) & 0xFFFF;
  }
  static constexpr Work Union(Work a, Work b) { return Inv(Mul(Inv(a), Inv(b))); }
  // 32768 n / a; full scale if n >= a, which includes a = 0.
  static constexpr Work Div(Work n, Work a) {
    if (n >= a) return kFull;
    const auto numerator =
        (static_cast<uint32_t>(a) >> 1) + (static_cast<uint32_t>(std::max(n, Work{0})) << 15);
    return static_cast<Work>(numerator / static_cast<uint32_t>(a));
  }
  static Work DivWithin(Work n, Work a) { return Div(n, a); }
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
  // n / a; 1 if a is zero, negative or denormal.
  static constexpr Work Div(Work n, Work a) { return a < 1.17549435e-38f ? 1.0f : n / a; }
  static Work DivWithin(Work n, Work a) { return Div(n, a); }
  static constexpr Work Fraction(Work a, Work b, Work c) { return a * b / c; }
  static constexpr Work Luma(Work r, Work g, Work b) {
    return 0.299f * r + 0.587f * g + 0.114f * b;
  }
  // Returns a luminance at 8-bit scale, clamped and rounded as in the conversion of a channel to 8
  // bits. NaN gives 0.
  static constexpr int32_t LumaAsByte(Work luma) {
    const float positive = luma > 0.0f ? luma : 0.0f;
    const float clamped = positive < 1.0f ? positive : 1.0f;
    return static_cast<int32_t>(static_cast<double>(clamped) * 255.0 + 0.5);
  }
};
