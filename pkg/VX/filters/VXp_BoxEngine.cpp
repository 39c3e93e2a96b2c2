// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "filters/VXp_BoxEngine.h"

#include <cmath>

namespace {

alignas(64) constexpr char kZeros[kVXp_WidestTile] = {};

VXp_BoxSpan::Part PartAt(const VXp_BoxPass& pass, int64_t position) {
  const VXp_BoxInput& in = pass.in;
  if (in.Inside(position)) return {in.data + (position - in.start) * in.stride, in.stride};
  const VXp_BoxOutside& outside = position < in.start ? pass.before : pass.after;
  return {outside.edge == VXp_BoxEdge::kRepeated ? outside.repeated : kZeros, 0};
}

// Returns the end of the span that begins at `position`: the first later position at which a part
// of the window enters or leaves the line, or the end of the output.
int64_t SpanEnd(const VXp_BoxPass& pass, int64_t position) {
  const auto& [reach, outer_at, unit, outer] = pass.window;
  int64_t next = pass.out.end;
  for (const int64_t end : {pass.in.start, pass.in.end}) {
    for (const int64_t edge : {end - reach, end + reach + 1, end - outer_at, end + outer_at, end}) {
      if (edge > position) next = std::min(next, edge);
    }
  }
  return next;
}

bool HasOuter(const VXp_BoxPass& pass, int64_t position) {
  if (pass.in.Inside(position)) return true;
  const VXp_BoxEdge edge = (position < pass.in.start ? pass.before : pass.after).edge;
  return edge == VXp_BoxEdge::kZero || edge == VXp_BoxEdge::kRepeated;
}

}  // namespace

// A radius that is so small that the outermost positions have no weight is treated as 0.
VXp_BoxWindow VXp_BoxWindowOf(float radius) {
  constexpr int32_t kUnit = 1024;
  const float whole = std::ceil(radius);
  auto n = static_cast<int64_t>(whole);
  auto f = static_cast<int32_t>((whole - radius) * kUnit);
  if (f == kUnit) n = f = 0;
  return {n, n, f == 0 ? 1 : kUnit, -f};
}

VXp_BoxSpan VXp_BoxSpanAt(const VXp_BoxPass& pass, int64_t position) {
  const auto& [reach, outer_at, unit, outer] = pass.window;
  const VXp_BoxInput& in = pass.in;
  VXp_BoxSpan span;
  span.count = SpanEnd(pass, position) - position;
  span.entering = PartAt(pass, position + reach);
  span.leaving = PartAt(pass, position - reach - 1);
  span.leading = PartAt(pass, position + outer_at);
  span.trailing = PartAt(pass, position - outer_at);
  span.here = PartAt(pass, position);
  span.leaves = in.Inside(position - reach - 1);
  span.out = pass.out.data + (position - pass.out.start) * pass.out.stride;

  const int64_t inside =
      std::min(position + reach, in.end - 1) - std::max(position - reach, in.start) + 1;
  span.blank = inside <= 0;
  const bool counts_inside = pass.before.edge == VXp_BoxEdge::kNothing && !span.blank;
  const int64_t counted = counts_inside ? inside : 2 * reach + 1;
  const int32_t outers =
      (HasOuter(pass, position + outer_at) ? 1 : 0) + (HasOuter(pass, position - outer_at) ? 1 : 0);
  span.divisor = static_cast<int32_t>(counted * unit + outers * outer);
  const int32_t step = (in.Inside(position + reach) ? 1 : 0) - (span.leaves ? 1 : 0);
  span.divisor_step = counts_inside ? step * unit : 0;
  return span;
}

VXp_BoxRange VXp_BoxRangeAt(const VXp_BoxPass& pass, int64_t position) {
  const int64_t low = position - pass.window.reach;
  const int64_t high = position + pass.window.reach + 1;
  const int64_t start = std::clamp(pass.in.start, low, high);
  const int64_t end = std::clamp(pass.in.end, start, high);
  const VXp_BoxRange range = {start, end, start - low, high - end};
  return start < end ? range
                     : VXp_BoxRange{pass.in.start, pass.in.start, range.before, range.after};
}
