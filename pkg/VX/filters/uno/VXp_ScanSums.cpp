// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "filters/uno/VXp_ScanSums.h"

#include <algorithm>

namespace {

// Normalised weights are at most 765: a radius next to 0 gives all of the three places' share to
// the middle one. So two samples of 8 bits times a weight are below 2^19, of 16 bits below 2^27.
template <class Sample>
constexpr int64_t kTapsAtOnce = sizeof(Sample) == 1 ? 4096 : 16;

// part[j] += w (a[j] + b[j])
template <class Sample>
inline void AddTap(const Sample* a, const Sample* b, uint16_t weight, int32_t count,
                   uint32_t* __restrict part) {
  for (int32_t j = 0; j < count; ++j) {
    if constexpr (sizeof(Sample) == 1) {
      const auto both = static_cast<uint16_t>(a[j] + b[j]);
      part[j] += uint32_t{both} * weight;
    } else {
      part[j] += uint32_t{a[j]} * weight + uint32_t{b[j]} * weight;
    }
  }
}

// kCount 0: `count` of them.
template <class Sample, int32_t kCount>
void IntegerMeans(const Sample* c, ptrdiff_t step, const int32_t* w, int64_t reach,
                  const VXp_GaussianQuotient<Sample>& quotient, int32_t count, Sample* out) {
  const int32_t n = kCount != 0 ? kCount : count;
  uint32_t part[kVXp_GaussianBlock];
  double sums[kVXp_GaussianBlock];
  for (int32_t j = 0; j < n; ++j) part[j] = uint32_t{c[j]} * static_cast<uint16_t>(w[0]);
  if constexpr (sizeof(Sample) == 1) {
    if (quotient.narrow) {
      for (int64_t t = 1; t <= reach; ++t) {
        AddTap(c + t * step, c - t * step, static_cast<uint16_t>(w[t]), n, part);
      }
      for (int32_t j = 0; j < n; ++j) out[j] = quotient.Narrow(static_cast<int32_t>(part[j]));
      return;
    }
  }
  for (int64_t from = 1;;) {
    const int64_t to = std::min(from + kTapsAtOnce<Sample>, reach + 1);
    for (int64_t t = from; t < to; ++t) {
      AddTap(c + t * step, c - t * step, static_cast<uint16_t>(w[t]), n, part);
    }
    if (from == 1) std::fill_n(sums, n, 0.0);
    for (int32_t j = 0; j < n; ++j) sums[j] += static_cast<double>(static_cast<int32_t>(part[j]));
    if (to > reach) break;
    from = to;
    std::fill_n(part, n, 0u);
  }
  for (int32_t j = 0; j < n; ++j) out[j] = quotient(sums[j]);
}

template <int32_t kCount>
void FloatMeans(const float* c, ptrdiff_t step, const int32_t* w, int64_t reach,
                const VXp_GaussianQuotient<float>& quotient, int32_t count, float* out) {
  const int32_t n = kCount != 0 ? kCount : count;
  double sum[kVXp_GaussianBlock];
  for (int32_t j = 0; j < n; ++j) sum[j] = static_cast<double>(c[j]) * w[0];
  for (int64_t t = 1; t <= reach; ++t) {
    const float* const after = c + t * step;
    const float* const before = c - t * step;
    const double weight = w[t];
    for (int32_t j = 0; j < n; ++j) {
      sum[j] += (static_cast<double>(after[j]) + static_cast<double>(before[j])) * weight;
    }
  }
  for (int32_t j = 0; j < n; ++j) out[j] = quotient(sum[j]);
}

}  // namespace

template <class Sample>
void VXp_GaussianMeans(const Sample* c, ptrdiff_t step, const int32_t* w, int64_t reach,
                       const VXp_GaussianQuotient<Sample>& quotient, int32_t count, Sample* out) {
  constexpr int32_t kBlock = kVXp_GaussianBlock;
  if (count == kBlock) {
    IntegerMeans<Sample, kBlock>(c, step, w, reach, quotient, count, out);
  } else {
    IntegerMeans<Sample, 0>(c, step, w, reach, quotient, count, out);
  }
}

template <>
void VXp_GaussianMeans<float>(const float* c, ptrdiff_t step, const int32_t* w, int64_t reach,
                              const VXp_GaussianQuotient<float>& quotient, int32_t count,
                              float* out) {
  if (count == kVXp_GaussianBlock) {
    FloatMeans<kVXp_GaussianBlock>(c, step, w, reach, quotient, count, out);
  } else {
    FloatMeans<0>(c, step, w, reach, quotient, count, out);
  }
}

template void VXp_GaussianMeans<uint8_t>(const uint8_t*, ptrdiff_t, const int32_t*, int64_t,
                                         const VXp_GaussianQuotient<uint8_t>&, int32_t, uint8_t*);
template void VXp_GaussianMeans<uint16_t>(const uint16_t*, ptrdiff_t, const int32_t*, int64_t,
                                          const VXp_GaussianQuotient<uint16_t>&, int32_t,
                                          uint16_t*);
