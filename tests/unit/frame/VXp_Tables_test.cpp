// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "frame/VXp_Tables.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

// round(sqrt(n)) in whole numbers.
int64_t RoundedRoot(int64_t n) {
  auto root = static_cast<int64_t>(std::sqrt(static_cast<long double>(n)));
  while (root * root > n) --root;
  while ((root + 1) * (root + 1) <= n) ++root;
  return n > root * root + root ? root + 1 : root;
}

// 32768 (D(x) - x) with x = i / 4096, rounded half up, in whole numbers.
int64_t Delta16(int64_t i) {
  if (i > 1024) return RoundedRoot(262144 * i) - 8 * i;  // 32768 sqrt(i / 4096) is sqrt(262144 i)
  // 32768 (16 x^3 - 12 x^2 + 3 x), where 32768 / 4096^3 is 2^-21
  const int64_t cubic = 16 * i * i * i - 12 * 4096 * i * i + 3 * 4096 * 4096 * i;
  return (cubic + (1 << 20)) >> 21;
}

TEST(VXpTables, SoftLightMatchesAnExactComputation) {
  VXp_BuildSoftLightTables();
  for (int64_t i = 0; i <= 4096; ++i) {
    const int64_t area = i * (4096 - i);
    ASSERT_EQ(VXp_G_SoftLightParabola16[i], (area + 256) / 512) << i;
    ASSERT_EQ(VXp_G_SoftLightParabolaF[i], static_cast<float>(area) / 16777216.0f) << i;
    ASSERT_EQ(VXp_G_SoftLightDelta16[i], Delta16(i)) << i;
    const long double x = i / 4096.0L;
    const long double curve = i <= 1024 ? 4 * x - 12 * x * x + 16 * x * x * x : std::sqrt(x);
    ASSERT_FLOAT_EQ(VXp_G_SoftLightDeltaF[i], static_cast<float>(curve - x)) << i;
  }
  EXPECT_EQ(VXp_G_SoftLightDelta16[1024], 8192);
}

}  // namespace
