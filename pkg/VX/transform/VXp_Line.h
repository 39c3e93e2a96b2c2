// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Source positions along a row of the destination, or along the path of one pixel during a motion.
//
// Positions are in units of 1/65536 pixel in 64 bits, so that no sum wraps. Positions that do not
// fit 32 bits are outside every source.

#include <algorithm>
#include <cstdint>
#include <limits>

#include "VX/VX_Types.h"

inline constexpr int64_t kVXp_FixedOne = 65536;
inline constexpr int64_t kVXp_FixedHalf = 32768;

struct VXp_Line {
  int64_t x, y;    // position of the first pixel
  int64_t dx, dy;  // step to the next pixel
  int32_t count;
  int64_t ahead_x = 0, ahead_y = 0;  // step to positions that are needed soon, for prefetches

  int64_t X(int32_t i) const { return x + i * dx; }
  int64_t Y(int32_t i) const { return y + i * dy; }
};

// A part of a line: pixels first to end - 1.
struct VXp_Run {
  int32_t first, end;
  bool Empty() const { return first >= end; }
};

// The positions on one axis with low <= position < high. The bounds are clamped to the range of
// VX_Fixed.
struct VXp_Bounds {
  VXp_Bounds(int64_t low_bound, int64_t high_bound)
      : low(std::max(low_bound, int64_t{std::numeric_limits<VX_Fixed>::min()})),
        high(std::min(high_bound, int64_t{std::numeric_limits<VX_Fixed>::max()} + 1)) {}
  bool Hold(int64_t position) const { return low <= position && position < high; }

  int64_t low, high;
};

// Bounds on both axes.
struct VXp_Box {
  VXp_Bounds x, y;
  bool Holds(int64_t at_x, int64_t at_y) const { return x.Hold(at_x) && y.Hold(at_y); }
};

// Reduces the run to those i for which start + i * step is within the bounds. The result is exact.
// Divides only if an end of the run is out of bounds.
inline void VXp_Cut(int64_t start, int64_t step, VXp_Bounds bounds, VXp_Run* run) {
  if (run->Empty()) return;
  const int64_t one = start + run->first * step, other = start + (run->end - 1) * step;
  if (bounds.Hold(one) && bounds.Hold(other)) return;
  if (std::max(one, other) < bounds.low || std::min(one, other) >= bounds.high ||
      bounds.low >= bounds.high) {
    run->end = run->first;
    return;
  }
  int64_t low = bounds.low - start, high = bounds.high - start;
  if (step < 0) {
    const int64_t turned = 1 - high;
    high = 1 - low;
    low = turned;
    step = -step;
  }
  // Returns the first i for which i * step is at or above a bound.
  const auto reach = [step](int64_t bound) { return bound / step + (bound % step > 0 ? 1 : 0); };
  const int64_t first = std::max(int64_t{run->first}, reach(low));
  const int64_t end = std::min(int64_t{run->end}, reach(high));
  *run = first < end ? VXp_Run{static_cast<int32_t>(first), static_cast<int32_t>(end)}
                     : VXp_Run{run->first, run->first};
}

inline VXp_Run VXp_RunWithin(const VXp_Line& line, const VXp_Box& box) {
  VXp_Run run{0, line.count};
  VXp_Cut(line.x, line.dx, box.x, &run);
  VXp_Cut(line.y, line.dy, box.y, &run);
  return run;
}
