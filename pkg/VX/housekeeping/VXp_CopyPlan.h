// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The geometry of a copy between rectangles, for both qualities: the source and destination areas,
// clipped so that no loop checks bounds.

#include <cstdint>

#include "VX/VX_Types.h"
#include "frame/VXp_Bands.h"
#include "frame/VXp_Rects.h"
#include "frame/VXp_RowMemory.h"
#include "frame/VXp_Rows.h"

// The check number of the copies in reports of bad parameters.
inline constexpr uint32_t kVXp_CopyNumber = 48;

// One axis of a scaled copy. Positions have 16 fraction bits and are stored in 64 bits, because a
// world may be wider than 32767 pixels.
struct VXp_ScaledAxis {
  int64_t source, source_size;  // start and size of the unclipped rectangles
  int64_t dest, dest_size;
  int64_t first;     // first destination pixel that is written
  int64_t count;     // number of destination pixels that are written
  int64_t position;  // source position of that first pixel; all positions are within the source
  int64_t step;
};

enum class VXp_CopyKind {
  Nothing,  // a rectangle is empty, inverted or outside its world
  Equal,    // both sizes are equal; `area` is valid
  Scaled    // `x` and `y` are valid
};

struct VXp_CopyPlan {
  VXp_CopyKind kind;
  VXp_CopyArea area;
  VXp_ScaledAxis x, y;
};

// Plans a copy. Null rectangles mean whole worlds.
VXp_CopyPlan VXp_PlanCopy(const VX_LayerDef& src, const M_Rect* src_rect, const VX_LayerDef& dst,
                          const M_Rect* dst_rect);

// Divides the rows of a scaled copy. Each row reads any rows of the source.
template <class To, class From>
VXp_Bands VXp_PlanScaled(const VX_LayerDef& src, const VX_LayerDef& dst, const VXp_CopyPlan& plan,
                         int64_t pixel_work = 1) {
  const auto rows = static_cast<int32_t>(plan.y.count), width = static_cast<int32_t>(plan.x.count);
  const char* const to = VXp_PixelAddress<To>(dst, static_cast<int32_t>(plan.x.first),
                                              static_cast<int32_t>(plan.y.first));
  const VXp_RowMemory to_rows =
      VXp_MemoryOf(reinterpret_cast<const To*>(to), dst.rowbytes, width, rows);
  const bool independent =
      VXp_RowsAreIndependent(to_rows) && !VXp_ShareMemory(to_rows, VXp_MemoryOf(src, sizeof(From)));
  return VXp_PlanBands(rows, width * pixel_work, independent);
}
