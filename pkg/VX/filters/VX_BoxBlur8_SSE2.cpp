// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "filters/VX_BoxBlur8_SSE2.h"

#include <emmintrin.h>

#include "VX/VX_Blur.h"
#include "frame/VXp_Report.h"
#include "frame/VXp_Rows.h"

namespace {

using Vec = __m128i;

// Which channels a form of the routine blurs: all, alpha alone, or those of a mask.
enum class Channels { kAll, kAlpha, kSome };

// A byte mask for each set of channels.
constexpr uint32_t kMasks[16] = {
    0x00000000, 0x000000FF, 0x0000FF00, 0x0000FFFF, 0x00FF0000, 0x00FF00FF, 0x00FFFF00, 0x00FFFFFF,
    0xFF000000, 0xFF0000FF, 0xFF00FF00, 0xFF00FFFF, 0xFFFF0000, 0xFFFF00FF, 0xFFFFFF00, 0xFFFFFFFF};

uint32_t At(const char* place, int32_t line) { return VXp_Load<uint32_t>(place + 4 * line); }

// Channels as words of the lower half.
Vec Words(uint32_t pixel) {
  return _mm_unpacklo_epi8(_mm_cvtsi32_si128(static_cast<int32_t>(pixel)), _mm_setzero_si128());
}

// Signed words of the lower half, as lanes.
Vec Signed(Vec words) { return _mm_srai_epi32(_mm_unpacklo_epi16(words, words), 16); }

template <Channels kChannels, int32_t kLines, bool kWhole>
class Run {
 public:
  explicit Run(const VXp_BoxPass& pass)
      : pass_(pass),
        mask_(kMasks[pass.flags & VX_Blur_AllChannels]),
        lines_(kLines != 0 ? kLines : pass.lines),
        f_(_mm_set1_epi32(pass.window.f)),
        // S 1024 of the widest window must fit 31 bits.
        narrow_(pass.window.n < 4096) {}

  void operator()() {
    if (!pass_.premultiplied) {
      VXp_Throw(VXp_FailVerification("untested SSE2 codepath in blur"));
    }
    FirstSums();
    for (int64_t p = pass_.out.start; p < pass_.out.end;) {
      const VXp_BoxSpan span = VXp_BoxSpanAt(pass_, p);
      if (span.blank) {
        VXp_BlankSpan(pass_, span, sizeof(VX_Pixel8));
      } else if (span.leaves) {
        Span<true>(span);
      } else {
        Span<false>(span);
      }
      p += span.count;
    }
  }

 private:
  static constexpr int32_t kMostLines = kLines != 0 ? kLines : kVXp_MostBoxLines<VX_Pixel8>;

  void FirstSums() {
    const auto [start, end] = VXp_BoxFirstSum(pass_);
    const ptrdiff_t stride = pass_.in.stride;
    const char* pixel = pass_.in.data + (start - pass_.in.start) * stride;
    const bool far = kLines == 0 && VXp_IsFar(stride);
    Vec sums[kMostLines];
    for (int32_t l = 0; l < lines_; ++l) sums[l] = _mm_setzero_si128();
    for (int64_t p = start; p < end; ++p, pixel += stride) {
      if (far) VXp_Foresee(pixel, stride, lines_ * int32_t{sizeof(VX_Pixel8)});
      for (int32_t l = 0; l < lines_; ++l) {
        sums[l] = _mm_add_epi32(sums[l], Signed(Words(At(pixel, l))));
      }
    }
    for (int32_t l = 0; l < lines_; ++l) sums_[l] = sums[l];
  }

