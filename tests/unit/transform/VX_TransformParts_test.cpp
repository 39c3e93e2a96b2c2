// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Matrices from parts.

#include "../../reference/RefTransform.h"
#include "TransformTestKit.h"

namespace {

// The matrices move points as the parts say, one after the other.
TEST(TransformParts, MovePoints) {
  Operands<VX_Pixel8> o(46);
  const auto real = [&o](double most) { return (o.Word() / 2147483648.0 - 1) * most; };
  for (int run = 0; run < 200; ++run) {
    const auto any = [&real]() -> VX_TransformParts {
      return {real(50), real(50),  real(4),   real(4),  real(2),
              real(2),  real(720), real(100), real(100)};
    };
    const VX_TransformParts a = any(), b = any();
    const int count = o.Between(2, 20), i = o.Below(count);
    std::vector<M_Matrix3> path(static_cast<size_t>(count));
    ASSERT_EQ(VX_MatricesBetween(&a, &b, count, path.data()), 0);
    const auto between = [t = i / (count - 1.0)](double from, double to) {
      return from + t * (to - from);
    };
    const VX_TransformParts here = {
        between(a.anchor_x, b.anchor_x),      between(a.anchor_y, b.anchor_y),
        between(a.scale_x, b.scale_x),        between(a.scale_y, b.scale_y),
        between(a.skew_x, b.skew_x),          between(a.skew_y, b.skew_y),
        between(a.rotation, b.rotation),      between(a.translate_x, b.translate_x),
        between(a.translate_y, b.translate_y)};
    M_Matrix3 one;
    ASSERT_EQ(VX_MatrixOfParts(&here, &one), 0);
    for (const M_Matrix3& m : {one, path[static_cast<size_t>(i)]}) {
      const double x = real(100), y = real(100);
      double want_x = x, want_y = y, got_x, got_y;
      vxref::MovePoint(here, &want_x, &want_y);
      m.TransformPointAndDivide(x, y, &got_x, &got_y);
      EXPECT_NEAR(got_x, want_x, 1e-9);
      EXPECT_NEAR(got_y, want_y, 1e-9);
    }
  }
}

// Quarter turns are exact, and the anchor cancels to the last bit if only the translation is left.
TEST(TransformParts, AreExact) {
  const struct {
    VX_TransformParts parts;
    M_Matrix3 matrix;
  } cases[] = {{{.rotation = 90}, {{0, 1, 0, -1, 0, 0, 0, 0, 1}}},
               {{.rotation = -90}, {{0, -1, 0, 1, 0, 0, 0, 0, 1}}},
               {{.scale_x = 2, .rotation = 540}, {{-2, 0, 0, 0, -1, 0, 0, 0, 1}}},
               {{.anchor_x = 0.1, .anchor_y = 1e9 / 7, .translate_x = 0.3, .translate_y = -2},
                Moved(0.3, -2)}};
  for (const auto& c : cases) {
    EXPECT_TRUE(M_EqualMatrixWithinEpsilon(MatrixOf(c.parts), c.matrix, 0)) << &c - cases;
  }
  const VX_TransformParts from{.rotation = 10}, to{.rotation = 50};
  EXPECT_TRUE(M_EqualMatrixWithinEpsilon(Between(from, to, 1)[0], MatrixOf(from), 0));
}

TEST(TransformParts, CheckArguments) {
  const VX_TransformParts parts;
  M_Matrix3 out[2];
  EXPECT_EQ(VX_MatrixOfParts(nullptr, out), 3);
  EXPECT_EQ(VX_MatrixOfParts(&parts, nullptr), 3);
  EXPECT_EQ(VX_MatricesBetween(nullptr, &parts, 2, out), 3);
  EXPECT_EQ(VX_MatricesBetween(&parts, nullptr, 2, out), 3);
  EXPECT_EQ(VX_MatricesBetween(&parts, &parts, 2, nullptr), 3);
  EXPECT_EQ(VX_MatricesBetween(&parts, &parts, 0, out), 3);
}

}  // namespace
