// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The geometry of one transfer: the areas of source, destination and mask that overlap.

#include "VX/VX_Transfer.h"
#include "frame/VXp_Rects.h"

// Intersects the area with the part of the destination that the mask world covers.
inline void VXp_ClipToMask(const VX_MaskSpec& mask, VXp_CopyArea& area) {
  const int64_t left = std::max<int64_t>(area.dest_x, mask.offsetH);
  const int64_t top = std::max<int64_t>(area.dest_y, mask.offsetV);
  const int64_t right =
      std::min(int64_t{area.dest_x} + area.width, int64_t{mask.offsetH} + mask.world->width);
  const int64_t bottom =
      std::min(int64_t{area.dest_y} + area.height, int64_t{mask.offsetV} + mask.world->height);
  if (right <= left || bottom <= top) {
    area = {};
    return;
  }
  area.source_x += static_cast<int32_t>(left - area.dest_x);
  area.source_y += static_cast<int32_t>(top - area.dest_y);
  area.dest_x = static_cast<int32_t>(left);
  area.dest_y = static_cast<int32_t>(top);
  area.width = static_cast<int32_t>(right - left);
  area.height = static_cast<int32_t>(bottom - top);
}

// Returns the area of a transfer in source and destination. The weight outside an inverted mask is
// full, so only masks that are not inverted clip the area.
inline VXp_CopyArea VXp_TransferArea(const VX_LayerDef& src, const M_Rect* rect,
                                     const VX_MaskSpec* mask, int32_t x, int32_t y,
                                     const VX_LayerDef& dst) {
  M_LRect wanted{};
  wanted.right = src.width;
  wanted.bottom = src.height;
  if (rect != nullptr) wanted = VXp_LRectOf(*rect);
  VXp_CopyArea area = VXp_ClipCopy(src, wanted, dst, x, y);
  if (mask != nullptr && (mask->what & 1) == 0 && !area.Empty()) VXp_ClipToMask(*mask, area);
  return area;
}
