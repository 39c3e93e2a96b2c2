// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The box pass over pixels, for any pixel type. N is the weighted sum of a window; N and the
// divisor are defined in VXp_BoxEngine.h.
//
//   mean      N rounded to single precision, divided in single precision by the divisor rounded to
//             single precision. At integer depths 0.5 is added in single precision, and the result
//             is truncated and clamped to full scale.
//   straight  alpha is the mean; colours are quotients of sums, see VXp_Unmultiplied

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "filters/VXp_RunningSums.h"

// The 8-bit pass in SSE2, with bit-identical results. Does not support straight output: throws
// VX_ErrBadParameter after a report.
void VXp_BoxBlurPass8_SSE2(const VXp_BoxPass& pass);

// Runs the 8-bit pass for the first lines, in groups, if the radius is a whole number below 64 and
// all channels are blurred. Returns the number of lines that were processed. Bit-identical results.
int32_t VXp_BoxBlurShort8(const VXp_BoxPass& pass);

template <class Pixel>
inline constexpr int32_t kVXp_MostBoxLines = kVXp_WidestTile / static_cast<int32_t>(sizeof(Pixel));

template <class Pixel>
VXp_RawPixel<Pixel> VXp_BoxMean(VXp_FloatLanes numerator, VXp_FloatLanes divisor) {
  const VXp_FloatLanes quotient = numerator / divisor;
  if constexpr (kVXp_FloatPixel<Pixel>) {
    return quotient;
  } else {
    constexpr auto kFull = static_cast<float>(VXp_PixelTraits<Pixel>::kFull);
    VXp_FloatLanes rounded = quotient + 0.5f;
#ifdef __SSE2__
    constexpr bool kLimited = sizeof(Pixel) == sizeof(VX_Pixel8);  // packing clamps to 255
#else
    constexpr bool kLimited = false;
#endif
    if constexpr (!kLimited) rounded = VXp_MinFloats(rounded, VXp_Splat<VXp_FloatLanes>(kFull));
    return VXp_Packed<Pixel>(VXp_Truncated(rounded));
  }
}

template <class Pixel>
[[gnu::always_inline]] inline VXp_RawPixel<Pixel> VXp_BoxStraight(const VXp_DoubleLanes& sums,
                                                                  double alpha, float divisor) {
  const float mean = static_cast<float>(sums.Alpha()) / divisor;
  if constexpr (kVXp_FloatPixel<Pixel>) {
    return VXp_StraightPixel<Pixel>(sums, alpha, mean);
  } else {
    constexpr auto kFull = static_cast<float>(VXp_PixelTraits<Pixel>::kFull);
    return VXp_StraightPixel<Pixel>(sums, alpha, std::min(mean + 0.5f, kFull));
  }
}

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

// One variant of a pass, compiled separately so that inner loops contain no tests. kLines: number
// of lines, 0 for any number. kWhole: the radius is an integer. kStraight: the output has straight
// alpha. kAll: all channels are blurred.
template <class SumsType, int32_t kLines, bool kWhole, bool kStraight, bool kAll>
class VXp_BoxRun {
 public:
  explicit VXp_BoxRun(const VXp_BoxPass& pass)
      : pass_(pass), mask_(pass.flags), lines_(kLines != 0 ? kLines : pass.lines) {}

  // Runs the pass. Returns whether a pixel with extreme values (VXp_RestartedSums.h) has entered a
  // window.
  bool operator()() {
    FirstSums();
    for (int64_t p = pass_.out.start; p < pass_.out.end;) {
      const VXp_BoxSpan span = VXp_BoxSpanAt(pass_, p);
      if (span.blank) {
        Blank(span);
      } else if (span.leaves) {
        Span<true>(span);
      } else {
        Span<false>(span);
      }
      p += span.count;
    }
    return VXp_AnyLane(extremes_);
  }

 private:
  using Sums = SumsType;
  using Pixel = typename Sums::Pixel;
  using Raw = VXp_RawPixel<Pixel>;
  using Loaded = typename Sums::Loaded;
  static constexpr ptrdiff_t kSize = sizeof(Pixel);
  static constexpr int32_t kMostLines = kLines != 0 ? kLines : kVXp_MostBoxLines<Pixel>;

  void FirstSums() {
    const VXp_BoxRange range = VXp_BoxFirstSum(pass_);
    const ptrdiff_t stride = pass_.in.stride;
    const char* pixel = pass_.in.data + (range.start - pass_.in.start) * stride;
    const bool far = kLines == 0 && VXp_IsFar(stride);
    Sums sums[kMostLines];
    for (int64_t p = range.start; p < range.end; ++p, pixel += stride) {
      if (far) VXp_Prefetch(pixel, stride, lines_ * int32_t{kSize});
      for (int32_t l = 0; l < lines_; ++l) {
        const Loaded entering = Sums::Load(pixel + l * kSize);
        extremes_ |= Sums::Extremes(entering);
        sums[l].Enter(entering);
      }
    }
    for (int32_t l = 0; l < lines_; ++l) sums_[l] = sums[l];
  }

