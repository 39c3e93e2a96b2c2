// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The arithmetic of VXp_PixelTraits for several pixels at once, one per lane, with identical
// results. Work is a vector type of the compiler. Conditions have the type Ints: all ones (true) or
// zero in each lane.

#include <cstdint>

#include "frame/VXp_Lanes.h"
#include "frame/VXp_PixelTraits.h"

// Clamps floats to 0..1; NaN becomes 0.
template <class Floats>
Floats VXp_ClampUnitLanes(Floats c) {
  return VXp_MinFloats(VXp_MaxFloats(c, Floats{}), VXp_Splat<Floats>(1.0f));
}

// The largest float below 0.5. Added to a value before truncation, it rounds to nearest: the sum
// rounds up to the next integer for every half, but not for less.
inline constexpr float kVXp_BelowHalf = 0x1.fffffep-2f;

// Converts floats to 0..255: floor(255 c + 0.5) of the exact product, for c clamped to 0..1. The
// product in single precision may be rounded up, so that it reaches a half that the exact product
// does not reach. In this case it is replaced by the next float below.
template <class Floats>
VXp_IntsLike<Floats> VXp_UnitAsByte(Floats value) {
  using Ints = VXp_IntsLike<Floats>;
  const Floats c = VXp_ClampUnitLanes(value);
  const Floats product = c * 255.0f;
  const Ints too_high = c * 256.0f - product < c;
  const auto below = reinterpret_cast<Floats>(reinterpret_cast<Ints>(product) + too_high);
  return VXp_Truncated(below + kVXp_BelowHalf);
}

template <class PixelType, int32_t lanes = kVXp_TargetLanes>
struct VXp_LaneTraits;

// The members that are the same for all traits. A channel is computed as an Element; Ints are the
// integers of its size.
template <class PixelType, int32_t lanes,
          class ElementType = typename VXp_PixelTraits<PixelType>::Work>
struct VXp_LaneChannelTraits {
  using Pixel = PixelType;
  using Channel = VX_ChannelOf<PixelType>;
  using Element = ElementType;
  using Work = VXp_Lanes<Element, lanes>;
  using Ints = VXp_Lanes<std::conditional_t<sizeof(Element) == 2, int16_t, int32_t>, lanes>;
  using Words = VXp_Lanes<uint32_t, lanes>;
  using Floats = VXp_Lanes<float, lanes>;
  static constexpr int32_t kLanes = lanes;
  static constexpr int32_t kDepth = VXp_PixelTraits<PixelType>::kDepth;
  static constexpr Element kFull = VXp_PixelTraits<PixelType>::kFull;
  static constexpr Element kHalf = VXp_PixelTraits<PixelType>::kHalf;

  static bool Any(Ints condition) { return VXp_AnyLane(condition); }
  // Return Any(v == 0) and Any(v != 0), faster.
  static bool AnyZero(Work v) { return VXp_AnyZero(v); }
  static bool AnyNonzero(Work v) {
    if constexpr (kDepth == 32) {
      return Any(v != Work{});
    } else {
      return VXp_AnyBit(v);
    }
  }
  static Work Min(Work a, Work b) { return a < b ? a : b; }
  static Work Max(Work a, Work b) { return a > b ? a : b; }
  static Work Inv(Work a) { return kFull - a; }
  static Work Full() { return Work{} + kFull; }
};

template <int32_t lanes>
struct VXp_LaneTraits<VX_Pixel8, lanes> : VXp_LaneChannelTraits<VX_Pixel8, lanes> {
  using Base = VXp_LaneChannelTraits<VX_Pixel8, lanes>;
  using Base::Inv, Base::Max;
  using typename Base::Floats, typename Base::Work;

