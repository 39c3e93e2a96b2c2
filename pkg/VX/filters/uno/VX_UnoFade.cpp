// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Fading and inverting.
//
// The row loops compute in the narrowest type that holds their values and have no branch, so that
// the compiler vectorizes them. If vector intrinsics are faster, a loop with them precedes the
// plain loop. The shortest loops are unrolled, because a loop of one load and one store runs at
// half speed if its code crosses a cache line.

#include <algorithm>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "filters/uno/VXp_UnoBuffer.h"
#include "frame/VXp_PixelTraits.h"

namespace {

// Converts 0..1 to the scale of the depth, rounded to nearest, halves up. NaN becomes 0.
template <class Pixel>
VX_ChannelOf<Pixel> ScaledOpacity(double opacity) {
  const double positive = opacity > 0.0 ? opacity : 0.0;
  const double unit = positive < 1.0 ? positive : 1.0;
  if constexpr (sizeof(Pixel) == sizeof(VX_PixelFloat)) {
    return static_cast<float>(unit);
  } else {
    return static_cast<VX_ChannelOf<Pixel>>(unit * VXp_PixelTraits<Pixel>::kFull + 0.5);
  }
}

VX_UnoFadeFunc<uint8_t> FadeRow(VXp_PixelTag<VX_Pixel8>) { return VXp_G_OverFuncs.VX_UnoFadeRow; }
VX_UnoFadeFunc<uint16_t> FadeRow(VXp_PixelTag<VX_Pixel16>) {
  return VXp_G_OverFuncs.VX_UnoFadeRow16;
}
VX_UnoFadeFunc<float> FadeRow(VXp_PixelTag<VX_PixelFloat>) { return &VXp_UnoFadeRowFloat; }

// Adjacent rows are contiguous in memory, so several short rows are processed as one run. A run is
// limited so that it is still in the cache for the second of two passes.
constexpr int32_t kRunBytes = 1 << 14;

VX_Err InvertAndFade(bool invert, double opacity, VX_UnoBuffer* buffer,
                     int32_t line = __builtin_LINE()) {
  const VX_Err error = VXp_CheckUno(buffer, line);
  if (error != VX_Ok) return error;
  return VXp_WithPixel(buffer->depth, {kVXp_UnknownDepthText, line}, [&](auto tag) -> VX_Err {
    using Pixel = typename decltype(tag)::Pixel;
    using Sample = VX_ChannelOf<Pixel>;
    const Sample scaled = ScaledOpacity<Pixel>(opacity);
    const bool fade = scaled != VXp_PixelTraits<Pixel>::kFull;
    const M_LRect whole = VXp_UnoWhole(*buffer);
    const int32_t width = whole.right;
    if (width == 0 || (!fade && !invert)) return VX_Ok;
    const auto fade_row = FadeRow(tag);
    const int32_t height = whole.bottom;
    const int32_t rows = std::max(kRunBytes / static_cast<int32_t>(sizeof(Sample)) / width, 1);
    const VXp_Bands bands = VXp_PlanItems(height, width, rows);
    return VXp_ForBands(bands, [&](int32_t, int32_t first, int32_t run_rows) -> VX_Err {
      Sample* const run = VXp_UnoRow<Sample>(*buffer, 0, first);
      const int32_t count = run_rows * width;
      if (invert) VXp_UnoInvertRow(count, run);
      return fade ? fade_row(count, scaled, run) : VX_Ok;
    });
  });
}

#ifdef __SSE2__
// Returns v * opacity / 255 rounded to nearest, for 16 bytes v. `factor` is opacity * 65536 / 255,
// rounded to nearest. Bytes at even and at odd indices are processed separately. The upper half of
// the 32-bit product (256 v) * factor is v * opacity / 255 in units of 1/256; 128 is added to round
// to whole numbers. The error of `factor` is at most 1/2, so the error of the result is less than
// 1/512. This is less than 1/510, the smallest distance of a value v * opacity / 255 from a half.
__m128i FadedBytes(__m128i v, __m128i factor) {
  const __m128i half = _mm_set1_epi16(128), odd_places = _mm_set1_epi16(-256);
  const __m128i odd = _mm_mulhi_epu16(_mm_and_si128(v, odd_places), factor);
  const __m128i even = _mm_mulhi_epu16(_mm_slli_epi16(v, 8), factor);
  return _mm_or_si128(_mm_and_si128(_mm_add_epi16(odd, half), odd_places),
                      _mm_srli_epi16(_mm_add_epi16(even, half), 8));
}
#endif

}  // namespace

