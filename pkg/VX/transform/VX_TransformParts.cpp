// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Makes matrices from anchor, scale, skew, rotation and translation.

#include <cmath>
#include <iterator>
#include <numbers>

#include "VX/VX_Transform.h"

namespace {

struct Direction {
  double cosine, sine;
};

// Returns sine and cosine. They are exact for quarter turns, so that pixel centres are mapped to
// pixel centres.
Direction DirectionOf(double degrees) {
  const double within = std::remainder(degrees, 360.0);
  const double quarter = std::nearbyint(within / 90.0);
  const double rest = (within - 90.0 * quarter) * (std::numbers::pi / 180.0);
  const double c = rest == 0 ? 1.0 : std::cos(rest), s = rest == 0 ? 0.0 : std::sin(rest);
  if (quarter == 0) return {c, s};
  if (quarter == 1) return {-s, c};
  if (quarter == -1) return {s, -c};
  return {-c, -s};
}

M_Matrix3 MatrixOf(const VX_TransformParts& parts) {
  const auto [c, s] = DirectionOf(parts.rotation);
  // Scale and skew, followed by the rotation, which maps (1, 0) to (c, s) and (0, 1) to (-s, c).
  const double xx = parts.scale_x, xy = parts.scale_x * parts.skew_y;
  const double yx = parts.scale_y * parts.skew_x, yy = parts.scale_y;
  const double m0 = xx * c - xy * s, m1 = xx * s + xy * c;
  const double m3 = yx * c - yy * s, m4 = yx * s + yy * c;
  // The sums are ordered so that the anchor cancels exactly if there is only a translation.
  const double ax = parts.anchor_x, ay = parts.anchor_y;
  const double tx = (ax - ax * m0 - ay * m3) + parts.translate_x;
  const double ty = (ay - ay * m4 - ax * m1) + parts.translate_y;
  return {{m0, m1, 0, m3, m4, 0, tx, ty, 1}};
}

constexpr double VX_TransformParts::*kParts[] = {
    &VX_TransformParts::anchor_x, &VX_TransformParts::anchor_y,    &VX_TransformParts::scale_x,
    &VX_TransformParts::scale_y,  &VX_TransformParts::skew_x,      &VX_TransformParts::skew_y,
    &VX_TransformParts::rotation, &VX_TransformParts::translate_x, &VX_TransformParts::translate_y};
static_assert(sizeof(VX_TransformParts) == sizeof(double) * std::size(kParts));

}  // namespace

VX_Err VX_MatrixOfParts(const VX_TransformParts* parts, M_Matrix3* out) {
  if (parts == nullptr || out == nullptr) return VX_ErrBadParameter;
  *out = MatrixOf(*parts);
  return VX_Ok;
}

VX_Err VX_MatricesBetween(const VX_TransformParts* from, const VX_TransformParts* to, int32_t count,
                          M_Matrix3* out) {
  if (from == nullptr || to == nullptr || out == nullptr || count < 1) return VX_ErrBadParameter;
  for (int32_t i = 0; i < count; ++i) {
    const double way = count == 1 ? 0.0 : static_cast<double>(i) / (count - 1);
    VX_TransformParts here;
    for (const auto part : kParts) here.*part = std::lerp(from->*part, to->*part, way);
    out[i] = MatrixOf(here);
  }
  return VX_Ok;
}
