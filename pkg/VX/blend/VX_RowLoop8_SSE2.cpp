// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "blend/VX_RowLoop8_SSE2.h"

#include <emmintrin.h>

#include "VX/VX_Package.h"
#include "blend/VXp_RowLoop.h"

namespace {

using Vec = __m128i;

Vec Splat(int32_t v) { return _mm_set1_epi32(v); }

// A product of lanes within -32768..32767 whose upper halves are the sign or 0 on the left, and 0
// on the right.
Vec Times(Vec a, Vec b) { return _mm_madd_epi16(a, b); }

// a b / 255 in each lane, rounded; a may be negative.
Vec Mul(Vec a, Vec b) {
  const Vec t = _mm_add_epi32(Times(a, b), Splat(128));
  return _mm_srai_epi32(_mm_add_epi32(_mm_srai_epi32(t, 8), t), 8);
}

Vec Inv(Vec a) { return _mm_sub_epi32(Splat(255), a); }

// Lanes of `yes` where the mask is set.
Vec Choose(Vec mask, Vec yes, Vec no) {
  return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
}

// n / a at scale 255 for lanes 0..255. A numerator below 2^16 over a divisor of at most 255 lies at
// least 1/255 below the next whole number or on one, further than the float quotient can err.
Vec Div(Vec n, Vec a, __m128 a_float) {
  const Vec scaled = _mm_sub_epi32(_mm_slli_epi32(n, 8), n);
  const Vec numerator = _mm_add_epi32(_mm_srli_epi32(a, 1), scaled);
  const Vec quotient = _mm_cvttps_epi32(_mm_div_ps(_mm_cvtepi32_ps(numerator), a_float));
  return Choose(_mm_cmpgt_epi32(quotient, Splat(255)), Splat(255), quotient);
}

// The four channels of four pixels, a lane a pixel.
struct Planes {
  Vec a, r, g, b;

  static Planes Of(Vec pixels) {
    const Vec byte = Splat(0xFF);
    return {_mm_and_si128(pixels, byte), _mm_and_si128(_mm_srli_epi32(pixels, 8), byte),
            _mm_and_si128(_mm_srli_epi32(pixels, 16), byte), _mm_srli_epi32(pixels, 24)};
  }
  Vec Pixels() const {
    return _mm_or_si128(_mm_or_si128(a, _mm_slli_epi32(r, 8)),
                        _mm_or_si128(_mm_slli_epi32(g, 16), _mm_slli_epi32(b, 24)));
  }
};

Vec Load4(const VX_Pixel8* p) { return _mm_loadu_si128(reinterpret_cast<const Vec*>(p)); }
void Store4(VX_Pixel8* p, Vec v) { _mm_storeu_si128(reinterpret_cast<Vec*>(p), v); }

template <bool hasMask>
Vec InFrontWeight(Vec source, const VX_Pixel8* mask, Vec opacity) {
  Vec w = _mm_and_si128(source, Splat(0xFF));
  if constexpr (hasMask) w = Mul(w, _mm_and_si128(Load4(mask), Splat(0xFF)));
  return Mul(w, opacity);
}

// Four pixels, none of which is known to be simple.
Vec InFront(Vec source, Vec w, Vec dest) {
  const Planes s = Planes::Of(source);
  const Planes d = Planes::Of(dest);
  const Vec a = Inv(Mul(Inv(w), Inv(d.a)));
  const __m128 a_float = _mm_cvtepi32_ps(a);
  const auto channel = [&](Vec cs, Vec cd) {
    const Vec k = Mul(cd, d.a);
    // The sum of lerp is within a byte here: k and the step toward s never leave 0..255.
    const Vec r = _mm_add_epi32(k, Mul(_mm_sub_epi32(cs, k), w));
    return Div(r, a, a_float);
  };
  const Planes over{a, channel(s.r, d.r), channel(s.g, d.g), channel(s.b, d.b)};
  const Vec zero = _mm_setzero_si128();
  // Over nothing the source's colours stand as they are; a full weight gives them by itself.
  const Vec taken = _mm_or_si128(_mm_andnot_si128(Splat(0xFF), source), w);
  const Vec blended = Choose(_mm_cmpeq_epi32(d.a, zero), taken, over.Pixels());
  return Choose(_mm_cmpeq_epi32(w, zero), dest, blended);
}

bool AllEqual(Vec a, Vec b) { return _mm_movemask_epi8(_mm_cmpeq_epi32(a, b)) == 0xFFFF; }

}  // namespace

namespace {
bool g_divides_as_vectors = false;
}

bool VXp_DividesAsVectors() { return g_divides_as_vectors; }

void VXp_CheckDivideTable() {
  bool same = VXp_G_fcd_table != nullptr;
  for (int32_t a = 1; a < 256 && same; ++a) {
    for (int32_t v = 0; v < 256 && same; ++v) {
      same = VXp_G_fcd_table[a * 256 + v] == std::min(255, ((a >> 1) + 255 * v) / a);
    }
  }
  g_divides_as_vectors = same;
}

template <bool hasMask>
VX_Err VXp_ScanCopy_SSE2(int32_t count, const VX_BlendingMode<VX_Pixel8>* mode,
                         const VX_LinearBlendingTables* tables, const VX_Pixel8* src,
                         const VX_Pixel8* mask, VX_Pixel8* dst) {
  const Vec opacity = Splat(mode->opacity);
  const Vec alpha_lane = Splat(0xFF);
  const bool keep = mode->keepDstAlpha != 0;
  const bool whole = !hasMask && !keep && mode->opacity == 255;  // one block, in the plain loop
  ptrdiff_t i = 0;
  for (; !whole && i + 4 <= count; i += 4) {
    const Vec s = Load4(src + i);
    Vec a = _mm_and_si128(Load4(dst + i), alpha_lane);
    if (!keep) {
      a = Mul(_mm_and_si128(s, alpha_lane), opacity);
      if constexpr (hasMask) a = Mul(_mm_and_si128(Load4(mask + i), alpha_lane), a);
    }
    Store4(dst + i, _mm_or_si128(_mm_andnot_si128(alpha_lane, s), a));
  }
  return VXp_RowLoop<VXp_ModeCopy, VX_Pixel8, hasMask, false>::Scan(
      count - static_cast<int32_t>(i), mode, tables, src + i, hasMask ? mask + i : mask, dst + i);
}

template <bool hasMask>
VX_Err VXp_ScanInFront_SSE2(int32_t count, const VX_BlendingMode<VX_Pixel8>* mode,
                            const VX_LinearBlendingTables* tables, const VX_Pixel8* src,
                            const VX_Pixel8* mask, VX_Pixel8* dst) {
  const Vec opacity = Splat(mode->opacity);
  const Vec full = Splat(255);
  ptrdiff_t i = 0;
  for (; i + 4 <= count; i += 4) {
    const Vec s = Load4(src + i);
    const Vec w = InFrontWeight<hasMask>(s, hasMask ? mask + i : nullptr, opacity);
    if (AllEqual(w, _mm_setzero_si128())) continue;
    Store4(dst + i, AllEqual(w, full) ? s : InFront(s, w, Load4(dst + i)));
  }
  return VXp_RowLoop<VXp_ModeInFront, VX_Pixel8, hasMask, false>::Scan(
      count - static_cast<int32_t>(i), mode, tables, src + i, hasMask ? mask + i : mask, dst + i);
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
