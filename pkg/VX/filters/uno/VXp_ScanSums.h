// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The arithmetic of scans: sums over a window, and the sample that becomes of a sum. One line takes
// sums of places behind each other, a bundle those of lines beside each other; both come here, so
// that their samples are the same.

#include <cstddef>
#include <cstdint>
#include <type_traits>

// --- boxes ---------------------------------------------------------------------------------------

// The sums of a sliding window. Integer sums are exact: 65535 samples of full scale are below 2^31,
// and what is above full scale still fits 32 bits.
template <class Sample>
struct VXp_SlidingSum {
  using Sum = uint32_t;

  void Enter(Sample v, int64_t times = 1) { sum += v * static_cast<uint32_t>(times); }

  Sum sum = 0;
};

// In float the difference of the entering and the leaving sample is added; when only zeros are left
// in the window the sum is 0, so that rounding leaves no trace where there is nothing. What is not
// finite stays in the sum until then.
template <>
struct VXp_SlidingSum<float> {
  using Sum = double;

  void Enter(float v, int64_t times = 1) {
    held += v != 0.0f ? static_cast<int32_t>(times) : 0;
    sum += static_cast<double>(v) * static_cast<double>(times);
  }

  Sum sum = 0;
  int32_t held = 0;  // samples in the window that are not 0
};

// The sums of one line for `count` places behind each other.
template <class Sample>
void VXp_SlideAlong(const Sample* entering, const Sample* leaving, int32_t count,
                    VXp_SlidingSum<Sample>& state,
                    typename VXp_SlidingSum<Sample>::Sum* __restrict sums) {
  VXp_SlidingSum<Sample> now = state;
  for (int32_t i = 0; i < count; ++i) {
    if constexpr (std::is_same_v<Sample, float>) {
      const double change = static_cast<double>(entering[i]) - static_cast<double>(leaving[i]);
      now.held += (entering[i] != 0.0f ? 1 : 0) - (leaving[i] != 0.0f ? 1 : 0);
      now.sum += change;
      if (now.held == 0) now.sum = 0;
    } else {
      now.sum += static_cast<uint32_t>(entering[i]) - static_cast<uint32_t>(leaving[i]);
    }
    sums[i] = now.sum;
  }
  state = now;
}

// The sums of `count` lines for the next place. Lines of floats count what they hold as doubles, so
// that all of it has the same lanes.
template <class Sample>
void VXp_SlideAcross(const Sample* entering, const Sample* leaving, int32_t count,
                     uint32_t* __restrict sums, double* /*held*/) {
  for (int32_t i = 0; i < count; ++i) {
    sums[i] += static_cast<uint32_t>(entering[i]) - static_cast<uint32_t>(leaving[i]);
  }
}
inline void VXp_SlideAcross(const float* entering, const float* leaving, int32_t count,
                            double* __restrict sums, double* __restrict held) {
  for (int32_t i = 0; i < count; ++i) {
    const double in = entering[i], out = leaving[i];
    held[i] += (in != 0.0 ? 1.0 : 0.0) - (out != 0.0 ? 1.0 : 0.0);
    const double sum = sums[i] + (in - out);
    sums[i] = held[i] != 0.0 ? sum : 0.0;
  }
}

// (sum unit + (left + right) outer + bias) / divisor, truncated at integer depths, where all of it
// is a whole number but the half that is added here: it keeps whole quotients from falling short,
// and others are at least 1 / divisor below the next whole number. The terms are below 2^40 /
// divisor, so what the products lose is far less. Float has no bias.
template <class Sample>
struct VXp_BoxQuotient {
  VXp_BoxQuotient(int32_t scale, int32_t outer, int64_t total)
      : unit(scale / static_cast<double>(total)),
        weight(outer / static_cast<double>(total)),
        bias(((scale == 1 ? 0 : 128) + 0.5 + scale * kOffset) / static_cast<double>(total)) {}

  void operator()(const uint32_t* sums, const Sample* left, const Sample* right, int32_t count,
                  Sample* __restrict out) const {
    for (int32_t i = 0; i < count; ++i) {
      const auto sum = static_cast<int32_t>(sums[i] - 0x80000000u);
      const int32_t ends = int32_t{left[i]} + int32_t{right[i]};
      out[i] = static_cast<Sample>(static_cast<int32_t>(sum * unit + ends * weight + bias));
    }
  }

  // Only signed numbers become doubles in one step.
  static constexpr double kOffset = 2147483648.0;
  double unit, weight, bias;
};

template <>
struct VXp_BoxQuotient<float> {
  VXp_BoxQuotient(int32_t scale, int32_t outer, int64_t total)
      : unit(scale), weight(outer), divisor(static_cast<double>(total)) {}

  void operator()(const double* sums, const float* left, const float* right, int32_t count,
                  float* __restrict out) const {
    for (int32_t i = 0; i < count; ++i) {
      const double ends = static_cast<double>(left[i]) + static_cast<double>(right[i]);
      out[i] = static_cast<float>((sums[i] * unit + ends * weight) / divisor);
    }
  }

  double unit, weight, divisor;
};

// --- Gaussian ------------------------------------------------------------------------------------

// Sums of at most this many samples side by side are taken at once.
inline constexpr int32_t kVXp_GaussianBlock = 32;

// What a sum of weighted samples is divided by, and how.
template <class Sample>
struct VXp_GaussianQuotient {
  explicit VXp_GaussianQuotient(int64_t total)
      : factor(1.0 / static_cast<double>(total)), bias(static_cast<double>(total / 2) + 0.5) {}

  // As with boxes, a half more keeps whole quotients whole.
  Sample operator()(double sum) const {
    return static_cast<Sample>(static_cast<int32_t>((sum + bias) * factor));
  }

  double factor, bias;
};

// Where all weights are at most kNarrow in sum, floats will do: sums of bytes are below 2^21 and
// exact even with a half, and the products are off by less than 2^-15, where other quotients are
// at least 2^-14 below the next whole number.
template <>
struct VXp_GaussianQuotient<uint8_t> {
  static constexpr int64_t kNarrow = 8192;

  explicit VXp_GaussianQuotient(int64_t total)
      : narrow(total <= kNarrow),
        factor(1.0 / static_cast<double>(total)),
        bias(static_cast<double>(total / 2) + 0.5),
        narrow_factor(static_cast<float>(factor)),
        narrow_bias(static_cast<float>(bias)) {}

  uint8_t operator()(double sum) const {
    return static_cast<uint8_t>(static_cast<int32_t>((sum + bias) * factor));
  }
  uint8_t Narrow(int32_t sum) const {
    const float quotient = (static_cast<float>(sum) + narrow_bias) * narrow_factor;
    return static_cast<uint8_t>(static_cast<int32_t>(quotient));
  }

  bool narrow;
  double factor, bias;
  float narrow_factor, narrow_bias;
};

template <>
struct VXp_GaussianQuotient<float> {
  explicit VXp_GaussianQuotient(int64_t total) : divisor(static_cast<double>(total)) {}

  float operator()(double sum) const { return static_cast<float>(sum / divisor); }

  double divisor;
};

// out[j] = the quotient of w[0] c[j] + w[1] (c[j + step] + c[j - step]) + ... up to w[reach], for j
// below `count`. Integer sums are exact. Float is summed in this order, the two samples of a weight
// first, so that a mirrored line has mirrored sums.
template <class Sample>
void VXp_GaussianMeans(const Sample* c, ptrdiff_t step, const int32_t* w, int64_t reach,
                       const VXp_GaussianQuotient<Sample>& quotient, int32_t count, Sample* out);
