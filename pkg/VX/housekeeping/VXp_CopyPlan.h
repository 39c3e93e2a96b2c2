// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The geometry of a copy from rectangle to rectangle, told once for both qualities: what is read
// and what is written, cut so that no loop has to look at the bounds.

#include <cstdint>

#include "VX/VX_Types.h"
#include "frame/VXp_Rects.h"

// The number of this family in the common bad-parameter report.
inline constexpr uint32_t kVXp_CopyNumber = 48;

// One axis of a copy that scales. Positions have 16 fraction bits. They take 64: a world may be
// wider than the 15 bits that are left of 32.
struct VXp_ScaledAxis {
  int64_t source, source_size;  // the rectangles, uncut
  int64_t dest, dest_size;
  int64_t first;     // first destination pixel that is written
  int64_t count;     // how many are; 0: none
  int64_t position;  // of the source pixel of the first one; all of them lie in the source world
  int64_t step;
};

enum class VXp_CopyKind {
  Nothing,  // an empty, turned-over or far rectangle
  Equal,    // `area`
  Scaled    // `x` and `y`
};

struct VXp_CopyPlan {
  VXp_CopyKind kind;
  VXp_CopyArea area;
  VXp_ScaledAxis x, y;
};

// Null rectangles are whole worlds.
VXp_CopyPlan VXp_PlanCopy(const VX_LayerDef& src, const M_Rect* src_rect, const VX_LayerDef& dst,
                          const M_Rect* dst_rect);
