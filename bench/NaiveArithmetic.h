// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Arithmetic of one channel for the naive loops, always inlined.

#include <algorithm>
#include <cstdint>

#include "Naive.h"

template <class Pixel>
struct Arithmetic;

template <>
struct Arithmetic<VX_Pixel8> {
  using Channel = uint8_t;
  using Work = int32_t;
  static constexpr Work kFull = 255;
  static constexpr Work kHalf = 128;
  static Work Mul(Work a, Work b) {
    const Work t = a * b + 128;
    return ((t >> 8) + t) >> 8;
  }
  static Work Mix(Work from, Work to, Work t) { return from + Mul(to - from, t); }
  static Work Div(Work n, Work a) { return n >= a ? 255 : ((a >> 1) + 255 * std::max(n, 0)) / a; }
  static Work Luma(Work r, Work g, Work b) {
    return (9798 * r + 19235 * g + 3735 * b + 16384) >> 15;
  }
};

template <>
struct Arithmetic<VX_Pixel16> {
  using Channel = uint16_t;
  using Work = int32_t;
  static constexpr Work kFull = 32768;
  static constexpr Work kHalf = 16384;
  static Work Mul(Work a, Work b) { return (a * b + 16383) >> 15; }
  static Work Mix(Work from, Work to, Work t) { return from + ((to - from) * t >> 15); }
  static Work Div(Work n, Work a) {
    return n >= a ? 32768 : ((a >> 1) + (std::max(n, 0) << 15)) / a;
  }
  static Work Luma(Work r, Work g, Work b) {
    return (9798 * r + 19235 * g + 3735 * b + 16384) >> 15;
  }
};

template <>
struct Arithmetic<VX_PixelFloat> {
  using Channel = float;
  using Work = float;
  static constexpr Work kFull = 1.0f;
  static constexpr Work kHalf = 0.5f;
  static Work Mul(Work a, Work b) { return a * b; }
  static Work Mix(Work from, Work to, Work t) { return from + (to - from) * t; }
  static Work Div(Work n, Work a) { return n / a; }
  static Work Luma(Work r, Work g, Work b) { return 0.299f * r + 0.587f * g + 0.114f * b; }
};

// Types and constants of a depth.
template <class Pixel>
struct NaiveBase {
  using A = Arithmetic<Pixel>;
  using Work = typename A::Work;
  using Channel = typename A::Channel;
  static constexpr Work F = A::kFull;

  static Work Union(Work a, Work b) { return F - A::Mul(F - a, F - b); }

  template <bool masked>
  static Work Weight(const NaiveJob<Pixel>& job, int64_t i) {
    Work w = job.src[i].alpha;
    if (masked) w = A::Mul(w, job.mask[i].alpha);
    return w;
  }

  static int64_t Count(const NaiveJob<Pixel>& job) { return int64_t{job.width} * job.height; }
};
