// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_DepthConvert.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "host/RND.h"
#include "unit/GuardedWorld.h"
#include "unit/housekeeping/Expected.h"

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

struct Progress {
  VX_ProgressInfo info{};
  std::vector<std::pair<int32_t, int32_t>> calls;
  std::vector<VX_Err> answers;

  explicit Progress(std::vector<VX_Err> planned) : answers(std::move(planned)) {
    info.progress_refcon = this;
    info.progress_func = [](void* refcon, int32_t step, int32_t final_step) -> VX_Err {
      auto& self = *static_cast<Progress*>(refcon);
      self.calls.emplace_back(step, final_step);
      const size_t call = self.calls.size() - 1;
      return call < self.answers.size() ? self.answers[call] : 0;
    };
  }
};

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
    dest.Set(expected, x, 0, WantPixel<To>(From{c[0], c[1], c[2], c[3]}));
  }
  ASSERT_EQ(VX_DepthConvertWorld(nullptr, &source, nullptr, 0, 0, 0, &dest.world), 0);
  ASSERT_TRUE(dest.bytes == expected);
}

TYPED_TEST(DepthConvertTest, ClipsAndPollsEachRow) {
  using From = typename TypeParam::From;
  using To = typename TypeParam::To;
  GuardedWorld<From> source(6, 7, 3, 1);
  GuardedWorld<To> dest(8, 5, 5, 2);
  M_Rect rect;  // overhangs the source on the left and the destination below
  rect.left = -2;
  rect.top = 1;
  rect.right = 4;
  rect.bottom = 7;
  const auto expected = [&](int rows) {
    std::vector<uint8_t> bytes = dest.bytes;
    for (int y = 0; y < rows; ++y) {
      for (int x = 0; x < 4; ++x) {
        dest.Set(bytes, x + 3, y + 2, WantPixel<To>(source.Get(x, y + 1)));
      }
    }
    return bytes;
  };
  VX_WorldX<From> from(&source.world, true);
  VX_WorldX<To> to(&dest.world, true);
  const auto copy = [&](Progress& progress) {
    return Thrown(
        [&] { to.CopyRectPossiblyDifferentBitdepth(&from, rect, false, 1, 2, &progress.info); });
  };
  using Calls = std::vector<std::pair<int32_t, int32_t>>;
  auto want = expected(2);
  Progress stopped({0, 517});
  EXPECT_EQ(copy(stopped), 517);
  EXPECT_EQ(stopped.calls, (Calls{{1, 3}, {2, 3}}));
  EXPECT_EQ(dest.bytes, want);
  want = expected(3);
  Progress grumbling({5, 0, 0});
  EXPECT_EQ(copy(grumbling), 5);
  EXPECT_EQ(grumbling.calls.size(), 3u);
  EXPECT_EQ(dest.bytes, want);
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
        const VX_Pixel16 p = WantPixel<VX_Pixel16>(from.Get(x, y));
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
