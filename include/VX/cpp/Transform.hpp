// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Draws pictures transformed by matrices, with motion blur.

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "VX/VX_Transform.h"
#include "VX/cpp/Composite.hpp"
#include "VX/cpp/Pixels.hpp"

namespace vx {

// A 3 x 3 matrix in row order, applied to row vectors: a translation is in entries 6 and 7.
using Matrix = M_Matrix3;

// A transform as scale, skew, rotation and translation around an anchor. Example with designated
// initialisers: {.scale_x = 2, .scale_y = 2, .rotation = 30, .translate_x = 100}.
using TransformParts = VX_TransformParts;

// The matrix from source to destination (VX_MatrixOfParts).
inline Matrix matrix(const TransformParts& parts) {
  Matrix out{};
  detail::run([&] { return VX_MatrixOfParts(&parts, &out); });
  return out;
}

// Returns the matrices of a motion. Each part changes in equal steps from its first value to its
// last (VX_MatricesBetween). `count` is 1 or more. Throws Error (bad_parameter).
inline std::vector<Matrix> matrices_between(const TransformParts& from, const TransformParts& to,
                                            int32_t count) {
  if (count < 1) detail::refuse("a motion has one matrix or more");
  std::vector<Matrix> out(static_cast<size_t>(count));
  detail::run([&] { return VX_MatricesBetween(&from, &to, count, out.data()); });
  return out;
}

struct TransformOptions {
  Mode mode = Mode::in_front;
  double opacity = 1;             // 0..1
  std::optional<Mask> mask = {};  // positioned in the destination
  Linear linear = {};             // null: blend the stored values
  bool keep_alpha = false;        // do not change the alpha of the destination
  Field field = Field::both;
  int32_t seed = 0;  // of the noise of Mode::dissolve
  Quality quality = Quality::high;
  bool to_source = false;         // true: the matrices map destination to source
  std::optional<Rect> area = {};  // of the destination; none: all of it. Edges -32768..32767
  Progress progress = {};
};

// Draws a picture with motion blur (VX_TransformMotion; VX_TransformMotionLinear with LinearLight).
// n matrices give n - 1 sub-samples of equal weight, one at each matrix except the last, so that
// the exposures of consecutive frames do not overlap. With one matrix the picture is drawn without
// blur. A matrix without an inverse contributes a transparent sub-sample.
//   dst, src  have the same depth and share no pixels
//   motion    1 to 257 matrices in the order of time
// Throws Error: bad_parameter, out_of_memory, stopped.
inline void transform(AnyView dst, AnyConstView src, std::span<const Matrix> motion,
                      const TransformOptions& options = {}) {
  const detail::LayerRecords records(options);
  const detail::ShortRect area(options.area);
  if (motion.empty() || motion.size() > VX_Transform_MaxMatrices) {
    detail::refuse("a motion has 1 to 257 matrices");
  }
  detail::run(options.progress, [&](VX_ProgressInfo* progress) {
    if (options.linear.light() != nullptr) {
      return VX_TransformMotionLinear(progress, static_cast<int32_t>(options.quality),
                                      static_cast<int32_t>(options.field), src.descriptor(),
                                      &records.mode, options.linear.light(), records.mask(),
                                      motion.data(), static_cast<int32_t>(motion.size()),
                                      options.to_source ? 0 : 1, area.get(), dst.descriptor());
    }
    return VX_TransformMotion(progress, static_cast<int32_t>(options.quality),
                              static_cast<int32_t>(options.field), src.descriptor(), &records.mode,
                              options.linear.tables(), records.mask(), motion.data(),
                              static_cast<int32_t>(motion.size()), options.to_source ? 0 : 1,
                              area.get(), dst.descriptor());
  });
}

// Draws a picture transformed by one matrix.
inline void transform(AnyView dst, AnyConstView src, const Matrix& matrix,
                      const TransformOptions& options = {}) {
  transform(dst, src, std::span<const Matrix>(&matrix, 1), options);
}

}  // namespace vx
