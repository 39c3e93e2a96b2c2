// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "blend/VX_RowLoop8_SSE2.h"

#include <emmintrin.h>

#include "blend/VXp_RowLoop.h"

namespace {

using Vec = __m128i;

Vec Splat(int32_t v) { return _mm_set1_epi32(v); }
Vec Splat16(int16_t v) { return _mm_set1_epi16(v); }

// Selects the lanes of `yes` where the mask is set, otherwise those of `no`.
Vec Choose(Vec mask, Vec yes, Vec no) {
  return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
}
bool All(Vec mask) { return _mm_movemask_epi8(mask) == 0xFFFF; }
bool Any(Vec mask) { return _mm_movemask_epi8(mask) != 0; }
Vec IsZero(Vec v) { return _mm_cmpeq_epi32(v, _mm_setzero_si128()); }

Vec Load4(const VX_Pixel8* p) { return _mm_loadu_si128(reinterpret_cast<const Vec*>(p)); }
void Store4(VX_Pixel8* p, Vec v) { _mm_storeu_si128(reinterpret_cast<Vec*>(p), v); }
Vec Alpha(Vec pixels) { return _mm_and_si128(pixels, Splat(0xFF)); }

// Copies the low half of each 32-bit lane to its high half.
Vec Both(Vec v) { return _mm_or_si128(v, _mm_slli_epi32(v, 16)); }

// Returns t / 255 rounded to nearest, in unsigned 16-bit lanes. t is at most 255 * 255.
Vec By255(Vec t) {
  t = _mm_add_epi16(t, Splat16(128));
  return _mm_srli_epi16(_mm_add_epi16(t, _mm_srli_epi16(t, 8)), 8);
}
Vec Mul(Vec a, Vec b) { return By255(_mm_mullo_epi16(a, b)); }

// Returns k + (x - k) w / 255 in 16-bit lanes, with iw = 255 - w and the rounding of
// VXp_PixelTraits: if x < k, 1 is added to the sum. (The comparison gives -1, which is subtracted.)
Vec Lerp(Vec k, Vec x, Vec w, Vec iw) {
  const Vec sum = _mm_add_epi16(_mm_mullo_epi16(k, iw), _mm_mullo_epi16(x, w));
  return By255(_mm_sub_epi16(sum, _mm_cmpgt_epi16(k, x)));
}

// Returns 255 n / a, rounded to nearest, in 32-bit lanes; n <= a, and `scale` is 255 / a in single
// precision. A rounding error could move the sum n scale + 0.5 below an integer. Therefore 1/1024
// is added. A sum that is not an integer is at least 1/510 below the next one, so it is not changed
// by this.
Vec Div(Vec n, __m128 scale) {
  const __m128 sum =
      _mm_add_ps(_mm_mul_ps(_mm_cvtepi32_ps(n), scale), _mm_set1_ps(0.5f + 1.0f / 1024.0f));
  return _mm_cvttps_epi32(sum);
}

// Processes four pixels with two channels in each 32-bit lane. Green is paired with a constant of
// full scale: interpolating toward full scale by the source alpha gives the union of the alphas.
Vec InFront(Vec s, Vec w, Vec d) {
  const Vec pairs = Splat(0x00FF00FF);
  const Vec alpha_byte = Splat(0xFF);
  const Vec da = Alpha(d);
  const Vec ww = Both(w), iw = _mm_sub_epi16(Splat16(255), ww), dd = Both(da);
  const Vec s_rb = _mm_and_si128(_mm_srli_epi32(s, 8), pairs);
  const Vec d_rb = _mm_and_si128(_mm_srli_epi32(d, 8), pairs);
  const Vec s_ag = _mm_and_si128(_mm_or_si128(s, alpha_byte), pairs);
  const Vec d_ag = _mm_and_si128(d, pairs);
  const Vec rb = Lerp(Mul(d_rb, dd), s_rb, ww, iw);
  const Vec ag = Lerp(Mul(d_ag, _mm_or_si128(dd, alpha_byte)), s_ag, ww, iw);

  Vec over = _mm_or_si128(ag, _mm_slli_epi32(rb, 8));
  if (!All(_mm_cmpeq_epi32(da, alpha_byte))) {
    const Vec low = Splat(0xFFFF);
    const Vec a = _mm_and_si128(ag, low);
    const __m128 scale = _mm_div_ps(_mm_set1_ps(255.0f), _mm_cvtepi32_ps(a));
    const Vec r = Div(_mm_and_si128(rb, low), scale);
    const Vec b = Div(_mm_srli_epi32(rb, 16), scale);
    const Vec g = Div(_mm_srli_epi32(ag, 16), scale);
    over = _mm_or_si128(_mm_or_si128(a, _mm_slli_epi32(r, 8)),
                        _mm_or_si128(_mm_slli_epi32(g, 16), _mm_slli_epi32(b, 24)));
  }

  const Vec no_dest = IsZero(da), no_weight = IsZero(w);
  if (Any(_mm_or_si128(no_dest, no_weight))) {
    const Vec taken = _mm_or_si128(_mm_andnot_si128(alpha_byte, s), w);
    over = Choose(no_weight, d, Choose(no_dest, taken, over));
  }
  return over;
}

}  // namespace

