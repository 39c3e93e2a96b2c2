// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Rows of samples: many x positions with the same y, with the results of the built-in samplers.
// Faster than these, because there is no call, no test of the border and no check of the rounding
// mode for each pixel.

#include <algorithm>
#include <cstdint>

#include "VX/VX_Sampling.h"
#include "indep/VXp_Neighbours.h"

// Stores `count` pixels at `out`, which may start at any byte. `x` is ascending; values may repeat.
using VXp_SampleRowCall = void(const VX_SampPB& record, const VX_Fixed* x, int32_t count,
                               VX_Fixed y, char* out);
using VXp_SampleRowFunc = VXp_SampleRowCall*;

// Returns the function that samples rows with the results of `sample`. Returns null if `sample` is
// not built-in or has no row function; it must then be called for each pixel. Defined for each
// pixel type.
template <class Pixel>
VXp_SampleRowFunc VXp_RowForm(VX_SampleFunc<Pixel> sample);

// --- row functions -------------------------------------------------------------------------------

template <class Pixel>
VXp_SampleRowCall VXp_StraightRow;
template <class Pixel>
VXp_SampleRowCall VXp_PremulRow;
template <class Pixel>
VXp_SampleRowCall VXp_StraightBoxRow;
template <class Pixel>
VXp_SampleRowCall VXp_PremulBoxRow;

// A range of indices in ascending positions: first to end - 1.
struct VXp_PositionRange {
  int32_t first, end;
};

// Returns the range of positions whose four neighbours are all in the world.
inline VXp_PositionRange VXp_InsideOf(const VX_LayerDef& src, const VX_Fixed* x, int32_t count,
                                      VX_Fixed y) {
  const int32_t row = y >> 16;
  if (row < 0 || row + 1 >= src.height) return {0, 0};
  const auto below = [](VX_Fixed position, int64_t bound) { return position < bound; };
  const VX_Fixed* const first = std::lower_bound(x, x + count, int64_t{0}, below);
  const int64_t bound = (int64_t{src.width} - 1) * 65536;
  const VX_Fixed* const end = std::lower_bound(first, x + count, bound, below);
  return {static_cast<int32_t>(first - x), static_cast<int32_t>(end - x)};
}

// Samples a row of positions by a rule. Each sample is a mix of the column of two pixels to the
// left of its position and the column to the right. `Rule` converts each column once from its upper
// and lower pixel, and mixes two columns to a pixel:
//
//   Column Of(raw upper, raw lower)
//   raw    Mix(const Column& left, const Column& right, uint32_t fx)
template <class Pixel, class Rule>
class VXp_ColumnMixer {
 public:
  using Raw = VXp_RawPixel<Pixel>;

  VXp_ColumnMixer(const VX_LayerDef& src, VX_Fixed y, const Rule& rule)
      : src_(src), y_(y), row_(y >> 16), rule_(rule) {}

  void Run(const VX_Fixed* x, int32_t count, char* out) const {
    const auto [first, last] = VXp_InsideOf(src_, x, count, y_);
    const auto clipped = [this](int32_t column) {
      return rule_.Of(VXp_Clipped::One<Pixel>(src_, column, row_),
                      VXp_Clipped::One<Pixel>(src_, column, row_ + 1));
    };
    Part(x, 0, first, out, clipped);
    if (first < last) {
      const char* const upper = VXp_PixelAddress<Pixel>(src_, 0, row_);
      const char* const lower = upper + src_.rowbytes;
      Part(x, first, last, out, [=, this](int32_t column) {
        const ptrdiff_t offset = ptrdiff_t{column} * static_cast<ptrdiff_t>(sizeof(Pixel));
        return rule_.Of(VXp_Load<Raw>(upper + offset), VXp_Load<Raw>(lower + offset));
      });
    }
    Part(x, last, count, out, clipped);
  }

 private:
  template <class Fetch>
  void Part(const VX_Fixed* x, int32_t from, int32_t to, char* out, const Fetch& fetch) const {
    if (from >= to) return;
    int32_t column = x[from] >> 16;
    auto left = fetch(column), right = fetch(column + 1);
    for (int32_t i = from; i < to; ++i) {
      const int32_t next = x[i] >> 16;
      if (next != column) {
        left = next == column + 1 ? right : fetch(next);
        right = fetch(next + 1);
        column = next;
      }
      const Raw pixel = rule_.Mix(left, right, static_cast<uint32_t>(x[i]) & 0xFFFF);
      VXp_Store(out + ptrdiff_t{i} * static_cast<ptrdiff_t>(sizeof(Pixel)), pixel);
    }
  }

  const VX_LayerDef& src_;
  VX_Fixed y_;
  int32_t row_;
  Rule rule_;
};

// A rule for VXp_ColumnMixer that does not convert columns: `mix(quad, fx, fy)` mixes all four
// pixels.
template <class Pixel, class Mixing>
struct VXp_QuadRule {
  struct Column {
    VXp_RawPixel<Pixel> upper, lower;
  };
  using Raw = VXp_RawPixel<Pixel>;

  Column Of(Raw upper, Raw lower) const { return {upper, lower}; }
  Raw Mix(const Column& left, const Column& right, uint32_t fx) const {
    return mix(VXp_Quad<Pixel>{left.upper, right.upper, left.lower, right.lower}, fx, fy);
  }

  uint32_t fy;
  Mixing mix;
};

template <class Pixel, class Mixing>
void VXp_MixRow(const VX_LayerDef& src, const VX_Fixed* x, int32_t count, VX_Fixed y, char* out,
                const Mixing& mix) {
  const VXp_QuadRule<Pixel, Mixing> rule{static_cast<uint32_t>(y) & 0xFFFF, mix};
  VXp_ColumnMixer<Pixel, VXp_QuadRule<Pixel, Mixing>>(src, y, rule).Run(x, count, out);
}
