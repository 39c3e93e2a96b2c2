// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The Gaussian engine: weighted sums over a symmetric window, and their quotients.
//
// It works on a block of values that are adjacent in scratch: channels of neighbouring pixels, or
// samples of one-channel lines. `step` is the distance from a position of a line to the next
// position.
//
//   sums[j] = w[0] c[j] + w[1] (c[j + step] + c[j - step]) + ... + w[count] (...)
//
// Integer sums are exact, below 2^53. Float sums are computed in double in this order, the two
// values of a weight first, so that a mirrored line has mirrored sums.

#include <cstdint>
#include <type_traits>

#include "filters/VXp_BlurScratch.h"
#include "indep/VXp_ChannelLanes.h"

// One side of a symmetric window.
struct VXp_Taps {
  const int16_t* weights;    // w[0] to w[count]
  int32_t count;             // distances that are summed
  int64_t total;             // w[0] + 2 (w[1] + ... + w[count])
  int32_t at_once;           // distances whose products fit 32 bits together; even
  const uint16_t* products;  // null, or w[i] v at index 256 i + v, for bytes v
};

// Values of `Sample` as they are stored in scratch: unchanged, or widened for faster sums. Bytes
// are widened to int16_t, 16 bits become int16_t minus 32768, floats become double.
template <class Sample>
using VXp_WidenedSample = std::conditional_t<std::is_same_v<Sample, float>, double, int16_t>;

// Values that are summed at once. A sum of this many is fast; other counts are for ends of lines.
template <class Stored>
inline constexpr int32_t kVXp_SumBlock = std::is_same_v<Stored, double> ? 16 : 32;

// Computes sums[0..size). Reads `size` values at each of the distances -count..count. Widened bytes
// are read at one distance more if `count` is odd: there the values or the weight must be 0.
template <class Sample, class Stored>
void VXp_GaussianSums(const Stored* c, ptrdiff_t step, const VXp_Taps& taps, int32_t size,
                      double* sums);

// Divides a sum by the weights of its window.
//
//   integers  (sum + total / 2) / total, truncated twice. Computed as a product with 1 / total,
//             which may be too small by less than 1 / (2 total). So 1/2 is added to the sum: a
//             whole quotient is not truncated to the number below, and any other quotient is at
//             least 1 / total below the next integer.
//   float     sum / total
template <class Sample>
struct VXp_GaussianQuotient {
  explicit VXp_GaussianQuotient(int64_t weights)
      : total(static_cast<double>(weights)),
        factor(weights == 0 ? 0.0 : 1.0 / total),
        added(static_cast<double>(weights / 2) + 0.5) {}

  // The quotient before truncation. Number: double or VXp_DoublePair.
  template <class Number>
  Number operator()(Number sum) const {
    if constexpr (std::is_same_v<Sample, float>) {
      return sum / total;
    } else {
      return (sum + added) * factor;
    }
  }

  double total, factor, added;
};

// The weights of the blurs of worlds: w[0] = 255, w[i] = trunc(255 profile(i / (radius + 1))) for i
// up to the radius, rounded up.
class VXp_GaussianWeights {
 public:
  // Throws the allocator's error.
  explicit VXp_GaussianWeights(float radius);

  int32_t radius() const { return radius_; }

  // The weights of the distances 0..count, followed by one more.
  VXp_Taps Taps(int32_t count) const;

  // Returns the sum of all weights on both sides, at most 255 * 65535.
  int64_t total() const { return words_[0] + 2 * Before(radius_); }

  // Returns the sum of the weights at the positions 0..length - 1 of a line for a window with
  // centre `q`.
  int64_t Inside(int64_t q, int64_t length) const;

  // Makes the table of products for processors without SSE2, where multiplying bytes is slower than
  // reading a table. Throws the allocator's error.
  void MakeProducts(int32_t count);

 private:
  // w[1] + ... + w[i]
  int64_t Before(int64_t i) const { return i <= 0 ? 0 : sums_[i]; }
  // Returns the sum of the weights at the distances low..high on one side.
  int64_t Between(int64_t low, int64_t high) const;

  VX_BlurScratchRow memory_, products_memory_;
  int32_t radius_;
  int32_t* sums_;
  int16_t* words_;
  uint16_t* products_ = nullptr;
};
