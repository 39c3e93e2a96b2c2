// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "transform/VXp_TransformPlan.h"

#include <cmath>

#include "VX/VX_CallbackBlock.h"
#include "housekeeping/VXp_Area.h"

namespace {

constexpr double kMatrixEpsilon = 1e-12;
constexpr double kLargestRadius = 127;

// Rounds to nearest, halves away from zero.
double Rounded(double v) { return std::trunc(v + (v < 0 ? -0.5 : 0.5)); }

VX_Fixed SaturatedFixed(double v) {
  constexpr double kMost = std::numeric_limits<VX_Fixed>::max();
  return static_cast<VX_Fixed>(std::min(Rounded(v * 65536), kMost));
}

double Length(const M_Vector3& v) { return std::hypot(v.x, v.y, v.w); }

constexpr M_Vector3 kUnitX{1, 0, 0}, kUnitY{0, 1, 0}, kOrigin{0, 0, 1};

// Divides an affine matrix by its last number, so that the lengths of its axes are in pixels. If
// the number is 0, the matrix has no inverse and is returned unchanged.
M_Matrix3 Normalized(M_Matrix3 matrix) {
  const double last = matrix.m[8];
  if (matrix.m[2] == 0 && matrix.m[5] == 0 && last != 0 && last != 1) {
    for (double& entry : matrix.m) entry /= last;
  }
  return matrix;
}

// --- the area ------------------------------------------------------------------------------------

struct Extent {
  double low = INFINITY, high = -INFINITY;
  void Take(double v) {
    low = std::min(low, v);
    high = std::max(high, v);
  }
};

// The bounds, in the destination, of the transformed source. Before the transform the source is
// extended by `margin` pixels to the left and upwards.
struct Image {
  Extent x, y, w;

  Image(const M_Matrix3& to_destination, const VX_LayerDef& src, double margin) {
    for (const double corner_x : {-margin, static_cast<double>(src.width)}) {
      for (const double corner_y : {-margin, static_cast<double>(src.height)}) {
        const M_Vector3 image = M_TransformVector3(to_destination, {corner_x, corner_y, 1});
        x.Take(image.x / image.w);
        y.Take(image.y / image.w);
        w.Take(image.w);
      }
    }
  }
};

// Clips [low, high) to the union of `reach` and of `bounds` enlarged by one pixel, both rounded
// outwards to whole pixels.
void CutTo(const Extent& bounds, const Extent& reach, int32_t* low, int32_t* high) {
  const double first = *low, end = *high;
  const double from = std::min(std::floor(bounds.low) - 1, std::floor(reach.low));
  const double to = std::max(std::ceil(bounds.high) + 1, std::ceil(reach.high));
  *low = static_cast<int32_t>(std::clamp(from, first, end));
  *high = static_cast<int32_t>(std::clamp(to, first, end));
}

// Returns the part of `bounds` that the source can change. Samples reach one pixel beyond the image
// of the source. Bilinear samples fade out over a whole pixel of the source, which is wider than
// one destination pixel if the source is enlarged.
M_LRect ReachOf(const M_Matrix3& to_destination, const VX_LayerDef& src, const M_LRect& bounds) {
  const Image own(to_destination, src, 0), faded(to_destination, src, 1);
  // w is 0 somewhere in the source, so its image is unbounded.
  if (!(faded.w.low > 0 || faded.w.high < 0)) return bounds;
  M_LRect reach = bounds;
  CutTo(own.x, faded.x, &reach.left, &reach.right);
  CutTo(own.y, faded.y, &reach.top, &reach.bottom);
  return reach;
}

void Unite(const M_LRect& more, M_LRect* area) {
  if (VXp_IsEmpty(more)) return;
  if (VXp_IsEmpty(*area)) {
    *area = more;
    return;
  }
  *area = {std::min(area->left, more.left), std::min(area->top, more.top),
           std::max(area->right, more.right), std::max(area->bottom, more.bottom)};
}

M_LRect WithinMask(const VX_TransformMask& mask, const M_LRect& bounds) {
  const auto clamped = [](int64_t v, int32_t low, int32_t high) {
    return static_cast<int32_t>(std::clamp(v, int64_t{low}, int64_t{std::max(low, high)}));
  };
  const int64_t left = mask.offsetH, top = mask.offsetV;
  return {clamped(left, bounds.left, bounds.right), clamped(top, bounds.top, bounds.bottom),
          clamped(left + mask.world->width, bounds.left, bounds.right),
          clamped(top + mask.world->height, bounds.top, bounds.bottom)};
}

// --- the path ------------------------------------------------------------------------------------

bool SameDirection(const M_Vector3& a, const M_Vector3& b) {
  const double la = Length(a), lb = Length(b);
  const auto same = [](double p, double q) {
    constexpr double kLeast = 1.000088900582341e-12;
    return std::fabs(p - q) <= std::max(1e-12 * std::max(std::fabs(p), std::fabs(q)), kLeast);
  };
  return same(a.x / la, b.x / lb) && same(a.y / la, b.y / lb) && same(a.w / la, b.w / lb);
}

bool Turns(const M_Matrix3& first, const M_Matrix3& last) {
  for (const M_Vector3& axis : {kUnitX, kUnitY}) {
    if (!SameDirection(M_TransformVector3(first, axis), M_TransformVector3(last, axis))) {
      return true;
    }
  }
  return false;
}

// Returns whether the step of the source's centre from matrix to matrix changes by 0.9 pixels or
// more.
bool Bends(const VXp_TransformCall& call) {
  const double middle_x = (call.src->width - 1) * 0.5, middle_y = (call.src->height - 1) * 0.5;
  double x = 0, y = 0, step_x = 0, step_y = 0;
  for (int32_t i = 0; i < call.num_matrices; ++i) {
    double next_x = NAN, next_y = NAN;
    const VXp_MatrixPair pair = VXp_MatrixPairAt(call, i);
    if (pair.is_good)
      pair.to_destination.TransformPointAndDivide(middle_x, middle_y, &next_x, &next_y);
    const double next_step_x = next_x - x, next_step_y = next_y - y;
    if (i >= 2 &&
        (std::fabs(next_step_x - step_x) >= 0.9 || std::fabs(next_step_y - step_y) >= 0.9)) {
      return true;
    }
    x = next_x;
    y = next_y;
    step_x = next_step_x;
    step_y = next_step_y;
  }
  return false;
}

int32_t SampleCount(int32_t num_matrices, bool high) {
  if (num_matrices == 2) return high ? 16 : 8;
  return num_matrices - 1;
}

}  // namespace

