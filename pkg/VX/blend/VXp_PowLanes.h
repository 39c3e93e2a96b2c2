// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Powers of floats in lanes, with the results of std::pow in double precision, rounded to floats.
//
// x^y is computed as 2^(y log2 x) in double precision with a relative error below 2^-42. Rounded to
// float, this gives the same result as std::pow unless the power is within this error of the middle
// between two floats. Such powers, about one of 2^16, and those that are not normal floats are
// computed by std::pow.

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "frame/VXp_Lanes.h"

class VXp_PowLanes {
 public:
  using Floats = VXp_Lanes<float, kVXp_TargetLanes>;

  explicit VXp_PowLanes(double exponent) : exponent_(exponent) {}

  // The power of the absolute value of one number, with the sign of negative numbers.
  static float Of(float x, double exponent) {
    return static_cast<float>(x < 0.0f ? -std::pow(-static_cast<double>(x), exponent)
                                       : std::pow(static_cast<double>(x), exponent));
  }

  // Returns Of(x, exponent) for each lane.
  Floats operator()(Floats x) const {
    if (exponent_ == 1.0) return x;
    if (!Serves()) {
      for (int32_t i = 0; i < kVXp_TargetLanes; ++i) x[i] = Of(x[i], exponent_);
      return x;
    }
    const auto bits = reinterpret_cast<Words>(x);
    const auto magnitude = reinterpret_cast<Floats>(bits & 0x7FFFFFFFu);
    const auto power = [&](auto half) { return Narrowed(Power(VXp_ToDoubles(half))); };
    const auto powers =
        VXp_Joined(power(VXp_HalfOf<0>(magnitude)), power(VXp_HalfOf<1>(magnitude)));
    return reinterpret_cast<Floats>(reinterpret_cast<Words>(powers) |
                                    (bits & ~reinterpret_cast<Words>(x >= 0.0f) & 0x80000000u));
  }

 private:
  using Words = VXp_Lanes<uint32_t, kVXp_TargetLanes>;
  using Doubles = VXp_TargetDoubles;
  using Longs = VXp_Lanes<uint64_t, kVXp_TargetDoubles>;
  using HalfFloats = VXp_Lanes<float, kVXp_TargetDoubles>;

  // The error bound holds for small exponents. Odd integers keep the sign of -0. With two doubles
  // in a vector, std::pow is faster.
  bool Serves() const {
    return kVXp_TargetDoubles > 2 && exponent_ > 0.0 && exponent_ <= 8.0 && exponent_ != 3.0 &&
           exponent_ != 5.0 && exponent_ != 7.0;
  }

  static HalfFloats Narrowed(Doubles v) { return __builtin_convertvector(v, HalfFloats); }

  // `a` is not negative.
  Doubles Power(Doubles a) const {
    const Doubles power = Exp2(exponent_ * Log2(a));
    // Not in 0..maximum: infinity and NaN.
    const auto finite = reinterpret_cast<Longs>(a <= double{std::numeric_limits<float>::max()});
    const auto positive = reinterpret_cast<Longs>(a > 0.0);
    const auto normal = reinterpret_cast<Longs>((power > 0x1p-125) & (power < 0x1p127));
    // The bits of a double that a float does not have are near one half.
    const Longs rest = reinterpret_cast<Longs>(power) + (kNear - kMiddle);
    const auto certain = reinterpret_cast<Longs>((rest & (2 * kMiddle - 2 * kNear)) != 0);
    Doubles result = reinterpret_cast<Doubles>(reinterpret_cast<Longs>(power) & positive);
    const Longs exact = ~(finite & (~positive | (normal & certain)));
    if (VXp_AnyBit(exact)) [[unlikely]] {
      for (int32_t i = 0; i < kVXp_TargetDoubles; ++i) {
        if (exact[i] != 0) result[i] = std::pow(a[i], exponent_);
      }
    }
    return result;
  }
  static constexpr uint64_t kMiddle = uint64_t{1} << 28, kNear = uint64_t{1} << 12;

  // With a = 2^e m and m between sqrt(1/2) and sqrt(2), log2 m is the series of the inverse
  // hyperbolic tangent: 2 / ln 2 (s + s^3 / 3 + s^5 / 5 ...), s = (m - 1) / (m + 1).
  static Doubles Log2(Doubles a) {
    constexpr uint64_t kOne = std::bit_cast<uint64_t>(1.0), kRoot = 0x3FE6A09E00000000u;
    constexpr uint64_t kMantissa = (uint64_t{1} << 52) - 1;
    const Longs bits = reinterpret_cast<Longs>(a) + (kOne - kRoot);
    const auto m = reinterpret_cast<Doubles>((bits & kMantissa) + kRoot);
    const Doubles e = reinterpret_cast<Doubles>((bits >> 52) | std::bit_cast<uint64_t>(0x1p52)) -
                      (0x1p52 + 1023.0);
    const Doubles s = (m - 1.0) / (m + 1.0);
    const Doubles z = s * s;
    Doubles sum = Doubles{} + 1.0 / 17.0;
    for (const double c : {1.0 / 15, 1.0 / 13, 1.0 / 11, 1.0 / 9, 1.0 / 7, 1.0 / 5, 1.0 / 3, 1.0}) {
      sum = VXp_MulAddDoubles(sum, z, Doubles{} + c);
    }
    return VXp_MulAddDoubles(sum * s, Doubles{} + 2.0 * kLog2E, e);
  }

  // With t = n + f, n an integer, 2^f is the series of exp(f ln 2).
  static Doubles Exp2(Doubles t) {
    constexpr double kInteger = 0x1.8p52;  // sums with it have integers in their low bits
    const Doubles sum = t + kInteger;
    const Doubles x = (t - (sum - kInteger)) * kLn2;
    Doubles series = Doubles{} + 1.0 / 479001600;
    for (const double c : {1.0 / 39916800, 1.0 / 3628800, 1.0 / 362880, 1.0 / 40320, 1.0 / 5040,
                           1.0 / 720, 1.0 / 120, 1.0 / 24, 1.0 / 6, 1.0 / 2, 1.0, 1.0}) {
      series = VXp_MulAddDoubles(series, x, Doubles{} + c);
    }
    return reinterpret_cast<Doubles>(reinterpret_cast<Longs>(series) +
                                     (reinterpret_cast<Longs>(sum) << 52));
  }
  static constexpr double kLog2E = 1.4426950408889634, kLn2 = 0.6931471805599453;

  double exponent_;
};
