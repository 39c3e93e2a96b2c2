// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Doubles in two vectors, for a vector with `lanes` integers. The lanes are in the order in which
// shuffles within 16 bytes place them: of each four integers, two are in the first vector.

#include "indep/VXp_ChannelLanes.h"

template <int32_t lanes>
struct VXp_DoublesOf {
  using Half = VXp_Lanes<double, lanes / 2>;
  using Ints = VXp_Lanes<int32_t, lanes>;

  // Converts integers from 0 to 2^31 - 1: sets them as the low bits of 2^52 and subtracts it.
  static VXp_DoublesOf Of(Ints v) {
    const Ints upper = Ints{} + 0x43300000;
    return {reinterpret_cast<Half>(VXp_Shuffled<0, 4, 1, 5>(v, upper)) - 0x1p52,
            reinterpret_cast<Half>(VXp_Shuffled<2, 6, 3, 7>(v, upper)) - 0x1p52};
  }

  // Convert numbers from 0 to below 2^31 to integers: Rounded by the rounding mode of the thread,
  // RoundedDown down. The result of other numbers is not defined.
  Ints Rounded() const {
    const auto low = [](Half v) { return reinterpret_cast<Ints>(v + 0x1p52); };
    return VXp_Shuffled<0, 2, 4, 6>(low(first), low(second));
  }
  Ints RoundedDown() const {
#ifdef __AVX512BW__
    if constexpr (lanes == 16) {
      const auto low = [](Half v) {
        return reinterpret_cast<Ints>(
            _mm512_maskz_add_round_pd(0xFF, reinterpret_cast<__m512d>(v), _mm512_set1_pd(0x1p52),
                                      _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC));
      };
      return VXp_Shuffled<0, 2, 4, 6>(low(first), low(second));
    }
#endif
    if constexpr (lanes == 4) {
      return VXp_Truncated(VXp_DoubleLanes{first, second});
    } else {
      using HalfInts = VXp_Lanes<int32_t, lanes / 2>;
      return InOrder(VXp_Joined(__builtin_convertvector(first, HalfInts),
                                __builtin_convertvector(second, HalfInts)),
                     std::make_index_sequence<lanes>());
    }
  }

  friend VXp_DoublesOf operator+(const VXp_DoublesOf& a, const VXp_DoublesOf& b) {
    return {a.first + b.first, a.second + b.second};
  }
  friend VXp_DoublesOf operator-(const VXp_DoublesOf& a, const VXp_DoublesOf& b) {
    return {a.first - b.first, a.second - b.second};
  }
  friend VXp_DoublesOf operator*(const VXp_DoublesOf& a, const VXp_DoublesOf& b) {
    return {a.first * b.first, a.second * b.second};
  }
  friend VXp_DoublesOf operator+(const VXp_DoublesOf& a, double b) {
    return {a.first + b, a.second + b};
  }
  friend VXp_DoublesOf operator*(const VXp_DoublesOf& a, double b) {
    return {a.first * b, a.second * b};
  }
  friend VXp_DoublesOf operator-(double a, const VXp_DoublesOf& b) {
    return {a - b.first, a - b.second};
  }
  friend VXp_DoublesOf operator/(double a, const VXp_DoublesOf& b) {
    return {a / b.first, a / b.second};
  }

  Half first, second;

 private:
  template <size_t... lane>
  static Ints InOrder(Ints v, std::index_sequence<lane...>) {
    return __builtin_shufflevector(
        v, v, static_cast<int32_t>(lane / 4 * 2 + lane % 2 + lane % 4 / 2 * (lanes / 2))...);
  }
};
