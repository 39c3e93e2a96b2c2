// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "filters/VXp_GaussianWindow.h"

#include <algorithm>
#include <cmath>

#include "VX/VX_Convolve.h"

namespace {

constexpr int32_t kWeightArray = 14;  // entry of the string table
constexpr int32_t kBehind = 2;        // zeros behind the last weight
constexpr int32_t kBytes = 256;       // values of a byte

}  // namespace

VXp_GaussianWeights::VXp_GaussianWeights(float radius)
    : radius_(static_cast<int32_t>(std::ceil(radius))) {
  constexpr auto kSum = static_cast<int64_t>(sizeof(int32_t));
  constexpr auto kWord = static_cast<int64_t>(sizeof(int16_t));
  memory_.Allocate((radius_ + 1) * kSum + (radius_ + 1 + kBehind) * kWord, kWeightArray);
  sums_ = reinterpret_cast<int32_t*>(memory_.data());
  words_ = reinterpret_cast<int16_t*>(sums_ + radius_ + 1);
  words_[0] = 255;
  sums_[0] = 0;
  const double edge = static_cast<double>(radius) + 1;
  for (int32_t i = 1; i <= radius_; ++i) {
    words_[i] = static_cast<int16_t>(VXp_GaussianValue(i / edge) * 255);
    sums_[i] = sums_[i - 1] + words_[i];
  }
  std::fill_n(words_ + radius_ + 1, kBehind, int16_t{0});
}

void VXp_GaussianWeights::MakeProducts(int32_t taps) {
  const int64_t rows = int64_t{taps} + 1;
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
  const int64_t middle = q >= 0 && q < length ? words_[0] : 0;
  return middle + Between(-q, length - 1 - q) + Between(q - length + 1, q);
}

// --- sums ----------------------------------------------------------------------------------------

namespace {

// Taps whose products with signed words still fit 32 bits, the middle one included: 257 * 255 *
// 32768 is below 2^31.
constexpr int32_t kTapsAtOnce = 128;

#ifdef __SSE2__

// Four registers of words, and their products as eight of 32 bits.
constexpr int32_t kWords = 4;

struct Products {
  // Adds x wx + y wy, with wx in the low half of `pair`.
  void Add(int32_t i, __m128i x, __m128i y, __m128i pair) {
    low[i] = _mm_add_epi32(low[i], _mm_madd_epi16(_mm_unpacklo_epi16(x, y), pair));
    high[i] = _mm_add_epi32(high[i], _mm_madd_epi16(_mm_unpackhi_epi16(x, y), pair));
  }
  // Adds the bias on the first time, what is there already later.
  void Store(bool first, double bias, double* sums) const {
    const __m128d base = _mm_set1_pd(bias);
    for (int32_t i = 0; i < kWords; ++i) {
      for (const __m128i* const part : {&low[i], &high[i]}) {
        const __m128d a = _mm_cvtepi32_pd(*part);
        const __m128d b = _mm_cvtepi32_pd(_mm_unpackhi_epi64(*part, *part));
        _mm_storeu_pd(sums, _mm_add_pd(first ? base : _mm_loadu_pd(sums), a));
        _mm_storeu_pd(sums + 2, _mm_add_pd(first ? base : _mm_loadu_pd(sums + 2), b));
        sums += 4;
      }
    }
  }

  __m128i low[kWords] = {};
  __m128i high[kWords] = {};
};

__m128i Words(const int16_t* c, int32_t i) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(c + 8 * i));
}

// Two taps a step: bytes can be added before they are multiplied.
inline void AddByteTaps(const int16_t* c, ptrdiff_t step, const int16_t* weights, int32_t from,
                        int32_t to, Products& products) {
  for (int32_t t = from; t < to; t += 2) {
    const __m128i pair = _mm_set1_epi32(VXp_Load<int32_t>(weights + t));
    const int16_t* const after = c + t * step;
    const int16_t* const before = c - t * step;
    for (int32_t i = 0; i < kWords; ++i) {
      const __m128i x = _mm_add_epi16(Words(after, i), Words(before, i));
      const __m128i y = _mm_add_epi16(Words(after + step, i), Words(before - step, i));
      products.Add(i, x, y, pair);
    }
  }
}

inline void AddWordTaps(const int16_t* c, ptrdiff_t step, const int16_t* weights, int32_t from,
                        int32_t to, Products& products) {
  for (int32_t t = from; t < to; ++t) {
    const __m128i pair = _mm_set1_epi16(weights[t]);
    const int16_t* const after = c + t * step;
    const int16_t* const before = c - t * step;
    for (int32_t i = 0; i < kWords; ++i) {
      products.Add(i, Words(after, i), Words(before, i), pair);
    }
  }
}

#else

