// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// One pass of the box over a bundle of lines, for any pixel type: running sums, so that the cost
// does not depend on the radius.
//
// With S the sum of the window at weight 1 and O that of its two outer pixels, the sum N is S unit
// - O f, a whole number at integer depths. Then
//
//   mean      N rounded to single, over the divisor rounded to single, divided in single; at
//   integer
//             depths 0.5 is added in single, the result truncated, and limited to full scale.
//   straight  alpha is the mean; colours are made of the sums N, as those of the Gaussian are.
//
// S is exact at integer depths. In float it is a double, from which the leaving pixel is taken
// before the entering one is added; when only zeros are left in the window it is set to 0, so that
// rounding leaves no trace where there is nothing. What is not finite stays in the sum until then.

#include <algorithm>
#include <type_traits>

#include "filters/VXp_BlurLanes.h"
#include "filters/VXp_BoxWindow.h"

// The window's sums S of integer channels. Even 65535 pixels of full scale stay below 2^31; what is
// above full scale wraps.
template <class Pixel>
struct VXp_BoxSums {
  using Raw = VXp_RawPixel<Pixel>;
  static VXp_WordLanes Words(Raw pixel) { return reinterpret_cast<VXp_WordLanes>(VXp_Ints(pixel)); }

  void Leave(Raw pixel) { sums -= Words(pixel); }
  void Enter(Raw pixel) { sums += Words(pixel); }
  VXp_IntLanes Ints() const { return reinterpret_cast<VXp_IntLanes>(sums); }
  VXp_FloatLanes Singles() const { return VXp_AsFloat(Ints()); }
  VXp_DoubleLanes Doubles() const { return VXp_AsDouble(Ints()); }

  VXp_WordLanes sums{};
};

template <>
struct VXp_BoxSums<VX_PixelFloat> {
  static VXp_DoubleLanes Wide(VXp_FloatLanes p) {
#ifdef __SSE2__
    const auto all = reinterpret_cast<__m128>(p);
    return {reinterpret_cast<VXp_DoublePair>(_mm_cvtps_pd(all)),
            reinterpret_cast<VXp_DoublePair>(_mm_cvtps_pd(_mm_movehl_ps(all, all)))};
#else
    return {VXp_DoublePair{p[0], p[1]}, VXp_DoublePair{p[2], p[3]}};
#endif
  }

  void Leave(VXp_FloatLanes pixel) {
    const VXp_DoubleLanes wide = Wide(pixel);
    held += pixel != 0.0f;
    const VXp_IntLanes some = held != 0;
    sums.first = Where(__builtin_shufflevector(some, some, 0, 0, 1, 1), sums.first - wide.first);
    sums.second = Where(__builtin_shufflevector(some, some, 2, 2, 3, 3), sums.second - wide.second);
  }
  void Enter(VXp_FloatLanes pixel) {
    const VXp_DoubleLanes wide = Wide(pixel);
    held -= pixel != 0.0f;
    sums.first += wide.first;
    sums.second += wide.second;
  }
  VXp_FloatLanes Singles() const { return VXp_Singles(sums); }
  VXp_DoubleLanes Doubles() const { return sums; }

  static VXp_DoublePair Where(VXp_IntLanes mask, VXp_DoublePair v) {
    return reinterpret_cast<VXp_DoublePair>(mask & reinterpret_cast<VXp_IntLanes>(v));
  }

  VXp_DoubleLanes sums{};
  VXp_IntLanes held{};  // channels in the window that are not 0
};

template <class Pixel>
VXp_RawPixel<Pixel> VXp_BoxMean(VXp_FloatLanes numerator, VXp_FloatLanes divisor) {
  const VXp_FloatLanes quotient = numerator / divisor;
  if constexpr (kVXp_FloatPixel<Pixel>) {
    return quotient;
  } else {
    constexpr auto kFull = static_cast<float>(VXp_PixelTraits<Pixel>::kFull);
    const VXp_FloatLanes full = VXp_Splat<VXp_FloatLanes>(kFull);
    return VXp_Packed<Pixel>(VXp_Truncated(VXp_Least(quotient + 0.5f, full)));
  }
}

// A straight pixel: the mean of alpha beside colours out of the sums.
template <class Pixel>
[[gnu::always_inline]] inline VXp_RawPixel<Pixel> VXp_BoxStraight(const VXp_DoubleLanes& sums,
                                                                  double alpha, float divisor) {
  using Raw = VXp_RawPixel<Pixel>;
  if (alpha == 0) return Raw{};
  const float quotient = static_cast<float>(sums.Alpha()) / divisor;
  if constexpr (kVXp_FloatPixel<Pixel>) {
    Raw pixel = VXp_UnmultipliedFloat(sums, alpha);
    pixel[0] = quotient;
    return pixel;
  } else {
    constexpr auto kFull = static_cast<float>(VXp_PixelTraits<Pixel>::kFull);
    VXp_IntLanes pixel = VXp_Unmultiplied<Pixel>(sums, alpha);
    pixel[0] = static_cast<int32_t>(std::min(quotient + 0.5f, kFull));
    return VXp_Packed<Pixel>(pixel);
  }
}

// A form of the pass whose inner loop tests nothing. kLines 0: any number of lines.
template <class Pixel, int32_t kLines, bool kWhole, bool kStraight, bool kAll>
class VXp_BoxRun {
 public:
  explicit VXp_BoxRun(const VXp_BoxPass& pass)
      : pass_(pass), mask_(pass.flags), lines_(kLines != 0 ? kLines : pass.lines) {}

