// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The plan of one call: how it is drawn, its area, and the source position of its first pixel.

#include "VX/VX_LightCurves.h"
#include "VX/VX_Sampling.h"
#include "VX/VX_Transform.h"
#include "transform/VXp_Line.h"

// How several matrices describe a motion; see VX_Transform.h.
enum class VXp_MotionRule {
  Classic,     // VX_TransformWorld: straight, unless the motion turns or bends
  EveryMatrix  // VX_TransformMotion: one sub-sample at each matrix except the last
};

// The arguments of VX_TransformWorld and VX_TransformMotion.
struct VXp_TransformCall {
  VX_ProgressInfo* progress;
  int32_t quality, flags, field;
  const VX_LayerDef* src;
  const VX_CompositeModePlus* mode;
  const VX_LinearBlendingTables* tables;
  const VX_TransformMask* mask;
  const M_Matrix3* matrices;
  int32_t num_matrices;
  uint8_t src2dst;
  const M_Rect* dst_rect;
  VX_LayerDef* dst;
  VXp_MotionRule rule = VXp_MotionRule::Classic;
  const VX_LightCurves* curves = nullptr;  // for float pixels in linear light
};

// The size of a destination pixel in the source (its footprint), for a matrix from source to
// destination. x_radius and y_radius are half of it, at most 127 pixels; area is 4 * x_radius *
// y_radius.
struct VXp_Footprint {
  explicit VXp_Footprint(const M_Matrix3& to_destination);

  bool is_translation;
  bool is_degenerate;  // a unit vector of the source has an image of length 0
  int64_t tx, ty;      // translation in units of 1/65536 pixel
  VX_Fixed x_radius, y_radius, area;
};

// The source positions of the pixels of an area, under a matrix from destination to source: the
// position of the first pixel, and the steps to the next column and row. If the numbers are not
// finite or overflow within the area, all positions are far from every source.
struct VXp_SourcePositions {
  VXp_SourcePositions() = default;
  VXp_SourcePositions(const M_Matrix3& to_source, const M_LRect& area);

  // Returns the positions of `count` pixels of a row of the area.
  VXp_Line Row(int32_t row, int32_t count) const {
    return {x + row * row_dx, y + row * row_dy, dx, dy, count};
  }

  // Returns whether the area shows unchanged source pixels: all positions are whole, and the map is
  // a quarter turn, a mirror, a translation or a combination of these.
  bool IsExactMove() const;

  static constexpr int64_t kFarAway = -(int64_t{1} << 48);
  int64_t x = kFarAway, y = kFarAway;
  int64_t dx = 0, dy = 0, row_dx = 0, row_dy = 0;
};

// A matrix of a call, divided by its last number if it is affine, and its inverse.
struct VXp_MatrixPair {
  M_Matrix3 to_destination, to_source;
  bool is_good;  // the matrix is invertible
};
VXp_MatrixPair VXp_MatrixPairAt(const VXp_TransformCall& call, int32_t index);

enum class VXp_TransformPath {
  Nothing,    // no pixel can change
  Uncovered,  // the image of the source is empty: only stencils change pixels
  Rectangle,
  Rows,
  Intervals
};

struct VXp_TransformPlan {
  explicit VXp_TransformPlan(const VXp_TransformCall& call);

  VXp_TransformPath path;
  M_LRect area;                // the pixels of the destination that can change
  VXp_MatrixPair first, last;  // the same matrix without motion
  bool moves;
  bool high;        // quality
  int32_t samples;  // sub-samples of a pixel, if there is motion

 private:
  void PlanEveryMatrix(const VXp_TransformCall& call);
};

// Returns the destination pixels that the drawing with matrices `first` to `end` - 1 of a call can
// change; empty if nothing is drawn.
M_LRect VXp_AreaOfTransform(const VXp_TransformCall& call, int32_t first, int32_t end);
