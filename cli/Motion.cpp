// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "Motion.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace vxcli {

namespace {

constexpr int32_t kFewestSamples = 16, kDefaultMostSamples = 128, kDraftSamples = 8;

// --- the path between two placements -------------------------------------------------------------

vx::TransformParts PartsOf(const Placement& placement, int32_t width, int32_t height) {
  vx::TransformParts parts = placement.parts;
  parts.anchor_x = placement.anchor ? placement.anchor->first : (width - 1) / 2.0;
  parts.anchor_y = placement.anchor ? placement.anchor->second : (height - 1) / 2.0;
  return parts;
}

vx::TransformParts Between(const vx::TransformParts& a, const vx::TransformParts& b, double share) {
  const auto mix = [&](double vx::TransformParts::*part) {
    return std::lerp(a.*part, b.*part, share);
  };
  using P = vx::TransformParts;
  return {mix(&P::anchor_x), mix(&P::anchor_y),    mix(&P::scale_x),
          mix(&P::scale_y),  mix(&P::skew_x),      mix(&P::skew_y),
          mix(&P::rotation), mix(&P::translate_x), mix(&P::translate_y)};
}

// The part of a motion during which the shutter is open.
class Path {
 public:
  Path(const Motion& motion, double share, int32_t width, int32_t height)
      : by_matrix_(motion.start.matrix || motion.end->matrix),
        share_(share),
        from_(PartsOf(motion.start, width, height)),
        to_(PartsOf(*motion.end, width, height)) {
    first_ = motion.start.matrix.value_or(vx::matrix(from_));
    last_ = motion.end->matrix.value_or(vx::matrix(to_));
  }

  const vx::Matrix& first() const { return first_; }
  bool IsStill() const {
    const bool same_turn = by_matrix_ || from_.rotation == to_.rotation;
    return share_ == 0 || (same_turn && std::ranges::equal(first_.m, last_.m));
  }
  // Returns `count` matrices at equal intervals while the shutter is open.
  std::vector<vx::Matrix> Matrices(int32_t count) const {
    if (!by_matrix_) return vx::matrices_between(from_, Between(from_, to_, share_), count);
    std::vector<vx::Matrix> matrices(static_cast<size_t>(count));
    for (int32_t i = 0; i < count; ++i) {
      for (size_t k = 0; k < std::size(first_.m); ++k) {
        matrices[static_cast<size_t>(i)].m[k] =
            std::lerp(first_.m[k], last_.m[k], share_ * i / (count - 1));
      }
    }
    return matrices;
  }

 private:
  bool by_matrix_;
  double share_;
  vx::TransformParts from_, to_;
  vx::Matrix first_, last_;
};

struct Corner {
  double x, y;
  bool in_front;  // false: a perspective maps the corner behind the viewer
};

// Returns the corners of the area that a layer covers. The area includes one pixel more on each
// side, because the interpolation fades the layer out there.
std::vector<Corner> CornersOf(const vx::Matrix& matrix, int32_t width, int32_t height) {
  std::vector<Corner> corners;
  for (const double x : {-1.0, static_cast<double>(width)}) {
    for (const double y : {-1.0, static_cast<double>(height)}) {
      const M_Vector3 image = M_TransformVector3(matrix, {x, y, 1});
      corners.push_back({image.x / image.w, image.y / image.w, image.w > 0});
    }
  }
  return corners;
}

// Returns the default number of sub-samples: the length in pixels of the longest path of a corner,
// limited to kFewestSamples..kDefaultMostSamples.
int32_t SamplesFor(const Path& path, int32_t width, int32_t height) {
  double longest = 0;
  std::vector<double> lengths(4);
  std::vector<Corner> before;
  for (const vx::Matrix& matrix : path.Matrices(kFewestSamples + 1)) {
    const std::vector<Corner> here = CornersOf(matrix, width, height);
    for (size_t i = 0; i < before.size(); ++i) {
      lengths[i] += std::hypot(here[i].x - before[i].x, here[i].y - before[i].y);
      longest = std::max(longest, lengths[i]);
    }
    before = here;
  }
  if (!(longest < kDefaultMostSamples)) return kDefaultMostSamples;
  return std::max(kFewestSamples, static_cast<int32_t>(std::ceil(longest)));
}

// Returns true if the layer has an area after the transform.
bool HasArea(const vx::Matrix& matrix) {
  constexpr double kLeast = 0.5 / 65536;  // the library rounds positions to 1/65536 pixel
  vx::Matrix inverse;
  bool invertible = false;
  static_cast<void>(M_InverseMatrixQuiet(matrix, &inverse, &invertible));
  const auto length = [](const M_Vector3& v) { return std::hypot(v.x, v.y, v.w); };
  return invertible && length(M_TransformVector3(matrix, {1, 0, 0})) >= kLeast &&
         length(M_TransformVector3(matrix, {0, 1, 0})) >= kLeast;
}

}  // namespace

// --- a motion ------------------------------------------------------------------------------------

std::vector<vx::Matrix> MatricesOf(const Motion& motion, const Shutter& shutter,
                                   vx::Quality quality, int32_t width, int32_t height) {
  const Path path({motion.start, motion.end ? motion.end : motion.start}, shutter.share, width,
                  height);
  if (path.IsStill() || shutter.samples == 1) return {path.first()};
  const bool draft = quality == vx::Quality::draft;
  const int32_t samples =
      shutter.samples.value_or(draft ? kDraftSamples : SamplesFor(path, width, height));
  return path.Matrices(samples + 1);
}

// --- layers that are not drawn -------------------------------------------------------------------

std::string InvisibleReason(const std::vector<vx::Matrix>& matrices, const VX_LayerDef& layer,
                            const VX_LayerDef& below) {
  // The last matrix of a motion is not drawn.
  const std::span samples(matrices.data(), std::max<size_t>(matrices.size() - 1, 1));
  if (std::ranges::none_of(samples, HasArea)) {
    return "has no area or is too large after the transform; nothing is drawn";
  }
  // Only the sub-samples are drawn. A layer that crosses the picture between two sub-samples is
  // invisible.
  for (const vx::Matrix& matrix : samples) {
    if (!HasArea(matrix)) continue;
    double left = INFINITY, top = INFINITY, right = -INFINITY, bottom = -INFINITY;
    for (const Corner& corner : CornersOf(matrix, layer.width, layer.height)) {
      if (!corner.in_front || !std::isfinite(corner.x + corner.y)) return {};
      left = std::min(left, corner.x);
      top = std::min(top, corner.y);
      right = std::max(right, corner.x);
      bottom = std::max(bottom, corner.y);
    }
    if (left < below.width && right > -1 && top < below.height && bottom > -1) return {};
  }
  return "is completely outside the picture; nothing is drawn";
}

}  // namespace vxcli
