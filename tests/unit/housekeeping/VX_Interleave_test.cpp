// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_Interleave.h"

#include <gtest/gtest.h>

#include <vector>

#include "unit/GuardedWorld.h"

// Four planes at once are those of VX_Deinterleave1, at widths around those of vectors, with
// upward rows and padding that stays.
template <class Channel>
class FourPlanes : public testing::Test {};
using Channels = testing::Types<uint8_t, uint16_t, float>;
TYPED_TEST_SUITE(FourPlanes, Channels);

TYPED_TEST(FourPlanes, AreThoseOfTheSingleChannelsAndJoinAgain) {
  using Channel = TypeParam;
  constexpr int32_t kRows = 3, kPad = 5, kMost = 150, kSize = sizeof(Channel);
  for (int32_t width = 0; width <= kMost; ++width) {
    const auto pitch = static_cast<size_t>(4 * width + kPad),
               plane = static_cast<size_t>(width + 1);
    std::vector<Channel> pixels(kRows * pitch), joined(kRows * pitch, Channel{77});
    for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<Channel>(i * 37 % 251);
    std::vector<Channel> split(4 * kRows * plane, Channel{77}), single = split;
    // Row 0 of a plane is its last one in memory.
    const auto at = [&](std::vector<Channel>& planes, size_t c) {
      return planes.data() + (c * kRows + kRows - 1) * plane;
    };
    Channel* const to[4] = {at(split, 0), at(split, 1), at(split, 2), at(split, 3)};
    const Channel* const from[4] = {to[0], to[1], to[2], to[3]};
    const auto row = static_cast<int32_t>(pitch) * kSize, up = -static_cast<int32_t>(plane) * kSize;
    ASSERT_EQ(VX_SplitPlanes<Channel>(pixels.data(), row, up, {width, kRows}, to), 0);
    for (size_t c = 0; c < 4; ++c) {
      ASSERT_EQ(VX_Deinterleave1<Channel>(pixels.data() + c, row, up, 4, {width, kRows}, {0, 0},
                                          {0, 0}, at(single, c)),
                0);
    }
    EXPECT_EQ(split, single) << width;
    ASSERT_EQ(VX_JoinPlanes<Channel>(from, up, row, {width, kRows}, joined.data()), 0);
    for (size_t i = 0; i < joined.size(); ++i) {
      const bool inside = i % pitch < static_cast<size_t>(4 * width);
      ASSERT_EQ(joined[i], inside ? pixels[i] : Channel{77}) << width << ", " << i;
    }
  }
  Channel sample[4] = {};
  Channel* const missing[4] = {sample, nullptr, sample, sample};
  const Channel* const absent[4] = {sample, sample, sample, nullptr};
  EXPECT_EQ(VX_SplitPlanes<Channel>(sample, 16, 4, {1, 1}, missing), VX_ErrBadParameter);
  EXPECT_EQ(VX_JoinPlanes<Channel>(absent, 4, 16, {1, 1}, sample), VX_ErrBadParameter);
  Reports();
}
