// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The refinement of dense motion: each of its data terms alone finds a small displacement.

#include "frameblend/high/FnRefine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "unit/frameblend/MotionScenes.h"

TEST(Refine, EachTermFindsADisplacement) {
  constexpr int32_t kWidth = 80, kHeight = 60, kEdge = 8;
  constexpr float kX = 0.6f, kY = -0.4f;
  FnGrey from, to;
  const auto paint = [](const Picture& picture, FnGrey* grey) {
    ASSERT_TRUE(grey->allocate(kWidth, kHeight));
    for (int32_t y = 0; y < kHeight; ++y) {
      for (int32_t x = 0; x < kWidth; ++x) {
        grey->row(y)[x] = static_cast<float>(255 * picture(x, y));
      }
    }
    grey->Extend();
  };
  const Picture texture = Texture(4, 12);
  paint(texture, &from);
  paint(Moved(texture, double{kX}, double{kY}), &to);
  for (const bool values : {false, true}) {
    FnFlowSettings settings;
    settings.outer = settings.inner = 10;
    settings.smoothness = 1;
    (values ? settings.gradientWeight : settings.valueWeight) = 0;
    FnInterruptState interrupt;
    FnFlowMap field(kWidth, kHeight);
    for (int32_t y = 0; y < kHeight; ++y) std::fill_n(field.row(y), kWidth, FnFlowVector{0, 0});
    FnRefineFlow(from, to, settings, &interrupt, &field);
    double sum = 0;
    for (int32_t y = kEdge; y < kHeight - kEdge; ++y) {
      for (int32_t x = kEdge; x < kWidth - kEdge; ++x) {
        const FnFlowVector f = field.row(y)[x];
        sum += std::hypot(double{f.u} - double{kX}, double{f.v} - double{kY});
      }
    }
    EXPECT_LT(sum / ((kWidth - 2 * kEdge) * (kHeight - 2 * kEdge)), 0.06) << values;
  }
}
