// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "VX/VX_Transform.h"

namespace {

using Point = std::vector<double>;

Point Image(const VX_TransformParts& parts, double x, double y) {
  M_Matrix3 m;
  EXPECT_EQ(VX_MatrixOfParts(&parts, &m), VX_Ok);
  Point out(2);
  m.TransformPointAndDivide(x, y, &out[0], &out[1]);
  return out;
}

TEST(VX_TransformParts, OneAfterTheOther) {
  VX_TransformParts parts{};
  EXPECT_EQ(Image({}, 3, 4), Point({3, 4}));
  EXPECT_EQ(Image({.scale_x = 2, .scale_y = 3}, 3, 4), Point({6, 12}));
  EXPECT_EQ(Image({.skew_x = 0.5, .skew_y = 0.25}, 4, 8), Point({8, 9}));
  EXPECT_EQ(Image({.scale_x = 2, .scale_y = 3, .skew_x = 0.5}, 4, 8), Point({20, 24}));
  EXPECT_EQ(Image({.scale_x = 2, .rotation = 90}, 5, 1), Point({-1, 10}));  // clockwise as seen
  EXPECT_EQ(Image({.skew_y = 1, .rotation = -90}, 5, 1), Point({6, -5}));
  EXPECT_EQ(Image({.rotation = 540}, 5, 1), Point({-5, -1}));
  parts = {.anchor_x = 10, .anchor_y = 20, .scale_x = 4, .rotation = 33, .translate_x = 1.5};
  const Point anchor = Image(parts, 10, 20);
  EXPECT_NEAR(anchor[0], 11.5, 1e-13);
  EXPECT_NEAR(anchor[1], 20, 1e-13);
  const double c = std::cos(std::acos(-1) / 6);
  for (const double full : {0.0, 360.0, -720.0}) {
    const Point turned = Image({.rotation = 30 + full}, 8, 0);
    EXPECT_NEAR(turned[0], 8 * c, 1e-12);
    EXPECT_NEAR(turned[1], 4, 1e-12);
  }
  // The anchor leaves a translation a translation to the last bit.
  parts = {.anchor_x = 0.1, .anchor_y = 1e9 / 7, .translate_x = 0.3, .translate_y = -2};
  M_Matrix3 m;
  ASSERT_EQ(VX_MatrixOfParts(&parts, &m), VX_Ok);
  EXPECT_TRUE(M_EqualMatrixWithinEpsilon(m, {{1, 0, 0, 0, 1, 0, 0.3, -2, 1}}, 0));
}

TEST(VX_TransformParts, OnTheWay) {
  const VX_TransformParts from{.rotation = 10, .translate_x = 1},
      to{.scale_x = 3, .rotation = 190, .translate_x = 5};
  M_Matrix3 way[5], expected;
  ASSERT_EQ(VX_MatricesBetween(&from, &to, 5, way), VX_Ok);
  for (int i = 0; i < 5; ++i) {
    const VX_TransformParts here{
        .scale_x = 1 + 0.5 * i, .rotation = 10 + 45.0 * i, .translate_x = 1.0 + i};
    ASSERT_EQ(VX_MatrixOfParts(&here, &expected), VX_Ok);
    EXPECT_TRUE(M_EqualMatrixWithinEpsilon(way[i], expected, 1e-14)) << i;
  }
  ASSERT_EQ(VX_MatricesBetween(&from, &to, 1, way), VX_Ok);
  ASSERT_EQ(VX_MatrixOfParts(&from, &expected), VX_Ok);
  EXPECT_TRUE(M_EqualMatrixWithinEpsilon(way[0], expected, 0));

  EXPECT_EQ(VX_MatrixOfParts(nullptr, way), 3);
  EXPECT_EQ(VX_MatrixOfParts(&from, nullptr), 3);
  EXPECT_EQ(VX_MatricesBetween(nullptr, &to, 2, way), 3);
  EXPECT_EQ(VX_MatricesBetween(&from, nullptr, 2, way), 3);
  EXPECT_EQ(VX_MatricesBetween(&from, &to, 2, nullptr), 3);
  EXPECT_EQ(VX_MatricesBetween(&from, &to, 0, way), 3);
}

}  // namespace
