// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The short forms against the general transfer, and the mix of worlds against its definition.

#include "VX/VX_CompositeRect.h"

#include <gtest/gtest.h>

#include <cmath>

#include "../GuardedWorld.h"
#include "../PixelTestKit.h"

namespace {

TEST(CompositeRect, IsATransfer) {
  for (const int32_t mode : {0, 2, 5, 13, 17, 21}) {
    for (const bool premul : {false, true}) {
      GuardedWorld<VX_Pixel8> src(9, 7, 3, 1), dst(11, 8, 5, 2), expected(11, 8, 5, 2);
      const M_Rect rect{1, 2, 6, 8};
      const auto call = premul ? &VX_CompositeRectBest_Premul : &VX_CompositeRectDraft_Straight;
      EXPECT_EQ(call(nullptr, &rect, 100, &src.world, -1, 3, VX_Field_EvenRows, mode, &dst.world),
                0);
      const VX_CompositeModePlus plus(premul && mode == 2 ? 21 : mode, 100 / 255.0f, nullptr, false,
                                      0);
      EXPECT_EQ(VX_TransferRect(nullptr, 0, 0, VX_Field_EvenRows, &rect, &src.world, &plus, nullptr,
                                nullptr, -1, 3, &expected.world),
                0);
      EXPECT_EQ(dst.bytes, expected.bytes) << "mode " << mode << ", premultiplied " << premul;
    }
  }
  GuardedWorld<VX_Pixel8> world(2, 2, 0, 1);
  EXPECT_EQ(VX_CompositeRectBest_Straight(nullptr, nullptr, 255, nullptr, 0, 0, 0, 2, &world.world),
            3);
}

template <class Pixel>
class BlendWorlds : public testing::Test {};
using IntegerPixels = testing::Types<VX_Pixel8, VX_Pixel16>;
TYPED_TEST_SUITE(BlendWorlds, IntegerPixels, DepthNames);

// The weight t is the ratio at full scale F, rounded to nearest; colours are weighted by a1 = sa t
// and a2 = (F - t) da.
TYPED_TEST(BlendWorlds, StraightIsTheMeanWeightedByAlpha) {
  using Channel = VX_ChannelOf<TypeParam>;
  constexpr int64_t kF = kFull<TypeParam>;
  for (const VX_Fixed ratio : {-5, 0, 1, 32768, 50000, 65535, 65536, 70000}) {
    GuardedWorld<TypeParam> a(6, 3, 1, 3), b(5, 4, 2, 4), dst(7, 3, 3, 5);
    const auto before = dst.bytes;
    EXPECT_EQ(VX_Blend_Straight(nullptr, &a.world, &b.world, ratio, &dst.world), 0);
    const int64_t t = std::llround(std::clamp(ratio, 0, 65536) * (kF / 65536.0));
    auto expected = before;
    for (int32_t y = 0; y < 3; ++y) {
      for (int32_t x = 0; x < 5; ++x) {
        const TypeParam d = a.Get(a.bytes, x, y), s = b.Get(b.bytes, x, y);
        const int64_t a1 = s.alpha * t, a2 = (kF - t) * d.alpha, q = a1 + a2;
        const auto mean = [&](int64_t cs, int64_t cd) {
          return static_cast<Channel>((cs * a1 + cd * a2 + q / 2) / q);
        };
        TypeParam r = t == kF ? s : d;
        if (t != 0 && t != kF && q != 0) {
          r = {static_cast<Channel>((q + (kF + 1) / 2) / kF), mean(s.red, d.red),
               mean(s.green, d.green), mean(s.blue, d.blue)};
        }
        dst.Set(expected, x, y, r);
      }
    }
    EXPECT_EQ(dst.bytes, expected) << "ratio " << ratio;
  }
}

TEST(BlendWorldsPremul, MixesEveryChannelAlike) {
  GuardedWorld<VX_PixelFloat> a(4, 2, 0, 3), b(4, 2, 4, 4);
  auto expected = a.bytes;
  for (int32_t y = 0; y < 2; ++y) {
    for (int32_t x = 0; x < 4; ++x) {
      const VX_PixelFloat p = a.Get(a.bytes, x, y), q = b.Get(b.bytes, x, y);
      const auto mix = [](float from, float to) { return from + (to - from) * 0.25f; };
      a.Set(expected, x, y,
            {mix(p.alpha, q.alpha), mix(p.red, q.red), mix(p.green, q.green), mix(p.blue, q.blue)});
    }
  }
  EXPECT_EQ(VX_Blend_Premul(nullptr, &a.world, &b.world, 16384, &a.world), 0);  // in place
  EXPECT_EQ(a.bytes, expected);
  GuardedWorld<VX_Pixel8> other(4, 2, 0, 3);
  EXPECT_EQ(VX_Blend_Premul(nullptr, &a.world, &other.world, 1, &a.world), 3);
}

}  // namespace
