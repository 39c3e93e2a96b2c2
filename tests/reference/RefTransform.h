// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twin of drawing through matrices, one source position at a time.
//
// Arguments must be valid; they are not checked: worlds with aligned rows and equal depths, a known
// mode, 1 to 257 matrices. If there are several matrices, all but the first and the last must be
// invertible, and neither the source nor the drawn area may reach the horizon of any of them. The
// product must give equal bits at all depths.

#include "VX/VX_Transform.h"

namespace vxref {

struct Drawing {
  int32_t quality, field;
  VX_LayerDef* src;
  const VX_CompositeModePlus* mode;
  const VX_LinearBlendingTables* tables;
  const VX_TransformMask* mask;
  const M_Matrix3* matrices;
  int32_t count;
  bool src2dst;
  const M_Rect* rect;
  bool single_precision;  // the rule of the slot of the unclipped 8-bit sampler
};

// The call path: nothing drawn, a rectangle copied, no motion, motion along a straight path, or
// along a curved path with a sample at each matrix.
enum class Path { Nothing, Rectangle, Still, Straight, Curved };

template <class Pixel>
Path Transform(const Drawing& drawing, const VX_LayerDef& dst);

// Moves the point (x, y); the documentation of VX_TransformParts defines the formula.
void MovePoint(const VX_TransformParts& parts, double* x, double* y);

}  // namespace vxref
