// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twin of drawing through matrices, one source position at a time.
//
// All arguments are good: worlds with aligned rows, equal depths, a known mode, 1 to 257 matrices.
// Between the first and the last of several matrices all have an inverse, and none lets the source
// or what is drawn touch its horizon. Integers and float are to be compared bit for bit.

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

// The call path: nothing drawn, a rectangle copied, no motion, a straight path, or a curved path
// with a sub-sample at each matrix.
enum class Path { Nothing, Rectangle, Still, Straight, Curved };

template <class Pixel>
Path Transform(const Drawing& drawing, const VX_LayerDef& dst);

// Moves the point (x, y) by the definition of VX_TransformParts.
void MovePoint(const VX_TransformParts& parts, double* x, double* y);

}  // namespace vxref
