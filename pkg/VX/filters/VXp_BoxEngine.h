// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The box engine: one pass of a running window over lines. The values are pixels of a world or
// samples of a one-channel buffer; the values of all lines at one position are adjacent. The engine
// computes which positions enter and leave the window and the divisor; VX_BoxBlurT.h and
// uno/VXp_ScanLines.cpp do the arithmetic with the sums of VXp_RunningSums.h.
//
// With S the sum of the positions p - reach to p + reach and O the sum of the two positions p -
// outer_at and p + outer_at, the window of position p has the numerator
//
//   N = S unit + O outer
//
//   user                  reach  outer_at  unit       outer
//   world, whole radius   n      n         1          0
//   world, other radius   n      n         1024       -f, so S holds the outer positions too
//   plain box of samples  half   half + 1  1          0
//   soft box of samples   half   half + 1  255        0..254

#include <algorithm>
#include <cstdint>

#include "filters/VXp_Blur1DState.h"

struct VXp_BoxWindow {
  int64_t Total() const { return (2 * reach + 1) * unit + 2 * outer; }

  int64_t reach, outer_at;
  int32_t unit, outer;
};

// The window of a blur of worlds: n is the radius rounded up, f = trunc((n - radius) 1024). For a
// whole radius all weights are 1 instead of 1024: the quotients are the same, in single precision
// too.
VXp_BoxWindow VXp_BoxWindowOf(float radius);

// How positions outside of a line are treated.
enum class VXp_BoxEdge {
  kZero,     // zero; their weights are in the divisor
  kNothing,  // no weight
  kHeld,     // equal to the first or the last value of the line
  kFade      // zero; their weights in S are in the divisor, those in O are not
};
struct VXp_BoxBeyond {
  VXp_BoxEdge edge;
  const char* held;  // kHeld only: the values of a position
};

// The values of adjacent lines at the positions start..end - 1.
struct VXp_BoxInput {
  const char* data;  // of position `start`
  ptrdiff_t stride;
  int64_t start, end;

  bool Inside(int64_t place) const { return place >= start && place < end; }
};

struct VXp_BoxOutput {
  char* data;
  ptrdiff_t stride;
  ptrdiff_t line_stride;
  int64_t start, end;
};

struct VXp_BoxPass {
  VXp_BoxWindow window;
  VXp_BoxBeyond before, after;
  int32_t lines;
  VXp_BoxInput in;
  VXp_BoxOutput out;
  int32_t flags;       // worlds only: the blurred channels
  bool premultiplied;  // worlds only: the form that is written
};

// Consecutive positions for which the same parts of the window are inside the line. Parts that are
// outside have a stride of 0.
struct VXp_BoxSpan {
  struct Part {
    const char* data;
    ptrdiff_t stride;
  };

  int64_t count;
  bool blank;            // the whole window is outside of the line
  bool leaves;           // the leaving position is inside
  Part entering;         // p + reach
  Part leaving;          // p - reach - 1
  Part leading;          // p + outer_at
  Part trailing;         // p - outer_at
  Part here;             // p
  int32_t divisor;       // of the first position; above 0 unless blank
  int32_t divisor_step;  // from position to position
  char* out;
};

// The span that begins at `place`.
VXp_BoxSpan VXp_BoxSpanAt(const VXp_BoxPass& pass, int64_t place);

// The positions whose values are summed in S before the entering value of the first output position
// is added: start..end - 1 inside the line, and the numbers of positions before and after the line.
struct VXp_BoxRange {
  int64_t start, end;
  int64_t before, after;
};
VXp_BoxRange VXp_BoxFirstSum(const VXp_BoxPass& pass);

// The values of a position that the window needs, for all lines.
struct VXp_BoxPlace {
  const char *entering, *leaving, *leading, *trailing, *here;
  char* out;
};

// Calls `work(place)` for each position of a span.
template <class Work>
[[gnu::always_inline]] inline void VXp_ForBoxPlaces(const VXp_BoxSpan& span, ptrdiff_t out_stride,
                                                    const Work& work) {
  VXp_BoxPlace at = {span.entering.data, span.leaving.data, span.leading.data,
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
