// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_Interleave.h"

#include <gtest/gtest.h>

#include <vector>

#include "unit/GuardedWorld.h"
#include "unit/PixelTestKit.h"

template <class Pixel>
class Interleave : public testing::Test {};
TYPED_TEST_SUITE(Interleave, PixelTypes);

// One channel out of a world into a plane of five columns, and back into another world.
TYPED_TEST(Interleave, RoundTripWithStridesAndOffsets) {
  using Channel = VX_ChannelOf<TypeParam>;
  using Vector = M_Vector2T<int32_t>;
  constexpr int32_t kSize = sizeof(Channel), kPlaneRow = 5 * kSize + 2 * kSize;
  GuardedWorld<TypeParam> src(6, 5, 4 * kSize, 1), dst(6, 5, 3 * kSize, 2);
  std::vector<Channel> plane(4 * 7, Channel{9}), want_plane = plane;
  const Vector size{4, 3}, from{1, -2}, in_plane{1, 1};
  auto want = dst.bytes;
  for (int32_t y = 0; y < 3; ++y) {
    for (int32_t x = 0; x < 4; ++x) {
      // The base is the green of row 2, and the offset leads two rows up.
      const Channel green = src.Get(1 + x, y).green;
      want_plane[static_cast<size_t>((1 + y) * 7 + 1 + x)] = green;
      TypeParam p = dst.Get(2 + x, 1 + y);
      p.blue = green;
      dst.Set(want, 2 + x, 1 + y, p);
    }
  }
  const auto sample = [](GuardedWorld<TypeParam>& world, int32_t y, size_t channel) {
    return reinterpret_cast<Channel*>(world.bytes.data() + world.Offset(0, y)) + channel;
  };
  EXPECT_EQ(VX_Deinterleave1<Channel>(sample(src, 2, 2), src.world.rowbytes, kPlaneRow, 4, size,
                                      from, in_plane, plane.data()),
            0);
  EXPECT_EQ(plane, want_plane);
  EXPECT_EQ(VX_Interleave1to4<Channel>(plane.data(), kPlaneRow, dst.world.rowbytes, 4, size,
                                       in_plane, Vector{2, 1}, sample(dst, 0, 3)),
            0);
  EXPECT_EQ(dst.bytes, want);

  // Other counts of channels, and what is refused or does nothing.
  const Channel five[] = {1, 2, 3, 4, 5};
  Channel two[2] = {7, 7};
  const auto call = [&](const Channel* in, int32_t channels, int32_t width, Channel* out) {
    return VX_Deinterleave1<Channel>(in, 0, 0, channels, {width, 1}, {0, 0}, {0, 0}, out);
  };
  EXPECT_EQ(call(five, 3, 2, two), 0);
  EXPECT_EQ(two[0] * 10 + two[1], 14);
  EXPECT_EQ(call(five, 3, 0, two) + call(five, 3, INT32_MIN, two), 0);
  EXPECT_EQ(two[0] * 10 + two[1], 14);
  EXPECT_EQ(call(nullptr, 3, 2, two), 3);
  EXPECT_EQ(call(five, 3, 2, nullptr), 3);
  EXPECT_EQ(call(five, 0, 2, two), 3);
  Reports();
}
