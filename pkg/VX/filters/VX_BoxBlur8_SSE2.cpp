// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <emmintrin.h>

#include "filters/VX_BoxBlurT.h"
#include "frame/VXp_Report.h"

namespace {

// Extends the signed words of the lower half to 32 bits.
__m128i Signed(__m128i words) { return _mm_srai_epi32(_mm_unpacklo_epi16(words, words), 16); }

// The sums of VXp_PixelSums in SSE2. Differences and sums of two bytes are computed in 16-bit
// words.
struct SumsOfBytes {
  using Pixel = VX_Pixel8;
  using Loaded = __m128i;  // channels as words of the lower half

  static Loaded Load(const char* pixel) {
    return _mm_unpacklo_epi8(_mm_cvtsi32_si128(VXp_Load<int32_t>(pixel)), _mm_setzero_si128());
  }
  static VXp_IntLanes Extremes(Loaded /*pixel*/) { return VXp_IntLanes{}; }
  void Enter(Loaded pixel) { sums = _mm_add_epi32(sums, Signed(pixel)); }
  void Slide(Loaded entering, Loaded leaving) {
    sums = _mm_add_epi32(sums, Signed(_mm_sub_epi16(entering, leaving)));
  }

  template <bool kWhole>
  VXp_FloatLanes Singles(const VXp_BoxWindow& window, Loaded leading, Loaded trailing) const {
    if constexpr (kWhole) return reinterpret_cast<VXp_FloatLanes>(_mm_cvtepi32_ps(sums));
    const __m128i outer = _mm_unpacklo_epi16(_mm_add_epi16(leading, trailing), _mm_setzero_si128());
    const __m128i part = _mm_madd_epi16(outer, _mm_set1_epi32(-window.outer));
    __m128 numerator;
    if (window.reach < 4096) {  // 1024 times the sum fits 31 bits
      numerator = _mm_cvtepi32_ps(_mm_sub_epi32(_mm_slli_epi32(sums, 10), part));
    } else {
      const __m128d unit = _mm_set1_pd(1024.0);
      const auto half = [&](__m128i s, __m128i o) {
        return _mm_cvtpd_ps(_mm_sub_pd(_mm_mul_pd(_mm_cvtepi32_pd(s), unit), _mm_cvtepi32_pd(o)));
      };
      numerator = _mm_movelh_ps(
          half(sums, part), half(_mm_unpackhi_epi64(sums, sums), _mm_unpackhi_epi64(part, part)));
    }
    return reinterpret_cast<VXp_FloatLanes>(numerator);
  }

  __m128i sums = _mm_setzero_si128();
};

}  // namespace

void VXp_BoxBlurPass8_SSE2(const VXp_BoxPass& pass) {
  if (!pass.premultiplied) {
    VXp_Throw(VXp_FailVerification("untested SSE2 codepath in blur"));
  }
  VXp_RunBoxPass<SumsOfBytes, /*kStraightToo=*/false>(pass);
}