struct Products {
  void Store(bool first, double bias, double* to) const {
    for (int32_t j = 0; j < 32; ++j) to[j] = (first ? bias : to[j]) + sums[j];
  }

  int32_t sums[32] = {};
};

inline void AddWordTaps(const int16_t* c, ptrdiff_t step, const int16_t* weights, int32_t from,
                        int32_t to, Products& products) {
  for (int32_t t = from; t < to; ++t) {
    const int32_t w = weights[t];
    for (int32_t j = 0; j < 32; ++j) {
      products.sums[j] += w * (c[j + t * step] + c[j - t * step]);
    }
  }
}

inline void AddByteTaps(const int16_t* c, ptrdiff_t step, const int16_t* weights, int32_t from,
                        int32_t to, Products& products) {
  AddWordTaps(c, step, weights, from, to, products);
}

#endif

// The middle tap.
inline void AddMiddle(const int16_t* c, int32_t weight, Products& products) {
#ifdef __SSE2__
  const __m128i pair = _mm_set1_epi32(weight);
  for (int32_t i = 0; i < kWords; ++i) products.Add(i, Words(c, i), Words(c, i), pair);
#else
  for (int32_t j = 0; j < 32; ++j) products.sums[j] = weight * c[j];
#endif
}

template <class Pixel>
void IntegerSums(const int16_t* c, ptrdiff_t step, const VXp_GaussianWeights& weights, int32_t taps,
                 double* sums) {
  constexpr bool kBiased = VXp_WindowWork<Pixel>::kBiased;
  // What the words lack, times all weights.
  const double bias = kBiased ? static_cast<double>(weights.Upto(taps) * 32768) : 0.0;
  for (int32_t from = 1; from == 1 || from <= taps; from += kTapsAtOnce) {
    Products products;
    if (from == 1) AddMiddle(c, weights[0], products);
    const int32_t to = std::min(from + kTapsAtOnce, taps + 1);
    if constexpr (kBiased) {
      AddWordTaps(c, step, weights.words(), from, to, products);
    } else {
      AddByteTaps(c, step, weights.words(), from, to, products);
    }
    if (from == 1) {
      products.Store(true, bias, sums);
    } else {
      products.Store(false, bias, sums);
    }
  }
}

// All bytes at full scale under the largest weights stay below 2^32.
void ProductSums(const int16_t* c, ptrdiff_t step, const uint16_t* products, int32_t taps,
                 double* sums) {
  constexpr int32_t kBlock = VXp_WindowWork<VX_Pixel8>::kBlock;
  uint32_t sum[kBlock];
  for (int32_t j = 0; j < kBlock; ++j) sum[j] = products[c[j]];
  for (int32_t t = 1; t <= taps; ++t) {
    const uint16_t* const row = products + ptrdiff_t{t} * kBytes;
    const int16_t* const after = c + t * step;
    const int16_t* const before = c - t * step;
    for (int32_t j = 0; j < kBlock; ++j) sum[j] += uint32_t{row[after[j]]} + row[before[j]];
  }
  for (int32_t j = 0; j < kBlock; ++j) sums[j] = sum[j];
}

}  // namespace

template <>
void VXp_WindowSums<VX_Pixel8>(const int16_t* c, ptrdiff_t step, const VXp_GaussianWeights& weights,
                               int32_t taps, double* sums) {
  if (weights.products() != nullptr) {
    ProductSums(c, step, weights.products(), taps, sums);
  } else {
    IntegerSums<VX_Pixel8>(c, step, weights, taps, sums);
  }
}

template <>
void VXp_WindowSums<VX_Pixel16>(const int16_t* c, ptrdiff_t step,
                                const VXp_GaussianWeights& weights, int32_t taps, double* sums) {
  IntegerSums<VX_Pixel16>(c, step, weights, taps, sums);
}

template <>
void VXp_WindowSums<VX_PixelFloat>(const double* c, ptrdiff_t step,
                                   const VXp_GaussianWeights& weights, int32_t taps, double* sums) {
  constexpr int32_t kPairs = VXp_WindowWork<VX_PixelFloat>::kBlock / 2;
  const auto pair = [](const double* from, int32_t i) {
    return VXp_Load<VXp_DoublePair>(from + 2 * i);
  };
  VXp_DoublePair sum[kPairs];
  for (int32_t i = 0; i < kPairs; ++i) sum[i] = pair(c, i) * static_cast<double>(weights[0]);
  for (int32_t t = 1; t <= taps; ++t) {
    const double* const after = c + t * step;
    const double* const before = c - t * step;
    const double weight = weights[t];
    for (int32_t i = 0; i < kPairs; ++i) sum[i] += (pair(after, i) + pair(before, i)) * weight;
  }
  for (int32_t i = 0; i < kPairs; ++i) VXp_Store(sums + 2 * i, sum[i]);
}
