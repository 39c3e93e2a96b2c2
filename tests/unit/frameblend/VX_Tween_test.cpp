// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Pairs of pictures with several instants, in both qualities: known scenes, cuts, refusals.

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "VX/VX_FrameBlending.h"
#include "unit/frameblend/MotionScenes.h"

namespace {

struct Dispose {
  void operator()(VX_Tween* tween) const { VX_DisposeTween(tween); }
};
using Pair = std::unique_ptr<VX_Tween, Dispose>;

Pair MakePair(const VX_LayerDef& a, const VX_LayerDef& b, VX_TweenQuality quality) {
  VX_Tween* tween = nullptr;
  EXPECT_EQ(VX_NewTween(&a, &b, nullptr, quality, &tween), VX_Ok);
  return Pair(tween);
}

template <class Pixel>
std::vector<Pixel> Instant(VX_Tween* pair, const VX_LayerDef& like, float at) {
  return Drawn<Pixel>(
      like, [&](VX_LayerDef* to) { EXPECT_EQ(VX_TweenInstant(pair, at, nullptr, to), VX_Ok); });
}

template <class Pixel>
class Tween : public testing::Test {};
TYPED_TEST_SUITE(Tween, PixelTypes, DepthNames);

// Several instants, the swapped pair, and any number of threads.
TYPED_TEST(Tween, FindsInstantsOfMovingTextures) {
  const int32_t threads = VX_MotionThreads();
  const int width = 150, height = 110;
  struct Motion {
    double dx, dy, angle, zoom;
  };
  for (const Motion& m : {Motion{6.25, -3.5, 0, 1}, {0, 0, 0.06, 1}, {-2, 1, 0, 1.06}}) {
    const auto scene = [&](double t) {
      return Turned(Moved(Texture(3, 9), m.dx * t, m.dy * t), width / 2.0, height / 2.0,
                    m.angle * t, std::pow(m.zoom, t));
    };
    GuardedWorld<TypeParam> a(width, height, 1, 1), b(width, height, 2, 2);
    Paint(&a, scene(0));
    Paint(&b, scene(1));
    const Pair pair = MakePair(a.world, b.world, VX_TweenQuality_High);
    const Pair swapped = MakePair(b.world, a.world, VX_TweenQuality_High);
    for (const float at : {0.25f, 0.5f, 0.8f}) {
      GuardedWorld<TypeParam> truth(width, height, 0, 3);
      Paint(&truth, scene(static_cast<double>(at)));
      const auto made = Instant<TypeParam>(pair.get(), a.world, at);
      const double quality = Psnr(made, PixelsOf(truth), width, 12);
      EXPECT_GT(quality, 44) << m.dx << ' ' << m.angle << ' ' << m.zoom << " at " << at;
      const auto mirrored = Instant<TypeParam>(swapped.get(), a.world, 1 - at);
      EXPECT_NEAR(Psnr(mirrored, PixelsOf(truth), width, 12), quality, 0.5);
      for (const int32_t count : {1, 3, 16}) {
        VX_SetMotionThreads(count);
        const Pair again = MakePair(a.world, b.world, VX_TweenQuality_High);
        EXPECT_EQ(FirstDifference(Instant<TypeParam>(again.get(), a.world, at), made), -1);
      }
      VX_SetMotionThreads(threads);
    }
  }
}

// Equal pictures come back exactly, with the colours of transparent pixels and values that are not
// finite; so do both ends. Pictures of any size are accepted.
TYPED_TEST(Tween, KeepsEqualPicturesAndEnds) {
  for (const auto& [width, height] : {std::pair{1, 1}, {3, 2}, {19, 40}, {64, 48}}) {
    GuardedWorld<TypeParam> a(width, height, 2, 11), b(width, height, 7, 12);
    const auto same = PixelsOf(a);
    for (const auto quality : {VX_TweenQuality_Standard, VX_TweenQuality_High}) {
      const Pair ends = MakePair(a.world, b.world, quality);
      EXPECT_EQ(FirstDifference(Instant<TypeParam>(ends.get(), a.world, 0), same), -1);
      EXPECT_EQ(FirstDifference(Instant<TypeParam>(ends.get(), a.world, 1), PixelsOf(b)), -1);
      Instant<TypeParam>(ends.get(), a.world, 0.5f);
    }
    GuardedWorld<TypeParam> copy(width, height, 5, 13);
    for (int i = 0; i < width * height; ++i)
      copy.Set(i % width, i / width, same[static_cast<size_t>(i)]);
    for (const auto quality : {VX_TweenQuality_Standard, VX_TweenQuality_High}) {
      const Pair still = MakePair(a.world, copy.world, quality);
      EXPECT_EQ(FirstDifference(Instant<TypeParam>(still.get(), a.world, 0.3f), same), -1)
          << width << " x " << height << ", quality " << quality;
    }
  }
}

// A sprite moves over transparency whose colour is white; no white reaches the sprite.
TYPED_TEST(Tween, DoesNotMixColoursOfTransparentPixels) {
  const int width = 96, height = 64;
  const auto full = static_cast<double>(kFull<TypeParam>);
  GuardedWorld<TypeParam> worlds[2] = {{width, height, 0, 1}, {width, height, 0, 2}};
  for (int k = 0; k < 2; ++k) {
    for (int i = 0; i < width * height; ++i) {
      const double x = i % width - 30 - 12 * k, y = i / width - 30;
      const double matte = std::clamp(18 - std::hypot(x, y), 0.0, 1.0);
      TypeParam p{};
      using Channel = VX_ChannelOf<TypeParam>;
      p.alpha = static_cast<Channel>(matte * full);
      p.red = p.green = p.blue = static_cast<Channel>(matte > 0 ? 0.25 * full : full);
      worlds[k].Set(i % width, i / width, p);
    }
  }
  const Pair pair = MakePair(worlds[0].world, worlds[1].world, VX_TweenQuality_High);
  double covered = 0;
  for (const TypeParam& p : Instant<TypeParam>(pair.get(), worlds[0].world, 0.5f)) {
    const double alpha = static_cast<double>(p.alpha) / full;
    covered += alpha;
    if (alpha > 0.1) {
      EXPECT_NEAR(static_cast<double>(p.red) / full, 0.25, 0.02);
    }
  }
  EXPECT_NEAR(covered / (3.14159 * 17.5 * 17.5), 1, 0.02);
}

// A still picture that becomes brighter: the pictures are weighted by time.
TYPED_TEST(Tween, FollowsTheBrightness) {
  const int width = 150, height = 110;
  const Picture texture = Texture(3, 9);
  const auto scene = [&](double t) {
    return [=](double x, double y) { return 0.2 + 0.6 * texture(x, y) + 0.06 * t; };
  };
  GuardedWorld<TypeParam> a(width, height, 1, 1), b(width, height, 2, 2);
  Paint(&a, scene(0));
  Paint(&b, scene(1));
  const Pair pair = MakePair(a.world, b.world, VX_TweenQuality_High);
  for (const float at : {0.2f, 0.8f}) {
    GuardedWorld<TypeParam> truth(width, height, 0, 3);
    Paint(&truth, scene(static_cast<double>(at)));
    const auto made = Instant<TypeParam>(pair.get(), a.world, at);
    EXPECT_GT(Psnr(made, PixelsOf(truth), width, 12), 38) << at;
  }
}

TEST(TweenUnexplained, SeparatesCutsFromMotion) {
  const int width = 320, height = 180;
  const auto paint = [&](const Picture& picture) {
    auto world = std::make_unique<GuardedWorld<VX_Pixel8>>(width, height, 0, 1);
    Paint(world.get(), picture);
    return world;
  };
  const Picture shot = Texture(5, 14), other = Texture(6, 14);
  const auto a = paint(shot), moved = paint(Moved(shot, 9, -4)), b = paint(other);
  const auto zoomed = paint(Turned(shot, width / 2.0, height / 2.0, 0, 1.3));
  // Pictures without contrast are alike at the ends of most vectors.
  const auto pale = [&](const Picture& picture) {
    return paint([picture](double x, double y) { return 0.45 + 0.15 * picture(x, y); });
  };
  for (const auto quality : {VX_TweenQuality_Standard, VX_TweenQuality_High}) {
    const auto share = [&](const auto& x, const auto& y) {
      float result = -1;
      const Pair pair = MakePair(x->world, y->world, quality);
      EXPECT_EQ(VX_TweenUnexplained(pair.get(), nullptr, &result), VX_Ok);
      return result;
    };
    EXPECT_LT(share(a, moved), 0.3f);
    EXPECT_GT(share(a, b), 0.85f);
    EXPECT_GT(share(pale(shot), pale(other)), 0.5f);
    EXPECT_EQ(share(a, a), 0);
    // A zoom moves much of one picture out of the other one.
    EXPECT_LT(share(a, zoomed), 0.4f);
    EXPECT_LT(share(zoomed, a), 0.4f);
  }
}

TEST(TweenRefusals, LeaveTheDestinationUntouched) {
  GuardedWorld<VX_Pixel8> a(40, 30, 0, 1), b(40, 30, 0, 2), to(40, 30, 0, 3), wide(41, 30, 0, 4);
  const std::vector<uint8_t> before = to.bytes;
  VX_Tween* tween = nullptr;
  const auto make = [&](const VX_LayerDef* x, const VX_LayerDef* y, int quality) {
    return VX_NewTween(x, y, nullptr, static_cast<VX_TweenQuality>(quality), &tween);
  };
  EXPECT_EQ(make(nullptr, &b.world, 0), VX_ErrBadParameter);
  EXPECT_EQ(make(&a.world, &wide.world, 0), VX_ErrBadParameter);
  EXPECT_EQ(make(&a.world, &b.world, 2), VX_ErrBadParameter);
  EXPECT_EQ(tween, nullptr);
  const Pair pair = MakePair(a.world, b.world, VX_TweenQuality_High);
  for (const float at : {-0.1f, 1.5f, std::nanf("")}) {
    EXPECT_EQ(VX_TweenInstant(pair.get(), at, nullptr, &to.world), VX_ErrBadParameter);
  }
  EXPECT_EQ(VX_TweenInstant(pair.get(), 0.5f, nullptr, nullptr), VX_ErrBadParameter);
  EXPECT_EQ(VX_TweenInstant(pair.get(), 0.5f, nullptr, &wide.world), VX_ErrBadParameter);
  EXPECT_EQ(VX_TweenInstant(nullptr, 0.5f, nullptr, &to.world), VX_ErrBadParameter);

  // A stop at any poll ends with its code; the pair stays usable.
  static int32_t polls, last;
  const VX_Veltor_InterruptFuncs interrupt = {
      [](void*) { return VX_Err{++polls >= last ? 10000 : 0}; }, nullptr};
  VX_Err code = 10000;
  for (last = 1; code != VX_Ok; last += 1 + last / 8) {
    polls = 0;
    const Pair fresh = MakePair(a.world, b.world, VX_TweenQuality_High);
    GuardedWorld<VX_Pixel8> out(40, 30, 0, 3);
    code = VX_TweenInstant(fresh.get(), 0.5f, &interrupt, &out.world);
    EXPECT_EQ(code, polls >= last ? 10000 : VX_Ok) << last;
    EXPECT_EQ(VX_TweenInstant(fresh.get(), 0.5f, nullptr, &out.world), VX_Ok);
  }
  EXPECT_GT(polls, 50);
  EXPECT_EQ(to.bytes, before);
}

}  // namespace
