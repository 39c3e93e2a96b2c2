// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Conversion of one pixel from memory to scratch, and from sums to memory.

#include <algorithm>
#include <bit>
#include <cstdint>
#include <type_traits>

#include "VX/VX_Blur.h"
#include "filters/VXp_Blur1DState.h"
#include "frame/VXp_PixelGroup.h"
#include "frame/VXp_Rows.h"
#include "indep/VXp_ChannelLanes.h"

template <class Pixel>
inline constexpr bool kVXp_FloatPixel = std::is_same_v<VX_ChannelOf<Pixel>, float>;

// The bytes of a pixel as one integer or vector.
template <class Pixel>
using VXp_RawPixel = std::conditional_t<
    sizeof(Pixel) == sizeof(uint32_t), uint32_t,
    std::conditional_t<sizeof(Pixel) == sizeof(uint64_t), uint64_t, VXp_FloatLanes>>;

inline float VXp_AlphaOf(uint32_t pixel8) { return static_cast<float>(pixel8 & 0xFF); }
inline float VXp_AlphaOf(uint64_t pixel16) { return static_cast<float>(pixel16 & 0xFFFF); }
inline float VXp_AlphaOf(VXp_FloatLanes pixel) { return pixel[0]; }

// Returns lanes with all bits set for the channels in `flags`. Lane 0 is alpha.
inline VXp_IntLanes VXp_ChannelLanesOf(int32_t flags) {
  const auto lane = [flags](int32_t bit) { return (flags & bit) != 0 ? -1 : 0; };
  return VXp_IntLanes{lane(VX_Blur_Alpha), lane(VX_Blur_Red), lane(VX_Blur_Green),
                      lane(VX_Blur_Blue)};
}

// Merges the blurred channels of a pixel with those channels of the source that are not blurred.
template <class Pixel>
class VXp_ChannelMask {
 public:
  using Raw = VXp_RawPixel<Pixel>;

  explicit VXp_ChannelMask(int32_t flags) {
    const VXp_IntLanes lanes = VXp_ChannelLanesOf(flags);
    if constexpr (kVXp_FloatPixel<Pixel>) {
      bits_ = lanes;
    } else {
      const auto channel = [&](int32_t c) { return static_cast<VX_ChannelOf<Pixel>>(lanes[c]); };
      bits_ = std::bit_cast<Raw>(Pixel{channel(0), channel(1), channel(2), channel(3)});
    }
  }

  Raw Merge(Raw blurred, Raw kept) const {
    if constexpr (kVXp_FloatPixel<Pixel>) {
      const auto yes = reinterpret_cast<VXp_IntLanes>(blurred);
      const auto no = reinterpret_cast<VXp_IntLanes>(kept);
      return reinterpret_cast<Raw>((yes & bits_) | (no & ~bits_));
    } else {
      return (blurred & bits_) | (kept & ~bits_);
    }
  }

 private:
  std::conditional_t<kVXp_FloatPixel<Pixel>, VXp_IntLanes, Raw> bits_;
};

// Premultiplies a pixel: colours that are blurred are multiplied by alpha. Channels that are not
// blurred are multiplied by full scale, which does not change them. Blurred colours of transparent
// pixels become 0, also infinities and NaN in float.
template <class Pixel>
class VXp_BlurPremul {
 public:
  using Raw = VXp_RawPixel<Pixel>;
  using Traits = VXp_LaneTraits<Pixel, 4>;

  explicit VXp_BlurPremul(int32_t flags) : colors_(VXp_ChannelLanesOf(flags & ~VX_Blur_Alpha)) {}

  Raw operator()(Raw pixel) const {
    if constexpr (kVXp_FloatPixel<Pixel>) {
      const VXp_FloatLanes alpha = VXp_Splat<VXp_FloatLanes>(pixel[0]);
      const auto product = reinterpret_cast<VXp_IntLanes>(pixel * Factor(pixel));
      return reinterpret_cast<Raw>(product & ~(VXp_IntLanes(alpha == 0.0f) & colors_));
    } else {
      const VXp_IntLanes channels = VXp_Ints(pixel);
      return VXp_Packed<Pixel>(Traits::Mul(channels, Factor(channels)));
    }
  }

