// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Copies the rows of an area between worlds, without scaling.

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "frame/VXp_Bands.h"
#include "frame/VXp_Rects.h"
#include "frame/VXp_RowMemory.h"
#include "frame/VXp_Rows.h"
#include "housekeeping/VXp_ConvertRow.h"
#include "housekeeping/VXp_RowProgress.h"

// Copies rows and polls progress after each. `convert(row, from, to, channels)` converts one row,
// or several rows that are contiguous, from row `row` of the area on. Returns VX_Ok or the result
// of the progress function. The area must not be empty and must be within both worlds.
template <class To, class From, class Convert>
VX_Err VXp_CopyRows(VXp_RowProgress& progress, const VX_LayerDef& src, const VX_LayerDef& dst,
                    const VXp_CopyArea& area, const Convert& convert) {
  const char* const from = VXp_PixelAddress<From>(src, area.source_x, area.source_y);
  char* const to = VXp_PixelAddress<To>(dst, area.dest_x, area.dest_y);
  const VXp_RowMemory from_rows =
      VXp_MemoryOf(reinterpret_cast<const From*>(from), src.rowbytes, area.width, area.height);
  const VXp_RowMemory to_rows =
      VXp_MemoryOf(reinterpret_cast<const To*>(to), dst.rowbytes, area.width, area.height);
  const VXp_Bands bands =
      VXp_PlanBands(area.height, std::is_same_v<To, From> ? VXp_MoveWork(area.width) : area.width,
                    VXp_RowsAreIndependent(to_rows, {from_rows}));
  // If source and destination overlap, the order in which rows are copied matters.
  const bool contiguous = from_rows.width == src.rowbytes && to_rows.width == dst.rowbytes &&
                          !VXp_ShareMemory(from_rows, to_rows);
  const size_t channels = static_cast<size_t>(area.width) * 4;
  const auto copy = [&](int32_t, int32_t first, int32_t count) -> VX_Err {
    const int32_t step = contiguous ? count : 1;
    for (int32_t row = first; row < first + count; row += step) {
      convert(row, from + ptrdiff_t{row} * src.rowbytes, to + ptrdiff_t{row} * dst.rowbytes,
              channels * static_cast<size_t>(step));
    }
    return VX_Ok;
  };
  return VXp_ForBands(bands, progress, copy);
}

// Copies rows with the conversion between the depths. `progress` may be null.
template <class To, class From>
VX_Err VXp_CopyRows(VX_ProgressInfo* progress, const VX_LayerDef& src, const VX_LayerDef& dst,
                    const VXp_CopyArea& area) {
  VXp_RowProgress polling(progress, 0, area.height);
  return VXp_CopyRows<To, From>(polling, src, dst, area,
                                [](int32_t, const char* from, char* to, size_t channels) {
                                  VXp_ConvertRow<To, From>(from, to, channels);
                                });
}
