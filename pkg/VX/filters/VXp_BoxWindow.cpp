// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "filters/VXp_BoxWindow.h"

#include <cmath>
#include <cstring>
#include <iterator>

#include "VX/VX_Blur.h"

namespace {

constexpr int32_t kUnit = 1024;

alignas(64) constexpr char kZeros[kVXp_WidestBundle] = {};

VXp_BoxSpan::Part PartAt(const VXp_BoxInput& in, int64_t place) {
  if (!in.Inside(place)) return {kZeros, 0};
  return {in.data + (place - in.start) * in.stride, in.stride};
}

// The first place after `place` at which some part of the window crosses an end of the line.
int64_t SpanEnd(const VXp_BoxPass& pass, int64_t place) {
  const int64_t n = pass.window.n, start = pass.in.start, end = pass.in.end;
  int64_t next = pass.out.end;
  for (const int64_t edge :
       {start - n, start, start + n, start + n + 1, end - n, end, end + n, end + n + 1}) {
    if (edge > place) next = std::min(next, edge);
  }
  return next;
}

}  // namespace

// A radius so small that its outer places weigh nothing is one of 0.
VXp_BoxWindow::VXp_BoxWindow(float radius) {
  const float whole = std::ceil(radius);
  n = static_cast<int64_t>(whole);
  f = static_cast<int32_t>((whole - radius) * kUnit);
  if (f == kUnit) n = f = 0;
  unit = f == 0 ? 1 : kUnit;
}

VXp_BoxSpan VXp_BoxSpanAt(const VXp_BoxPass& pass, int64_t place) {
  const VXp_BoxWindow& window = pass.window;
  const VXp_BoxInput& in = pass.in;
  const int64_t n = window.n, unit = window.unit;
  VXp_BoxSpan span;
  span.count = SpanEnd(pass, place) - place;
  span.entering = PartAt(in, place + n);
  span.leaving = PartAt(in, place - n - 1);
  span.trailing = PartAt(in, place - n);
  span.here = PartAt(in, place);
  span.leaves = in.Inside(place - n - 1);
  span.out = pass.out.data + (place - pass.out.start) * pass.out.stride;

  const int64_t inside = std::min(place + n, in.end - 1) - std::max(place - n, in.start) + 1;
  span.blank = inside <= 0;
  if (span.blank || (pass.flags & VX_Blur_HoldLevel) == 0) {
    span.divisor = static_cast<int32_t>(window.Total());
    span.divisor_step = 0;
    return span;
  }
  const int32_t outer = (in.Inside(place + n) ? 1 : 0) + (in.Inside(place - n) ? 1 : 0);
  const int32_t step = (in.Inside(place + n) ? 1 : 0) - (span.leaves ? 1 : 0);
  span.divisor = static_cast<int32_t>(inside * unit - outer * window.f);
  span.divisor_step = step * window.unit;
  return span;
}

VXp_BoxRange VXp_BoxFirstSum(const VXp_BoxPass& pass) {
  const VXp_BoxInput& in = pass.in;
  const int64_t first = std::clamp(pass.out.start - 1 - pass.window.n, in.start, in.end);
  return {first, std::clamp(pass.out.start + pass.window.n, first, in.end)};
}

// The pixels of a place, or those of a line, lie side by side.
void VXp_BlankSpan(const VXp_BoxPass& pass, const VXp_BoxSpan& span, int32_t pixel_size) {
  const bool by_line = pass.out.stride == pixel_size;
  const int64_t times = by_line ? pass.lines : span.count;
  const int64_t bytes = (by_line ? span.count : pass.lines) * pixel_size;
  char* run = span.out;
  for (int64_t i = 0; i < times; ++i) {
    std::memset(run, 0, static_cast<size_t>(bytes));
    run += by_line ? pass.out.line_stride : pass.out.stride;
  }
}
