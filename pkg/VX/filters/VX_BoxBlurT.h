// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The box pass over groups of lines, one line in each lane, for any pixel type. N is the weighted
// sum of a window; N and the divisor are defined in VXp_BoxEngine.h.
//
//   mean      N rounded to single precision, divided in single precision by the divisor rounded to
//             single precision. At integer depths 0.5 is added in single precision, and the result
//             is truncated and clamped to full scale.
//   straight  alpha is the mean; colours are quotients of sums, see VXp_StraightColors

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "filters/VXp_RunningSums.h"

// The 8-bit pass of processors with SSE2. Does not support straight output: throws
// VX_ErrBadParameter after a report.
void VXp_BoxBlurPass8_SSE2(const VXp_BoxPass& pass);

// Runs the 8-bit pass for the first lines, in groups, if the radius is a whole number below 64 and
// all channels are blurred. Returns the number of lines that were processed. Bit-identical results.
int32_t VXp_BoxBlurShort8(const VXp_BoxPass& pass);

template <class Pixel>
inline constexpr int32_t kVXp_MostBoxLines = kVXp_WidestTile / static_cast<int32_t>(sizeof(Pixel));

// Prefetches the rows that enter or leave the window, and the rows of the output. In a long window,
// the leaving rows were read too long ago to be in the cache.
class VXp_BoxPrefetch {
 public:
  VXp_BoxPrefetch(const VXp_BoxPass& pass, const VXp_BoxSpan& span, int32_t pixel_size)
      : bytes_(pass.lines * pixel_size),
        entering_(Far(span.entering.stride)),
        leaving_(pass.window.reach > kNearRows ? Far(span.leaving.stride) : 0),
        out_(Far(pass.out.stride)) {}

  [[gnu::always_inline]] void operator()(const VXp_BoxPosition& at) const {
    if (entering_ != 0) VXp_Prefetch(at.entering, entering_, bytes_);
    if (leaving_ != 0) VXp_Prefetch(at.leaving, leaving_, bytes_);
    if (out_ != 0) VXp_Prefetch(at.out, out_, bytes_);
  }

 private:
  static constexpr int64_t kNearRows = 32;
  static ptrdiff_t Far(ptrdiff_t stride) { return VXp_IsFar(stride) ? stride : 0; }

  int32_t bytes_;
  ptrdiff_t entering_, leaving_, out_;
};

// Divides numerators of a group by the divisor, in single precision.
//
// At integer depths with a whole radius, the numerator is an integer and the divisor an integer
// below 2^21. Then one correction of n * (1 / d) by its remainder, which is exact, gives the
// rounded quotient: quotients that are not exact differ from the middle of two floats by more than
// the remaining error. This is faster than a division.
template <class Pixel, bool kWhole>
class VXp_BoxDivision {
 public:
  using Floats = VXp_Lanes<float, kVXp_TargetLanes>;

  explicit VXp_BoxDivision(int32_t divisor)
      : divisor_(static_cast<float>(divisor)), inverse_(1.0f / divisor_) {}

  Floats operator()(Floats n) const {
    const Floats d = Floats{} + divisor_;
#ifdef __AVX2__
    if constexpr (kWhole && !kVXp_FloatPixel<Pixel>) {
      const Floats inverse = Floats{} + inverse_, quotient = n * inverse;
      return VXp_MulAdd(VXp_MulAdd(-quotient, d, n), inverse, quotient);
    }
#endif
    return n / d;
  }

 private:
  float divisor_, inverse_;
};

// One variant of a pass, compiled separately so that inner loops contain few tests. kPartial: the
// pass has fewer lines than a group, else whole groups. kWhole: the radius is an integer.
// kStraight: the output has straight alpha.
template <class PixelType, bool kPartial, bool kWhole, bool kStraight>
class VXp_BoxRun {
 public:
  explicit VXp_BoxRun(const VXp_BoxPass& pass)
      : pass_(pass), groups_(kPartial ? 1 : pass.lines / kLanes) {
    const double most = static_cast<double>(pass.window.Total()) * kMostValue;
    wide_ = !kVXp_FloatPixel<Pixel> && most >= kVXp_AlphaInDouble;
  }

