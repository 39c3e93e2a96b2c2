// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "frame/VXp_RowMemory.h"

#include <algorithm>

namespace {

struct Range {
  const char *first, *end;
};

Range RangeOf(const VXp_RowMemory& area) {
  const ptrdiff_t down = (ptrdiff_t{area.rows} - 1) * area.row_bytes;
  return {area.first + std::min<ptrdiff_t>(down, 0),
          area.first + std::max<ptrdiff_t>(down, 0) + area.width};
}

bool ShareRows(const VXp_RowMemory& a, const VXp_RowMemory& b) {
  if (a.row_bytes != b.row_bytes || a.row_bytes <= 0) return true;
  const ptrdiff_t stride = a.row_bytes;
  const ptrdiff_t apart = b.first - a.first;
  const ptrdiff_t column = ((apart % stride) + stride) % stride, row = (apart - column) / stride;
  // A row of b that starts at `column` may extend over the end of the stride into the next row.
  const auto rows_meet = [&](ptrdiff_t first) { return first < a.rows && first + b.rows > 0; };
  return (column < a.width && rows_meet(row)) || (column + b.width > stride && rows_meet(row + 1));
}

// Returns whether each row of both areas starts at the same address, and ends before the next row.
bool AreSameRows(const VXp_RowMemory& a, const VXp_RowMemory& b) {
  return a.first == b.first && a.row_bytes == b.row_bytes &&
         std::max(a.width, b.width) <= std::max(a.row_bytes, -a.row_bytes);
}

}  // namespace

bool VXp_ShareMemory(const VXp_RowMemory& a, const VXp_RowMemory& b) {
  if (a.width <= 0 || a.rows <= 0 || b.width <= 0 || b.rows <= 0) return false;
  const Range of_a = RangeOf(a), of_b = RangeOf(b);
  return of_a.first < of_b.end && of_b.first < of_a.end && ShareRows(a, b);
}

bool VXp_RowsAreIndependent(const VXp_RowMemory& dst,
                            std::initializer_list<VXp_RowMemory> sources) {
  return AreSameRows(dst, dst) && std::ranges::all_of(sources, [&](const VXp_RowMemory& source) {
           return AreSameRows(dst, source) || !VXp_ShareMemory(dst, source);
         });
}
