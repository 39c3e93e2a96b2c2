// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The sums S of a running window, for all users of the box engine.
//
// Integers: exact modulo 2^32. With values up to full scale, sums of 65535 values are below 2^31;
// with larger values they are below 2^32.
//
// Float: in double, with a count of the values in the window that are not 0. When the count becomes
// 0, the sum is set to 0, so that rounding errors, infinities and NaN do not remain after the
// values have left. The order of operations is fixed:
//
//   pixels   sum - leaving; 0 if the count is 0; then + entering
//   samples  sum + (entering - leaving); then 0 if the count is 0

#include <cstdint>
#include <type_traits>

#include "filters/VXp_BlurLanes.h"
#include "filters/VXp_BoxEngine.h"

// --- pixels: one lane for each channel -----------------------------------------------------------

inline VXp_DoubleLanes VXp_BoxNumerator(const VXp_BoxWindow& window, const VXp_DoubleLanes& sum,
                                        const VXp_DoubleLanes& outer) {
  return static_cast<double>(window.unit) * sum + static_cast<double>(window.outer) * outer;
}

// The classes of sums of pixels below have these members, which VXp_BoxRun uses:
//   Loaded, Load    type and function to load a pixel that enters or leaves
//   Enter           adds the entering pixel
//   Slide           adds the entering pixel and subtracts the leaving pixel
//   Singles         N = S unit + O outer, rounded to single precision; N = S if kWhole
//   Doubles         the same in double precision, for straight output
template <class PixelType>
struct VXp_PixelSums {
  using Pixel = PixelType;
  using Loaded = VXp_WordLanes;

  static Loaded Load(const char* pixel) {
    return reinterpret_cast<Loaded>(VXp_Ints(VXp_Load<VXp_RawPixel<Pixel>>(pixel)));
  }
  void Enter(Loaded pixel) { sums += pixel; }
  void Slide(Loaded entering, Loaded leaving) { sums = sums - leaving + entering; }

  template <bool kWhole>
  VXp_FloatLanes Singles(const VXp_BoxWindow& window, Loaded leading, Loaded trailing) const {
    if constexpr (kWhole) return VXp_AsFloat(reinterpret_cast<VXp_IntLanes>(sums));
    if constexpr (!kWhole) return VXp_Singles(Doubles<false>(window, leading, trailing));
  }
  template <bool kWhole>
  VXp_DoubleLanes Doubles(const VXp_BoxWindow& window, Loaded leading, Loaded trailing) const {
    const VXp_DoubleLanes all = VXp_AsDouble(reinterpret_cast<VXp_IntLanes>(sums));
    if constexpr (kWhole) return all;
    const auto outer = VXp_AsDouble(reinterpret_cast<VXp_IntLanes>(leading + trailing));
    return VXp_BoxNumerator(window, all, outer);
  }

  VXp_WordLanes sums{};
};

template <>
struct VXp_PixelSums<VX_PixelFloat> {
  using Pixel = VX_PixelFloat;
  using Loaded = VXp_FloatLanes;

  static Loaded Load(const char* pixel) { return VXp_Load<Loaded>(pixel); }
  void Enter(Loaded pixel) {
    nonzero -= pixel != 0.0f;  // a comparison that is true gives -1
    sums = sums + VXp_AsDouble(pixel);
  }
  void Slide(Loaded entering, Loaded leaving) {
    const VXp_DoubleLanes wide = VXp_AsDouble(leaving);
    nonzero += leaving != 0.0f;
    const VXp_IntLanes some = nonzero != 0;
    sums.first = Where(__builtin_shufflevector(some, some, 0, 0, 1, 1), sums.first - wide.first);
    sums.second = Where(__builtin_shufflevector(some, some, 2, 2, 3, 3), sums.second - wide.second);
    Enter(entering);
  }

  template <bool kWhole>
  VXp_FloatLanes Singles(const VXp_BoxWindow& window, Loaded leading, Loaded trailing) const {
    return VXp_Singles(Doubles<kWhole>(window, leading, trailing));
  }
  template <bool kWhole>
  VXp_DoubleLanes Doubles(const VXp_BoxWindow& window, Loaded leading, Loaded trailing) const {
    if constexpr (kWhole) return sums;
    const VXp_DoubleLanes outer = VXp_AsDouble(leading) + VXp_AsDouble(trailing);
    return VXp_BoxNumerator(window, sums, outer);
  }

  static VXp_DoublePair Where(VXp_IntLanes mask, VXp_DoublePair v) {
    return reinterpret_cast<VXp_DoublePair>(mask & reinterpret_cast<VXp_IntLanes>(v));
  }

  VXp_DoubleLanes sums{};
  VXp_IntLanes nonzero{};  // number of values in the window that are not 0
};

// --- samples: many lines, or many positions of one line ------------------------------------------

template <class Sample>
struct VXp_SampleSum {
  using Sum = std::conditional_t<std::is_same_v<Sample, float>, double, uint32_t>;

  void Enter(Sample v, int64_t times) {
    sum += static_cast<Sum>(v) * static_cast<Sum>(times);
    nonzero += v != Sample{} ? static_cast<int32_t>(times) : 0;
  }

  Sum sum = 0;
  int32_t nonzero = 0;  // number of values in the window that are not 0; float only
};

// Slides the window along one line and stores the sums of `count` consecutive positions.
template <class Sample>
void VXp_SlideAlong(const Sample* entering, const Sample* leaving, int32_t count,
                    VXp_SampleSum<Sample>& state,
                    typename VXp_SampleSum<Sample>::Sum* __restrict sums) {
  using Sum = typename VXp_SampleSum<Sample>::Sum;
  VXp_SampleSum<Sample> now = state;
  for (int32_t i = 0; i < count; ++i) {
    now.sum += static_cast<Sum>(entering[i]) - static_cast<Sum>(leaving[i]);
    if constexpr (std::is_same_v<Sample, float>) {
      now.nonzero += (entering[i] != 0.0f ? 1 : 0) - (leaving[i] != 0.0f ? 1 : 0);
      if (now.nonzero == 0) now.sum = 0;
    }
    sums[i] = now.sum;
  }
  state = now;
}

// Slides the windows of `count` lines by one position. `nonzero` is an array of doubles, so that a
// vector contains as many counts as sums.
template <class Sample>
void VXp_SlideAcross(const Sample* entering, const Sample* leaving, int32_t count,
                     typename VXp_SampleSum<Sample>::Sum* __restrict sums,
                     [[maybe_unused]] double* __restrict nonzero) {
  using Sum = typename VXp_SampleSum<Sample>::Sum;
  for (int32_t i = 0; i < count; ++i) {
    const Sum in = static_cast<Sum>(entering[i]), out = static_cast<Sum>(leaving[i]);
    if constexpr (std::is_same_v<Sample, float>) {
      nonzero[i] += (in != 0.0 ? 1.0 : 0.0) - (out != 0.0 ? 1.0 : 0.0);
      const double sum = sums[i] + (in - out);
      sums[i] = nonzero[i] != 0.0 ? sum : 0.0;
    } else {
      sums[i] += in - out;
    }
  }
}