  template <bool kLeaves>
  void Span(const VXp_BoxSpan& span) {
    Vec sums[kMostLines];
    for (int32_t l = 0; l < lines_; ++l) sums[l] = sums_[l];
    const char *entering = span.entering.data, *leaving = span.leaving.data;
    const char *trailing = span.trailing.data, *here = span.here.data;
    char* out = span.out;
    Vec divisor = _mm_set1_epi32(span.divisor);
    const Vec divisor_step = _mm_set1_epi32(span.divisor_step);
    const VXp_BoxForesight foresight(pass_, span, sizeof(VX_Pixel8));
    for (int64_t i = 0; i < span.count; ++i) {
      if constexpr (kLines == 0) foresight.At(entering, leaving, out);
      const __m128 single_divisor = _mm_cvtepi32_ps(divisor);
      for (int32_t l = 0; l < lines_; ++l) {
        const Vec leading = Words(At(entering, l));
        Vec change = leading;
        if constexpr (kLeaves) change = _mm_sub_epi16(leading, Words(At(leaving, l)));
        sums[l] = _mm_add_epi32(sums[l], Signed(change));
        const Vec outer = kWhole ? leading : _mm_add_epi16(leading, Words(At(trailing, l)));
        uint32_t pixel = Mean(Numerator(sums[l], outer), single_divisor);
        if constexpr (kChannels == Channels::kAlpha) {
          pixel = (pixel & 0xFF) | (At(here, l) & ~0xFFu);
        } else if constexpr (kChannels == Channels::kSome) {
          pixel = (pixel & mask_) | (At(here, l) & ~mask_);
        }
        VXp_Store(out + l * pass_.out.line_stride, pixel);
      }
      entering += span.entering.stride;
      leaving += span.leaving.stride;
      trailing += span.trailing.stride;
      here += span.here.stride;
      out += pass_.out.stride;
      divisor = _mm_add_epi32(divisor, divisor_step);
    }
    for (int32_t l = 0; l < lines_; ++l) sums_[l] = sums[l];
  }

  // S unit - O f, rounded once. `outer` are words of the lower half, at most 510.
  __m128 Numerator(Vec sum, Vec outer) const {
    if constexpr (kWhole) {
      return _mm_cvtepi32_ps(sum);
    } else {
      const Vec part = _mm_madd_epi16(_mm_unpacklo_epi16(outer, _mm_setzero_si128()), f_);
      if (narrow_) return _mm_cvtepi32_ps(_mm_sub_epi32(_mm_slli_epi32(sum, 10), part));
      const __m128d unit = _mm_set1_pd(1024.0);
      const auto half = [&](Vec s, Vec o) {
        return _mm_cvtpd_ps(_mm_sub_pd(_mm_mul_pd(_mm_cvtepi32_pd(s), unit), _mm_cvtepi32_pd(o)));
      };
      return _mm_movelh_ps(half(sum, part),
                           half(_mm_unpackhi_epi64(sum, sum), _mm_unpackhi_epi64(part, part)));
    }
  }

  static uint32_t Mean(__m128 numerator, __m128 divisor) {
    const __m128 rounded = _mm_add_ps(_mm_div_ps(numerator, divisor), _mm_set1_ps(0.5f));
    const Vec words = _mm_packs_epi32(_mm_cvttps_epi32(rounded), _mm_setzero_si128());
    return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(words, words)));
  }

  const VXp_BoxPass& pass_;
  const uint32_t mask_;
  const int32_t lines_;
  const Vec f_;
  const bool narrow_;
  Vec sums_[kMostLines];
};

template <Channels kChannels>
void RunChannels(const VXp_BoxPass& pass) {
  if (pass.lines == 1) {
    pass.window.f == 0 ? Run<kChannels, 1, true>(pass)() : Run<kChannels, 1, false>(pass)();
  } else {
    pass.window.f == 0 ? Run<kChannels, 0, true>(pass)() : Run<kChannels, 0, false>(pass)();
  }
}

}  // namespace

void VXp_BoxBlurPass8_SSE2(const VXp_BoxPass& pass) {
  switch (pass.flags & VX_Blur_AllChannels) {
    case VX_Blur_AllChannels: return RunChannels<Channels::kAll>(pass);
    case VX_Blur_Alpha: return RunChannels<Channels::kAlpha>(pass);
    default: return RunChannels<Channels::kSome>(pass);
  }
}