VX_Err VX_FadeUnoBuffer(double opacity, VX_UnoBuffer* buffer) {
  return InvertAndFade(false, opacity, buffer);
}

VX_Err VX_InvertUnoBuffer(void* ref, VX_UnoBuffer* buffer) {
  constexpr VX_Fixed kOne = 65536;
  return VX_InvertAndFadeUnoBuffer(ref, kOne, buffer);
}

VX_Err VX_InvertAndFadeUnoBuffer(void*, VX_Fixed opacity, VX_UnoBuffer* buffer) {
  return InvertAndFade(true, opacity / 65536.0, buffer);
}

// --- rows ----------------------------------------------------------------------------------------

VX_Err VXp_UnoFadeRow8(int32_t count, uint8_t opacity, uint8_t* row) {
  if (opacity == 255) return VX_Ok;  // the factor would not fit 16 bits
  int32_t i = 0;
#ifdef __SSE2__
  const __m128i factor = _mm_set1_epi16(static_cast<int16_t>((opacity * 65536 + 127) / 255));
#pragma GCC unroll 4
  for (; i <= count - 16; i += 16) {
    VXp_Store(row + i, FadedBytes(VXp_Load<__m128i>(row + i), factor));
  }
#endif
  for (; i < count; ++i) {
    const auto t = static_cast<uint16_t>(row[i] * opacity + 128);
    row[i] = static_cast<uint8_t>(static_cast<uint16_t>(t + (t >> 8)) >> 8);
  }
  return VX_Ok;
}

// Computes (v a + 16383) >> 15 as (2 v a + 32766) >> 16, from the high and the low half of 2 v a.
// The sum of the low half and 32766 has a carry if low / 2 + 16383 is at least 32768.
VX_Err VXp_UnoFadeRow16(int32_t count, uint16_t opacity, uint16_t* row) {
  constexpr uint16_t kFull = 32768;
  if (opacity >= kFull) return VX_Ok;  // twice the opacity would not fit 16 bits
  const auto twice = static_cast<uint16_t>(2 * opacity);
#pragma GCC unroll 4
  for (int32_t i = 0; i < count; ++i) {
    const auto v = VXp_Load<uint16_t>(row + i);
    const auto high = static_cast<uint16_t>((uint32_t{v} * twice) >> 16);
    const auto low = static_cast<uint16_t>(v * twice);
    const int carry = static_cast<uint16_t>((low >> 1) + 16383) >> 15;
    VXp_Store(row + i, static_cast<uint16_t>(high + carry));
  }
  return VX_Ok;
}

VX_Err VXp_UnoFadeRowFloat(int32_t count, float opacity, float* row) {
#pragma GCC unroll 4
  for (int32_t i = 0; i < count; ++i) VXp_Store(row + i, VXp_Load<float>(row + i) * opacity);
  return VX_Ok;
}

void VXp_UnoInvertRow(int32_t count, uint8_t* row) {
#pragma GCC unroll 4
  for (int32_t i = 0; i < count; ++i) row[i] = static_cast<uint8_t>(255 - row[i]);
}

void VXp_UnoInvertRow(int32_t count, uint16_t* row) {
  constexpr uint16_t kFull = 32768;
#pragma GCC unroll 4
  for (int32_t i = 0; i < count; ++i) {
    const auto v = VXp_Load<uint16_t>(row + i);
    VXp_Store(row + i, static_cast<uint16_t>(kFull - std::min(v, kFull)));
  }
}

void VXp_UnoInvertRow(int32_t count, float* row) {
#pragma GCC unroll 4
  for (int32_t i = 0; i < count; ++i) VXp_Store(row + i, 1.0f - VXp_Load<float>(row + i));
}
