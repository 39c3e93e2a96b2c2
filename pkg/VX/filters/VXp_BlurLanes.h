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
#include "frame/VXp_LaneTraits.h"
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
