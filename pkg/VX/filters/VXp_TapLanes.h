// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Ways to sum weighted pixels, a lane for each channel; lane 0 is alpha. A way says how many rows
// of a kernel it takes at once, what it makes of source pixels and of weights, how it adds their
// product, and the bias that its sums lack. Integer sums are modulo 2^32, the same in every way.

#include <cstdint>
#include <type_traits>

#include "frame/VXp_LaneTraits.h"
#include "frame/VXp_Rows.h"
#include "indep/VXp_ChannelLanes.h"

// One kernel a channel. A tap is told by its place in them.
struct VXp_FourKernels {
  template <class Value>
  Value Of(int32_t channel, int64_t place) const {
    return static_cast<Value>(weights[channel][place]);
  }

  const int32_t* weights[4];
};
inline constexpr int64_t kVXp_NoTap = -1;  // a place whose weights are 0

template <class Pixel>
inline constexpr bool kVXp_IsFloat = std::is_same_v<VX_ChannelOf<Pixel>, float>;

// Any weights, at every depth. Floats are summed in the order of the taps.
template <class PixelType>
struct VXp_TapByTap {
  using Pixel = PixelType;
  using Lane = std::conditional_t<kVXp_IsFloat<Pixel>, float, uint32_t>;
  using Sum = std::conditional_t<kVXp_IsFloat<Pixel>, VXp_FloatLanes, VXp_WordLanes>;
  using Entry = Sum;
  using Weights = Sum;
  static constexpr int32_t kRows = 1;

  static Entry Outside() { return Entry{}; }
  static Entry Take(const char* pixel, const char* /*below*/) {
    if constexpr (kVXp_IsFloat<Pixel>) {
      return VXp_Load<VXp_FloatLanes>(pixel);
    } else {
      using Raw = std::conditional_t<sizeof(Pixel) == 4, uint32_t, uint64_t>;
      return reinterpret_cast<VXp_WordLanes>(VXp_Ints(VXp_Load<Raw>(pixel)));
    }
  }
  static Weights WeightsAt(const VXp_FourKernels& kernels, int64_t place, int64_t /*below*/) {
    return Sum{kernels.Of<Lane>(0, place), kernels.Of<Lane>(1, place), kernels.Of<Lane>(2, place),
               kernels.Of<Lane>(3, place)};
  }
  static Sum Add(const Sum& sum, const Entry& entry, const Weights& weights) {
    return sum + entry * weights;
  }
  static void AddBias(Sum& /*bias*/, const Weights& /*weights*/) {}
};

#ifdef __SSE2__
// Integer depths with weights of 16 bits: two rows of the kernel at once, a word of each in a lane.
// Channels of 16 bits reach beyond signed words, so they are taken less 32768, and 32768 times the
// sum of all weights is the bias.
template <class PixelType>
struct VXp_TapsInPairs {
  using Pixel = PixelType;
  using Sum = VXp_WordLanes;
  using Entry = __m128i;
  using Weights = __m128i;
  static constexpr int32_t kRows = 2;
  static constexpr bool kLess = sizeof(Pixel) == 8;

  static Entry Outside() { return kLess ? _mm_set1_epi16(INT16_MIN) : _mm_setzero_si128(); }
  static Entry Take(const char* pixel, const char* below) {
    if constexpr (kLess) {
      const __m128i a = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(pixel));
      const __m128i b = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(below));
      return _mm_xor_si128(_mm_unpacklo_epi16(a, b), Outside());
    } else {
      const __m128i a = _mm_cvtsi32_si128(VXp_Load<int32_t>(pixel));
      const __m128i b = _mm_cvtsi32_si128(VXp_Load<int32_t>(below));
      return _mm_unpacklo_epi8(_mm_unpacklo_epi8(a, b), _mm_setzero_si128());
    }
  }
  static Weights WeightsAt(const VXp_FourKernels& kernels, int64_t place, int64_t below) {
    alignas(16) int16_t words[8] = {};
    for (int32_t c = 0; c < 4; ++c) {
      words[2 * c] = kernels.Of<int16_t>(c, place);
      if (below != kVXp_NoTap) words[2 * c + 1] = kernels.Of<int16_t>(c, below);
    }
    return _mm_load_si128(reinterpret_cast<const __m128i*>(words));
  }
  static Sum Add(const Sum& sum, const Entry& entry, const Weights& weights) {
    return sum + reinterpret_cast<Sum>(_mm_madd_epi16(entry, weights));
  }
  static void AddBias(Sum& bias, const Weights& weights) {
    if constexpr (kLess) {
      bias += reinterpret_cast<Sum>(_mm_madd_epi16(weights, _mm_set1_epi16(1))) << 15;
    }
  }
};
#endif
