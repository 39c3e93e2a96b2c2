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
constexpr int32_t kBytes = 256;       // number of 8-bit values

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
  return {words_, count, words_[0] + 2 * Before(count), /*at_once=*/128, products_};
}

void VXp_GaussianWeights::MakeProducts(int32_t count) {
  const int64_t rows = int64_t{count} + 1;
  products_memory_.Allocate(rows * kBytes * int64_t{sizeof(uint16_t)}, kWeightArray);
  products_ = reinterpret_cast<uint16_t*>(products_memory_.data());
  for (int64_t i = 0; i < rows; ++i) {
    for (int32_t v = 0; v < kBytes; ++v) {
      products_[i * kBytes + v] = static_cast<uint16_t>(words_[i] * v);
    }
  }
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
void PlainSums(const Stored* c, ptrdiff_t step, const VXp_Taps& taps, int32_t size, double* sums) {
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
  std::copy_n(sum, n, sums);
}

// Computes sums of bytes with the table of products. 32 bits are enough: the sums are below 2^32
// even at full scale with the largest weights.
void ProductSums(const int16_t* c, ptrdiff_t step, const VXp_Taps& taps, double* sums) {
  constexpr int32_t kBlock = kVXp_SumBlock<int16_t>;
  uint32_t sum[kBlock];
  for (int32_t j = 0; j < kBlock; ++j) sum[j] = taps.products[c[j]];
  for (int32_t t = 1; t <= taps.count; ++t) {
    const uint16_t* const row = taps.products + ptrdiff_t{t} * kBytes;
    const int16_t* const after = c + t * step;
    const int16_t* const before = c - t * step;
    for (int32_t j = 0; j < kBlock; ++j) sum[j] += uint32_t{row[after[j]]} + row[before[j]];
  }
  for (int32_t j = 0; j < kBlock; ++j) sums[j] = sum[j];
}

#ifdef __SSE2__

// A block of integers is four registers of eight 16-bit words; its products are eight registers of
// 32-bit numbers. 16-bit samples are converted to signed words by subtracting 32768.
constexpr int32_t kRegisters = 4;

__m128i Words(const int16_t* c, int32_t i) { return VXp_Load<__m128i>(c + 8 * i); }
__m128i Words(const uint8_t* c, int32_t i) {
  const __m128i bytes = _mm_cvtsi64_si128(VXp_Load<int64_t>(c + 8 * i));
  return _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
}
__m128i Words(const uint16_t* c, int32_t i) {
  return _mm_xor_si128(VXp_Load<__m128i>(c + 8 * i), _mm_set1_epi16(INT16_MIN));
}

struct Products {
  // Adds x * wx + y * wy, where `pair` contains wx in the low and wy in the high half of each 32
  // bits.
  void Add(int32_t i, __m128i x, __m128i y, __m128i pair) {
    low[i] = _mm_add_epi32(low[i], _mm_madd_epi16(_mm_unpacklo_epi16(x, y), pair));
    high[i] = _mm_add_epi32(high[i], _mm_madd_epi16(_mm_unpackhi_epi16(x, y), pair));
  }
  // Stores the products, added to `bias` in the first call for a block and to `sums` in later
  // calls.
  void Store(bool first, double bias, double* sums) const {
    const __m128d base = _mm_set1_pd(bias);
    for (int32_t i = 0; i < kRegisters; ++i) {
      for (const __m128i* const part : {&low[i], &high[i]}) {
        const __m128d a = _mm_cvtepi32_pd(*part);
        const __m128d b = _mm_cvtepi32_pd(_mm_unpackhi_epi64(*part, *part));
        _mm_storeu_pd(sums, _mm_add_pd(first ? base : _mm_loadu_pd(sums), a));
        _mm_storeu_pd(sums + 2, _mm_add_pd(first ? base : _mm_loadu_pd(sums + 2), b));
        sums += 4;
      }
    }
  }

  __m128i low[kRegisters] = {};
  __m128i high[kRegisters] = {};
};

// Adds the products of the distances from..to - 1. The sum of two bytes fits a word, so for bytes
// two distances are multiplied at once. Widened bytes are read at one more distance if the number
// of distances is odd, see VXp_GaussianSums.
template <class Sample, class Stored>
[[gnu::always_inline]] inline void AddTaps(const Stored* c, ptrdiff_t step, const int16_t* weights,
                                           int32_t from, int32_t to, Products& products) {
  int32_t t = from;
  if constexpr (sizeof(Sample) == 1) {
    constexpr int32_t kSingle = std::is_same_v<Stored, int16_t> ? 0 : 1;
    for (; t < to - kSingle; t += 2) {
      const __m128i pair = _mm_set1_epi32(VXp_Load<int32_t>(weights + t));
      const Stored* const after = c + t * step;
      const Stored* const before = c - t * step;
      for (int32_t i = 0; i < kRegisters; ++i) {
        const __m128i x = _mm_add_epi16(Words(after, i), Words(before, i));
        const __m128i y = _mm_add_epi16(Words(after + step, i), Words(before - step, i));
        products.Add(i, x, y, pair);
      }
    }
    if (kSingle == 0) return;
  }
  for (; t < to; ++t) {
    const __m128i pair = _mm_set1_epi16(weights[t]);
    const Stored* const after = c + t * step;
    const Stored* const before = c - t * step;
    for (int32_t i = 0; i < kRegisters; ++i) {
      products.Add(i, Words(after, i), Words(before, i), pair);
    }
  }
}

template <class Sample, class Stored>
void BlockSums(const Stored* c, ptrdiff_t step, const VXp_Taps& taps, double* sums) {
  const double bias = sizeof(Sample) == 2 ? static_cast<double>(taps.total * 32768) : 0.0;
  for (int32_t from = 1; from == 1 || from <= taps.count; from += taps.at_once) {
    Products products;
    if (from == 1) {
      const __m128i pair = _mm_set1_epi32(taps.weights[0]);
      for (int32_t i = 0; i < kRegisters; ++i) products.Add(i, Words(c, i), Words(c, i), pair);
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
  constexpr int32_t kPairs = kVXp_SumBlock<double> / 2;
  const auto pair = [](const double* from, int32_t i) {
    return VXp_Load<VXp_DoublePair>(from + 2 * i);
  };
  VXp_DoublePair sum[kPairs];
  for (int32_t i = 0; i < kPairs; ++i) sum[i] = pair(c, i) * static_cast<double>(taps.weights[0]);
  for (int32_t t = 1; t <= taps.count; ++t) {
    const double* const after = c + t * step;
    const double* const before = c - t * step;
    const double weight = taps.weights[t];
    for (int32_t i = 0; i < kPairs; ++i) sum[i] += (pair(after, i) + pair(before, i)) * weight;
  }
  for (int32_t i = 0; i < kPairs; ++i) VXp_Store(sums + 2 * i, sum[i]);
}

#endif

}  // namespace

template <class Sample, class Stored>
void VXp_GaussianSums(const Stored* c, ptrdiff_t step, const VXp_Taps& taps, int32_t size,
                      double* sums) {
  if constexpr (std::is_same_v<Sample, uint8_t> && std::is_same_v<Stored, int16_t>) {
    if (taps.products != nullptr) return ProductSums(c, step, taps, sums);
  }
  constexpr int32_t kBlock = kVXp_SumBlock<Stored>;
  if (size != kBlock) return PlainSums<Sample, 0>(c, step, taps, size, sums);
#ifdef __SSE2__
  if constexpr (std::is_same_v<Stored, double>) return DoubleSums(c, step, taps, sums);
  if constexpr (std::is_integral_v<Sample>) return BlockSums<Sample>(c, step, taps, sums);
#endif
  PlainSums<Sample, kBlock>(c, step, taps, size, sums);
}

#define VX_SUMS(Sample, Stored)                                                             \
  template void VXp_GaussianSums<Sample, Stored>(const Stored*, ptrdiff_t, const VXp_Taps&, \
                                                 int32_t, double*);
VX_SUMS(uint8_t, int16_t)
VX_SUMS(uint8_t, uint8_t)
VX_SUMS(uint16_t, int16_t)
VX_SUMS(uint16_t, uint16_t)
VX_SUMS(float, double)
VX_SUMS(float, float)
#undef VX_SUMS