 private:
  template <class Lanes>
  Lanes Factor(Lanes channels) const {
    const Lanes alpha = {channels[0], channels[0], channels[0], channels[0]};
    return reinterpret_cast<Lanes>(
        (reinterpret_cast<VXp_IntLanes>(alpha) & colors_) |
        (reinterpret_cast<VXp_IntLanes>(Lanes(Traits::Full())) & ~colors_));
  }

  VXp_IntLanes colors_;
};

// --- from sums -----------------------------------------------------------------------------------

inline VXp_FloatLanes VXp_Singles(const VXp_DoubleLanes& v) {
#ifdef __SSE2__
  return reinterpret_cast<VXp_FloatLanes>(
      _mm_movelh_ps(_mm_cvtpd_ps(v.first), _mm_cvtpd_ps(v.second)));
#else
  return VXp_FloatLanes{static_cast<float>(v.first[0]), static_cast<float>(v.first[1]),
                        static_cast<float>(v.second[0]), static_cast<float>(v.second[1])};
#endif
}

// Returns in each lane a if a < b, else b.
inline VXp_DoublePair VXp_Least(VXp_DoublePair a, VXp_DoublePair b) {
#ifdef __SSE2__
  return reinterpret_cast<VXp_DoublePair>(_mm_min_pd(a, b));
#else
  return a < b ? a : b;
#endif
}

// Returns the colours of a straight pixel. `sums` are premultiplied sums and `alpha_sum` the sum of
// alpha, which must not be 0. Lane 0 of the result is undefined. At integer depths the sums are
// integers. With c a colour sum, a the sum of alpha and full the full scale of the depth, the
// result is
//
//   min((c * full + a / 2) / a, full)   in integers, both divisions truncated
//
// It is computed as trunc((c * full + a / 2 + 1/4) * (1 / a)) with real divisions, which gives the
// same result: if a is odd, c * full + a / 2 is at least 1/2 below the next multiple of a; if a is
// even, it is at least 1 below, or a multiple itself. So an error of the product below 1 / (4 a)
// does not change the result. The error is smaller if a is below kVXp_AlphaInDouble; larger sums
// use 64-bit integers.
inline constexpr double kVXp_AlphaInDouble = 0x1p33;

template <class Pixel>
[[gnu::noinline]] VXp_IntLanes VXp_UnmultipliedWide(const VXp_DoubleLanes& sums, double alpha_sum) {
  constexpr int64_t full = VXp_PixelTraits<Pixel>::kFull;
  const auto a = static_cast<int64_t>(alpha_sum);
  const auto quotient = [&](double sum) {
    return static_cast<int32_t>(std::min((static_cast<int64_t>(sum) * full + a / 2) / a, full));
  };
  return VXp_IntLanes{0, quotient(sums.first[1]), quotient(sums.second[0]),
                      quotient(sums.second[1])};
}

template <class Pixel>
[[gnu::always_inline]] inline VXp_IntLanes VXp_Unmultiplied(const VXp_DoubleLanes& sums,
                                                            double alpha_sum) {
  if (alpha_sum >= kVXp_AlphaInDouble) [[unlikely]]
    return VXp_UnmultipliedWide<Pixel>(sums, alpha_sum);
  const VXp_DoublePair full = VXp_DoublePair{} + VXp_PixelTraits<Pixel>::kFull;
  const double part = 1.0 / alpha_sum, added = alpha_sum * 0.5 + 0.25;
  const auto quotient = [&](VXp_DoublePair sum) {
    return VXp_Least((sum * full + added) * part, full);
  };
  return VXp_Truncated(VXp_DoubleLanes{quotient(sums.first), quotient(sums.second)});
}

