// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The monitor of changed vectors. An error in it may cost time only, which no picture shows.

#include "frameblend/smooth/FnMonitor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <vector>

TEST(FnMonitor, MarksChangedVectors) {
  FnVectorMap vectors(3, 2);
  for (int32_t y = 0; y < 2; ++y) std::fill_n(vectors.row(y), 3, HvVec2{0, 0});
  FnMotionEstimateGradientChangedNeighboursMonitor monitor;
  const auto changed = [&] {
    std::vector<int> all;
    for (int32_t i = 0; i < 6; ++i) all.push_back(monitor.isChanged(i % 3, i / 3));
    return all;
  };
  monitor.process(&vectors);
  EXPECT_EQ(changed(), (std::vector<int>{1, 1, 1, 1, 1, 1}));
  vectors.row(1)[2] = {0, FLT_MAX};
  monitor.process(&vectors);
  EXPECT_EQ(changed(), (std::vector<int>{0, 0, 0, 0, 0, 1}));
  EXPECT_TRUE(monitor.hasInvalid());
  vectors.row(1)[2] = {0, 1};
  vectors.row(0)[0] = {1, 0};
  monitor.process(&vectors);
  EXPECT_EQ(changed(), (std::vector<int>{1, 0, 0, 0, 0, 1}));
  EXPECT_FALSE(monitor.hasInvalid());
  monitor.process(&vectors);
  EXPECT_EQ(changed(), (std::vector<int>{0, 0, 0, 0, 0, 0}));
  monitor.seed();
  monitor.process(&vectors);
  EXPECT_EQ(changed(), (std::vector<int>{1, 1, 1, 1, 1, 1}));
}
