// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Areas of a world, and the iteration over their rows.
//
// An inverted area (right before left, or bottom above top) is treated in two ways: exported calls
// exchange its edges, members of a world treat it as empty.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "VX/VX_Types.h"
#include "frame/VXp_Bands.h"
#include "frame/VXp_Rects.h"
#include "frame/VXp_RowMemory.h"
#include "frame/VXp_Rows.h"

constexpr bool VXp_IsEmpty(const M_LRect& area) {
  return area.right <= area.left || area.bottom <= area.top;
}

constexpr M_LRect VXp_WholeArea(const VX_LayerDef& world) {
  return {0, 0, world.width, world.height};
}

// Clamps to 0..limit. If the limit is negative, returns 0.
constexpr int32_t VXp_Limit(int32_t value, int32_t limit) {
  return std::max(0, std::min(value, limit));
}

// Exchanges edges that are in reverse order, and clamps each edge to the world. Null is the whole
// world.
inline M_LRect VXp_NormalisedArea(const M_Rect* area, const VX_LayerDef& world) {
  if (area == nullptr) return VXp_WholeArea(world);
  return {VXp_Limit(std::min(area->left, area->right), world.width),
          VXp_Limit(std::min(area->top, area->bottom), world.height),
          VXp_Limit(std::max(area->left, area->right), world.width),
          VXp_Limit(std::max(area->top, area->bottom), world.height)};
}

// Clips to the world; the result may be empty. Null is the whole world.
inline M_LRect VXp_ClippedArea(const M_LRect& area, const VX_LayerDef& world) {
  return {std::max(area.left, 0), std::max(area.top, 0), std::min(area.right, world.width),
          std::min(area.bottom, world.height)};
}
inline M_LRect VXp_ClippedArea(const M_Rect* area, const VX_LayerDef& world) {
  return area == nullptr ? VXp_WholeArea(world) : VXp_ClippedArea(VXp_LRectOf(*area), world);
}

// Calls `work(first, count)` with the address and the number of pixels of each row of an area
// within the world, or of several rows that are contiguous in memory. The calls may be made on
// several threads; `row_work` is the work of a row (VXp_PlanBands). Does nothing for a world
// without pixels. Returns VX_Ok or the error of the iterator.
template <class Pixel, class Work>
VX_Err VXp_ForRows(const VX_LayerDef& world, const M_LRect& area, int64_t row_work,
                   const Work& work) {
  if (VXp_IsEmpty(area) || world.data == nullptr) return VX_Ok;
  const int32_t width = area.right - area.left, rows = area.bottom - area.top;
  char* const first_row = VXp_PixelAddress<Pixel>(world, area.left, area.top);
  const VXp_RowMemory memory =
      VXp_MemoryOf(reinterpret_cast<Pixel*>(first_row), world.rowbytes, width, rows);
  const bool contiguous = memory.width == world.rowbytes;
  const VXp_Bands bands = VXp_PlanBands(rows, row_work, VXp_RowsAreIndependent(memory));
  return VXp_ForBands(bands, [&](int32_t, int32_t first, int32_t count) -> VX_Err {
    char* const row = first_row + ptrdiff_t{first} * world.rowbytes;
    const auto pixels = static_cast<size_t>(width);
    if (contiguous) {
      work(row, pixels * static_cast<size_t>(count));
      return VX_Ok;
    }
    for (int32_t y = 0; y < count; ++y) work(row + ptrdiff_t{y} * world.rowbytes, pixels);
    return VX_Ok;
  });
}
