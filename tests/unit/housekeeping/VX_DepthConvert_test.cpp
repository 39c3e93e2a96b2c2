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

namespace {

template <class ToPixel, class FromPixel>
struct Pair {
  using To = ToPixel;
  using From = FromPixel;
};

template <class Pair>
class DepthConvertTest : public testing::Test {};

using P8 = VX_Pixel8;
using P16 = VX_Pixel16;
using PF = VX_PixelFloat;
using AllPairs =
    testing::Types<Pair<P8, P8>, Pair<P8, P16>, Pair<P8, PF>, Pair<P16, P8>, Pair<P16, P16>,
                   Pair<P16, PF>, Pair<PF, P8>, Pair<PF, P16>, Pair<PF, PF>>;
TYPED_TEST_SUITE(DepthConvertTest, AllPairs);

}  // namespace

// All integer values, and floats around every rounding boundary, in all four channels.
TYPED_TEST(DepthConvertTest, EveryValue) {
  using From = typename TypeParam::From;
  using To = typename TypeParam::To;
  using Channel = VX_ChannelOf<From>;
  std::vector<Channel> values;
  if constexpr (sizeof(From) == 16) {
    const float inf = std::numeric_limits<float>::infinity();
    values = {inf, -inf, std::numeric_limits<float>::quiet_NaN(), -0.0f, 1e-40f, 0.7f, -7.0f, 2.0f};
    for (int full : {255, 32768}) {
      for (int step = 0; step <= 2 * full; ++step) {
        const float edge = static_cast<float>(step) / static_cast<float>(2 * full);
        values.insert(values.end(),
                      {std::nextafter(edge, -1.0f), edge, std::nextafter(edge, 2.0f)});
      }
    }
  } else {
    for (int c = 0; c <= kFull<From>; ++c) values.push_back(static_cast<Channel>(c));
  }
  values.resize((values.size() + 3) / 4 * 4);
  VX_LayerDef source{};
  source.data = values.data();
  source.width = static_cast<int32_t>(values.size() / 4);
  source.height = 1;
  source.rowbytes = source.width * static_cast<int32_t>(sizeof(From));
  VXp_SetWorldDepth(&source, static_cast<int32_t>(sizeof(From)) * 2);
  GuardedWorld<To> dest(source.width, 1, 1, 3);
  std::vector<uint8_t> expected = dest.bytes;
  for (int32_t x = 0; x < source.width; ++x) {
    const Channel* const c = values.data() + 4 * x;
    dest.Set(expected, x, 0, vxref::Converted<To>(From{c[0], c[1], c[2], c[3]}));
  }
  ASSERT_EQ(VX_DepthConvertWorld(nullptr, &source, nullptr, 0, 0, 0, &dest.world), 0);
  ASSERT_TRUE(dest.bytes == expected);
}

// The first code that is not 0 is returned; VX_ErrStopped ends the call after the row.
TEST(DepthConvert, PollsEachRow) {
  for (const VX_Err answer : {5, int32_t{VX_ErrStopped}}) {
    GuardedWorld<P16> source(6, 7, 3, 1);
    GuardedWorld<P8> dest(8, 5, 5, 2);
    std::pair<std::vector<int32_t>, VX_Err> polls{{}, answer};
    VX_ProgressInfo info{};
    info.progress_refcon = &polls;
    info.progress_func = [](void* refcon, int32_t step, int32_t final_step) -> VX_Err {
      auto& [steps, code] = *static_cast<decltype(polls)*>(refcon);
      EXPECT_EQ(final_step, 3);
      steps.push_back(step);
      return step == 2 ? code : 0;
    };
    const M_Rect rect{1, -2, 7,
                      4};  // extends beyond the source at the left, at the destination below
    const std::vector<int32_t> steps =
        answer == VX_ErrStopped ? std::vector<int32_t>{1, 2} : std::vector<int32_t>{1, 2, 3};
    const auto want = dest.bytes;
    EXPECT_EQ(VX_DepthConvertWorld(&info, &source.world, &rect, 0, 1, 2, &dest.world), answer);
    EXPECT_EQ(polls.first, steps);
    const size_t after = dest.Offset(0, 4);
    const bool untouched = std::equal(want.begin() + static_cast<ptrdiff_t>(after), want.end(),
                                      dest.bytes.begin() + static_cast<ptrdiff_t>(after));
    EXPECT_EQ(untouched, answer == VX_ErrStopped);
  }
}