template <bool hasMask>
VX_Err VXp_ScanCopy_SSE2(int32_t count, const VX_BlendingMode<VX_Pixel8>* mode,
                         const VX_LinearBlendingTables* tables, const VX_Pixel8* src,
                         const VX_Pixel8* mask, VX_Pixel8* dst) {
  const Vec opacity = Splat(mode->opacity);
  const bool keep = mode->keepDstAlpha != 0;
  const bool whole = !hasMask && !keep && mode->opacity == 255;  // the plain loop copies the memory
  ptrdiff_t i = 0;
  for (; !whole && i + 4 <= count; i += 4) {
    const Vec s = Load4(src + i);
    Vec a = Alpha(Load4(dst + i));
    if (!keep) {
      a = Mul(Alpha(s), opacity);
      if constexpr (hasMask) a = Mul(Alpha(Load4(mask + i)), a);
    }
    Store4(dst + i, _mm_or_si128(_mm_andnot_si128(Splat(0xFF), s), a));
  }
  return VXp_RowLoop<VXp_ModeCopy, VX_Pixel8, false>::Scan(count - static_cast<int32_t>(i), mode,
                                                           tables, src + i,
                                                           hasMask ? mask + i : nullptr, dst + i);
}

template <bool hasMask>
VX_Err VXp_ScanInFront_SSE2(int32_t count, const VX_BlendingMode<VX_Pixel8>* mode,
                            const VX_LinearBlendingTables* tables, const VX_Pixel8* src,
                            const VX_Pixel8* mask, VX_Pixel8* dst) {
  const Vec opacity = Splat(mode->opacity);
  const bool faded = mode->opacity < 255;
  ptrdiff_t i = 0;
  for (; i + 4 <= count; i += 4) {
    const Vec s = Load4(src + i);
    Vec w = Alpha(s);
    if constexpr (hasMask) w = Mul(w, Alpha(Load4(mask + i)));
    if (faded) w = Mul(w, opacity);
    if (All(IsZero(w))) continue;
    Store4(dst + i, All(_mm_cmpeq_epi32(w, Splat(255))) ? s : InFront(s, w, Load4(dst + i)));
  }
  return VXp_RowLoop<VXp_ModeInFront, VX_Pixel8, false>::Scan(
      count - static_cast<int32_t>(i), mode, tables, src + i, hasMask ? mask + i : nullptr,
      dst + i);
}

template VX_Err VXp_ScanCopy_SSE2<false>(int32_t, const VX_BlendingMode<VX_Pixel8>*,
                                         const VX_LinearBlendingTables*, const VX_Pixel8*,
                                         const VX_Pixel8*, VX_Pixel8*);
template VX_Err VXp_ScanCopy_SSE2<true>(int32_t, const VX_BlendingMode<VX_Pixel8>*,
                                        const VX_LinearBlendingTables*, const VX_Pixel8*,
                                        const VX_Pixel8*, VX_Pixel8*);
template VX_Err VXp_ScanInFront_SSE2<false>(int32_t, const VX_BlendingMode<VX_Pixel8>*,
                                            const VX_LinearBlendingTables*, const VX_Pixel8*,
                                            const VX_Pixel8*, VX_Pixel8*);
template VX_Err VXp_ScanInFront_SSE2<true>(int32_t, const VX_BlendingMode<VX_Pixel8>*,
                                           const VX_LinearBlendingTables*, const VX_Pixel8*,
                                           const VX_Pixel8*, VX_Pixel8*);
