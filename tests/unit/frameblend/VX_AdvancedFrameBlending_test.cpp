// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// In-between pictures: against the twin, known scenes, refusals.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "VX/VX_FrameBlending.h"
#include "reference/RefTween.h"
#include "unit/frameblend/MotionScenes.h"

namespace {

using Params = VX_Veltor_AlgoParams;
using Blending = VX_AdvancedFrameBlending;
using Scene = std::function<Picture(double time)>;

std::unique_ptr<VX_World> Wrap(VX_LayerDef* world) {
  return std::unique_ptr<VX_World>(VX_World::NewReference(world));
}

// The bytes of the destination around the picture must not change.
template <class Pixel>
std::vector<Pixel> Render(GuardedWorld<Pixel>* a, GuardedWorld<Pixel>* b, const Params& p,
                          double instant) {
  VX_Veltor_OtherParams times;
  times.Instant = instant;
  Blending blending(times, {});
  blending.algo = p;
  const auto one = Wrap(&a->world), two = Wrap(&b->world);
  return Drawn<Pixel>(a->world, [&](VX_LayerDef* to) {
    EXPECT_EQ(blending.Render(one.get(), two.get(), Wrap(to).get()), VX_Ok);
  });
}

// --- against the twin ----------------------------------------------------------------------------

template <class Pixel>
class AdvancedFrameBlending : public testing::Test {};
TYPED_TEST_SUITE(AdvancedFrameBlending, PixelTypes, DepthNames);

Picture Disc(double x, double y, double radius) {
  return
      [=](double u, double v) { return std::clamp(radius - std::hypot(u - x, v - y), 0.0, 1.0); };
}

Picture Over(Picture top, Picture matte, Picture bottom) {
  return
      [=](double x, double y) { return bottom(x, y) + (top(x, y) - bottom(x, y)) * matte(x, y); };
}

TYPED_TEST(AdvancedFrameBlending, EqualsTheTwin) {
  const int32_t threads = VX_MotionThreads();
  Operands<TypeParam> random(17);
  const auto one_of = [&random](auto... v) { return std::array{v...}[random.Below(sizeof...(v))]; };
  std::vector<std::string> contents = {"moved",     "object", "sprite",
                                       "unrelated", "noise",  "identical"};
  if (kDepth<TypeParam> == 32) contents.push_back("not finite");
  for (const auto& [width, height] : {std::pair{1, 1}, {5, 4}, {37, 29}, {101, 77}, {160, 90}}) {
    for (const std::string& what : contents) {
      Params p;
      p.Resolution = one_of(0.2f, 0.5f, 1.0f);
      const double dx = random.Between(-60, 60) / 8.0, dy = random.Between(-60, 60) / 8.0;
      const Picture front = Texture(random.Word(), 20), back = Texture(random.Word(), 8);
      const Picture matte = Disc(width / 2, height / 2, height / 3.0);
      const bool object = what == "object" || what == "sprite";
      const Picture one = object ? Over(front, matte, back) : front;
      const Picture two = object ? Over(Moved(front, dx, dy), Moved(matte, dx, dy), back)
                          : what == "unrelated" ? back
                          : what == "identical" ? one
                                                : Moved(one, dx, dy);
      GuardedWorld<TypeParam> a(width, height, random.Below(9), random.Word());
      GuardedWorld<TypeParam> b(width, height, random.Below(9), random.Word());
      if (what != "noise") {
        const bool sprite = what == "sprite";
        Paint(&a, one, sprite ? matte : Picture());
        Paint(&b, two, sprite ? Moved(matte, dx, dy) : Picture());
      }
      if constexpr (kDepth<TypeParam> == 32) {
        const float infinite = std::numeric_limits<float>::infinity();
        const bool same = what == "identical";  // NaN must not reach neighbours of still pixels
        for (int i = 0; (same || what == "not finite") && i < width * height / 40; ++i) {
          const float value = one_of(std::nanf(""), infinite, -infinite);
          const int x = random.Below(width), y = random.Below(height), to = random.Below(2);
          for (auto* world : {&a, &b}) {
            if (same || world == (to == 0 ? &a : &b)) {
              world->Set(x, y, {1, value, i % 2 == 0 ? value : 0.5f, value});
            }
          }
        }
      }
      const vxref::tween::Tween<TypeParam> twin(a.world, b.world, p);
      for (double instant : {0.0, 0.1, 0.25, 0.5, 0.75, 0.9, 0.998, 1.0, 1.5, -0.25}) {
        if (width > 100 && random.Below(3) != 0) continue;  // the twin is slow
        p.Method = one_of(int16_t{0}, int16_t{1}, int16_t{2}, int16_t{2}, int16_t{2}, int16_t{2});
        p.HighQuality = one_of(int16_t{0}, int16_t{1});
        p.ShutterSamples = one_of(int16_t{1}, int16_t{1}, int16_t{2}, int16_t{3});
        p.ShutterAngle = one_of(0.0f, 90.0f, 180.0f, 360.0f);
        VX_SetMotionThreads(one_of(1, 2, 3, 7, 16));
        const std::vector<TypeParam> want = twin.Render(p, instant).cells;
        const std::vector<TypeParam> got = Render(&a, &b, p, instant);
        const int first = FirstDifference(got, want);
        const size_t at = static_cast<size_t>(std::max(first, 0));
        EXPECT_EQ(first, -1) << what << " " << dx << " " << dy << ", " << width << " x " << height
                             << ", resolution " << p.Resolution << ", instant " << instant
                             << ", method " << p.Method << ", quality " << p.HighQuality
                             << ", shutter " << p.ShutterSamples << " of " << p.ShutterAngle << ": "
                             << Text(got[at]) << ", not " << Text(want[at]);
        if (what == "identical" && kDepth<TypeParam> != 32) {
          for (int i = 0; i < width * height; ++i) {
            ASSERT_TRUE(SamePixel(got[static_cast<size_t>(i)], a.Get(i % width, i / width))) << i;
          }
        }
      }
    }
  }
  VX_SetMotionThreads(threads);
}

// --- known pictures ------------------------------------------------------------------------------

// Floors in dB.
TYPED_TEST(AdvancedFrameBlending, FindsThePicturesOfScenes) {
  constexpr int kWidth = 160, kHeight = 120;
  const Picture texture = Texture(5, 14), back = Texture(6, 14);
  const Picture disc = Disc(70, 60, 25);
  const struct {
    const char* name;
    Scene at;
    double floor, over_mix;
  } scenes[] = {
      {"move", [&](double t) { return Moved(texture, 7 * t, -4 * t); }, 30, 10},
      {"rotation", [&](double t) { return Turned(texture, 80, 60, 0.1 * t, 1); }, 30, 10},
      {"zoom", [&](double t) { return Turned(texture, 80, 60, 0, 1 + 0.1 * t); }, 30, 10},
      {"object",
       [&](double t) { return Over(Moved(texture, 9 * t, 0), Moved(disc, 9 * t, 0), back); }, 30,
       5},
  };
  for (const auto& scene : scenes) {
    GuardedWorld<TypeParam> a(kWidth, kHeight, 0, 1), b(kWidth, kHeight, 0, 2);
    Paint(&a, scene.at(0)), Paint(&b, scene.at(1));
    for (double t : {0.25, 0.5, 0.75}) {
      GuardedWorld<TypeParam> between(kWidth, kHeight, 0, 3);
      Paint(&between, scene.at(t));
      const std::vector<TypeParam> want = PixelsOf(between);
      Params p;
      p.Resolution = 0.5f;
      const double motion = Psnr(Render(&a, &b, p, t), want, kWidth, 0);
      const double mirrored = Psnr(Render(&b, &a, p, 1 - t), want, kWidth, 0);
      p.Method = 1;
      const double mix = Psnr(Render(&a, &b, p, t), want, kWidth, 0);
      EXPECT_GT(motion, scene.floor) << scene.name << " at " << t;
      EXPECT_GT(motion, mix + scene.over_mix) << scene.name << " at " << t;
      EXPECT_NEAR(motion, mirrored, 0.5) << scene.name << " at " << t;
    }
  }
}

// --- settings and refusals -----------------------------------------------------------------------

TEST(AdvancedFrameBlendingSettings, ArePercentages) {
  Params p;
  p.LumaR = p.LumaG = 30, p.LumaB = 40, p.ErrorThreshold = 1;
  for (const auto& [percent, fraction, code] : {std::tuple{20.0f, 0.199999988f, VX_Ok},
                                                {5.0f, 0.0499999970f, VX_Ok},
                                                {4.0f, 0.0399999991f, VX_ErrMotionSettings},
                                                {100.0f, 0.99999998f, VX_Ok}}) {
    p.Resolution = percent;
    const Blending blending(p, {}, {});
    EXPECT_EQ(blending.algo.Resolution, fraction);
    EXPECT_EQ(blending.algo.ErrorThreshold, 0.0099999998f);
    EXPECT_NEAR(blending.algo.LumaB, 0.4, 1e-7);
    EXPECT_EQ(blending.algo.VectorDetail, 500);
    EXPECT_EQ(blending.algo.ShutterAngle, 180);
    EXPECT_EQ(blending.CheckParamRange(), code) << percent;
  }
  EXPECT_EQ(Blending({}, {}).CheckParamRange(), VX_Ok);
}

TEST(AdvancedFrameBlendingRefusals, LeaveTheDestinationUntouched) {
  GuardedWorld<VX_Pixel8> a(9, 8, 0, 1), b(9, 8, 0, 2), to(9, 8, 0, 3), wide(10, 8, 0, 4);
  GuardedWorld<VX_Pixel8> high(9, 9, 0, 5);
  GuardedWorld<VX_Pixel16> deep(9, 8, 0, 6);
  const auto one = Wrap(&a.world), two = Wrap(&b.world), result = Wrap(&to.world);
  const auto wider = Wrap(&wide.world), higher = Wrap(&high.world), deeper = Wrap(&deep.world);
  OddDepthWorld odd(&to.world);
  VX_World *const x = one.get(), *const y = two.get(), *const z = result.get();
  const std::vector<uint8_t> before = to.bytes;
  VX_Veltor_OtherParams half;
  half.Instant = 0.5;
  const auto call = [](VX_World* from, VX_World* next, VX_World* dest, VX_Veltor_OtherParams times,
                       const Params& p) {
    Blending blending(times, {});
    blending.algo = p;
    return blending.Render(from, next, dest);
  };
  Reports();
  const std::array<VX_World*, 3> bad[] = {
      {nullptr, y, z},      {x, nullptr, z},      {x, y, nullptr}, {wider.get(), y, z},
      {x, higher.get(), z}, {x, deeper.get(), z}, {x, y, x},       {x, y, y}};
  for (const auto& [from, next, dest] : bad) {
    EXPECT_EQ(call(from, next, dest, half, {}), VX_ErrBadParameter);
  }
  for (auto time : {&VX_Veltor_OtherParams::TimeA, &VX_Veltor_OtherParams::TimeB}) {
    VX_Veltor_OtherParams zero = half;
    (zero.*time).scale = 0;
    EXPECT_EQ(call(x, y, z, zero, {}), VX_ErrBadParameter);
  }
  EXPECT_EQ(Reports().size(), std::size(bad) + 2);
  Params p;
  p.ShutterAngle = std::nanf("");
  EXPECT_EQ(call(x, y, z, half, p), VX_ErrMotionSettings);
  EXPECT_EQ(call(x, y, &odd, half, {}), VX_Ok);
  EXPECT_EQ(Reports().size(), 0u);
  EXPECT_EQ(to.bytes, before);

  // A stop at any poll ends the call with its code. The codes of a stop are not reported.
  static int32_t polls, stop_at;
  static constexpr VX_Err kCodes[] = {77, 10000, VX_ErrStopped};
  const VX_Veltor_InterruptFuncs stop = {
      [](void*) { return ++polls == stop_at ? kCodes[stop_at % 3] : VX_Err{0}; }, nullptr};
  for (int16_t method = 0; method < 3; ++method) {
    Blending blending(half, stop);
    blending.algo.Method = method;
    blending.algo.Resolution = 1;
    VX_Err code = 1;
    for (stop_at = 1; code != VX_Ok; ++stop_at) {
      polls = 0;
      code = blending.Render(x, y, z);
      ASSERT_EQ(code, polls >= stop_at ? kCodes[stop_at % 3] : VX_Ok) << stop_at;
      ASSERT_EQ(Reports().size(), code == 77 ? 1u : 0u) << stop_at;
    }
    EXPECT_GT(stop_at, method == 2 ? 100 : 2);
  }
}

}  // namespace