// Noise replaces the rounding constant: a word a channel, in order, going round the table.
TEST(Dither, UsesTheNoiseInOrderAndRepeats) {
  uint32_t* words = nullptr;
  int32_t size = 0;
  ASSERT_EQ(RND_GetPrimeSizedTable(&words, &size), 0);
  GuardedWorld<VX_Pixel16> deep(5000, 8, 2, 5);  // more channels than the table has words
  std::mt19937 random(8);  // any bits: black, white, and what no channel should hold
  for (uint8_t& byte : deep.bytes) byte = static_cast<uint8_t>(random() % 3 ? random() : 0);
  GuardedWorld<VX_PixelFloat> unit(5000, 8, 3, 6);
  GuardedWorld<VX_Pixel8> first(5000, 8, 1, 7), second(5000, 8, 1, 7);
  size_t next = 0;
  const auto dithered = [&](uint16_t c) {
    const uint32_t noise = words[next++ % static_cast<size_t>(size)] & 0x7FFF;
    return static_cast<uint8_t>((c * 255u + noise) / 32768u);
  };
  const auto expected = [&](const auto& from) {
    auto bytes = first.bytes;
    for (int y = 0; y < 8; ++y) {
      for (int x = 0; x < 5000; ++x) {
        const VX_Pixel16 p = vxref::Converted<VX_Pixel16>(from.Get(x, y));
        const uint8_t a = dithered(p.alpha), r = dithered(p.red), g = dithered(p.green);
        first.Set(bytes, x, y, {a, r, g, dithered(p.blue)});
      }
    }
    return bytes;
  };
  auto want = expected(deep);
  VX_ResetDitherRandomIndex();
  ASSERT_EQ(VX_DepthConvertWorld(nullptr, &deep.world, nullptr, 1, 0, 0, &first.world), 0);
  EXPECT_TRUE(first.bytes == want);
  want = expected(unit);
  ASSERT_EQ(VX_DepthConvertWorld(nullptr, &unit.world, nullptr, 1, 0, 0, &first.world), 0);
  EXPECT_TRUE(first.bytes == want);
  VX_ResetDitherRandomIndex();
  for (auto* world : {&deep.world, &unit.world}) {
    ASSERT_EQ(VX_DepthConvertWorld(nullptr, world, nullptr, 1, 0, 0, &second.world), 0);
  }
  EXPECT_TRUE(first.bytes == second.bytes);
}

TEST(DepthConvertRefusals, ReportAndLeaveTheDestination) {
  Reports();
  GuardedWorld<VX_Pixel8> source(2, 2, 0, 1);
  GuardedWorld<VX_PixelFloat> dest(2, 2, 0, 2);
  const auto untouched = dest.bytes;
  OddDepthWorld odd(&source.world);
  EXPECT_EQ(VX_DepthConvertWorld(nullptr, &odd, nullptr, 0, 0, 0, &dest.world), 3);
  EXPECT_EQ(VX_DepthConvertWorld(nullptr, &dest.world, nullptr, 0, 0, 0, &odd), 3);
  EXPECT_EQ(VX_DepthConvertWorld(nullptr, nullptr, nullptr, 0, 0, 0, &dest.world), 3);
  source.world.data = nullptr;
  EXPECT_EQ(VX_DepthConvertWorld(nullptr, &source.world, nullptr, 0, 0, 0, &dest.world), 3);
  EXPECT_EQ(Reports(), (ReportList{{0x2503E7, "Unknown world bitdepth in##CONDITIONNAME"},
                                   {0x2503E7, "Unknown world bitdepth in##CONDITIONNAME"},
                                   {0x2503E7, kBadParameterText},
                                   {0x2503E7, kBadParameterText}}));
  EXPECT_EQ(
      VX_DepthConvertWorld(nullptr, &dest.world, nullptr, 0, INT32_MAX, INT32_MIN, &dest.world), 0);
  EXPECT_EQ(dest.bytes, untouched);
}
