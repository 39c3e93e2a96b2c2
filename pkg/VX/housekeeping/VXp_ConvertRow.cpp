// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "housekeeping/VXp_ConvertRow.h"

#include <cstring>
#include <type_traits>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "frame/VXp_Convert.h"
#include "frame/VXp_Rows.h"

namespace {

using Bytes = uint8_t __attribute__((vector_size(16)));
using Words = uint16_t __attribute__((vector_size(16)));

constexpr size_t kStep = 16;                  // channels per step
constexpr float kBelowHalf = 0x1.fffffep-2f;  // the largest float below 0.5

// A simple loop that the compiler vectorises, used if there is no faster vector code.
template <class To, class From>
void ConvertPlainly(const char* from, char* to, size_t channels) {
  using ToChannel = VX_ChannelOf<To>;
  using FromChannel = VX_ChannelOf<From>;
  for (size_t i = 0; i < channels; ++i) {
    const auto channel = VXp_Load<FromChannel>(from + i * sizeof(FromChannel));
    VXp_Store(to + i * sizeof(ToChannel), VXp_ConvertChannel<To, From>(channel));
  }
}

// Converts a row in steps of kStep channels, and the remainder in a simple loop.
template <class To, class From, class Step>
void ConvertBySteps(const char* from, char* to, size_t channels, Step step) {
  constexpr size_t kFromBytes = sizeof(VX_ChannelOf<From>);
  constexpr size_t kToBytes = sizeof(VX_ChannelOf<To>);
  for (; channels >= kStep; channels -= kStep) {
    step(from, to);
    from += kStep * kFromBytes;
    to += kStep * kToBytes;
  }
  ConvertPlainly<To, From>(from, to, channels);
}

// Converts 8 bits to 16 bits; `doubled` is 257 c. (257 c + 1) / 2 equals (c * 32768 + 128) / 255
// except at c = 254, where it is 1 too small. (A comparison that is true gives -1.)
Words WordsOf(Words doubled) {
  return (doubled >> 1) + (doubled & 1) - reinterpret_cast<Words>(doubled == 254 * 257);
}

void BytesToWords(const char* from, char* to) {
  const auto c = VXp_Load<Bytes>(from);
  const Bytes low = __builtin_shufflevector(c, c, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7);
  const Bytes high =
      __builtin_shufflevector(c, c, 8, 8, 9, 9, 10, 10, 11, 11, 12, 12, 13, 13, 14, 14, 15, 15);
  VXp_Store(to, WordsOf(reinterpret_cast<Words>(low)));
  VXp_Store(to + 16, WordsOf(reinterpret_cast<Words>(high)));
}

#ifdef __SSE2__

// Returns (255 c + 16384) >> 15, computed as (510 c + 32768) >> 16 from the two halves of 510 c.
__m128i BytesOf(__m128i words) {
  const __m128i factor = _mm_set1_epi16(510);
  const __m128i half = _mm_srli_epi16(_mm_mullo_epi16(words, factor), 15);
  const __m128i sum = _mm_add_epi16(_mm_mulhi_epu16(words, factor), half);
  return _mm_and_si128(sum, _mm_set1_epi16(0xFF));
}

void WordsToBytes(const char* from, char* to) {
  const __m128i low = BytesOf(VXp_Load<__m128i>(from));
  const __m128i high = BytesOf(VXp_Load<__m128i>(from + 16));
  VXp_Store(to, _mm_packus_epi16(low, high));
}

// Converts floats to 8 bits: floor(255 c + 0.5) of the exact product. The product in single
// precision may be rounded up, so that it reaches a half that the exact product does not reach. In
// this case it is replaced by the next float below. Then the largest float below 0.5 is added: the
// sum rounds up to the next integer for every half, but not for less. Negative values and NaN give
// negative results, which packing clamps to 0.
__m128i ByteLanes(const char* from) {
  const __m128 c =
      _mm_min_ps(_mm_set1_ps(1.0f), _mm_loadu_ps(reinterpret_cast<const float*>(from)));
  const __m128 most = _mm_mul_ps(c, _mm_set1_ps(256.0f));
  const __m128 product = _mm_mul_ps(c, _mm_set1_ps(255.0f));
  const __m128 too_high = _mm_cmplt_ps(_mm_sub_ps(most, product), c);
  const __m128i below = _mm_add_epi32(_mm_castps_si128(product), _mm_castps_si128(too_high));
  return _mm_cvttps_epi32(_mm_add_ps(_mm_castsi128_ps(below), _mm_set1_ps(kBelowHalf)));
}

void FloatsToBytes(const char* from, char* to) {
  const __m128i low = _mm_packs_epi32(ByteLanes(from), ByteLanes(from + 16));
  const __m128i high = _mm_packs_epi32(ByteLanes(from + 32), ByteLanes(from + 48));
  VXp_Store(to, _mm_packus_epi16(low, high));
}

// Converts floats to 16 bits minus 32768, because packing is signed. The product is exact.
__m128i WordLanes(const char* from) {
  const __m128 value = _mm_loadu_ps(reinterpret_cast<const float*>(from));
  const __m128 c = _mm_min_ps(_mm_max_ps(value, _mm_setzero_ps()), _mm_set1_ps(1.0f));
  const __m128 product = _mm_mul_ps(c, _mm_set1_ps(32768.0f));
  const __m128i word = _mm_cvttps_epi32(_mm_add_ps(product, _mm_set1_ps(kBelowHalf)));
  return _mm_sub_epi32(word, _mm_set1_epi32(32768));
}

__m128i WordsOf(const char* eight) {
  const __m128i packed = _mm_packs_epi32(WordLanes(eight), WordLanes(eight + 16));
  return _mm_xor_si128(packed, _mm_set1_epi16(-32768));
}

void FloatsToWords(const char* from, char* to) {
  VXp_Store(to, WordsOf(from));
  VXp_Store(to + 16, WordsOf(from + 32));
}

// Returns (255 c + noise) >> 15 for c below 32768, computed as (256 c + (noise - c)) >> 15. The
// lowest eight bits of noise - c do not affect the result, so 16-bit lanes are sufficient.
__m128i Dithered(__m128i c, const uint16_t* noise) {
  const __m128i rest = _mm_srai_epi16(_mm_sub_epi16(VXp_Load<__m128i>(noise), c), 8);
  return _mm_srli_epi16(_mm_add_epi16(c, rest), 7);
}

// Dithers 16 channels. Values from 32768 (white) on are processed without their highest bit, and 1
// is subtracted from the result: 255 * 32768 >> 15 is 255, which is -1 modulo 256.
__m128i DitheredBytes(__m128i low, __m128i high, const uint16_t* noise) {
  const __m128i mask = _mm_set1_epi16(0x7FFF);
  const __m128i bytes = _mm_packus_epi16(Dithered(_mm_and_si128(low, mask), noise),
                                         Dithered(_mm_and_si128(high, mask), noise + 8));
  const __m128i signs = _mm_packs_epi16(low, high);
  return _mm_add_epi8(bytes, _mm_cmpgt_epi8(_mm_setzero_si128(), signs));
}

template <class From>
__m128i DitheredStep(const char* from, const uint16_t* noise) {
  if constexpr (std::is_same_v<From, VX_Pixel16>) {
    return DitheredBytes(VXp_Load<__m128i>(from), VXp_Load<__m128i>(from + 16), noise);
  } else {
    return DitheredBytes(WordsOf(from), WordsOf(from + 32), noise);
  }
}

#endif

}  // namespace