VXp_Footprint::VXp_Footprint(const M_Matrix3& to_destination) {
  const M_Vector3 moved = M_TransformVector3(to_destination, kOrigin);
  // The limits are larger than any position in a world.
  const auto fixed = [](double v) {
    return static_cast<int64_t>(std::clamp(Rounded(v * 65536), -0x1p60, 0x1p60));
  };
  tx = fixed(moved.x);
  ty = fixed(moved.y);
  const double lx = Length(M_TransformVector3(to_destination, kUnitX));
  const double ly = Length(M_TransformVector3(to_destination, kUnitY));
  is_degenerate = lx * 65536 + 0.5 < 1 || ly * 65536 + 0.5 < 1;
  is_translation = M_GetMatrixType(to_destination) <= M_MatrixType_Translation;
  const double rx = std::min(0.5 / lx, kLargestRadius), ry = std::min(0.5 / ly, kLargestRadius);
  x_radius = SaturatedFixed(rx);
  y_radius = SaturatedFixed(ry);
  area = SaturatedFixed(4 * rx * ry);
}

VXp_SourcePositions::VXp_SourcePositions(const M_Matrix3& to_source, const M_LRect& area) {
  double x0, y0, x1, y1, x2, y2;
  to_source.TransformPointAndDivide(area.left, area.top, &x0, &y0);
  to_source.TransformPointAndDivide(area.left + 1.0, area.top, &x1, &y1);
  to_source.TransformPointAndDivide(area.left, area.top + 1.0, &x2, &y2);
  const double columns = static_cast<double>(area.right) - area.left;
  const double rows = static_cast<double>(area.bottom) - area.top;
  const auto stays = [=](double start, double column, double row) {
    constexpr double kMost = 0x1p62 / 65536;
    return std::fabs(start) + columns * std::fabs(column) + rows * std::fabs(row) < kMost;
  };
  if (!stays(x0, x1 - x0, x2 - x0) || !stays(y0, y1 - y0, y2 - y0)) return;
  const auto fixed = [](double v) { return static_cast<int64_t>(Rounded(v * 65536)); };
  x = fixed(x0);
  y = fixed(y0);
  dx = fixed(x1 - x0);
  dy = fixed(y1 - y0);
  row_dx = fixed(x2 - x0);
  row_dy = fixed(y2 - y0);
}

