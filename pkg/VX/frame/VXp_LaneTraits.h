// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The arithmetic of VXp_PixelTraits for four pixels at once, one per lane, with identical results.
// Work is a vector type of the compiler. A comparison of vectors gives all ones (true) or zero in
// each lane; `?:` with such a condition selects by lane.

#include <cstdint>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "frame/VXp_PixelTraits.h"

inline constexpr int32_t kVXp_Lanes = 4;

using VXp_IntLanes = int32_t __attribute__((vector_size(16)));
using VXp_WordLanes = uint32_t __attribute__((vector_size(16)));
using VXp_FloatLanes = float __attribute__((vector_size(16)));

template <class PixelType>
struct VXp_LaneTraits;

template <class PixelType, class WorkType>
struct VXp_LaneChannelTraits {
  using Pixel = PixelType;
  using Channel = VX_ChannelOf<PixelType>;
  using Work = WorkType;
  using Element = typename VXp_PixelTraits<PixelType>::Work;
  static constexpr int32_t kDepth = VXp_PixelTraits<PixelType>::kDepth;
  static constexpr Element kFull = VXp_PixelTraits<PixelType>::kFull;
  static constexpr Element kHalf = VXp_PixelTraits<PixelType>::kHalf;

  static bool Any(VXp_IntLanes condition) {
#ifdef __SSE2__
    return _mm_movemask_epi8(reinterpret_cast<__m128i>(condition)) != 0;
#else
    return (condition[0] | condition[1] | condition[2] | condition[3]) != 0;
#endif
  }
  static Work Min(Work a, Work b) { return a < b ? a : b; }
  static Work Max(Work a, Work b) { return a > b ? a : b; }
  static Work Inv(Work a) { return kFull - a; }
  static Work Full() { return Work{} + kFull; }
};

inline VXp_FloatLanes VXp_AsFloat(VXp_IntLanes v) {
  return __builtin_convertvector(v, VXp_FloatLanes);
}
inline VXp_IntLanes VXp_Truncated(VXp_FloatLanes v) {
  return __builtin_convertvector(v, VXp_IntLanes);
}

// Sets all lanes to one value. (Adding the value to zero lanes would lose the sign of -0.)
template <class Lanes, class Value>
Lanes VXp_Splat(Value value) {
  return Lanes{value, value, value, value};
}

// Returns a condition as bits, lane 0 in the lowest.
inline unsigned VXp_LaneBits(VXp_IntLanes condition) {
#ifdef __SSE2__
  return static_cast<unsigned>(_mm_movemask_ps(reinterpret_cast<__m128>(condition)));
#else
  return (condition[0] & 1) | (condition[1] & 2) | (condition[2] & 4) | (condition[3] & 8);
#endif
}

// Returns the products a * b in 32-bit lanes, modulo 2^32.
inline VXp_IntLanes VXp_WrappedProduct(VXp_IntLanes a, VXp_IntLanes b) {
  return reinterpret_cast<VXp_IntLanes>(reinterpret_cast<VXp_WordLanes>(a) *
                                        reinterpret_cast<VXp_WordLanes>(b));
}

