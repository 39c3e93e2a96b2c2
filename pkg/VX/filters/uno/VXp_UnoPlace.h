// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Where a part of one buffer lands in another.

#include "filters/uno/VXp_UnoBuffer.h"

// `rect` of the source (null: all of it) with its corner at `point` of the destination (null: at
// the rectangle's own corner), clipped to the source, to `bounds` in the source's places, and to
// the destination. The distance is that of the whole rectangle, so clipping shifts nothing.
inline VXp_CopyArea VXp_PlaceUno(const VX_UnoBuffer& src, const M_LRect& bounds, const M_Rect* rect,
                                 const M_Point* point, const VX_UnoBuffer& dst) {
  const M_LRect area = VXp_Section(VXp_UnoArea(rect, src), bounds);
  const M_LRect to = VXp_UnoWhole(dst);
  const int32_t dx = point == nullptr ? 0 : point->h - (rect == nullptr ? 0 : rect->left);
  const int32_t dy = point == nullptr ? 0 : point->v - (rect == nullptr ? 0 : rect->top);
  const int64_t left = std::max<int64_t>(area.left, -dx);
  const int64_t top = std::max<int64_t>(area.top, -dy);
  const int64_t right = std::min<int64_t>(area.right, int64_t{to.right} - dx);
  const int64_t bottom = std::min<int64_t>(area.bottom, int64_t{to.bottom} - dy);
  if (right <= left || bottom <= top) return {};
  return {static_cast<int32_t>(left),         static_cast<int32_t>(top),
          static_cast<int32_t>(left + dx),    static_cast<int32_t>(top + dy),
          static_cast<int32_t>(right - left), static_cast<int32_t>(bottom - top)};
}
