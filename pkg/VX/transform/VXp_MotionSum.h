// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The average of the sub-samples of a pixel, with colours weighted by alpha.

#include <cstdint>

#include "indep/VXp_ChannelLanes.h"
#include "transform/VXp_LineSampler.h"

// A type in which 256 * channel * alpha does not overflow.
template <class Pixel>
struct VXp_MotionNumber;
template <>
struct VXp_MotionNumber<VX_Pixel8> {
  using Type = uint32_t;
};
template <>
struct VXp_MotionNumber<VX_Pixel16> {
  using Type = uint64_t;
};
template <>
struct VXp_MotionNumber<VX_PixelFloat> {
  using Type = float;
};

// How averages are rounded at 8 and 16 bits. Applies to alpha, and to colours unless all
// sub-samples are opaque; then colours are always rounded to nearest.
enum class VXp_MotionRounding { Down, Nearest };

template <class Pixel>
struct VXp_MotionSum {
  using Number = typename VXp_MotionNumber<Pixel>::Type;
  using Channel = VX_ChannelOf<Pixel>;
  static constexpr bool kIsFloat = std::is_same_v<Pixel, VX_PixelFloat>;

  void Add(const Pixel& p) {
#ifdef __SSE2__
    if constexpr (sizeof(Channel) == 1) {  // adds the four channels at once
      const __m128i channels = reinterpret_cast<__m128i>(VXp_Ints(VXp_Load<uint32_t>(&p)));
      const __m128i a = _mm_shuffle_epi32(channels, 0);
      const __m128i by =
          _mm_or_si128(_mm_and_si128(a, _mm_set_epi32(-1, -1, -1, 0)), _mm_set_epi32(0, 0, 0, 1));
      VXp_Store(this, _mm_add_epi32(VXp_Load<__m128i>(this), _mm_madd_epi16(channels, by)));
      return;
    }
#endif
    const Number a = p.alpha;
    if (kIsFloat && a == 0) return;  // the colours are undefined and may be NaN
    alpha += a;
    red += a * p.red;
    green += a * p.green;
    blue += a * p.blue;
  }

  // Adds samples in the order in which they were sampled.
  void Add(const Pixel* samples, const VXp_LineParts& parts) {
    if constexpr (kIsFloat) {
      for (int32_t i = parts.first; i < parts.forward; ++i) Add(samples[i]);
      for (int32_t i = parts.end - 1; i >= parts.backward; --i) Add(samples[i]);
      for (int32_t i = parts.forward; i < parts.backward; ++i) Add(samples[i]);
    } else {
      VXp_MotionSum sum = *this;
      for (int32_t i = parts.first; i < parts.end; ++i) sum.Add(samples[i]);
      *this = sum;
    }
  }

  Pixel Average(int32_t count, VXp_MotionRounding rounding = VXp_MotionRounding::Down) const {
    if (alpha == 0) return Pixel{};
    const bool nearest = rounding == VXp_MotionRounding::Nearest;
    const auto divided = [&](Number sum, Number by) {
      if constexpr (!kIsFloat) sum += nearest ? by / 2 : 0;
      return sum / by;
    };
    const auto n = static_cast<Number>(count);
    const bool opaque = alpha == n * kFull;
    const auto color = [&](Number sum) {
      if constexpr (kIsFloat) {
        return sum / (opaque ? n : alpha);
      } else {
        return static_cast<Channel>(opaque ? Unscaled((2 * sum + n) / (2 * n))
                                           : divided(sum, alpha));
      }
    };
    return {static_cast<Channel>(divided(alpha, n)), color(red), color(green), color(blue)};
  }

  Number alpha{}, red{}, green{}, blue{};

 private:
  static constexpr Number kFull = sizeof(Channel) == 1 ? 255 : sizeof(Channel) == 2 ? 32768 : 1;

  // Divides a product of a channel and full scale by full scale, rounded to nearest.
  static Number Unscaled(Number v) {
    if constexpr (sizeof(Channel) == 1) return (v + 128 + ((v + 128) >> 8)) >> 8;
    if constexpr (sizeof(Channel) == 2) return (v + 16384) >> 15;
    return v;
  }
};