  // Runs the pass. Returns whether a pixel with extreme values (VXp_RestartedSums.h) has entered a
  // window.
  bool operator()() {
    const VXp_BoxRange range = VXp_BoxFirstSum(pass_);
    const ptrdiff_t stride = pass_.in.stride;
    const char* pixel = pass_.in.data + (range.start - pass_.in.start) * stride;
    const bool far = VXp_IsFar(stride);
    for (int64_t p = range.start; p < range.end; ++p, pixel += stride) {
      if (far) VXp_Prefetch(pixel, stride, pass_.lines * int32_t{kSize});
      for (int32_t g = 0; g < groups_; ++g) {
        Slide(sums_[g], Load(pixel + g * kGroupBytes), Channels{});
      }
    }
    for (int64_t p = pass_.out.start; p < pass_.out.end;) {
      const VXp_BoxSpan span = VXp_BoxSpanAt(pass_, p);
      span.blank ? Blank(span) : Span(span);
      p += span.count;
    }
    return VXp_AnyLane(VXp_AreExtreme(extremes_));
  }

 private:
  using Pixel = PixelType;
  using Work = typename VXp_LaneTraits<Pixel>::Work;
  using Ints = VXp_Lanes<int32_t, kVXp_TargetLanes>;
  using Floats = VXp_Lanes<float, kVXp_TargetLanes>;
  using Sum = VXp_GroupSum<Pixel>;
  static constexpr int32_t kLanes = kVXp_TargetLanes;
  static constexpr ptrdiff_t kSize = sizeof(Pixel);
  static constexpr ptrdiff_t kGroupBytes = kLanes * kSize;
  static constexpr double kMostValue = kVXp_FloatPixel<Pixel> ? 0 : kSize == 4 ? 255 : 65535;
  // The channels of a group, alpha first.
  struct Channels {
    Work lanes[4]{};
  };

  Channels Load(const char* from) const {
    Pixel some[kLanes];
    if constexpr (kPartial) {
      std::memset(static_cast<void*>(some), 0, sizeof some);
      std::memcpy(static_cast<void*>(some), from, static_cast<size_t>(pass_.lines * kSize));
    }
    const auto group = VXp_LoadGroup(kPartial ? some : reinterpret_cast<const Pixel*>(from));
    return {{group.alpha, group.red, group.green, group.blue}};
  }

  // A position outside of the line has zeros, so nothing is tested.
  void Slide(Sum (&sums)[4], const Channels& entering, const Channels& leaving) {
    for (int32_t c = 0; c < 4; ++c) {
      sums[c].Slide(entering.lanes[c], leaving.lanes[c]);
      if constexpr (kVXp_FloatPixel<Pixel>) {
        const Ints magnitude = reinterpret_cast<Ints>(entering.lanes[c]) & INT32_MAX;
        extremes_ = magnitude > extremes_ ? magnitude : extremes_;
      }
    }
  }

  // Writes zeros to a span. The pixels of a line are contiguous (rows), or the pixels of all lines
  // at one position are (columns); the longer runs are cleared with memset.
  void Blank(const VXp_BoxSpan& span) const {
    const int32_t lines = kPartial ? pass_.lines : groups_ * kLanes;
    const bool by_line = pass_.out.stride == kSize;
    const int64_t runs = by_line ? lines : span.count;
    const int64_t bytes = (by_line ? span.count : lines) * kSize;
    const ptrdiff_t stride = by_line ? pass_.out.line_stride : pass_.out.stride;
    for (int64_t i = 0; i < runs; ++i) {
      std::memset(span.out + i * stride, 0, static_cast<size_t>(bytes));
    }
  }

  void Span(const VXp_BoxSpan& span) {
    const VXp_BoxPrefetch prefetch(pass_, span, sizeof(Pixel));
    int32_t divisor = span.divisor;
    VXp_BoxDivision<Pixel, kWhole> divide(divisor);
    const auto step = [&](const VXp_BoxPosition& at) __attribute__((always_inline)) {
      prefetch(at);
      for (int32_t g = 0; g < groups_; ++g) {
        const ptrdiff_t offset = g * kGroupBytes;
        const Channels entering = Load(at.entering + offset);
        Slide(sums_[g], entering, Load(at.leaving + offset));
        const Channels trailing = kWhole ? Channels{} : Load(at.trailing + offset);
        Store(at.out + g * kLanes * pass_.out.line_stride,
              Output(sums_[g], entering, trailing, at.here + offset, divisor, divide));
      }
      if (span.divisor_step == 0) return;
      divisor += span.divisor_step;
      divide = VXp_BoxDivision<Pixel, kWhole>(divisor);
    };
    VXp_ForBoxPositions(span, pass_.out.stride, step);
  }

