// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The geometry of a copy between rectangles, for both qualities: the source and destination areas,
// clipped so that no loop checks bounds.

#include <cstdint>

#include "VX/VX_Types.h"
#include "frame/VXp_Rects.h"

// The number of the copies in bad-parameter reports.
inline constexpr uint32_t kVXp_CopyNumber = 48;

// One axis of a scaled copy. Positions have 16 fraction bits and need 64 bits: a world may be wider
// than 32767.
struct VXp_ScaledAxis {
  int64_t source, source_size;  // the unclipped rectangles
  int64_t dest, dest_size;
  int64_t first;     // first destination pixel that is written
  int64_t count;     // number of destination pixels that are written
  int64_t position;  // source position of the first; all positions are within the source world
  int64_t step;
};

enum class VXp_CopyKind {
  Nothing,  // a rectangle is empty, inverted or outside its world
  Equal,    // `area`
  Scaled    // `x` and `y`
};

struct VXp_CopyPlan {
  VXp_CopyKind kind;
  VXp_CopyArea area;
  VXp_ScaledAxis x, y;
};

// Null rectangles mean whole worlds.
VXp_CopyPlan VXp_PlanCopy(const VX_LayerDef& src, const M_Rect* src_rect, const VX_LayerDef& dst,
                          const M_Rect* dst_rect);
