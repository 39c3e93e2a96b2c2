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
void IntegerSums(const Sample* c, ptrdiff_t step, const int32_t* w, int64_t reach, int32_t count,
                 double* sums) {
  const int32_t n = kCount != 0 ? kCount : count;
  uint32_t part[kVXp_GaussianBlock];
  for (int32_t j = 0; j < n; ++j) part[j] = uint32_t{c[j]} * static_cast<uint16_t>(w[0]);
  for (int64_t from = 1;;) {
    const int64_t to = std::min(from + kTapsAtOnce<Sample>, reach + 1);
    for (int64_t t = from; t < to; ++t) {
      AddTap(c + t * step, c - t * step, static_cast<uint16_t>(w[t]), n, part);
    }
    if (from == 1) std::fill_n(sums, n, 0.0);
    for (int32_t j = 0; j < n; ++j) sums[j] += static_cast<double>(static_cast<int32_t>(part[j]));
    if (to > reach) return;
    from = to;
    std::fill_n(part, n, 0u);
  }
}

template <int32_t kCount>
void FloatSums(const float* c, ptrdiff_t step, const int32_t* w, int64_t reach, int32_t count,
               double* sums) {
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
  std::copy_n(sum, n, sums);
}

}  // namespace

template <class Sample>
void VXp_GaussianSums(const Sample* c, ptrdiff_t step, const int32_t* w, int64_t reach,
                      int32_t count, double* sums) {
  constexpr int32_t kBlock = kVXp_GaussianBlock;
  if (count == kBlock) {
    IntegerSums<Sample, kBlock>(c, step, w, reach, count, sums);
  } else {
    IntegerSums<Sample, 0>(c, step, w, reach, count, sums);
  }
}

template <>
void VXp_GaussianSums<float>(const float* c, ptrdiff_t step, const int32_t* w, int64_t reach,
                             int32_t count, double* sums) {
  if (count == kVXp_GaussianBlock) {
    FloatSums<kVXp_GaussianBlock>(c, step, w, reach, count, sums);
  } else {
    FloatSums<0>(c, step, w, reach, count, sums);
  }
}

template void VXp_GaussianSums<uint8_t>(const uint8_t*, ptrdiff_t, const int32_t*, int64_t, int32_t,
                                        double*);
template void VXp_GaussianSums<uint16_t>(const uint16_t*, ptrdiff_t, const int32_t*, int64_t,
                                         int32_t, double*);
