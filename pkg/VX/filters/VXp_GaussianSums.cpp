// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "filters/VXp_GaussianSums.h"

#include <algorithm>
#include <cmath>

#include "VX/VX_Convolve.h"
#include "frame/VXp_Rows.h"

// --- weights -------------------------------------------------------------------------------------

namespace {

constexpr int32_t kWeightArray = 14;  // entry of the string table

}  // namespace

VXp_GaussianWeights::VXp_GaussianWeights(float radius)
    : radius_(static_cast<int32_t>(std::ceil(radius))) {
  constexpr auto kEntry = static_cast<int64_t>(sizeof(int32_t) + sizeof(int16_t));
  memory_.Allocate((radius_ + 2) * kEntry, kWeightArray);
  sums_ = reinterpret_cast<int32_t*>(memory_.data());
  words_ = reinterpret_cast<int16_t*>(sums_ + radius_ + 2);
  words_[0] = 255;
  sums_[0] = 0;
  const double edge = static_cast<double>(radius) + 1;
  for (int32_t i = 1; i <= radius_; ++i) {
    words_[i] = static_cast<int16_t>(VXp_GaussianValue(i / edge) * 255);
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
template <class Sample, int32_t kSize, class Stored>
void PlainSums(const Stored* c, ptrdiff_t step, const VXp_Taps& taps, int32_t size,
               VXp_GaussianSum<Sample>* sums) {
  constexpr bool kBiased = std::is_same_v<Sample, uint16_t> && std::is_same_v<Stored, int16_t>;
  const auto value = [](Stored v) {
    if constexpr (kBiased) return static_cast<double>(v) + 32768;
    return static_cast<double>(v);
  };
  const int32_t n = kSize != 0 ? kSize : size;
  double sum[kVXp_SumBlock<Stored>];
  for (int32_t j = 0; j < n; ++j) sum[j] = value(c[j]) * taps.weights[0];
  for (int32_t t = 1; t <= taps.count; ++t) {
    const Stored* const after = c + t * step;
    const Stored* const before = c - t * step;
    const double weight = taps.weights[t];
    for (int32_t j = 0; j < n; ++j) sum[j] += (value(after[j]) + value(before[j])) * weight;
  }
  for (int32_t j = 0; j < n; ++j) sums[j] = static_cast<VXp_GaussianSum<Sample>>(sum[j]);
}

// A vector contains kWords 16-bit words; the products of a block are twice as many vectors of
// 32-bit numbers. 16-bit samples are converted to signed words by subtracting 32768.
constexpr int32_t kWords = 2 * kVXp_TargetLanes;
using Words = VXp_Lanes<int16_t, kWords>;
using Ints = VXp_Lanes<int32_t, kVXp_TargetLanes>;

Words WordsAt(const int16_t* c) { return VXp_Load<Words>(c); }
Words WordsAt(const uint8_t* c) { return VXp_ToWords(VXp_Load<VXp_Lanes<uint8_t, kWords>>(c)); }
Words WordsAt(const uint16_t* c) { return VXp_Load<Words>(c) ^ INT16_MIN; }

// Returns `count` of the values whose products are `low` (four of each section of eight values) and
// `high` (the others), from value `first` on.
template <int32_t first, size_t... i>
auto InOrder(Ints low, Ints high, std::index_sequence<i...>) {
  constexpr auto kLane = [](int32_t value) {
    return value / 8 * 4 + value % 4 + (value % 8 < 4 ? 0 : kVXp_TargetLanes);
  };
  return __builtin_shufflevector(low, high, kLane(first + static_cast<int32_t>(i))...);
}

// The products of a block of kVectors vectors.
template <int32_t kVectors>
struct Products {
  // Adds x * wx + y * wy, where `pair` contains wx in the low and wy in the high half of each 32
  // bits.
  void Add(int32_t i, Words x, Words y, Ints pair) {
    const auto weights = reinterpret_cast<Words>(pair);
    low[i] += reinterpret_cast<Ints>(VXp_MulAdjacent(VXp_Interleaved<0>(x, y), weights));
    high[i] += reinterpret_cast<Ints>(VXp_MulAdjacent(VXp_Interleaved<1>(x, y), weights));
  }
  // Stores the products, added to `bias` in the first call for a block and to `sums` in later
  // calls.
  template <class Sum>
  void Store(bool first, Sum bias, Sum* sums) const {
    constexpr int32_t kSums = sizeof(VXp_TargetDoubles) / sizeof(Sum);
    const auto store = [&](int32_t i, auto part) {
      using Sums = VXp_Lanes<Sum, kSums>;
      constexpr int32_t kFirst = decltype(part)::value * kSums;
      if (kFirst >= kWords) return;
      Sum* const to = sums + i * kWords + kFirst;
      const Sums base = first ? Sums{} + bias : VXp_Load<Sums>(to);
      const auto ints =
          InOrder<kFirst % kWords>(low[i], high[i], std::make_index_sequence<kSums>());
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

  Ints low[kVectors] = {};
  Ints high[kVectors] = {};
};

// Adds the products of the distances from..to - 1. The sum of two bytes fits a word, so for bytes
// two distances are multiplied at once. Widened bytes are read at one more distance if the number
// of distances is odd, see VXp_GaussianSums.
template <class Sample, class Stored, int32_t kVectors>
[[gnu::always_inline]] inline void AddTaps(const Stored* c, ptrdiff_t step, const int16_t* weights,
                                           int32_t from, int32_t to, Products<kVectors>& products) {
  int32_t t = from;
  if constexpr (sizeof(Sample) == 1) {
    constexpr int32_t kSingle = std::is_same_v<Stored, int16_t> ? 0 : 1;
    for (; t < to - kSingle; t += 2) {
      const Ints pair = Ints{} + VXp_Load<int32_t>(weights + t);
      const Stored* const after = c + t * step;
      const Stored* const before = c - t * step;
      for (int32_t i = 0; i < kVectors * kWords; i += kWords) {
        const Words x = WordsAt(after + i) + WordsAt(before + i);
        const Words y = WordsAt(after + step + i) + WordsAt(before - step + i);
        products.Add(i / kWords, x, y, pair);
      }
    }
    if (kSingle == 0) return;
  }
  for (; t < to; ++t) {
    const auto pair = reinterpret_cast<Ints>(Words{} + weights[t]);
    const Stored* const after = c + t * step;
    const Stored* const before = c - t * step;
    for (int32_t i = 0; i < kVectors * kWords; i += kWords) {
      products.Add(i / kWords, WordsAt(after + i), WordsAt(before + i), pair);
    }
  }
}

template <class Sample, class Stored>
void BlockSums(const Stored* c, ptrdiff_t step, const VXp_Taps& taps,
               VXp_GaussianSum<Sample>* sums) {
  constexpr int32_t kVectors = kVXp_SumBlock<Stored> / kWords;
  const auto bias = static_cast<VXp_GaussianSum<Sample>>(
      std::is_same_v<Sample, uint16_t> ? taps.total * 32768 : 0);
  for (int32_t from = 1; from == 1 || from <= taps.count; from += taps.at_once) {
    Products<kVectors> products;
    if (from == 1) {
      const Ints pair = Ints{} + int32_t{taps.weights[0]};
      for (int32_t i = 0; i < kVectors; ++i) {
        products.Add(i, WordsAt(c + i * kWords), Words{}, pair);
      }
    }
    const int32_t to = std::min(from + taps.at_once, taps.count + 1);
    AddTaps<Sample>(c, step, taps.weights, from, to, products);
    if (from == 1) {  // a branch, so that `first` is a constant in each call
      products.Store(true, bias, sums);
    } else {
      products.Store(false, bias, sums);
    }
  }
}

// Sums a block of doubles, with the additions in the same order as in PlainSums.
void DoubleSums(const double* c, ptrdiff_t step, const VXp_Taps& taps, double* sums) {
  constexpr int32_t kVectors = kVXp_SumBlock<double> / kVXp_TargetDoubles;
  const auto values = [](const double* from, int32_t i) {
    return VXp_Load<VXp_TargetDoubles>(from + kVXp_TargetDoubles * i);
  };
  VXp_TargetDoubles sum[kVectors];
  for (int32_t i = 0; i < kVectors; ++i) {
    sum[i] = values(c, i) * static_cast<double>(taps.weights[0]);
  }
  for (int32_t t = 1; t <= taps.count; ++t) {
    const double* const after = c + t * step;
    const double* const before = c - t * step;
    const double weight = taps.weights[t];
    for (int32_t i = 0; i < kVectors; ++i) {
      sum[i] += (values(after, i) + values(before, i)) * weight;
    }
  }
  for (int32_t i = 0; i < kVectors; ++i) VXp_Store(sums + kVXp_TargetDoubles * i, sum[i]);
}

}  // namespace

template <class Sample, class Stored>
void VXp_GaussianSums(const Stored* c, ptrdiff_t step, const VXp_Taps& taps, int32_t size,
                      VXp_GaussianSum<Sample>* sums) {
  constexpr int32_t kBlock = kVXp_SumBlock<Stored>;
  if (size != kBlock) return PlainSums<Sample, 0>(c, step, taps, size, sums);
  if constexpr (std::is_same_v<Stored, double>) return DoubleSums(c, step, taps, sums);
  if constexpr (std::is_integral_v<Sample>) return BlockSums<Sample>(c, step, taps, sums);
  PlainSums<Sample, kBlock>(c, step, taps, size, sums);
}

#define VX_SUMS(Sample, Stored)                                                             \
  template void VXp_GaussianSums<Sample, Stored>(const Stored*, ptrdiff_t, const VXp_Taps&, \
                                                 int32_t, VXp_GaussianSum<Sample>*);
VX_SUMS(uint8_t, int16_t)
VX_SUMS(uint8_t, uint8_t)
VX_SUMS(uint16_t, int16_t)
VX_SUMS(uint16_t, uint16_t)
VX_SUMS(float, double)
VX_SUMS(float, float)
#undef VX_SUMS
