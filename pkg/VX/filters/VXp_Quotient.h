// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// From weighted sums to pixels: the division by each channel's divisor, and the limits.

#include <cmath>
#include <cstdint>
#include <limits>

#include "frame/VXp_Rows.h"
#include "indep/VXp_ChannelLanes.h"

// Integer depths: truncating. Unlimited results keep their low bits.
template <class Pixel>
class VXp_Quotient {
 public:
  VXp_Quotient(const int32_t (&divisors)[4], bool limited)
      : divisors_{divisors[0], divisors[1], divisors[2], divisors[3]}, limited_(limited) {
    const auto factor = [&](int32_t c) { return 1.0 / divisors[c]; };
    const auto half = [&](int32_t c) { return 0.5 * std::abs(factor(c)); };
    factor_.first = VXp_DoublePair{factor(0), factor(1)};
    factor_.second = VXp_DoublePair{factor(2), factor(3)};
    half_.first = VXp_DoublePair{half(0), half(1)};
    half_.second = VXp_DoublePair{half(2), half(3)};
  }

  void Store(const VXp_WordLanes* sums, int32_t count, char* out) const {
    for (int32_t i = 0; limited_ && i < count; ++i) {
      VXp_Store(out + i * kPixelSize,
                VXp_Packed<Pixel>(Limited(reinterpret_cast<VXp_IntLanes>(sums[i]))));
    }
    for (int32_t i = 0; !limited_ && i < count; ++i) {
      VXp_Store(out + i * kPixelSize, LowBits(reinterpret_cast<VXp_IntLanes>(sums[i])));
    }
  }

 private:
  using Channel = VX_ChannelOf<Pixel>;
  static constexpr auto kPixelSize = static_cast<ptrdiff_t>(sizeof(Pixel));

  // A quotient that is not whole lies at least 1/divisor from the next whole number; the half of
  // that which is added keeps whole ones from falling short. What is negative comes out as 0, with
  // or without it.
  VXp_IntLanes Limited(VXp_IntLanes sum) const {
    const VXp_DoubleLanes n = VXp_AsDouble(sum);
    return VXp_Truncated(VXp_DoubleLanes{InScale(n.first * factor_.first + half_.first),
                                         InScale(n.second * factor_.second + half_.second)});
  }
  static VXp_DoublePair InScale(VXp_DoublePair v) {
    const VXp_DoublePair zero{}, full = zero + VXp_PixelTraits<Pixel>::kFull;
    const VXp_DoublePair positive = v > zero ? v : zero;
    return positive < full ? positive : full;
  }

  // In 64 bits, which hold the lowest 32-bit number divided by -1.
  Pixel LowBits(VXp_IntLanes sum) const {
    const auto low = [&](int32_t c) { return static_cast<Channel>(sum[c] / divisors_[c]); };
    return {low(0), low(1), low(2), low(3)};
  }

  int64_t divisors_[4];
  bool limited_;
  VXp_DoubleLanes factor_, half_;
};

// Alpha is within 0..1 and no speck, also where colours are not limited. What is not a number stays
// none, alpha too: nothing compares with it.
template <>
class VXp_Quotient<VX_PixelFloat> {
 public:
  VXp_Quotient(const int32_t (&divisors)[4], bool limited) {
    constexpr float kSpeck = 1e-30f, kInfinity = std::numeric_limits<float>::infinity();
    const float low = limited ? 0.0f : -kInfinity, high = limited ? 1.0f : kInfinity;
    divisors_ = VXp_AsFloat(VXp_IntLanes{divisors[0], divisors[1], divisors[2], divisors[3]});
    below_ = VXp_FloatLanes{kSpeck, low, low, low};
    above_ = VXp_FloatLanes{1.0f, high, high, high};
  }

  void Store(const VXp_FloatLanes* sums, int32_t count, char* out) const {
    for (int32_t i = 0; i < count; ++i) {
      const VXp_FloatLanes quotient = sums[i] / divisors_;
      const VXp_FloatLanes from_zero = quotient < below_ ? VXp_FloatLanes{} : quotient;
      const VXp_FloatLanes held = from_zero > above_ ? above_ : from_zero;
      VXp_Store(out + i * static_cast<ptrdiff_t>(sizeof held), held);
    }
  }

 private:
  VXp_FloatLanes divisors_, below_, above_;
};