  // Computes with 16-bit multiplications. The factors and their product are below 2^16. With u = a
  // b + 128, the result (u + (u >> 8)) >> 8 is the upper half of 257 u.
  static Work Mul(Work a, Work b) {
    using Halves = VXp_Lanes<uint16_t, 2 * lanes>;
    const Work u = VXp_MulAdjacent(a, b) + 128;
    return reinterpret_cast<Work>(
        VXp_MulHigh(reinterpret_cast<Halves>(u), reinterpret_cast<Halves>(Work{} + 257)));
  }
  // Lanes fit 16 bits and the second factor is not negative, so the products of the upper halves
  // are 0.
  static Work SignedMul(Work a, Work b) {
    const Work u = VXp_MulAdjacent(a, b) + 128;
    return (u + (u >> 8)) >> 8;
  }
  static Work Lerp(Work x, Work y, Work t) { return (x + SignedMul(y - x, t)) & 0xFF; }
  static Work Union(Work a, Work b) { return Inv(Mul(Inv(a), Inv(b))); }
  // 255 n / a rounded to nearest, half up, at most 255; 255 if a is 0. The result equals that of
  // the divide table. The exact sum 255 n / a + 1/2 is an integer or at least 1/510 below the next
  // integer, so 1/1024 can be added: it only compensates for the rounding of the float products.
  // The reciprocal of a is computed first, so that the compiler divides once for all channels.
  static Work Div(Work n, Work a) {
    const Floats scale = 255.0f / VXp_AsFloat(a);
    const Floats sum = VXp_MulAdd(VXp_AsFloat(n), scale, Floats{} + (0.5f + 1.0f / 1024.0f));
    const Floats most = VXp_MinFloats(sum, VXp_Splat<Floats>(255.5f));
    return VXp_Truncated(VXp_MaxFloats(most, Floats{}));
  }
  static Work DivWithin(Work n, Work a) { return Div(n, a); }
  // For 0 <= b and 0 <= c <= 510, where the quotient is -510 to 510. A quotient that is not an
  // integer is at least 1/510 below the next one; the rounding errors are less than 2^-13. The
  // ratio of b and c is computed first, so that the compiler divides once for all channels.
  static Work Fraction(Work a, Work b, Work c) {
    const Floats ratio = VXp_AsFloat(b) / VXp_AsFloat(c), number = VXp_AsFloat(a);
    const Floats scale = c == 0 ? Floats{} : ratio;
    return VXp_Truncated(VXp_MulAdd(number, scale, VXp_WithSignOf(number, 0x1p-11f)));
  }
  // One instruction computes 9798 r + 19235 g: each lane of `rg` contains r and g as 16-bit halves.
  static Work Luma(Work r, Work g, Work b) {
    const Work rg = r | (g << 16);
    const Work two = VXp_MulAdjacent(rg, Work{} + (9798 | (19235 << 16)));
    return (two + VXp_MulAdjacent(b, Work{} + 3735) + 16384) >> 15;
  }
  static Work LumaAsByte(Work luma) { return luma; }
  static Work Abs(Work a) { return Max(a, -a); }
};

// 8-bit pixels in lanes of 16 bits, so that a vector has twice as many pixels. For arithmetic whose
// values, except the products of Mul, are -32768..32767 where they are used.
template <int32_t lanes = 2 * kVXp_TargetLanes>
struct VXp_ShortTraits : VXp_LaneChannelTraits<VX_Pixel8, lanes, int16_t> {
  using Base = VXp_LaneChannelTraits<VX_Pixel8, lanes, int16_t>;
  using Base::Inv, Base::Max, Base::Min;
  using typename Base::Work;
  using Halves = VXp_Lanes<uint16_t, lanes>;
  using Words = VXp_Lanes<uint32_t, lanes / 2>;  // two lanes in each
  using Floats = VXp_Lanes<float, lanes / 2>;