// Returns a straight pixel: `mean` is the blurred alpha, colours are quotients of sums. If the sum
// of alphas is 0, the colours are 0. Float: quotients in double, rounded once; values above 1 are
// not clamped.
template <class Pixel, class Mean>
[[gnu::always_inline]] inline VXp_RawPixel<Pixel> VXp_StraightPixel(const VXp_DoubleLanes& sums,
                                                                    double alpha_sum, Mean mean) {
  if (alpha_sum == 0) return VXp_RawPixel<Pixel>{};
  if constexpr (kVXp_FloatPixel<Pixel>) {
    VXp_FloatLanes pixel =
        VXp_Singles(VXp_DoubleLanes{sums.first / alpha_sum, sums.second / alpha_sum});
    pixel[0] = static_cast<float>(mean);
    return pixel;
  } else {
    VXp_IntLanes pixel = VXp_Unmultiplied<Pixel>(sums, alpha_sum);
    pixel[0] = static_cast<int32_t>(mean);
    return VXp_Packed<Pixel>(pixel);
  }
}

// --- lines into scratch --------------------------------------------------------------------------

// Calls `store(address, raw)` for the positions from..to - 1 of `lines` lines of the source: first
// for all lines at one position, then for all lines at the next position. The addresses start at
// `out` and are `step` bytes apart.
template <class Pixel, class Store>
void VXp_GatherLines(const VX_Blur1DState& state, int64_t line, int32_t lines, int64_t from,
                     int64_t to, char* out, ptrdiff_t step, const Store& store) {
  const VXp_BlurSide& src = state.src;
  const char* position = src.Address(line, from);
  const bool far = VXp_IsFar(src.stride);
  for (int64_t p = from; p < to; ++p, position += src.stride) {
    if (far) VXp_Prefetch(position, src.stride, lines * static_cast<int32_t>(sizeof(Pixel)));
    const char* pixel = position;
    for (int32_t i = 0; i < lines; ++i) {
      store(out, VXp_Load<VXp_RawPixel<Pixel>>(pixel));
      pixel += src.line_stride;
      out += step;
    }
  }
}

// Like VXp_GatherLines, with pixels that are premultiplied if the pass requires it.
template <class Pixel, class Store>
void VXp_CopyLines(const VX_Blur1DState& state, int64_t line, int32_t lines, int64_t from,
                   int64_t to, char* out, ptrdiff_t step, const Store& store) {
  if (!state.Premultiplies()) {
    VXp_GatherLines<Pixel>(state, line, lines, from, to, out, step, store);
    return;
  }
  const VXp_BlurPremul<Pixel> premul(state.flags);
  VXp_GatherLines<Pixel>(state, line, lines, from, to, out, step,
                         [&](char* at, VXp_RawPixel<Pixel> p) { store(at, premul(p)); });
}

// --- groups of pixels, one per lane --------------------------------------------------------------

// One double for each pixel of a group.
struct VXp_GroupDoubles {
  VXp_TargetDoubles low, high;
};
template <class Operation, class... Numbers>
VXp_GroupDoubles VXp_ForHalves(const Operation& operation, const Numbers&... numbers) {
  return {operation(numbers.low...), operation(numbers.high...)};
}

inline VXp_GroupDoubles VXp_LoadDoubles(const double* from) {
  return {VXp_Load<VXp_TargetDoubles>(from),
          VXp_Load<VXp_TargetDoubles>(from + kVXp_TargetDoubles)};
}
inline void VXp_StoreDoubles(double* to, const VXp_GroupDoubles& v) {
  VXp_Store(to, v.low);
  VXp_Store(to + kVXp_TargetDoubles, v.high);
}
template <class Work>
VXp_GroupDoubles VXp_Widened(Work v) {
  if constexpr (std::is_same_v<Work, VXp_Lanes<uint32_t, kVXp_TargetLanes>>) {
    return {__builtin_convertvector(VXp_HalfOf<0>(v), VXp_TargetDoubles),
            __builtin_convertvector(VXp_HalfOf<1>(v), VXp_TargetDoubles)};
  } else {
    return {VXp_ToDoubles(VXp_HalfOf<0>(v)), VXp_ToDoubles(VXp_HalfOf<1>(v))};
  }
}

