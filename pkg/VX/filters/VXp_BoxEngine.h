// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The box engine: one pass of a running window over lines. The values are pixels of a world or
// samples of a one-channel buffer; the values of all lines at one position are adjacent. The engine
// computes which positions enter and leave the window, and the divisor. The arithmetic is in
// VX_BoxBlurT.h and uno/VXp_ScanLines.cpp, with the sums of VXp_RunningSums.h.
//
// S is the sum of the positions p - reach to p + reach. O is the sum of the two positions p -
// outer_at and p + outer_at. The window of position p has the numerator
//
//   N = S * unit + O * outer
//
//   window                reach  outer_at  unit       outer
//   world, whole radius   n      n         1          0
//   world, other radius   n      n         1024       -f (S includes these two positions)
//   plain box of samples  half   half + 1  1          0
//   soft box of samples   half   half + 1  255        0..254
//
// n and f are defined at VXp_BoxWindowOf. half is VXp_ScanPlan::half, the number of whole samples
// of the window on each side of its centre.

#include <algorithm>
#include <cstdint>

#include "filters/VXp_Blur1DState.h"

struct VXp_BoxWindow {
  int64_t Total() const { return (2 * reach + 1) * unit + 2 * outer; }

  int64_t reach, outer_at;
  int32_t unit, outer;
};

// Returns the window of a blur of worlds, with n = ceil(radius) and f = trunc((n - radius) * 1024).
// For a whole radius all weights are 1 instead of 1024; the quotients are the same, in single
// precision too.
VXp_BoxWindow VXp_BoxWindowOf(float radius);

// How positions outside of a line are treated.
enum class VXp_BoxEdge {
  kZero,      // zero, and their weights are included in the divisor
  kNothing,   // ignored: their weights are not included in the divisor
  kRepeated,  // equal to the first or the last value of the line
  kFade       // zero; the divisor includes their weights in S, but not those in O
};
struct VXp_BoxOutside {
  VXp_BoxEdge edge;
  const char* repeated;  // kRepeated only: the value outside the line, for each line
};

// The values of adjacent lines at the positions start..end - 1.
struct VXp_BoxInput {
  const char* data;  // of position `start`
  ptrdiff_t stride;
  int64_t start, end;

  bool Inside(int64_t position) const { return position >= start && position < end; }
};

struct VXp_BoxOutput {
  char* data;
  ptrdiff_t stride;
  ptrdiff_t line_stride;
  int64_t start, end;
};

struct VXp_BoxPass {
  VXp_BoxWindow window;
  VXp_BoxOutside before, after;
  int32_t lines;
  VXp_BoxInput in;
  VXp_BoxOutput out;
  int32_t flags;       // worlds only: the channels to blur
  bool premultiplied;  // worlds only: the output is premultiplied
};

// Returns the pass for the lines from `first` on. The values have `size` bytes.
inline VXp_BoxPass VXp_LinesAfter(const VXp_BoxPass& pass, int32_t first, ptrdiff_t size) {
  VXp_BoxPass rest = pass;
  rest.lines -= first;
  rest.in.data += first * size;
  rest.out.data += first * pass.out.line_stride;
  return rest;
}

// Consecutive positions p for which the same parts of the window are inside the line. A part that
// is outside has a stride of 0.
struct VXp_BoxSpan {
  struct Part {
    const char* data;
    ptrdiff_t stride;
  };

  int64_t count;
  bool blank;            // the whole window is outside of the line: the output is zero
  bool leaves;           // the leaving position is inside the line
  Part entering;         // p + reach
  Part leaving;          // p - reach - 1
  Part leading;          // p + outer_at
  Part trailing;         // p - outer_at
  Part here;             // p
  int32_t divisor;       // at the first position; above 0 unless blank
  int32_t divisor_step;  // change of the divisor from position to position
  char* out;
};

// Returns the span that begins at `position`.
VXp_BoxSpan VXp_BoxSpanAt(const VXp_BoxPass& pass, int64_t position);

// The positions whose values are summed in S at `position`: start..end - 1 are inside the line;
// `before` and `after` are the numbers of positions before and after the line. A pass starts with
// the S of the position before its first output position.
struct VXp_BoxRange {
  int64_t start, end;
  int64_t before, after;
};
VXp_BoxRange VXp_BoxRangeAt(const VXp_BoxPass& pass, int64_t position);
inline VXp_BoxRange VXp_BoxFirstSum(const VXp_BoxPass& pass) {
  return VXp_BoxRangeAt(pass, pass.out.start - 1);
}

// The addresses of the values that the window needs at one position. Each points to the values of
// all lines.
struct VXp_BoxPosition {
  const char *entering, *leaving, *leading, *trailing, *here;
  char* out;
};

// Calls `work(position)` for each position of a span.
template <class Work>
[[gnu::always_inline]] inline void VXp_ForBoxPositions(const VXp_BoxSpan& span,
                                                       ptrdiff_t out_stride, const Work& work) {
  VXp_BoxPosition at = {span.entering.data, span.leaving.data, span.leading.data,
                        span.trailing.data, span.here.data,    span.out};
  for (int64_t i = 0; i < span.count; ++i) {
    work(at);
    at.entering += span.entering.stride;
    at.leaving += span.leaving.stride;
    at.leading += span.leading.stride;
    at.trailing += span.trailing.stride;
    at.here += span.here.stride;
    at.out += out_stride;
  }
}
