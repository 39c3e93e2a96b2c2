// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_DepthConvert.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "host/RND.h"
#include "reference/RefCopy.h"
#include "unit/GuardedWorld.h"
#include "unit/PixelTestKit.h"
#include "unit/Polls.h"
#include "unit/ThreadIterator.h"

namespace {

template <class From>
class DepthConvertTest : public testing::Test {};
TYPED_TEST_SUITE(DepthConvertTest, PixelTypes, DepthNames);

template <class To, class From>
void ExpectConverted(GuardedWorld<From>& src) {
  GuardedWorld<To> dst(src.world.width, 1, 1, 3);
  auto want = dst.bytes;
  for (int32_t x = 0; x < src.world.width; ++x) {
    dst.Set(want, x, 0, vxref::Converted<To>(src.Get(x, 0)));
  }
  ASSERT_EQ(VX_DepthConvertWorld(nullptr, &src.world, nullptr, 0, 0, 0, &dst.world), 0);
  EXPECT_TRUE(dst.bytes == want) << kDepth<From> << " to " << kDepth<To>;
}

}  // namespace

// All integer values, and floats around every rounding boundary. The random commands compare
// positions, rectangles and other floats.
TYPED_TEST(DepthConvertTest, EveryValue) {
  std::vector<VX_ChannelOf<TypeParam>> values;
  if constexpr (kDepth<TypeParam> == 32) {
    for (int full : {255, 32768}) {
      for (int step = 0; step <= 2 * full; ++step) {
        const float edge = static_cast<float>(step) / static_cast<float>(2 * full);
        values.insert(values.end(),
                      {std::nextafter(edge, -1.0f), edge, std::nextafter(edge, 2.0f)});
      }
    }
  } else {
    for (int c = 0; c <= kFull<TypeParam>; ++c) {
      values.push_back(static_cast<VX_ChannelOf<TypeParam>>(c));
    }
  }
  GuardedWorld<TypeParam> src(static_cast<int32_t>(values.size()), 1, 0, 1);
  for (size_t i = 0; i < values.size(); ++i) {
    const auto c = values[i], other = values[values.size() - 1 - i];
    src.Set(static_cast<int32_t>(i), 0, {c, other, c, other});
  }
  ExpectConverted<VX_Pixel8>(src);
  ExpectConverted<VX_Pixel16>(src);
  ExpectConverted<VX_PixelFloat>(src);
}

// The first code that is not 0 is returned; VX_ErrStopped ends the call after the row.
TEST(DepthConvert, PollsEachRow) {
  for (const VX_Err answer : {5, int32_t{VX_ErrStopped}}) {
    const GuardedWorld<VX_Pixel16> source(6, 7, 3, 1);
    GuardedWorld<VX_Pixel8> dest(8, 5, 5, 2);
    Polls polls{.stop_at = 2, .code = answer};
    VX_ProgressInfo info = polls.Info();
    // Extends beyond the source at the left, beyond the destination below.
    const M_Rect rect{1, -2, 7, 4};
    const bool stops = answer == VX_ErrStopped;
    const VX_Pixel8 before = dest.Get(4, 4);
    EXPECT_EQ(VX_DepthConvertWorld(&info, &source.world, &rect, 0, 1, 2, &dest.world), answer);
    EXPECT_EQ(polls.final_step, 3);
    EXPECT_EQ(polls.steps, stops ? (std::vector{1, 2}) : (std::vector{1, 2, 3}));
    EXPECT_EQ(SamePixel(before, dest.Get(4, 4)), stops);
  }
}

// Noise replaces the rounding constant: a word per channel, in order, repeated after the table.
// Rows after a stop use no noise. The number of threads makes no difference.
TEST(Dither, UsesTheNoiseInOrderAndRepeats) {
  uint32_t* words = nullptr;
  int32_t size = 0;
  ASSERT_EQ(RND_GetPrimeSizedTable(&words, &size), 0);
  const GuardedWorld<VX_Pixel16> deep(5000, 8, 2, 5);  // more channels than the table has words
  const GuardedWorld<VX_PixelFloat> unit(5000, 8, 3, 6);
  GuardedWorld<VX_Pixel8> dst(5000, 8, 1, 7);
  size_t next = 0;
  const auto dithered = [&](uint16_t c) {
    const uint32_t noise = words[next++ % static_cast<size_t>(size)] & 0x7FFF;
    return static_cast<uint8_t>((c * 255u + noise) / 32768u);
  };
  const auto check = [&](const auto& from) {
    auto want = dst.bytes;
    for (int32_t i = 0; i < 5000 * 8; ++i) {
      const VX_Pixel16 p = vxref::Converted<VX_Pixel16>(from.Get(i % 5000, i / 5000));
      const uint8_t a = dithered(p.alpha), r = dithered(p.red), g = dithered(p.green);
      dst.Set(want, i % 5000, i / 5000, {a, r, g, dithered(p.blue)});
    }
    ASSERT_EQ(VX_DepthConvertWorld(nullptr, &from.world, nullptr, 1, 0, 0, &dst.world), 0);
    EXPECT_TRUE(dst.bytes == want);
  };
  Polls polls{.stop_at = 2};
  VX_ProgressInfo stop_after_two = polls.Info();
  for (const int32_t threads : {1, 1, 3}) {
    const ThreadIterator iterator(threads);
    VX_ResetDitherRandomIndex();
    next = 0;
    check(deep);
    EXPECT_EQ(VX_DepthConvertWorld(&stop_after_two, &deep.world, nullptr, 1, 0, 0, &dst.world),
              VX_ErrStopped);
    next += 2 * 5000 * 4;
    check(unit);
  }
}

TEST(DepthConvert, FarPositionsCopyNothing) {
  GuardedWorld<VX_PixelFloat> dest(2, 2, 0, 2);
  const auto untouched = dest.bytes;
  EXPECT_EQ(
      VX_DepthConvertWorld(nullptr, &dest.world, nullptr, 0, INT32_MAX, INT32_MIN, &dest.world), 0);
  EXPECT_EQ(dest.bytes, untouched);
}