template <>
struct VXp_LaneTraits<VX_Pixel8> : VXp_LaneChannelTraits<VX_Pixel8, VXp_IntLanes> {
  // Computes with 16-bit multiplications. Lanes fit 16 bits and the second factor is not negative,
  // so the products of the upper halves are 0.
  static Work Mul(Work a, Work b) {
#ifdef __SSE2__
    const Work t = reinterpret_cast<Work>(
        _mm_madd_epi16(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
#else
    const Work t = a * b;
#endif
    return (((t + 128) >> 8) + t + 128) >> 8;
  }
  static Work SignedMul(Work a, Work b) { return Mul(a, b); }
  static Work Lerp(Work x, Work y, Work t) { return (x + Mul(y - x, t)) & 0xFF; }
  static Work Union(Work a, Work b) { return Inv(Mul(Inv(a), Inv(b))); }
  // 255 n / a rounded to nearest, half up, at most 255; 255 if a is 0. The result equals that of
  // the divide table. The exact sum 255 n / a + 1/2 is an integer or at least 1/510 below the next
  // integer, so 1/1024 can be added: it only compensates for the rounding of the float products.
  // The reciprocal of a is computed first, so that the compiler divides once for all channels.
  static Work Div(Work n, Work a) {
    const VXp_FloatLanes scale = 255.0f / VXp_AsFloat(a);
    const VXp_FloatLanes sum = VXp_AsFloat(n) * scale + (0.5f + 1.0f / 1024.0f);
    const VXp_FloatLanes most = sum < 255.5f ? sum : VXp_Splat<VXp_FloatLanes>(255.5f);
    return VXp_Truncated(most > 0.0f ? most : VXp_FloatLanes{});
  }
  static Work Fraction(Work a, Work b, Work c) {
    const Work divisor = c == 0 ? Work{} + 1 : c;
    const Work quotient = VXp_Truncated(VXp_AsFloat(a) * VXp_AsFloat(b) / VXp_AsFloat(divisor));
    return c == 0 ? Work{} : quotient;
  }
  static Work Luma(Work r, Work g, Work b) {
#ifdef __SSE2__
    // One multiply-add instruction (pmaddwd) computes 9798 r + 19235 g: each lane of `rg` contains
    // r and g as 16-bit halves.
    const Work rg = r | (g << 16);
    const Work two = reinterpret_cast<Work>(
        _mm_madd_epi16(reinterpret_cast<__m128i>(rg), _mm_set1_epi32(9798 | (19235 << 16))));
    const Work three =
        reinterpret_cast<Work>(_mm_madd_epi16(reinterpret_cast<__m128i>(b), _mm_set1_epi32(3735)));
    return (two + three + 16384) >> 15;
#else
    return (9798 * r + 19235 * g + 3735 * b + 16384) >> 15;
#endif
  }
  static Work LumaAsByte(Work luma) { return luma; }
  static Work Abs(Work a) { return Max(a, -a); }
};

template <>
struct VXp_LaneTraits<VX_Pixel16> : VXp_LaneChannelTraits<VX_Pixel16, VXp_IntLanes> {
  // Returns the product of factors that fit 16 bits, combined from its lower and upper half.
  static VXp_WordLanes Product(Work a, Work b) {
#ifdef __SSE2__
    const auto x = reinterpret_cast<__m128i>(a), y = reinterpret_cast<__m128i>(b);
    const auto low = reinterpret_cast<VXp_WordLanes>(_mm_mullo_epi16(x, y));
    const auto high = reinterpret_cast<VXp_WordLanes>(_mm_mulhi_epu16(x, y));
    return low | high << 16;
#else
    return reinterpret_cast<VXp_WordLanes>(a) * reinterpret_cast<VXp_WordLanes>(b);
#endif
  }
  static Work Mul(Work a, Work b) { return reinterpret_cast<Work>(Product(a, b) + 16383u) >> 15; }
  static Work SignedMul(Work a, Work b) {
    const auto t = reinterpret_cast<VXp_WordLanes>(a) * reinterpret_cast<VXp_WordLanes>(b);
    return reinterpret_cast<Work>(t + 16383u) >> 15;
  }
  static Work Lerp(Work x, Work y, Work t) {
    return (x + (VXp_WrappedProduct(y - x, t) >> 15)) & 0xFFFF;
  }
  static Work Union(Work a, Work b) { return Inv(Mul(Inv(a), Inv(b))); }
  // 32768 n / a rounded to nearest, half up; full scale if n >= a. The exact sum 32768 n / a + 1/2
  // is an integer or at least 2^-17 below the next integer, so 2^-18 can be added: it only
  // compensates for the rounding of the products. The reciprocal of a is computed first, so that
  // the compiler divides once for all channels.
  static Work Div(Work n, Work a) {
    using Doubles = double __attribute__((vector_size(32)));
    const Work v = Min(Max(n, Work{}), a);
    const Doubles scale = 32768.0 / __builtin_convertvector(Max(a, Work{} + 1), Doubles);
    const Doubles sum = __builtin_convertvector(v, Doubles) * scale + (0.5 + 0x1p-18);
    return n >= a ? Full() : __builtin_convertvector(sum, Work);
  }
  static Work Fraction(Work a, Work b, Work c) {
    // Products are below 2^34, so truncating their quotients in double gives the exact result.
    using Doubles = double __attribute__((vector_size(32)));
    const Work divisor = c == 0 ? Work{} + 1 : c;
    const Doubles product =
        __builtin_convertvector(a, Doubles) * __builtin_convertvector(b, Doubles);
    const Doubles quotient = product / __builtin_convertvector(divisor, Doubles);
    return c == 0 ? Work{} : __builtin_convertvector(quotient, Work);
  }
  static Work Luma(Work r, Work g, Work b) {
    const VXp_WordLanes sum = 9798u * reinterpret_cast<VXp_WordLanes>(r) +
                              19235u * reinterpret_cast<VXp_WordLanes>(g) +
                              3735u * reinterpret_cast<VXp_WordLanes>(b) + 16384u;
    return reinterpret_cast<Work>(sum >> 15);
  }
  static Work LumaAsByte(Work luma) {
    const auto scaled = reinterpret_cast<VXp_WordLanes>(luma) * 255u + 16384u;
    return reinterpret_cast<Work>(scaled >> 15);
  }
  static Work Abs(Work a) { return Max(a, -a); }
};

template <>
struct VXp_LaneTraits<VX_PixelFloat> : VXp_LaneChannelTraits<VX_PixelFloat, VXp_FloatLanes> {
  static Work Mul(Work a, Work b) { return a * b; }
  static Work SignedMul(Work a, Work b) { return a * b; }
  static Work Lerp(Work x, Work y, Work t) { return x + (y - x) * t; }
  static Work Union(Work a, Work b) { return Inv(Mul(Inv(a), Inv(b))); }
  static Work Div(Work n, Work a) { return a < 1.17549435e-38f ? Full() : n / a; }
  static Work Fraction(Work a, Work b, Work c) { return a * b / c; }
  static Work Luma(Work r, Work g, Work b) { return 0.299f * r + 0.587f * g + 0.114f * b; }
  static VXp_IntLanes LumaAsByte(Work luma) {
    VXp_IntLanes bytes;
    for (int32_t i = 0; i < kVXp_Lanes; ++i) {
      bytes[i] = VXp_PixelTraits<VX_PixelFloat>::LumaAsByte(luma[i]);
    }
    return bytes;
  }
  static Work Abs(Work a) {
    return reinterpret_cast<Work>(reinterpret_cast<VXp_WordLanes>(a) & 0x7FFFFFFFu);
  }
};
