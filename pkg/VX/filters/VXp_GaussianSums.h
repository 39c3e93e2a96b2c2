// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The Gaussian engine: weighted sums over a symmetric window, and their quotients.
//
// `step` is the distance in scratch between neighbouring positions of a line. VXp_GaussianSums
// processes a block of adjacent samples of one-channel lines; worlds use VXp_GaussianGroups.h.
//
//   sums[j] = w[0] c[j] + w[1] (c[j + step] + c[j - step]) + ... + w[count] (...)
//
// Integer sums are exact and below 2^53. Float sums are computed in double in this order, the two
// values of a weight first, so that a mirrored line has mirrored sums.

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "filters/VXp_BlurScratch.h"
#include "frame/VXp_Lanes.h"

// One side of a symmetric window.
struct VXp_Taps {
  const int16_t* weights;  // w[0] to w[count]
  int32_t count;           // largest distance that is summed
  int64_t total;           // w[0] + 2 (w[1] + ... + w[count])
  int32_t at_once;         // number of distances whose products fit 32 bits together; even
};

// The sums of bytes fit 32 bits for any window.
template <class Sample>
using VXp_GaussianSum = std::conditional_t<std::is_same_v<Sample, uint8_t>, uint32_t, double>;

// Number of values in a full block, which is summed faster than other counts.
template <class Value>
inline constexpr int32_t kVXp_SumBlock = std::is_floating_point_v<Value>
                                             ? std::min(8 * kVXp_TargetDoubles, 32)
                                             : std::min(16 * kVXp_TargetDoubles, 64);

// Computes sums[0..size). Reads `size` samples at each of the distances -count..count.
template <class Sample>
void VXp_GaussianSums(const Sample* c, ptrdiff_t step, const VXp_Taps& taps, int32_t size,
                      VXp_GaussianSum<Sample>* sums);

// Divides a sum by the weights of its window.
//
//   integers  (sum + total / 2) / total, both divisions truncated. Computed as a product with 1 /
//             total, whose error could make it smaller by less than 1 / (2 total). So 1/2 is added
//             to the sum: this compensates for the error if the quotient is an integer. Any other
//             quotient is at least 1 / total below the next integer and is not affected.
//             For bytes and a total below kSmall the same formula is exact in single precision:
//             the sum plus `added` is below 2^23, and the rounding errors are below 256 / 2^23.
//   float     sum / total
template <class Sample>
struct VXp_GaussianQuotient {
  explicit VXp_GaussianQuotient(int64_t weights)
      : total(static_cast<double>(weights)),
        factor(weights == 0 ? 0.0 : 1.0 / total),
        added(static_cast<double>(weights / 2) + 0.5),
        single_factor(weights == 0 ? 0.0f : 1.0f / static_cast<float>(weights)),
        single_added(static_cast<float>(added)) {}

  static constexpr int64_t kSmall = 1 << 14;

  // Returns the quotient before truncation. Number is double or a vector of doubles.
  template <class Number>
  Number operator()(Number sum) const {
    if constexpr (std::is_same_v<Sample, float>) {
      return sum / total;
    } else {
      return (sum + added) * factor;
    }
  }

  double total, factor, added;
  float single_factor, single_added;
};

// The weights of the blurs of worlds: w[0] = 255 and w[i] = trunc(255 VXp_GaussianValue(i / (radius
// + 1))) for i up to ceil(radius).
class VXp_GaussianWeights {
 public:
  // Throws the allocator's error.
  explicit VXp_GaussianWeights(float radius);

  int32_t radius() const { return radius_; }

  // Returns the weights of the distances 0..count. The array contains at least one more weight.
  VXp_Taps Taps(int32_t count) const;

  // Returns the same weights as floating-point numbers.
  const double* Reals() const { return reals_; }

  // Returns the sum of all weights on both sides, at most 255 * 65535.
  int64_t total() const { return words_[0] + 2 * Before(radius_); }

  // Returns the sum of the weights at the positions 0..length - 1 of a line for a window with
  // centre `q`.
  int64_t Inside(int64_t q, int64_t length) const;

 private:
  // Returns w[1] + ... + w[i].
  int64_t Before(int64_t i) const { return i <= 0 ? 0 : sums_[i]; }
  // Returns the sum of the weights at the distances low..high on one side.
  int64_t Between(int64_t low, int64_t high) const;

  VX_BlurScratchRow memory_;
  int32_t radius_;
  double* reals_;
  int32_t* sums_;
  int16_t* words_;
};
