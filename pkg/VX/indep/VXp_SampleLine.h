// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Samples along a straight line of any direction: what the library's own bilinear samplers give
// there, bit for bit, without a call and a look at the rounding mode for each pixel.

#include "VX/VX_Sampling.h"
#include "indep/VXp_ChannelLanes.h"
#include "indep/VXp_Neighbours.h"

// Stores the samples at (x, y), (x + dx, y + dy) and so on. All their neighbours lie in the world,
// as for the samplers that do not clip.
template <class Pixel>
using VXp_SampleLineCall = void(const VX_SampPB& record, VX_Fixed x, VX_Fixed y, VX_Fixed dx,
                                VX_Fixed dy, int32_t count, Pixel* out);
template <class Pixel>
using VXp_SampleLineFunc = VXp_SampleLineCall<Pixel>*;

// The line form of a bilinear sampler, clipped or not, for straight alpha. Null for one that is not
// the library's own. For each pixel type.
template <class Pixel>
VXp_SampleLineFunc<Pixel> VXp_LineForm(VX_SampleFunc<Pixel> sample);

// --- the forms themselves ------------------------------------------------------------------------

// Double precision, at 8 and 16 bits.
template <class Pixel>
VXp_SampleLineCall<Pixel> VXp_StraightLine;
// Single precision at 8 bits, the rule of machines with SSE2.
VXp_SampleLineCall<VX_Pixel8> VXp_SingleLine;
VXp_SampleLineCall<VX_PixelFloat> VXp_PortableLine;

// `mix(upper, lower, fx, fy)` gives the raw pixel; the addresses are those of the left neighbours.
template <class Pixel, class Mixing>
void VXp_MixLine(const VX_SampPB& record, VX_Fixed x, VX_Fixed y, VX_Fixed dx, VX_Fixed dy,
                 int32_t count, Pixel* out, const Mixing& mix) {
  const VX_LayerDef& src = *record.src;
  const char* const first = static_cast<const char*>(src.data);
  const ptrdiff_t rowbytes = src.rowbytes;
  // The step behind the last pixel may wrap.
  auto at_x = static_cast<uint32_t>(x), at_y = static_cast<uint32_t>(y);
  for (ptrdiff_t i = 0; i < count; ++i) {
    const char* const upper =
        first + static_cast<ptrdiff_t>(at_y >> 16) * rowbytes +
        static_cast<ptrdiff_t>(at_x >> 16) * static_cast<ptrdiff_t>(sizeof(Pixel));
    VXp_Store(out + i, mix(upper, upper + rowbytes, at_x & 0xFFFF, at_y & 0xFFFF));
    at_x += static_cast<uint32_t>(dx);
    at_y += static_cast<uint32_t>(dy);
  }
}

// --- pixels of bytes, in pairs -------------------------------------------------------------------

// The upper and the lower two of four neighbours, the left one lowest.
struct VXp_BytePairs {
  VXp_BytePairs(const char* upper_at, const char* lower_at)
      : upper(VXp_Load<uint64_t>(upper_at)), lower(VXp_Load<uint64_t>(lower_at)) {}

  bool SameAlphas() const {
    return (((upper ^ lower) & 0x000000FF000000FFu) | ((upper ^ upper >> 32) & 0xFFu)) == 0;
  }
  bool SamePixels() const { return upper == lower && upper >> 32 == (upper & 0xFFFFFFFFu); }
  uint32_t First() const { return static_cast<uint32_t>(upper); }
  VXp_Quad<VX_Pixel8> Quad() const {
    return {static_cast<uint32_t>(upper), static_cast<uint32_t>(upper >> 32),
            static_cast<uint32_t>(lower), static_cast<uint32_t>(lower >> 32)};
  }

  uint64_t upper, lower;
};

// Mixed down the two columns, exactly: in 65536ths, below 2^24.
struct VXp_ByteColumns {
  VXp_ByteColumns(const VXp_BytePairs& pairs, uint32_t fy) {
#ifdef __SSE2__
    const __m128i zero{};
    const __m128i above =
        _mm_unpacklo_epi8(_mm_cvtsi64_si128(static_cast<int64_t>(pairs.upper)), zero);
    const __m128i below =
        _mm_unpacklo_epi8(_mm_cvtsi64_si128(static_cast<int64_t>(pairs.lower)), zero);
    // (above - below) times two words whose sum is -fy, which has no room in one.
    const uint32_t half = fy >> 1, rest = fy - half;
    const __m128i by =
        _mm_set1_epi32(static_cast<int32_t>(((0u - half) & 0xFFFFu) | ((0u - rest) << 16)));
    const __m128i drop = _mm_sub_epi16(above, below);
    left = reinterpret_cast<VXp_IntLanes>(_mm_add_epi32(
        _mm_unpacklo_epi16(zero, above), _mm_madd_epi16(_mm_unpacklo_epi16(drop, drop), by)));
    right = reinterpret_cast<VXp_IntLanes>(_mm_add_epi32(
        _mm_unpackhi_epi16(zero, above), _mm_madd_epi16(_mm_unpackhi_epi16(drop, drop), by)));
#else
    const auto quad = pairs.Quad();
    const auto by = static_cast<int32_t>(fy);
    left = VXp_Ints(quad.p00) * 65536 + (VXp_Ints(quad.p01) - VXp_Ints(quad.p00)) * by;
    right = VXp_Ints(quad.p10) * 65536 + (VXp_Ints(quad.p11) - VXp_Ints(quad.p10)) * by;
#endif
  }

  VXp_IntLanes left, right;
};