template <class To, class From>
void VXp_ConvertRow(const char* from, char* to, size_t channels) {
  constexpr int32_t kTo = kVXp_DepthOf<To>;
  constexpr int32_t kFrom = kVXp_DepthOf<From>;
  if constexpr (kTo == kFrom) {
    std::memmove(to, from, channels * sizeof(VX_ChannelOf<To>));
  } else if constexpr (kFrom == 8 && kTo == 16) {
    ConvertBySteps<To, From>(from, to, channels, BytesToWords);
#ifdef __SSE2__
  } else if constexpr (kFrom == 16 && kTo == 8) {
    ConvertBySteps<To, From>(from, to, channels, WordsToBytes);
  } else if constexpr (kFrom == 32 && kTo == 8) {
    ConvertBySteps<To, From>(from, to, channels, FloatsToBytes);
  } else if constexpr (kFrom == 32 && kTo == 16) {
    ConvertBySteps<To, From>(from, to, channels, FloatsToWords);
#endif
  } else {
    ConvertPlainly<To, From>(from, to, channels);
  }
}

template <class From>
void VXp_DitherRow(const char* from, char* bytes, size_t channels, const uint16_t* noise) {
  using Channel = VX_ChannelOf<From>;
  size_t i = 0;
#ifdef __SSE2__
  for (; i + kStep <= channels; i += kStep) {
    VXp_Store(bytes + i, DitheredStep<From>(from + i * sizeof(Channel), noise + i));
  }
#endif
  for (; i < channels; ++i) {
    const auto channel = VXp_Load<Channel>(from + i * sizeof(Channel));
    const uint32_t c = VXp_ConvertChannel<VX_Pixel16, From>(channel);
    bytes[i] = static_cast<char>((c * 255u + noise[i]) >> 15);
  }
}

template void VXp_DitherRow<VX_Pixel16>(const char*, char*, size_t, const uint16_t*);
template void VXp_DitherRow<VX_PixelFloat>(const char*, char*, size_t, const uint16_t*);
template void VXp_ConvertRow<VX_Pixel8, VX_Pixel8>(const char*, char*, size_t);
template void VXp_ConvertRow<VX_Pixel8, VX_Pixel16>(const char*, char*, size_t);
template void VXp_ConvertRow<VX_Pixel8, VX_PixelFloat>(const char*, char*, size_t);
template void VXp_ConvertRow<VX_Pixel16, VX_Pixel8>(const char*, char*, size_t);
template void VXp_ConvertRow<VX_Pixel16, VX_Pixel16>(const char*, char*, size_t);
template void VXp_ConvertRow<VX_Pixel16, VX_PixelFloat>(const char*, char*, size_t);
template void VXp_ConvertRow<VX_PixelFloat, VX_Pixel8>(const char*, char*, size_t);
template void VXp_ConvertRow<VX_PixelFloat, VX_Pixel16>(const char*, char*, size_t);
template void VXp_ConvertRow<VX_PixelFloat, VX_PixelFloat>(const char*, char*, size_t);
