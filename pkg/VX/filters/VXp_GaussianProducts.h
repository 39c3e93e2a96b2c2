// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The products of a symmetric window with samples in lanes of 16 bits, for integer depths. 16-bit
// samples are signed words: 32768 is subtracted from them.

#include <cstdint>
#include <type_traits>

#include "filters/VXp_GaussianSums.h"
#include "frame/VXp_Rows.h"

inline constexpr int32_t kVXp_WordLanes = 2 * kVXp_TargetLanes;
using VXp_SampleWords = VXp_Lanes<int16_t, kVXp_WordLanes>;
using VXp_ProductLanes = VXp_Lanes<int32_t, kVXp_TargetLanes>;

inline VXp_SampleWords VXp_WordsAt(const int16_t* c) { return VXp_Load<VXp_SampleWords>(c); }
inline VXp_SampleWords VXp_WordsAt(const uint8_t* c) {
  return VXp_ToWords(VXp_Load<VXp_Lanes<uint8_t, kVXp_WordLanes>>(c));
}
inline VXp_SampleWords VXp_WordsAt(const uint16_t* c) {
  return VXp_Load<VXp_SampleWords>(c) ^ INT16_MIN;
}

// The products of kVectors vectors of words. Each section of eight words has its first four
// products in `low` and the others in `high`.
template <int32_t kVectors>
struct VXp_Products {
  using Words = VXp_SampleWords;
  using Ints = VXp_ProductLanes;

  // Adds x * wx + y * wy, where `pair` contains wx in the low and wy in the high half of each 32
  // bits.
  void Add(int32_t i, Words x, Words y, Ints pair) {
    const auto weights = reinterpret_cast<Words>(pair);
    low[i] += reinterpret_cast<Ints>(VXp_MulAdjacent(VXp_Interleaved<0>(x, y), weights));
    high[i] += reinterpret_cast<Ints>(VXp_MulAdjacent(VXp_Interleaved<1>(x, y), weights));
  }

  // Adds the products of the distances from..to - 1, or 0..to - 1 if `from` is 1. The sum of two
  // bytes fits a word, so for bytes two distances are multiplied at once. Widened bytes are read at
  // one more distance if the number of distances is odd; the value or the weight must be 0.
  template <class Sample, class Stored>
  [[gnu::always_inline]] void AddTaps(const Stored* c, ptrdiff_t step, const int16_t* weights,
                                      int32_t from, int32_t to) {
    if (from == 1) {
      const Ints pair = Ints{} + int32_t{weights[0]};
      for (int32_t i = 0; i < kVectors; ++i) {
        Add(i, VXp_WordsAt(c + i * kVXp_WordLanes), Words{}, pair);
      }
    }
    int32_t t = from;
    if constexpr (sizeof(Sample) == 1) {
      constexpr int32_t kSingle = std::is_same_v<Stored, int16_t> ? 0 : 1;
      for (; t < to - kSingle; t += 2) {
        const Ints pair = Ints{} + VXp_Load<int32_t>(weights + t);
        const Stored* const after = c + t * step;
        const Stored* const before = c - t * step;
        for (int32_t i = 0; i < kVectors; ++i) {
          const ptrdiff_t at = i * kVXp_WordLanes;
          const Words x = VXp_WordsAt(after + at) + VXp_WordsAt(before + at);
          const Words y = VXp_WordsAt(after + step + at) + VXp_WordsAt(before - step + at);
          Add(i, x, y, pair);
        }
      }
      if (kSingle == 0) return;
    }
    for (; t < to; ++t) {
      const auto pair = reinterpret_cast<Ints>(Words{} + weights[t]);
      const Stored* const after = c + t * step;
      const Stored* const before = c - t * step;
      for (int32_t i = 0; i < kVectors; ++i) {
        const ptrdiff_t at = i * kVXp_WordLanes;
        Add(i, VXp_WordsAt(after + at), VXp_WordsAt(before + at), pair);
      }
    }
  }

  Ints low[kVectors] = {};
  Ints high[kVectors] = {};
};