  static Work Mul(Work a, Work b) {
    return By255(reinterpret_cast<Halves>(a) * reinterpret_cast<Halves>(b));
  }
  // x + (y - x) t / 255 as one quotient. Where y is less than x, VXp_PixelTraits rounds the
  // product, which is negative, in the other direction: 1 is added.
  static Work Lerp(Work x, Work y, Work t) {
    const auto product = [](Work a, Work b) {
      return reinterpret_cast<Halves>(a) * reinterpret_cast<Halves>(b);
    };
    return By255(VXp_Incremented(product(x, Inv(t)) + product(y, t), y < x));
  }
  // The difference of a Lerp from |a| to 0, or from 0 to a.
  static Work SignedMul(Work a, Work b) {
    const Work from = Max(-a, Work{}), to = Max(a, Work{});
    return Lerp(from, to, b) - from;
  }
  static Work Union(Work a, Work b) { return Inv(Mul(Inv(a), Inv(b))); }
  // 255 n / a rounded to nearest, half up, at most 255; 255 if a is 0. Computes 255 min(n, a) / a,
  // and 255 * 1 / 1 if a is 0.
  static Work Div(Work n, Work a) {
    const Work divisor = Max(a, Work{} + 1);
    return DivWithin(Min(Max(n, divisor - a), divisor), divisor);
  }
  static Work DivWithin(Work n, Work a) {
    const auto words = reinterpret_cast<Words>(n), divisors = reinterpret_cast<Words>(a);
    return reinterpret_cast<Work>(VXp_JoinedLow(Quotient(words & 0xFFFFu, divisors & 0xFFFFu),
                                                Quotient(words >> 16, divisors >> 16)));
  }
  static Work Fraction(Work a, Work b, Work c) {
    const auto quotient = [](Signed x, Signed y, Signed z) {
      return reinterpret_cast<Words>(VXp_LaneTraits<VX_Pixel8, lanes / 2>::Fraction(x, y, z));
    };
    return reinterpret_cast<Work>(
        VXp_JoinedLow(quotient(Even(a), Even(b), Even(c)), quotient(Odd(a), Odd(b), Odd(c))));
  }
  // 9798 r + 19235 g, and 3735 b + 16384, each by one instruction.
  static Work Luma(Work r, Work g, Work b) {
    const auto luma = [](Words rg, Words b1) {
      return (VXp_MulAdjacent(rg, Words{} + (9798u | 19235u << 16)) +
              VXp_MulAdjacent(b1, Words{} + (3735u | 16384u << 16))) >>
             15;
    };
    const auto red = reinterpret_cast<Words>(r), green = reinterpret_cast<Words>(g),
               blue = reinterpret_cast<Words>(b), one = reinterpret_cast<Words>(Work{} + 1);
    return reinterpret_cast<Work>(
        VXp_JoinedLow(luma(VXp_JoinedLow(red, green), VXp_JoinedLow(blue, one)),
                      luma(VXp_JoinedHigh(red, green), VXp_JoinedHigh(blue, one))));
  }
  static Work LumaAsByte(Work luma) { return luma; }
  static Work Abs(Work a) { return Max(a, -a); }

 private:
  using Signed = VXp_Lanes<int32_t, lanes / 2>;

  // Return the even or the odd lanes.
  static Signed Even(Work v) {
    return reinterpret_cast<Signed>(VXp_MulAdjacent(reinterpret_cast<Words>(v), Words{} + 1u));
  }
  static Signed Odd(Work v) { return reinterpret_cast<Signed>(v) >> 16; }

  // Returns t / 255 rounded to nearest. With u = t + 128, the result (u + (u >> 8)) >> 8 is the
  // upper half of 257 u.
  static Work By255(Halves t) {
    return reinterpret_cast<Work>(VXp_MulHigh(t + uint16_t{128}, Halves{} + uint16_t{257}));
  }
  // Returns 255 n / a rounded to nearest, half up, in the low bits. A sum of 2^23 and the quotient,
  // rounded to nearest, has the integer in its low bits. A quotient that is not half of an odd
  // integer is at least 1/510 away from it. Therefore the factor can be increased by 2^-20 of its
  // value, so that halves are rounded up.
  static Words Quotient(Words n, Words a) {
    const Floats scale = 255.0f * (1.0f + 0x1p-20f) / VXp_AsFloat(reinterpret_cast<Signed>(a));
    return reinterpret_cast<Words>(
        VXp_MulAdd(VXp_AsFloat(reinterpret_cast<Signed>(n)), scale, Floats{} + 0x1p23f));
  }
};

// The traits with the most lanes in a vector.
template <class Pixel>
using VXp_MostLanes =
    std::conditional_t<std::is_same_v<Pixel, VX_Pixel8>, VXp_ShortTraits<>, VXp_LaneTraits<Pixel>>;

template <int32_t lanes>
struct VXp_LaneTraits<VX_Pixel16, lanes> : VXp_LaneChannelTraits<VX_Pixel16, lanes> {
  using Base = VXp_LaneChannelTraits<VX_Pixel16, lanes>;
  using Base::Full, Base::Inv, Base::Max, Base::Min;
  using typename Base::Work, typename Base::Words;
  using Doubles = VXp_Lanes<double, lanes>;

