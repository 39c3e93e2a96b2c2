// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_Interleave.h"

#include <gtest/gtest.h>

#include "unit/GuardedWorld.h"

// The random commands compare strides, offsets and types with a slow twin.
TEST(Interleave, NegativeOffsetsEmptyAreasAndRefusals) {
  const uint16_t samples[] = {1, 2, 3, 4, 5, 6};
  uint16_t two[2] = {7, 7};
  const auto call = [&](const uint16_t* in, int32_t channels, int32_t width, uint16_t* out,
                        M_Vector2T<int32_t> from = {0, 0}) {
    return VX_Deinterleave1<uint16_t>(in, 8, 0, channels, {width, 1}, from, {0, 0}, out);
  };
  EXPECT_EQ(call(samples, 3, 0, two) + call(samples, 3, INT32_MIN, two), 0);
  EXPECT_EQ(call(nullptr, 3, 2, two), 3);
  EXPECT_EQ(call(samples, 3, 2, nullptr), 3);
  EXPECT_EQ(call(samples, 0, 2, two), 3);
  EXPECT_EQ(two[0] * 10 + two[1], 77);
  EXPECT_EQ(call(samples + 4, 3, 2, two, {0, -1}), 0);  // a row up: 8 bytes
  EXPECT_EQ(two[0] * 10 + two[1], 14);
  Reports();
}
