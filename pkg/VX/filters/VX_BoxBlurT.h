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

#include <limits>
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

// What is divided at a place: N in double, and the same in single.
struct VXp_BoxNumerator {
  VXp_DoubleLanes sums;
  VXp_FloatLanes singles;
};

template <class Pixel>
VXp_RawPixel<Pixel> VXp_BoxMean(VXp_FloatLanes numerator, VXp_FloatLanes divisor) {
  const VXp_FloatLanes quotient = numerator / divisor;
  if constexpr (kVXp_FloatPixel<Pixel>) {
    return quotient;
  } else {
    constexpr auto kFull = static_cast<float>(VXp_PixelTraits<Pixel>::kFull);
    const VXp_FloatLanes full = VXp_Splat<VXp_FloatLanes>(kFull), rounded = quotient + 0.5f;
    return VXp_Packed<Pixel>(VXp_Truncated(rounded < full ? rounded : full));
  }
}

// Colours of a straight pixel beside the alpha of its mean.
template <class Pixel>
VXp_RawPixel<Pixel> VXp_BoxStraight(VXp_RawPixel<Pixel> mean, const VXp_DoubleLanes& sums,
                                    double alpha) {
  using Raw = VXp_RawPixel<Pixel>;
  if (alpha == 0) return Raw{};
  if constexpr (kVXp_FloatPixel<Pixel>) {
    Raw pixel = VXp_UnmultipliedFloat(sums, alpha);
    pixel[0] = mean[0];
    return pixel;
  } else {
    constexpr Raw kAlpha = std::numeric_limits<VX_ChannelOf<Pixel>>::max();
    const Raw colors = VXp_Packed<Pixel>(VXp_Unmultiplied<Pixel>(sums, alpha));
    return (mean & kAlpha) | (colors & ~kAlpha);
  }
}

// A form of the pass whose inner loop tests nothing. kLines 0: any number of lines.
template <class Pixel, int32_t kLines, bool kWhole, bool kStraight, bool kAll>
class VXp_BoxRun {
 public:
  explicit VXp_BoxRun(const VXp_BoxPass& pass)
      : pass_(pass), mask_(pass.flags), lines_(kLines != 0 ? kLines : pass.lines) {}

  void operator()() {
    const auto [start, end] = VXp_BoxFirstSum(pass_);
    const char* pixel = pass_.in.data + (start - pass_.in.start) * pass_.in.stride;
    for (int64_t p = start; p < end; ++p, pixel += pass_.in.stride) {
      for (int32_t l = 0; l < lines_; ++l) sums_[l].Enter(At(pixel, l));
    }
    for (int64_t p = pass_.out.start; p < pass_.out.end;) {
      const VXp_BoxSpan span = VXp_BoxSpanAt(pass_, p);
      if (span.blank) {
        VXp_BlankSpan(pass_, span, sizeof(Pixel));
      } else {
        Span(span);
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

  void Span(const VXp_BoxSpan& span) {
    Sums sums[kMostLines];
    for (int32_t l = 0; l < lines_; ++l) sums[l] = sums_[l];
    const char *entering = span.entering.data, *leaving = span.leaving.data;
    const char *trailing = span.trailing.data, *here = span.here.data;
    char* out = span.out;
    VXp_IntLanes divisor = VXp_Splat<VXp_IntLanes>(span.divisor);
    for (int64_t i = 0; i < span.count; ++i) {
      const VXp_FloatLanes single_divisor = VXp_AsFloat(divisor);
      for (int32_t l = 0; l < lines_; ++l) {
        const Raw leading = At(entering, l);
        sums[l].Leave(At(leaving, l));
        sums[l].Enter(leading);
        const Raw kept = kAll ? Raw{} : At(here, l);
        const Raw outer = kWhole ? Raw{} : At(trailing, l);
        Raw pixel = Pixel1(sums[l], leading, outer, kept, single_divisor, divisor[0]);
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

  Raw Pixel1(const Sums& sums, Raw leading, Raw trailing, Raw kept, VXp_FloatLanes single_divisor,
             int32_t divisor) const {
    if constexpr (kWhole && !kStraight) {
      return VXp_BoxMean<Pixel>(sums.Singles(), single_divisor);
    } else {
      const VXp_DoubleLanes sum = Numerator(sums, leading, trailing);
      const Raw mean = VXp_BoxMean<Pixel>(VXp_Singles(sum), single_divisor);
      if constexpr (!kStraight) return mean;
      const bool blurs_alpha = kAll || (pass_.flags & VX_Blur_Alpha) != 0;
      const double alpha =
          blurs_alpha ? sum.Alpha() : static_cast<double>(VXp_AlphaOf(kept)) * divisor;
      return VXp_BoxStraight<Pixel>(mean, sum, alpha);
    }
  }

  static constexpr int32_t kMostLines = kLines != 0 ? kLines : kVXp_MostBoxLines;

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
