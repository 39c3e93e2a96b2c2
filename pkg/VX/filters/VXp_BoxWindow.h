// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// One pass of a box over a bundle of lines, without its arithmetic: which places of the line enter
// the window, which leave it, and by what its sum is divided.
//
// The window of place p is p - n .. p + n with n the radius rounded up. Its middle places weigh
// `unit` and the two outer ones `unit - f`. A whole radius has no f, and then all weights may be 1
// instead of 1024: each quotient is the same, in single precision too.

#include <algorithm>
#include <cstdint>

#include "filters/VXp_Blur1DState.h"

template <class Pixel>
inline constexpr int32_t kVXp_MostBoxLines = kVXp_WidestBundle /
                                             static_cast<int32_t>(sizeof(Pixel));

struct VXp_BoxWindow {
  explicit VXp_BoxWindow(float radius);

  int64_t Total() const { return n * 2 * unit - 2 * f + unit; }

  int64_t n;
  int32_t f;
  int32_t unit;
};

// Places start..end of lines that stand side by side, a pixel apart.
struct VXp_BoxInput {
  const char* data;  // of place `start`
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
  int32_t flags;
  bool premultiplied;  // the form that is written
  int32_t lines;
  VXp_BoxInput in;
  VXp_BoxOutput out;
};

// A run of places for which the same parts of the window lie inside the line. What is outside is
// read from zeros, with a stride of 0.
struct VXp_BoxSpan {
  struct Part {
    const char* data;
    ptrdiff_t stride;
  };

  int64_t count;
  bool blank;            // the window holds nothing
  bool leaves;           // the leaving place is inside
  Part entering;         // p + n, the leading outer place
  Part leaving;          // p - n - 1
  Part trailing;         // p - n, the trailing outer place
  Part here;             // p
  int32_t divisor;       // of the first place, above 0 unless blank
  int32_t divisor_step;  // from place to place
  char* out;
};

// The span that begins at `place`.
VXp_BoxSpan VXp_BoxSpanAt(const VXp_BoxPass& pass, int64_t place);

// The places that are summed before the first output: from the one that leaves there to the one
// before that which enters.
struct VXp_BoxRange {
  int64_t start, end;
};
VXp_BoxRange VXp_BoxFirstSum(const VXp_BoxPass& pass);

// Zero pixels into a blank span.
void VXp_BlankSpan(const VXp_BoxPass& pass, const VXp_BoxSpan& span, int32_t pixel_size);

// Asks for rows ahead, at each place of a span whose lines lie side by side. Those that leave a
// long window were read too long ago to be near.
class VXp_BoxForesight {
 public:
  VXp_BoxForesight(const VXp_BoxPass& pass, const VXp_BoxSpan& span, int32_t pixel_size)
      : bytes_(pass.lines * pixel_size),
        entering_(Far(span.entering.stride)),
        leaving_(pass.window.n > kNearRows ? Far(span.leaving.stride) : 0),
        out_(Far(pass.out.stride)) {}

  [[gnu::always_inline]] void At(const char* entering, const char* leaving, const char* out) const {
    if (entering_ != 0) VXp_Foresee(entering, entering_, bytes_);
    if (leaving_ != 0) VXp_Foresee(leaving, leaving_, bytes_);
    if (out_ != 0) VXp_Foresee(out, out_, bytes_);
  }

 private:
  static constexpr int64_t kNearRows = 32;
  static ptrdiff_t Far(ptrdiff_t stride) { return VXp_IsFar(stride) ? stride : 0; }

  int32_t bytes_;
  ptrdiff_t entering_, leaving_, out_;
};
