// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Copies the rows of an area between worlds, without scaling.

#include <cstddef>
#include <cstdint>

#include "frame/VXp_Rects.h"
#include "frame/VXp_Rows.h"
#include "housekeeping/VXp_ConvertRow.h"
#include "housekeeping/VXp_RowProgress.h"

// Copies rows from top to bottom and polls progress (may be null) after each. Returns VX_Ok or the
// result of the progress function. The area must not be empty and must be within both worlds.
template <class To, class From>
VX_Err VXp_CopyRows(VX_ProgressInfo* progress, const VX_LayerDef& src, const VX_LayerDef& dst,
                    const VXp_CopyArea& area,
                    VXp_ConvertRowFunc convert = VXp_ConvertRow<To, From>) {
  const char* const from = VXp_PixelAddress<From>(src, area.source_x, area.source_y);
  char* const to = VXp_PixelAddress<To>(dst, area.dest_x, area.dest_y);
  const size_t channels = static_cast<size_t>(area.width) * 4;
  const size_t from_bytes = channels * sizeof(VX_ChannelOf<From>);
  const size_t to_bytes = channels * sizeof(VX_ChannelOf<To>);
  const auto rows = static_cast<size_t>(area.height);
  const auto touch = [](size_t bytes, int32_t rowbytes) {
    return static_cast<ptrdiff_t>(bytes) == rowbytes;
  };
  // Returns whether source and destination do not overlap in memory. If they overlap, the order in
  // which rows are copied matters.
  const auto apart = [&] {
    const auto a = reinterpret_cast<uintptr_t>(from);
    const auto b = reinterpret_cast<uintptr_t>(to);
    return a + from_bytes * rows <= b || b + to_bytes * rows <= a;
  };
  const bool polls = progress != nullptr && progress->progress_func != nullptr;
  if (!polls && touch(from_bytes, src.rowbytes) && touch(to_bytes, dst.rowbytes) && apart()) {
    convert(from, to, channels * rows);
    return VX_Ok;
  }
  VXp_RowProgress polling(progress, 0, area.height);
  for (ptrdiff_t y = 0; y < area.height; ++y) {
    convert(from + y * src.rowbytes, to + y * dst.rowbytes, channels);
    if (const VX_Err stop = polling.RowDone()) return stop;
  }
  return polling.LastError();
}
