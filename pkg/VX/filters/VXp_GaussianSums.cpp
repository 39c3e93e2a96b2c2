// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "filters/VXp_GaussianSums.h"

#include <algorithm>
#include <cmath>

#include "VX/VX_Convolve.h"
#include "filters/VXp_GaussianProducts.h"

// --- weights -------------------------------------------------------------------------------------

namespace {

constexpr int32_t kWeightArray = 14;  // entry of the string table

}  // namespace

VXp_GaussianWeights::VXp_GaussianWeights(float radius)
    : radius_(static_cast<int32_t>(std::ceil(radius))) {
  constexpr int64_t kEntry = sizeof(double) + sizeof(int32_t) + sizeof(int16_t);
  memory_.Allocate((radius_ + 2) * kEntry, kWeightArray);
  reals_ = reinterpret_cast<double*>(memory_.data());
  sums_ = reinterpret_cast<int32_t*>(reals_ + radius_ + 2);
  words_ = reinterpret_cast<int16_t*>(sums_ + radius_ + 2);
  words_[0] = 255;
  reals_[0] = 255;
  sums_[0] = 0;
  const double edge = static_cast<double>(radius) + 1;
  for (int32_t i = 1; i <= radius_; ++i) {
    words_[i] = static_cast<int16_t>(VXp_GaussianValue(i / edge) * 255);
    reals_[i] = words_[i];
    sums_[i] = sums_[i - 1] + words_[i];
  }
  words_[radius_ + 1] = 0;
}

// The products of 128 distances fit 32 bits: 257 weights of at most 255 times samples of at most
// 32768 are below 2^31.
VXp_Taps VXp_GaussianWeights::Taps(int32_t count) const {
  return {words_, count, words_[0] + 2 * Before(count), /*at_once=*/128};
}

int64_t VXp_GaussianWeights::Between(int64_t low, int64_t high) const {
  const int64_t first = std::max<int64_t>(low, 1), last = std::min<int64_t>(high, radius_);
  return last < first ? 0 : Before(last) - Before(first - 1);
}

int64_t VXp_GaussianWeights::Inside(int64_t q, int64_t length) const {
  const int64_t centre = q >= 0 && q < length ? words_[0] : 0;
  return centre + Between(-q, length - 1 - q) + Between(q - length + 1, q);
}

// --- sums ----------------------------------------------------------------------------------------

namespace {

// Computes sums for any depth in double, in which products and sums of the integers are exact. The
// number of sums is kSize, or `size` if kSize is 0.
template <class Sample, int32_t kSize>
void PlainSums(const Sample* c, ptrdiff_t step, const VXp_Taps& taps, int32_t size,
               VXp_GaussianSum<Sample>* sums) {
  const auto value = [](Sample v) { return static_cast<double>(v); };
  const int32_t n = kSize != 0 ? kSize : size;
  double sum[kVXp_SumBlock<Sample>];
  for (int32_t j = 0; j < n; ++j) sum[j] = value(c[j]) * taps.weights[0];
  for (int32_t t = 1; t <= taps.count; ++t) {
    const Sample* const after = c + t * step;
    const Sample* const before = c - t * step;
    const double weight = taps.weights[t];
    for (int32_t j = 0; j < n; ++j) sum[j] += (value(after[j]) + value(before[j])) * weight;
  }
  for (int32_t j = 0; j < n; ++j) sums[j] = static_cast<VXp_GaussianSum<Sample>>(sum[j]);
}

constexpr int32_t kWords = kVXp_WordLanes;

// Returns `count` of the values whose products are `low` (four of each section of eight values) and
// `high` (the others), from value `first` on.
template <int32_t first, size_t... i>
auto InOrder(VXp_ProductLanes low, VXp_ProductLanes high, std::index_sequence<i...>) {
  constexpr auto kLane = [](int32_t value) {
    return value / 8 * 4 + value % 4 + (value % 8 < 4 ? 0 : kVXp_TargetLanes);
  };
  return __builtin_shufflevector(low, high, kLane(first + static_cast<int32_t>(i))...);
}

// Stores the products, added to `bias` in the first call for a block and to `sums` in later calls.
template <class Sum, int32_t kVectors>
void Store(const VXp_Products<kVectors>& products, bool first, Sum bias, Sum* sums) {
  constexpr int32_t kSums = sizeof(VXp_TargetDoubles) / sizeof(Sum);
  const auto store = [&](int32_t i, auto part) {
    using Sums = VXp_Lanes<Sum, kSums>;
    constexpr int32_t kFirst = decltype(part)::value * kSums;
    if (kFirst >= kWords) return;
    Sum* const to = sums + i * kWords + kFirst;
    const Sums base = first ? Sums{} + bias : VXp_Load<Sums>(to);
    const auto ints = InOrder<kFirst % kWords>(products.low[i], products.high[i],
                                               std::make_index_sequence<kSums>());
    if constexpr (std::is_same_v<Sum, double>) {
      VXp_Store(to, base + VXp_ToDoubles(ints));
    } else {
      VXp_Store(to, base + reinterpret_cast<Sums>(ints));
    }
  };
  for (int32_t i = 0; i < kVectors; ++i) {
    store(i, std::integral_constant<int32_t, 0>{});
    store(i, std::integral_constant<int32_t, 1>{});
    store(i, std::integral_constant<int32_t, 2>{});
    store(i, std::integral_constant<int32_t, 3>{});
  }
}

template <class Sample>
void BlockSums(const Sample* c, ptrdiff_t step, const VXp_Taps& taps,
               VXp_GaussianSum<Sample>* sums) {
  constexpr int32_t kVectors = kVXp_SumBlock<Sample> / kWords;
  const auto bias = static_cast<VXp_GaussianSum<Sample>>(
      std::is_same_v<Sample, uint16_t> ? taps.total * 32768 : 0);
  for (int32_t from = 1; from == 1 || from <= taps.count; from += taps.at_once) {
    VXp_Products<kVectors> products;
    const int32_t to = std::min(from + taps.at_once, taps.count + 1);
    products.template AddTaps<Sample>(c, step, taps.weights, from, to);
    if (from == 1) {  // a branch, so that `first` is a constant in each call
      Store(products, true, bias, sums);
    } else {
      Store(products, false, bias, sums);
    }
  }
}

}  // namespace

template <class Sample>
void VXp_GaussianSums(const Sample* c, ptrdiff_t step, const VXp_Taps& taps, int32_t size,
                      VXp_GaussianSum<Sample>* sums) {
  constexpr int32_t kBlock = kVXp_SumBlock<Sample>;
  if (size != kBlock) return PlainSums<Sample, 0>(c, step, taps, size, sums);
  if constexpr (std::is_integral_v<Sample>) return BlockSums(c, step, taps, sums);
  PlainSums<Sample, kBlock>(c, step, taps, size, sums);
}

#define VX_SUMS(Sample)                                                              \
  template void VXp_GaussianSums(const Sample*, ptrdiff_t, const VXp_Taps&, int32_t, \
                                 VXp_GaussianSum<Sample>*);
VX_SUMS(uint8_t)
VX_SUMS(uint16_t)
VX_SUMS(float)
#undef VX_SUMS
