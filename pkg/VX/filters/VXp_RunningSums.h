// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The sums S of a running window, for all users of the box engine.
//
// Integers: exact modulo 2^32, and read as signed numbers. Sums of 65535 values up to full scale
// are below 2^31, and so are sums of 32768 values of any size.
//
// Float: in double, with a count of the values in the window that are not 0. When the count becomes
// 0, the sum is set to 0, so that rounding errors do not remain after the values have left. Lines
// with extreme values are found and run again with VXp_RestartedSums.h. The order of operations is
// fixed:
//
//   pixels   sum - leaving; 0 if the count is 0; then + entering
//   samples  sum + (entering - leaving); then 0 if the count is 0

#include <cstdint>
#include <type_traits>

#include "filters/VXp_BlurLanes.h"
#include "filters/VXp_BoxEngine.h"
#include "filters/VXp_RestartedSums.h"
#include "indep/VXp_ChannelLanes.h"

// Loads two floats as doubles. Converting both directly from memory takes fewer instructions than
// converting one half of a register.
inline VXp_DoublePair VXp_LoadWide(const void* from) {
#ifdef __SSE2__
  const __m128 pair = _mm_castsi128_ps(_mm_loadl_epi64(static_cast<const __m128i*>(from)));
  return reinterpret_cast<VXp_DoublePair>(_mm_cvtps_pd(pair));
#else
  const auto* const bytes = static_cast<const char*>(from);
  return VXp_DoublePair{VXp_Load<float>(bytes), VXp_Load<float>(bytes + sizeof(float))};
#endif
}

// --- pixels: one line in each lane ---------------------------------------------------------------

// The sum of one channel of a group of lines.
//
//   Slide    adds the entering values and subtracts the leaving values
//   Doubles  returns the sums in double precision
//   Singles  returns the sums rounded to single precision
template <class Pixel>
struct VXp_GroupSum {
  using Work = typename VXp_LaneTraits<Pixel>::Work;
  using Words = VXp_WordsLike<Work>;

  void Slide(Work entering, Work leaving) {
    sums += reinterpret_cast<Words>(entering) - reinterpret_cast<Words>(leaving);
  }
  VXp_GroupDoubles Doubles() const { return VXp_Widened(reinterpret_cast<Work>(sums)); }
  VXp_FloatsLike<Work> Singles() const { return VXp_AsFloat(reinterpret_cast<Work>(sums)); }

  Words sums{};
};

template <>
struct VXp_GroupSum<VX_PixelFloat> {
  using Work = typename VXp_LaneTraits<VX_PixelFloat>::Work;
  using Ints = VXp_IntsLike<Work>;

  void Slide(Work entering, Work leaving) {
    const VXp_GroupDoubles in = VXp_Widened(entering), out = VXp_Widened(leaving);
    nonzero += leaving != 0.0f;  // a comparison that is true gives -1
    const Ints none = nonzero == 0;
    sums.low = Unless(VXp_Twice<0>(none), sums.low - out.low) + in.low;
    sums.high = Unless(VXp_Twice<1>(none), sums.high - out.high) + in.high;
    nonzero -= entering != 0.0f;
  }
  VXp_GroupDoubles Doubles() const { return sums; }
  Work Singles() const { return VXp_Narrowed<Work>(sums); }

  static VXp_TargetDoubles Unless(Ints mask, VXp_TargetDoubles v) {
    return reinterpret_cast<VXp_TargetDoubles>(~mask & reinterpret_cast<Ints>(v));
  }

  VXp_GroupDoubles sums{};
  Ints nonzero{};  // numbers of values in the window that are not 0
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
  int32_t done = 0;
  if constexpr (std::is_same_v<Sample, float>) {
    constexpr VXp_DoublePair kOnes = {1, 1}, kZeros = {};
    for (; done + 2 <= count; done += 2) {
      const VXp_DoublePair in = VXp_LoadWide(entering + done), out = VXp_LoadWide(leaving + done);
      const VXp_DoublePair some = VXp_Load<VXp_DoublePair>(nonzero + done) +
                                  (in != kZeros ? kOnes : kZeros) -
                                  (out != kZeros ? kOnes : kZeros);
      const VXp_DoublePair sum = VXp_Load<VXp_DoublePair>(sums + done) + (in - out);
      VXp_Store(nonzero + done, some);
      VXp_Store(sums + done, some != kZeros ? sum : kZeros);
    }
  }
  for (int32_t i = done; i < count; ++i) {
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
