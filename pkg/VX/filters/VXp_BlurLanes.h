// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Groups of pixels, one per lane: conversion from memory to scratch, and from sums to memory.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "VX/VX_Blur.h"
#include "filters/VXp_Blur1DState.h"
#include "frame/VXp_PixelGroup.h"
#include "frame/VXp_Rows.h"
#include "indep/VXp_ChannelLanes.h"

template <class Pixel>
inline constexpr bool kVXp_FloatPixel = std::is_same_v<VX_ChannelOf<Pixel>, float>;

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
  } else if constexpr (kVXp_TargetLanes == 4) {
    const auto doubles = VXp_AsDouble(v);
    return {doubles.first, doubles.second};
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

// Multiplies colours that are blurred by alpha. Blurred colours of transparent pixels become 0,
// also infinities and NaN in float.
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

// The colours of straight pixels, for one channel at a time. If the sum of alpha is 0, the colours
// are 0. Float: quotients c / a of sums in double, rounded once; values above 1 are not clamped. At
// integer depths the sums are integers. With c a colour sum, a the sum of alpha and full the full
// scale of the depth, the colour is
//
//   min((c * full + a / 2) / a, full)   in integers, both divisions truncated
//
// It is computed as trunc(c * (full / a) + (a / 2 + 1/4) / a) with real divisions, which gives the
// same result: if a is odd, c * full + a / 2 is at least 1/2 below the next multiple of a; if a is
// even, it is at least 1 below, or a multiple itself. So an error below 1 / (4 a) does not change
// the result. The error is smaller if a is below kVXp_AlphaInDouble. For larger sums, values next
// to an integer are computed in 64-bit integers.
//
//   wide  the sums of alpha may be kVXp_AlphaInDouble or larger; integer depths only
inline constexpr double kVXp_AlphaInDouble = 0x1p33;

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
      constexpr double kFull = VXp_PixelTraits<Pixel>::kFull;
      const auto unlimited = VXp_ForHalves(
          [](auto sum, auto factor, auto added) { return VXp_MulAddDoubles(sum, factor, added); },
          sums, factors_, added_);
      if (wide_) [[unlikely]] {
        const auto near_integer = [](auto v) {
          constexpr double kInteger = 0x1.8p52;  // sums with it are rounded to integers
          const auto fraction = v - ((v + kInteger) - kInteger);
          return fraction * fraction < 0x1p-40;
        };
        if (VXp_AnyLane(reinterpret_cast<Ints>(near_integer(unlimited.low) |
                                               near_integer(unlimited.high)))) {
          return Exact(sums, alphas_);
        }
      }
      const auto least = [](auto v) { return VXp_MinDoubles(v, VXp_TargetDoubles{} + kFull); };
      return VXp_Narrowed<Work>(VXp_ForHalves(least, unlimited));
    }
  }

 private:
  using Ints = VXp_Lanes<int32_t, kVXp_TargetLanes>;

  // Has copies as arguments: if the address of the object were used, it would not be in registers.
  [[gnu::noinline]] static Work Exact(VXp_GroupDoubles sums, VXp_GroupDoubles alpha_sums) {
    constexpr int64_t kFull = VXp_PixelTraits<Pixel>::kFull;
    double all[kVXp_TargetLanes], alphas[kVXp_TargetLanes];
    VXp_StoreDoubles(all, sums);
    VXp_StoreDoubles(alphas, alpha_sums);
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

// Premultiplies groups of 8-bit pixels with a channel in each lane of 16 bits, which takes half as
// many instructions as VXp_PremultiplyGroup: each channel is multiplied by alpha, or by 255.
class VXp_BytePremultiplier {
 public:
  explicit VXp_BytePremultiplier(int32_t flags) {
    for (int32_t i = 0; i < kCount; ++i) {
      const bool by_alpha = i % 4 != 0 && (flags >> i % 4 & 1) != 0;
      alpha_[i] = by_alpha ? 255 : 0;
      fixed_[i] = by_alpha ? 0 : 255;
    }
  }
  void operator()(const char* from, char* to) const {
    const auto bytes = VXp_PackedBytes(Products(from), Products(from + kCount));
    VXp_Store(to, VXp_Unsectioned<2>(bytes));
  }

 private:
  static constexpr int32_t kCount = 2 * kVXp_TargetLanes;
  using Halves = VXp_Lanes<uint16_t, kCount>;

  Halves Products(const char* from) const {
    const auto v =
        reinterpret_cast<Halves>(VXp_ToWords(VXp_Load<VXp_Lanes<uint8_t, kCount>>(from)));
    const Halves factors = (Alphas(v, std::make_index_sequence<kCount>()) & alpha_) | fixed_;
    return VXp_MulHigh(v * factors + uint16_t{128}, Halves{} + uint16_t{257});
  }
  template <size_t... i>
  static Halves Alphas(Halves v, std::index_sequence<i...>) {
    return __builtin_shufflevector(v, v, static_cast<int32_t>(i / 4 * 4)...);
  }

  Halves alpha_, fixed_;
};

// Copies pixels and premultiplies them if the pass requires it.
template <class Pixel>
void VXp_CopyPremultiplied(const VX_Blur1DState& state, const char* from, ptrdiff_t count,
                           char* to) {
  constexpr ptrdiff_t kSize = sizeof(Pixel);
  if (count <= 0) return;  // the addresses may be null
  if (!state.Premultiplies()) {
    std::memcpy(to, from, static_cast<size_t>(count * kSize));
    return;
  }
  [[maybe_unused]] const VXp_BytePremultiplier premultiply_bytes(state.flags);
  const auto copy = [&](const char* source, char* target) {
    if constexpr (kSize == sizeof(VX_Pixel8)) {
      premultiply_bytes(source, target);
    } else {
      auto group = VXp_LoadGroup(reinterpret_cast<const Pixel*>(source));
      VXp_PremultiplyGroup<Pixel>(state.flags, group);
      VXp_StoreGroup<kVXp_TargetLanes>(reinterpret_cast<Pixel*>(target), group);
    }
  };
  ptrdiff_t i = 0;
  for (; i + kVXp_TargetLanes <= count; i += kVXp_TargetLanes) {
    copy(from + i * kSize, to + i * kSize);
  }
  if (i == count) return;
  const auto bytes = static_cast<size_t>((count - i) * kSize);
  char rest[kVXp_TargetLanes * kSize]{};
  std::memcpy(rest, from + i * kSize, bytes);
  copy(rest, rest);
  std::memcpy(to + i * kSize, rest, bytes);
}