  // Writes zeros to a span. The pixels of a line are contiguous (rows), or the pixels of all lines
  // at one position are (columns); the longer runs are cleared with memset.
  void Blank(const VXp_BoxSpan& span) const {
    const bool by_line = pass_.out.stride == kSize;
    const int64_t runs = by_line ? lines_ : span.count;
    const int64_t bytes = (by_line ? span.count : lines_) * kSize;
    const ptrdiff_t stride = by_line ? pass_.out.line_stride : pass_.out.stride;
    for (int64_t i = 0; i < runs; ++i) {
      std::memset(span.out + i * stride, 0, static_cast<size_t>(bytes));
    }
  }

  template <bool kLeaves>
  void Span(const VXp_BoxSpan& span) {
    Sums sums[kMostLines];
    for (int32_t l = 0; l < lines_; ++l) sums[l] = sums_[l];
    // Local copies, because the compiler must assume that stores of pixels change members.
    const VXp_BoxWindow window = pass_.window;
    const VXp_ChannelMask<Pixel> mask = mask_;
    const ptrdiff_t line_stride = pass_.out.line_stride;
    const int32_t lines = lines_;
    const bool blurs_alpha = kAll || (pass_.flags & VX_Blur_Alpha) != 0;
    const int32_t divisor_step = span.divisor_step;
    VXp_IntLanes divisor = VXp_Splat<VXp_IntLanes>(span.divisor);
    VXp_FloatLanes single_divisor = VXp_AsFloat(divisor);
    VXp_IntLanes extremes{};
    const VXp_BoxPrefetch prefetch(pass_, span, sizeof(Pixel));
    VXp_ForBoxPositions(span, pass_.out.stride, [&](const VXp_BoxPosition& at) {
      if constexpr (kLines == 0) prefetch(at);
      for (int32_t l = 0; l < lines; ++l) {
        const Loaded leading = Sums::Load(at.entering + l * kSize);
        extremes |= Sums::Extremes(leading);
        if constexpr (kLeaves) {
          sums[l].Slide(leading, Sums::Load(at.leaving + l * kSize));
        } else {
          sums[l].Enter(leading);
        }
        const Raw kept = kAll ? Raw{} : VXp_Load<Raw>(at.here + l * kSize);
        const Loaded trailing = kWhole ? Loaded{} : Sums::Load(at.trailing + l * kSize);
        Raw pixel;
        if constexpr (kStraight) {
          const VXp_DoubleLanes sum = sums[l].template Doubles<kWhole>(window, leading, trailing);
          const double alpha =
              blurs_alpha ? sum.Alpha() : static_cast<double>(VXp_AlphaOf(kept)) * divisor[0];
          pixel = VXp_BoxStraight<Pixel>(sum, alpha, single_divisor[0]);
        } else {
          pixel = VXp_BoxMean<Pixel>(sums[l].template Singles<kWhole>(window, leading, trailing),
                                     single_divisor);
        }
        if constexpr (!kAll) pixel = mask.Merge(pixel, kept);
        VXp_Store(at.out + l * line_stride, pixel);
      }
      if (divisor_step == 0) return;
      divisor += divisor_step;
      single_divisor = VXp_AsFloat(divisor);
    });
    extremes_ |= extremes;
    for (int32_t l = 0; l < lines_; ++l) sums_[l] = sums[l];
  }

  const VXp_BoxPass& pass_;
  const VXp_ChannelMask<Pixel> mask_;
  const int32_t lines_;
  VXp_IntLanes extremes_{};
  Sums sums_[kMostLines];
};

// Runs a pass. If kStraightToo is false, only passes with premultiplied output are supported.
// Returns whether a pixel with extreme values (VXp_RestartedSums.h) has entered a window.
template <class Sums, bool kStraightToo>
bool VXp_RunBoxPass(const VXp_BoxPass& pass) {
  bool extremes = false;
  const auto with = [](bool condition, auto&& then) {
    condition ? then(std::true_type{}) : then(std::false_type{});
  };
  with(pass.lines == 1, [&](auto one) {
    with(pass.window.outer == 0, [&](auto whole) {
      with(!pass.premultiplied, [&](auto straight) {
        with((pass.flags & VX_Blur_AllChannels) == VX_Blur_AllChannels, [&](auto all) {
          VXp_BoxRun<Sums, decltype(one)::value ? 1 : 0, decltype(whole)::value,
                     kStraightToo&& decltype(straight)::value, decltype(all)::value>
              run{pass};
          extremes = run();
        });
      });
    });
  });
  return extremes;
}
