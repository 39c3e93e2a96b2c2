// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The weights of a one-dimensional Gaussian, and weighted sums over a line in scratch.

#include <cstdint>

#include "filters/VXp_BlurLanes.h"
#include "filters/VXp_BlurScratch.h"

// w[0] is 255 and w[i] = trunc(profile(i / (radius + 1)) 255) up to the radius, rounded up.
class VXp_GaussianWeights {
 public:
  // Throws the allocator's error.
  explicit VXp_GaussianWeights(float radius);

  int32_t radius() const { return radius_; }
  int32_t operator[](int64_t i) const { return words_[i]; }
  const int16_t* words() const { return words_; }  // two zeros behind the last weight

  // All weights on both sides: at most 255 * 65535.
  int64_t total() const { return Upto(radius_); }
  // The weights at the distances 0..taps, on both sides.
  int64_t Upto(int32_t taps) const { return words_[0] + 2 * Before(taps); }

  // The weights that fall on the places 0..length of a line when the window lies around `q`.
  int64_t Inside(int64_t q, int64_t length) const;

  // For each weight up to w[taps] its products with 0..255: w[i] v at i 256 + v. They save the
  // processor without vectors from multiplying bytes. Null until they are made, which throws the
  // allocator's error.
  void MakeProducts(int32_t taps);
  const uint16_t* products() const { return products_; }

 private:
  // w[1] + ... + w[i]
  int64_t Before(int64_t i) const { return i <= 0 ? 0 : sums_[i]; }
  // The weights at the distances low..high of one side.
  int64_t Between(int64_t low, int64_t high) const;

  VX_BlurScratchRow memory_, products_memory_;
  int32_t radius_;
  int32_t* sums_;
  int16_t* words_;
  uint16_t* products_ = nullptr;
};

// How a channel lies in scratch. Bytes and words become signed words, as the multiplication of
// pairs takes them: those of 16 bits less 32768, which is put back into the sum. A float becomes a
// double.
template <class Pixel>
struct VXp_WindowWork {
  static constexpr bool kBiased = sizeof(Pixel) == sizeof(VX_Pixel16);
  using Channel = std::conditional_t<kVXp_FloatPixel<Pixel>, double, int16_t>;
  using Raw = VXp_RawPixel<Pixel>;

  // Channels that are summed at once.
  static constexpr int32_t kBlock = kVXp_FloatPixel<Pixel> ? 16 : 32;
  static constexpr Channel kZero = kBiased ? INT16_MIN : 0;

  static void Put(char* to, Raw pixel) {
    if constexpr (kVXp_FloatPixel<Pixel>) {
      const double channels[4] = {pixel[0], pixel[1], pixel[2], pixel[3]};
      VXp_Store(to, channels);
    } else if constexpr (kBiased) {
      VXp_Store(to, pixel ^ 0x8000800080008000u);
    } else {
#ifdef __SSE2__
      const __m128i bytes = _mm_cvtsi32_si128(static_cast<int32_t>(pixel));
      const __m128i words = _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
      VXp_Store(to, _mm_cvtsi128_si64(words));
#else
      VXp_Store(to, VXp_Packed16(VXp_Ints(pixel)));
#endif
    }
  }
  static Raw Get(const Channel* from) {
    if constexpr (kVXp_FloatPixel<Pixel>) {
      return VXp_Singles(
          VXp_DoubleLanes{VXp_Load<VXp_DoublePair>(from), VXp_Load<VXp_DoublePair>(from + 2)});
    } else if constexpr (kBiased) {
      return VXp_Load<uint64_t>(from) ^ 0x8000800080008000u;
    } else {
#ifdef __SSE2__
      const __m128i words = _mm_cvtsi64_si128(VXp_Load<int64_t>(from));
      return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(words, words)));
#else
      return VXp_Packed8(VXp_Ints(VXp_Load<uint64_t>(from)));
#endif
    }
  }
};

// For one block of channels that starts at `c`: sums[j] = w[0] c[j] + w[1] (c[j + step] + c[j -
// step]) + ... up to w[taps]. One tap more is read, and must be zero there or beyond the weights.
// Integers are exact. Float is summed in double in this order, the two channels of a weight first,
// so that a mirrored line has mirrored sums. What lies outside of the line must be there as zero.
template <class Pixel>
void VXp_WindowSums(const typename VXp_WindowWork<Pixel>::Channel* c, ptrdiff_t step,
                    const VXp_GaussianWeights& weights, int32_t taps, double* sums);