// Truncates to integers or rounds to floats: the elements of Work.
template <class Work>
Work VXp_Narrowed(const VXp_GroupDoubles& v) {
  using Half = VXp_Lanes<std::remove_cvref_t<decltype(Work{}[0])>, kVXp_TargetDoubles>;
  return VXp_Joined(__builtin_convertvector(v.low, Half), __builtin_convertvector(v.high, Half));
}

// Multiplies colours that are blurred by alpha, like VXp_BlurPremul.
template <class Pixel>
void VXp_PremultiplyGroup(int32_t flags, VXp_GroupOf<Pixel>& pixels) {
  using Traits = VXp_LaneTraits<Pixel>;
  using Work = typename Traits::Work;
  const auto multiply = [&](Work& color, int32_t flag) {
    if ((flags & flag) == 0) return;
    color = Traits::Mul(color, pixels.alpha);
    if constexpr (kVXp_FloatPixel<Pixel>) color = pixels.alpha == 0.0f ? Work{} : color;
  };
  multiply(pixels.red, VX_Blur_Red);
  multiply(pixels.green, VX_Blur_Green);
  multiply(pixels.blue, VX_Blur_Blue);
}

// Groups in the order of the row: VXp_LoadGroup and VXp_StoreGroup change the order of lanes.
template <class Pixel>
VXp_GroupOf<Pixel> VXp_LoadOrdered(const Pixel* pixels) {
  constexpr int32_t kParts = sizeof(Pixel) / 4;
  const auto v = VXp_LoadGroup(pixels);
  return {VXp_Unsectioned<kParts>(v.alpha), VXp_Unsectioned<kParts>(v.red),
          VXp_Unsectioned<kParts>(v.green), VXp_Unsectioned<kParts>(v.blue)};
}
template <class Pixel>
void VXp_StoreOrdered(Pixel* pixels, const VXp_GroupOf<Pixel>& v) {
  constexpr int32_t kParts = sizeof(Pixel) / 4;
  VXp_StoreGroup<kVXp_TargetLanes>(pixels,
                                   {VXp_Sectioned<kParts>(v.alpha), VXp_Sectioned<kParts>(v.red),
                                    VXp_Sectioned<kParts>(v.green), VXp_Sectioned<kParts>(v.blue)});
}

// The colours of straight pixels, see VXp_Unmultiplied and VXp_StraightPixel, for one channel at a
// time. With full the full scale of the depth, the product of VXp_Unmultiplied is computed as
// c * (full / a) + (a / 2 + 1/4) / a. `wide`: the sums of alpha may be kVXp_AlphaInDouble or
// larger; integer depths only.
template <class Pixel>
class VXp_StraightColors {
 public:
  using Work = typename VXp_LaneTraits<Pixel>::Work;

  VXp_StraightColors(const VXp_GroupDoubles& alphas, bool wide) : alphas_(alphas), wide_(wide) {
    if constexpr (!kVXp_FloatPixel<Pixel>) {
      constexpr double kFull = VXp_PixelTraits<Pixel>::kFull;
      const auto inverse = [](auto a) { return a == 0.0 ? VXp_TargetDoubles{} : 1.0 / a; };
      const auto half = [](auto a, auto i) { return (a * 0.5 + 0.25) * i; };
      factors_ = VXp_ForHalves(inverse, alphas);
      added_ = VXp_ForHalves(half, alphas, factors_);
      factors_ = VXp_ForHalves([](auto i) { return i * kFull; }, factors_);
    }
  }