  // Returns N in double precision, and rounded to single precision.
  VXp_GroupDoubles Doubles(const Sum& sum, Work leading, Work trailing) const {
    if constexpr (kWhole) {
      return sum.Doubles();
    } else {
      const double unit = pass_.window.unit, outer = pass_.window.outer;
      if constexpr (kVXp_FloatPixel<Pixel>) {
        const auto numerator = [=](auto s, auto a, auto b) { return unit * s + outer * (a + b); };
        return VXp_ForHalves(numerator, sum.Doubles(), VXp_Widened(leading), VXp_Widened(trailing));
      } else {  // exact in any order
        const auto numerator = [=](auto s, auto ends) {
          return VXp_MulAddDoubles(s, VXp_TargetDoubles{} + unit, outer * ends);
        };
        return VXp_ForHalves(numerator, sum.Doubles(), VXp_Widened(leading + trailing));
      }
    }
  }
  Floats Singles(const Sum& sum, Work leading, Work trailing) const {
    if constexpr (kWhole) return sum.Singles();
    if constexpr (!kWhole) return VXp_Narrowed<Floats>(Doubles(sum, leading, trailing));
  }

  Channels Output(const Sum (&sums)[4], const Channels& leading, const Channels& trailing,
                  const char* here, int32_t divisor,
                  const VXp_BoxDivision<Pixel, kWhole>& divide) const {
    const auto mean = [&](int32_t c) -> Work {
      const Floats quotient = divide(Singles(sums[c], leading.lanes[c], trailing.lanes[c]));
      if constexpr (kVXp_FloatPixel<Pixel>) {
        return quotient;
      } else {
        constexpr auto kFull = static_cast<float>(VXp_PixelTraits<Pixel>::kFull);
        return VXp_Truncated(VXp_MinFloats(quotient + 0.5f, VXp_Splat<Floats>(kFull)));
      }
    };
    Channels out;
    if constexpr (kStraight) {
      const auto sum = [&](int32_t c) {
        return Doubles(sums[c], leading.lanes[c], trailing.lanes[c]);
      };
      const double total = divisor;
      const VXp_StraightColors<Pixel> color(
          (pass_.flags & VX_Blur_Alpha) != 0
              ? sum(0)
              : VXp_ForHalves([=](auto alpha) { return alpha * total; },
                              VXp_Widened(Load(here).lanes[0])),
          wide_);
      out = {{mean(0), color(sum(1)), color(sum(2)), color(sum(3))}};
      if constexpr (kVXp_FloatPixel<Pixel>) out.lanes[0] = color.Alpha(out.lanes[0]);
    } else {
      out = {{mean(0), mean(1), mean(2), mean(3)}};
    }
    if ((pass_.flags & VX_Blur_AllChannels) == VX_Blur_AllChannels) return out;
    const Channels kept = Load(here);
    for (int32_t c = 0; c < 4; ++c) {
      if ((pass_.flags >> c & 1) == 0) out.lanes[c] = kept.lanes[c];
    }
    return out;
  }

  void Store(char* out, const Channels& v) const {
    const VXp_GroupOf<Pixel> group = {v.lanes[0], v.lanes[1], v.lanes[2], v.lanes[3]};
    const ptrdiff_t stride = pass_.out.line_stride;
    if (!kPartial && stride == kSize) {
      return VXp_StoreGroup<kLanes>(reinterpret_cast<Pixel*>(out), group);
    }
    Pixel pixels[kLanes];
    VXp_StoreGroup<kLanes>(pixels, group);
    const int32_t lines = kPartial ? pass_.lines : kLanes;
    for (int32_t i = 0; i < lines; ++i) VXp_Store(out + i * stride, pixels[i]);
  }

  const VXp_BoxPass& pass_;
  const int32_t groups_;
  bool wide_;
  Ints extremes_{};  // the largest magnitudes that have entered, as bits of floats
  Sum sums_[std::max(kVXp_MostBoxLines<Pixel> / kLanes, 1)][4];
};

// Runs a pass over up to kVXp_MostBoxLines lines. Returns whether a pixel with extreme values
// (VXp_RestartedSums.h) has entered a window.
template <class Pixel>
bool VXp_RunBoxPass(const VXp_BoxPass& pass) {
  bool extremes = false;
  const auto with = [](bool condition, auto&& then) {
    condition ? then(std::true_type{}) : then(std::false_type{});
  };
  const auto run = [&](const VXp_BoxPass& part, auto partial) {
    with(part.window.outer == 0, [&](auto whole) {
      with(!part.premultiplied, [&](auto straight) {
        VXp_BoxRun<Pixel, decltype(partial)::value, decltype(whole)::value,
                   decltype(straight)::value>
            box{part};
        extremes |= box();
      });
    });
  };
  const int32_t done = pass.lines / kVXp_TargetLanes * kVXp_TargetLanes;
  if (done > 0) run(pass, std::false_type{});
  if (done < pass.lines) run(VXp_LinesAfter(pass, done, sizeof(Pixel)), std::true_type{});
  return extremes;
}
