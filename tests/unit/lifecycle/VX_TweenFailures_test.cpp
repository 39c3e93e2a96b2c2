// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// In-between pictures whose allocations fail: the code, one report, no leak, and the object works
// again.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include "VX/VX.h"
#include "VX/VX_FrameBlending.h"
#include "frame/VXp_Counters.h"
#include "host/VXHost.h"
#include "hostdouble/HostDouble.h"

namespace {

constexpr int32_t kWidth = 32, kHeight = 24;

// A texture and the same moved by 2 pixels, with transparent pixels, so that planes of alpha are
// made.
struct Pictures {
  Pictures() {
    for (VX_LayerDef* world : {&first, &second, &out}) {
      pixels.emplace_back(kWidth * kHeight);
      *world = {};
      world->width = kWidth;
      world->height = kHeight;
      world->rowbytes = kWidth * int32_t{sizeof(VX_Pixel16)};
      VXp_SetWorldDepth(world, 16);
    }
    first.data = pixels[0].data();
    second.data = pixels[1].data();
    out.data = pixels[2].data();
    for (int32_t i = 0; i < kWidth * kHeight; ++i) {
      for (int32_t k = 0; k < 2; ++k) {
        const int32_t x = i % kWidth - 2 * k, y = i / kWidth;
        const auto value = static_cast<uint16_t>((x * x + 7 * y * y + 5 * x * y) * 97 & 0x7fff);
        const auto alpha = static_cast<uint16_t>(x < 20 ? 32768 : 9000);
        pixels[static_cast<size_t>(k)][static_cast<size_t>(i)] = {alpha, value, value, value};
      }
    }
  }
  std::vector<VX_Pixel16>& result() { return pixels[2]; }

  std::vector<std::vector<VX_Pixel16>> pixels;
  VX_LayerDef first, second, out;
};

using Call = std::function<VX_Err()>;

// An object for in-between pictures, as the call that uses it.
template <VX_TweenQuality quality>
std::shared_ptr<VX_Tween> NewTween(const Pictures& p) {
  VX_Veltor_AlgoParams settings;
  settings.Resolution = 0.5f;
  settings.ShutterSamples = 2;
  VX_Tween* tween = nullptr;
  EXPECT_EQ(VX_NewTween(&p.first, &p.second, &settings, quality, &tween), VX_Ok);
  return {tween, VX_DisposeTween};
}
template <VX_TweenQuality quality>
Call Instant(Pictures* p) {
  return [p, tween = NewTween<quality>(*p)] {
    return VX_TweenInstant(tween.get(), 0.5f, nullptr, &p->out);
  };
}
// The share is in the first pixel.
template <VX_TweenQuality quality>
Call Unexplained(Pictures* p) {
  return [p, tween = NewTween<quality>(*p)] {
    float share = 0;
    const VX_Err error = VX_TweenUnexplained(tween.get(), nullptr, &share);
    p->result()[0].red = static_cast<uint16_t>(share * 32768);
    return error;
  };
}
template <bool cached>
Call Render(Pictures* p) {
  VX_Veltor_OtherParams times;
  times.Instant = 0.5;
  times.CacheIdentity[3] = cached ? 1 : 0;
  const auto blending =
      std::make_shared<VX_AdvancedFrameBlending>(times, VX_Veltor_InterruptFuncs{});
  blending->algo.Resolution = 0.5f;
  blending->algo.HighQuality = 1;
  blending->algo.ShutterSamples = 2;
  std::array<std::shared_ptr<VX_World>, 3> worlds;
  std::ranges::transform(
      std::array{&p->first, &p->second, &p->out}, worlds.begin(),
      [](VX_LayerDef* world) { return std::shared_ptr<VX_World>(VX_World::NewReference(world)); });
  return [blending, worlds] {
    return blending->Render(worlds[0].get(), worlds[1].get(), worlds[2].get());
  };
}

}  // namespace

TEST(TweenFailures, EachAllocation) {
  VX_Death();  // birth is not recorded
  ASSERT_EQ(VX_Birth(), 0);
  const int32_t threads = VX_MotionThreads();
  VX_SetMotionThreads(1);  // for speed; only the calling thread allocates
  constexpr auto kStandard = VX_TweenQuality_Standard, kHigh = VX_TweenQuality_High;
  const std::pair<const char*, Call (*)(Pictures*)> rows[] = {
      {"instant", Instant<kStandard>},
      {"instant, high", Instant<kHigh>},
      {"unexplained", Unexplained<kStandard>},
      {"unexplained, high", Unexplained<kHigh>},
      {"Render", Render<false>},
      {"Render, cached", Render<true>},
  };
  for (const auto& [name, make] : rows) {
    HostDouble host;
    const int32_t live = VXp_LiveWorlds();
    {
      Pictures pictures;
      ASSERT_EQ(make(&pictures)(), VX_Ok);
      const std::vector<VX_Pixel16> wanted = pictures.result();
      VX_ClearMotionCache();
      bool reached = true;
      for (int i = 2; reached; ++i) {
        // Once or from then on. A single failure may be repaired by freeing memory and a second
        // try.
        const int nth = i / 2, later = i % 2;
        SCOPED_TRACE(testing::Message() << name << ", " << nth << ", " << later);
        const Call call = make(&pictures);
        VXHost_TakeReports();
        const int64_t attempts = host.AllocationCount();
        host.FailAllocation(nth, later);
        const VX_Err error = call();
        reached = host.AllocationCount() - attempts >= nth;
        host.FailAllocation(0);
        EXPECT_TRUE(error == (reached ? VX_ErrOutOfMemory : VX_Ok) || (error == 0 && !later));
        EXPECT_EQ(VXHost_TakeReports().size(), error == VX_Ok ? 0u : 1u);
        if (error != VX_Ok) {
          EXPECT_EQ(call(), VX_Ok);
        }
        EXPECT_EQ(
            std::memcmp(pictures.result().data(), wanted.data(), wanted.size() * sizeof wanted[0]),
            0);
        EXPECT_TRUE(reached || nth > 4) << "too few allocations";
        VX_ClearMotionCache();
        ASSERT_LT(nth, 1000);
      }
    }
    EXPECT_EQ(host.Leaked(), 0) << name;
    EXPECT_EQ(host.Accounted(), 0) << name;
    EXPECT_EQ(VXp_LiveWorlds(), live) << name;
  }
  VX_SetMotionThreads(threads);
}