  // Returns the means of alpha, but +0 if the sum is 0.
  Work Alpha(Work means) const {
    const auto zero = [](auto mean, auto a) { return a == 0.0 ? VXp_TargetDoubles{} : mean; };
    return VXp_Narrowed<Work>(VXp_ForHalves(zero, VXp_Widened(means), alphas_));
  }

  // Returns the colours for the sums of a channel.
  Work operator()(const VXp_GroupDoubles& sums) const {
    if constexpr (kVXp_FloatPixel<Pixel>) {
      const auto quotient = [](auto sum, auto a) {
        return a == 0.0 ? VXp_TargetDoubles{} : sum / a;
      };
      return VXp_Narrowed<Work>(VXp_ForHalves(quotient, sums, alphas_));
    } else {
      if (wide_) [[unlikely]]
        return Wide(sums);
      constexpr double kFull = VXp_PixelTraits<Pixel>::kFull;
      const auto quotient = [](auto sum, auto factor, auto added) {
        return VXp_MinDoubles(VXp_MulAddDoubles(sum, factor, added), VXp_TargetDoubles{} + kFull);
      };
      return VXp_Narrowed<Work>(VXp_ForHalves(quotient, sums, factors_, added_));
    }
  }

 private:
  [[gnu::noinline]] Work Wide(const VXp_GroupDoubles& sums) const {
    constexpr int64_t kFull = VXp_PixelTraits<Pixel>::kFull;
    double all[kVXp_TargetLanes], alphas[kVXp_TargetLanes];
    VXp_StoreDoubles(all, sums);
    VXp_StoreDoubles(alphas, alphas_);
    Work colors{};
    for (int32_t i = 0; i < kVXp_TargetLanes; ++i) {
      const auto a = static_cast<int64_t>(alphas[i]);
      const auto rounded = static_cast<int64_t>(all[i]) * kFull + a / 2;
      if (a != 0) colors[i] = static_cast<int32_t>(std::min(rounded / a, kFull));
    }
    return colors;
  }

  VXp_GroupDoubles alphas_, factors_, added_;
  bool wide_;
};

// Calls `run(pixels, count, index)` for the pixels at the positions from..to - 1 of `lines` lines
// of the source, in the order of scratch: all lines at one position, then all lines at the next
// one. The pixels of a run are adjacent; `index` is the number of pixels before them.
template <class Pixel, class Run>
void VXp_ForRuns(const VX_Blur1DState& state, int64_t line, int32_t lines, int64_t from, int64_t to,
                 const Run& run) {
  constexpr int32_t kMost = kVXp_WidestTile / static_cast<int32_t>(sizeof(Pixel));
  const VXp_BlurSide& src = state.src;
  const char* position = src.Address(line, from);
  if (lines == 1 && src.stride == ptrdiff_t{sizeof(Pixel)}) {
    return run(position, static_cast<ptrdiff_t>(to - from), ptrdiff_t{0});
  }
  const bool far = VXp_IsFar(src.stride);
  const bool adjacent = src.line_stride == ptrdiff_t{sizeof(Pixel)} && lines >= kVXp_TargetLanes;
  char gathered[kMost * sizeof(Pixel)];
  int32_t held = 0;
  ptrdiff_t index = 0;
  const auto flush = [&] {
    if (held > 0) run(gathered, ptrdiff_t{held}, index);
    index += held;
    held = 0;
  };
  for (int64_t p = from; p < to; ++p, position += src.stride) {
    if (far) VXp_Prefetch(position, src.stride, lines * static_cast<int32_t>(sizeof(Pixel)));
    if (adjacent) {
      run(position, ptrdiff_t{lines}, index);
      index += lines;
      continue;
    }
    if (held + lines > kMost) flush();
    const char* pixel = position;
    for (int32_t i = 0; i < lines; ++i, pixel += src.line_stride) {
      std::memcpy(gathered + held++ * ptrdiff_t{sizeof(Pixel)}, pixel, sizeof(Pixel));
    }
  }
  flush();
}
