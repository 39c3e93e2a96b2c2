// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Conversion of rectangles, and clipping of a copy between two worlds.

#include <algorithm>
#include <cstdint>

#include "VX/VX_Types.h"

// The area of a copy: its top left corner in source and destination, and its size, 0 if empty.
struct VXp_CopyArea {
  int32_t source_x, source_y;
  int32_t dest_x, dest_y;
  int32_t width, height;

  bool Empty() const { return width <= 0 || height <= 0; }
};

// Clips a copy of `rect` of the source to position (h, v) of the destination against both worlds.
// Clipping does not shift the picture.
inline VXp_CopyArea VXp_ClipCopy(const VX_LayerDef& source, const M_LRect& rect,
                                 const VX_LayerDef& dest, int32_t h, int32_t v) {
  const int64_t dx = int64_t{h} - rect.left;
  const int64_t dy = int64_t{v} - rect.top;
  const int64_t left = std::max({int64_t{rect.left}, int64_t{0}, -dx});
  const int64_t top = std::max({int64_t{rect.top}, int64_t{0}, -dy});
  const int64_t right =
      std::min({int64_t{rect.right}, int64_t{source.width}, int64_t{dest.width} - dx});
  const int64_t bottom =
      std::min({int64_t{rect.bottom}, int64_t{source.height}, int64_t{dest.height} - dy});
  if (right <= left || bottom <= top) return {};
  return {static_cast<int32_t>(left),         static_cast<int32_t>(top),
          static_cast<int32_t>(left + dx),    static_cast<int32_t>(top + dy),
          static_cast<int32_t>(right - left), static_cast<int32_t>(bottom - top)};
}

// Converts a rectangle to 32 bits.
inline M_LRect VXp_LRectOf(const M_Rect& rect) {
  M_LRect wide;
  wide.left = rect.left;
  wide.top = rect.top;
  wide.right = rect.right;
  wide.bottom = rect.bottom;
  return wide;
}

// Returns the rectangle of a whole world; sizes are truncated to 16 bits.
inline M_Rect VXp_WholeRect(int32_t width, int32_t height) {
  M_Rect whole{};
  whole.bottom = static_cast<int16_t>(height);
  whole.right = static_cast<int16_t>(width);
  return whole;
}