  static Work Mul(Work a, Work b) {
    return reinterpret_cast<Work>(VXp_ShortProduct(a, b) + 16383u) >> 15;
  }
  static Work SignedMul(Work a, Work b) {
    const auto t = reinterpret_cast<Words>(a) * reinterpret_cast<Words>(b);
    return reinterpret_cast<Work>(t + 16383u) >> 15;
  }
  static Work Lerp(Work x, Work y, Work t) {
    return (x + (VXp_WrappedProduct(y - x, t) >> 15)) & 0xFFFF;
  }
  static Work Union(Work a, Work b) { return Inv(Mul(Inv(a), Inv(b))); }
  // 32768 n / a rounded to nearest, half up; full scale if n >= a. The reciprocal of a is computed
  // first, so that the compiler divides once for all channels.
  static Work Div(Work n, Work a) {
    const Work v = Max(n, Work{}), divisor = Max(a, Work{} + 1);
    return n >= a ? Full() : Quotient(v, divisor);
  }
  static Work DivWithin(Work n, Work a) { return Div(n, a); }
  // As at 8 bits; the product is below 2^34.
  static Work Fraction(Work a, Work b, Work c) {
    Doubles product = __builtin_convertvector(a, Doubles) * __builtin_convertvector(b, Doubles);
    product += VXp_WithSignOf(product, 0.5);
    const Doubles quotient = product * (1.0 / __builtin_convertvector(c, Doubles));
    return c == 0 ? Work{} : __builtin_convertvector(quotient, Work);
  }
  static Work Luma(Work r, Work g, Work b) {
    const Words sum = 9798u * reinterpret_cast<Words>(r) + 19235u * reinterpret_cast<Words>(g) +
                      3735u * reinterpret_cast<Words>(b) + 16384u;
    return reinterpret_cast<Work>(sum >> 15);
  }
  static Work LumaAsByte(Work luma) {
    const auto scaled = reinterpret_cast<Words>(luma) * 255u + 16384u;
    return reinterpret_cast<Work>(scaled >> 15);
  }
  static Work Abs(Work a) { return Max(a, -a); }

 private:
  using typename Base::Floats;

  // 32768 n / a rounded to nearest, half up, for 0 <= n < a < 2^16.
  static Work Quotient(Work n, Work a) {
    if constexpr (kVXp_FusesMulAdd) {
      // The factor is reduced by 2^-21 of its value, so that the product, rounded to an integer by
      // the sum with 2^23, is the result or the result - 1. The remainder, divided by 32768, is
      // exact because the product is not rounded.
      const Floats number = VXp_AsFloat(n), divisor = VXp_AsFloat(a);
      const Floats scale = 32768.0f * (1.0f - 0x1p-21f) / divisor;
      const Floats sum = VXp_MulAdd(number, scale, Floats{} + 0x1p23f);
      const Floats rest = VXp_MulAdd(sum - 0x1p23f, divisor * -0x1p-15f, number);
      const auto half_or_more = rest >= divisor * 0x1p-16f;
      return VXp_Incremented(reinterpret_cast<Work>(sum) & 0xFFFF, half_or_more);
    } else {
      // The exact sum 32768 n / a + 1/2 is an integer or at least 2^-17 below the next integer, so
      // 2^-18 can be added: it only compensates for the rounding of the products.
      const Doubles scale = 32768.0 / __builtin_convertvector(a, Doubles);
      const Doubles sum = __builtin_convertvector(n, Doubles) * scale + (0.5 + 0x1p-18);
      return __builtin_convertvector(sum, Work);
    }
  }
};

template <int32_t lanes>
struct VXp_LaneTraits<VX_PixelFloat, lanes> : VXp_LaneChannelTraits<VX_PixelFloat, lanes> {
  using Base = VXp_LaneChannelTraits<VX_PixelFloat, lanes>;
  using Base::Full, Base::Inv;
  using typename Base::Ints, typename Base::Work, typename Base::Words;

  static Work Mul(Work a, Work b) { return a * b; }
  static Work SignedMul(Work a, Work b) { return a * b; }
  static Work Lerp(Work x, Work y, Work t) { return x + (y - x) * t; }
  static Work Union(Work a, Work b) { return Inv(Mul(Inv(a), Inv(b))); }
  static Work Div(Work n, Work a) { return a < 1.17549435e-38f ? Full() : n / a; }
  static Work DivWithin(Work n, Work a) { return Div(n, a); }
  static Work Fraction(Work a, Work b, Work c) { return a * b / c; }
  static Work Luma(Work r, Work g, Work b) { return 0.299f * r + 0.587f * g + 0.114f * b; }
  static Ints LumaAsByte(Work luma) { return VXp_UnitAsByte(luma); }
  static Work Min(Work a, Work b) { return VXp_MinFloats(a, b); }
  static Work Max(Work a, Work b) { return VXp_MaxFloats(a, b); }
  static Work Abs(Work a) {
    return reinterpret_cast<Work>(reinterpret_cast<Words>(a) & 0x7FFFFFFFu);
  }
};