  void operator()() {
    FirstSums();
    for (int64_t p = pass_.out.start; p < pass_.out.end;) {
      const VXp_BoxSpan span = VXp_BoxSpanAt(pass_, p);
      if (span.blank) {
        VXp_BlankSpan(pass_, span, sizeof(Pixel));
      } else if (span.leaves) {
        Span<true>(span);
      } else {
        Span<false>(span);
      }
      p += span.count;
    }
  }

 private:
  using Raw = VXp_RawPixel<Pixel>;
  using Sums = VXp_BoxSums<Pixel>;

  static Raw At(const char* place, int32_t line) {
    return VXp_Load<Raw>(place + line * static_cast<ptrdiff_t>(sizeof(Pixel)));
  }

  void FirstSums() {
    const auto [start, end] = VXp_BoxFirstSum(pass_);
    const ptrdiff_t stride = pass_.in.stride;
    const char* pixel = pass_.in.data + (start - pass_.in.start) * stride;
    const bool far = kLines == 0 && VXp_IsFar(stride);
    Sums sums[kMostLines];
    for (int64_t p = start; p < end; ++p, pixel += stride) {
      if (far) VXp_Foresee(pixel, stride, lines_ * int32_t{sizeof(Pixel)});
      for (int32_t l = 0; l < lines_; ++l) sums[l].Enter(At(pixel, l));
    }
    for (int32_t l = 0; l < lines_; ++l) sums_[l] = sums[l];
  }

  VXp_DoubleLanes Numerator(const Sums& sums, Raw leading, Raw trailing) const {
    if constexpr (kWhole) {
      return sums.Doubles();
    } else {
      Sums outer;
      outer.Enter(leading);
      outer.Enter(trailing);
      const VXp_DoubleLanes all = sums.Doubles(), out = outer.Doubles();
      const double unit = pass_.window.unit, f = pass_.window.f;
      return {all.first * unit - out.first * f, all.second * unit - out.second * f};
    }
  }

  template <bool kLeaves>
  void Span(const VXp_BoxSpan& span) {
    Sums sums[kMostLines];
    for (int32_t l = 0; l < lines_; ++l) sums[l] = sums_[l];
    const char *entering = span.entering.data, *leaving = span.leaving.data;
    const char *trailing = span.trailing.data, *here = span.here.data;
    char* out = span.out;
    VXp_IntLanes divisor = VXp_Splat<VXp_IntLanes>(span.divisor);
    const VXp_BoxForesight foresight(pass_, span, sizeof(Pixel));
    for (int64_t i = 0; i < span.count; ++i) {
      if constexpr (kLines == 0) foresight.At(entering, leaving, out);
      const VXp_FloatLanes single_divisor = VXp_AsFloat(divisor);
      for (int32_t l = 0; l < lines_; ++l) {
        const Raw leading = At(entering, l);
        if constexpr (kLeaves) sums[l].Leave(At(leaving, l));
        sums[l].Enter(leading);
        const Raw kept = kAll ? Raw{} : At(here, l);
        const Raw outer = kWhole ? Raw{} : At(trailing, l);
        Raw pixel = Blurred(sums[l], leading, outer, kept, single_divisor, divisor[0]);
        if constexpr (!kAll) pixel = mask_.Merge(pixel, kept);
        VXp_Store(out + l * pass_.out.line_stride, pixel);
      }
      entering += span.entering.stride;
      leaving += span.leaving.stride;
      trailing += span.trailing.stride;
      here += span.here.stride;
      out += pass_.out.stride;
      divisor += span.divisor_step;
    }
    for (int32_t l = 0; l < lines_; ++l) sums_[l] = sums[l];
  }

  Raw Blurred(const Sums& sums, Raw leading, Raw trailing, Raw kept, VXp_FloatLanes single_divisor,
              int32_t divisor) const {
    if constexpr (kWhole && !kStraight) {
      return VXp_BoxMean<Pixel>(sums.Singles(), single_divisor);
    } else {
      const VXp_DoubleLanes sum = Numerator(sums, leading, trailing);
      if constexpr (!kStraight) return VXp_BoxMean<Pixel>(VXp_Singles(sum), single_divisor);
      const bool blurs_alpha = kAll || (pass_.flags & VX_Blur_Alpha) != 0;
      const double alpha =
          blurs_alpha ? sum.Alpha() : static_cast<double>(VXp_AlphaOf(kept)) * divisor;
      return VXp_BoxStraight<Pixel>(sum, alpha, single_divisor[0]);
    }
  }

  static constexpr int32_t kMostLines = kLines != 0 ? kLines : kVXp_MostBoxLines<Pixel>;

  const VXp_BoxPass& pass_;
  const VXp_ChannelMask<Pixel> mask_;
  const int32_t lines_;
  Sums sums_[kMostLines];
};

// Any pass.
template <class Pixel>
void VXp_BoxBlurPass(const VXp_BoxPass& pass) {
  const auto with = [](bool condition, auto&& then) {
    condition ? then(std::true_type{}) : then(std::false_type{});
  };
  with(pass.lines == 1, [&](auto one) {
    with(pass.window.f == 0, [&](auto whole) {
      with(!pass.premultiplied, [&](auto straight) {
        with((pass.flags & VX_Blur_AllChannels) == VX_Blur_AllChannels, [&](auto all) {
          VXp_BoxRun<Pixel, decltype(one)::value ? 1 : 0, decltype(whole)::value,
                     decltype(straight)::value, decltype(all)::value>{pass}();
        });
      });
    });
  });
}