bool VXp_SourcePositions::IsExactMove() const {
  const auto is_one = [](int64_t step) { return std::abs(step) == kVXp_FixedOne; };
  const bool upright = is_one(dx) && dy == 0 && row_dx == 0 && is_one(row_dy);
  const bool turned = dx == 0 && is_one(dy) && is_one(row_dx) && row_dy == 0;
  return ((x | y) & 0xFFFF) == 0 && (upright || turned);
}

VXp_MatrixPair VXp_MatrixPairAt(const VXp_TransformCall& call, int32_t index) {
  const M_Matrix3 matrix = Normalized(call.matrices[index]);
  VXp_MatrixPair pair{matrix, matrix, false};
  M_InverseMatrixQuiet(matrix, call.src2dst != 0 ? &pair.to_source : &pair.to_destination,
                       &pair.is_good);
  return pair;
}

M_LRect VXp_AreaOfTransform(const VXp_TransformCall& call, int32_t first, int32_t end) {
  M_LRect bounds = VXp_ClippedArea(call.dst_rect, *call.dst);
  if (call.mask != nullptr && (call.mask->what & 1) == 0 && !VXp_IsEmpty(bounds)) {
    bounds = WithinMask(*call.mask, bounds);
  }
  M_LRect area{};
  if (VXp_IsEmpty(bounds)) return area;
  for (int32_t i = first; i < end; ++i) {
    const VXp_MatrixPair pair = VXp_MatrixPairAt(call, i);
    if (pair.is_good) Unite(ReachOf(pair.to_destination, *call.src, bounds), &area);
  }
  return area;
}

VXp_TransformPlan::VXp_TransformPlan(const VXp_TransformCall& call)
    : path(VXp_TransformPath::Nothing),
      area{},
      first(VXp_MatrixPairAt(call, 0)),
      last(first),
      moves(false),
      high(call.quality != VX_Quality_Draft),
      samples(SampleCount(call.num_matrices, high)) {
  const int32_t end = call.num_matrices - 1;
  if (call.rule == VXp_MotionRule::EveryMatrix) {
    PlanEveryMatrix(call);
    return;
  }
  moves = end > 0 && !M_EqualMatrixWithinEpsilon(Normalized(call.matrices[0]),
                                                 Normalized(call.matrices[end]), kMatrixEpsilon);
  if (moves) last = VXp_MatrixPairAt(call, end);
  if (!first.is_good || !last.is_good) {
    path = VXp_TransformPath::Uncovered;
    return;
  }
  area = VXp_AreaOfTransform(call, 0, call.num_matrices);
  if (VXp_IsEmpty(area)) return;
  const VXp_Footprint print(first.to_destination);
  if (print.is_degenerate) {
    path = VXp_TransformPath::Uncovered;
  } else if (!moves && print.is_translation && !(high && ((print.tx | print.ty) & 0xFFFF) != 0)) {
    path = VXp_TransformPath::Rectangle;
  } else if (high && call.num_matrices > 2 &&
             (Turns(first.to_destination, last.to_destination) || Bends(call))) {
    path = VXp_TransformPath::Intervals;
  } else {
    path = VXp_TransformPath::Rows;
  }
}

void VXp_TransformPlan::PlanEveryMatrix(const VXp_TransformCall& call) {
  bool has_extent = false;
  for (int32_t i = 0; i < samples && !has_extent; ++i) {
    const VXp_MatrixPair pair = VXp_MatrixPairAt(call, i);
    has_extent = pair.is_good && !VXp_Footprint(pair.to_destination).is_degenerate;
  }
  if (!has_extent) {
    path = VXp_TransformPath::Uncovered;
    return;
  }
  area = VXp_AreaOfTransform(call, 0, samples);
  if (!VXp_IsEmpty(area)) path = VXp_TransformPath::Intervals;
}
