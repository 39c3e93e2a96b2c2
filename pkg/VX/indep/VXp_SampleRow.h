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

// Samples a row: the positions whose four neighbours are all in the world by points(x, y, count,
// out), where y is an array too, and each of the others by clipped(x, out).
template <class Pixel, class Points, class Clipped>
void VXp_SampleRowBy(const VX_LayerDef& src, const VX_Fixed* x, int32_t count, VX_Fixed y,
                     char* out, const Points& points, const Clipped& clipped) {
  auto* const pixels = reinterpret_cast<Pixel*>(out);
  const auto [first, end] = VXp_InsideOf(src, x, count, y);
  for (int32_t i = 0; i < first; ++i) clipped(x[i], pixels + i);
  constexpr int32_t kTile = 256;
  VX_Fixed ys[kTile];
  std::fill_n(ys, kTile, y);
  for (int32_t i = first; i < end; i += kTile) {
    points(x + i, ys, std::min(kTile, end - i), pixels + i);
  }
  for (int32_t i = end; i < count; ++i) clipped(x[i], pixels + i);
}
