// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The four 8-bit neighbours of a position, loaded as two pairs of adjacent pixels.

#include "indep/VXp_ChannelLanes.h"
#include "indep/VXp_Neighbours.h"

// The upper and the lower pair of neighbours. The left pixel of a pair is in the low 32 bits.
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

// The vertical mixes of the left and the right column, in units of 1/65536: exact, below 2^24.
struct VXp_ByteColumns {
  VXp_ByteColumns(const VXp_BytePairs& pairs, uint32_t fy) {
#ifdef __SSE2__
    const __m128i zero{};
    const __m128i above =
        _mm_unpacklo_epi8(_mm_cvtsi64_si128(static_cast<int64_t>(pairs.upper)), zero);
    const __m128i below =
        _mm_unpacklo_epi8(_mm_cvtsi64_si128(static_cast<int64_t>(pairs.lower)), zero);
    // -fy does not fit a signed 16-bit word. So above - below is multiplied by two words whose sum
    // is -fy.
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
