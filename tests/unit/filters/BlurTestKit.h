// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What the tests of blurs share: calls with their twins, random trials, an iterator of several
// threads. Worlds end where memory ends, and all bytes around the pixels are compared.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <memory>
#include <numeric>
#include <thread>

#include "VX/VX_Blur.h"
#include "VX/VX_OverrideTable.h"
#include "reference/RefBlur.h"
#include "unit/BornEnvironment.h"
#include "unit/EdgeWorld.h"
#include "unit/GuardedWorld.h"
#include "unit/PixelTestKit.h"

// --- calls ---------------------------------------------------------------------------------------

// A pass of either kind: no iterations is the Gaussian.
struct BlurCall {
  vxref::BlurPass pass;
  int32_t iterations;
  uint8_t force_copy;

  void operator()(const VX_World* src, VX_World* dst, VX_ProgressInfo* progress = nullptr) const {
    const vxref::BlurPass& p = pass;
    if (iterations == 0) {
      VX_GaussianBlur1D(progress, src, p.radius, p.flags, p.src_direction, p.src_premultiplied,
                        p.dst_direction, p.dst_premultiplied, force_copy, dst);
    } else {
      VX_BoxBlur1D(progress, src, p.radius, iterations, p.flags, p.src_direction,
                   p.src_premultiplied, p.dst_direction, p.dst_premultiplied, force_copy, dst);
    }
  }
  template <class Pixel>
  void Run(EdgeWorld<Pixel>* src, EdgeWorld<Pixel>* dst, VX_ProgressInfo* progress = nullptr) {
    const VX_WorldX<Pixel> from(&src->world, true);
    VX_WorldX<Pixel> to(&dst->world, true);
    (*this)(&from, &to, progress);
  }
  template <class Pixel>
  void Twin(const EdgeWorld<Pixel>& src, const EdgeWorld<Pixel>& dst) const {
    if (iterations == 0) {
      vxref::GaussianBlur1D<Pixel>(pass, src.world, dst.world);
    } else {
      vxref::BoxBlur1D<Pixel>(pass, iterations, src.world, dst.world);
    }
  }
};

// Along rows or down columns, straight in and out unless told otherwise.
inline BlurCall MakeBlur(float radius, int32_t iterations, int32_t flags, int32_t direction = 0,
                         bool src_premultiplied = false, bool dst_premultiplied = false) {
  return {
      {radius, flags, direction, src_premultiplied, direction, dst_premultiplied}, iterations, 0};
}

using OnStep = std::function<VX_Err(int32_t step, int32_t final_step)>;
inline VX_ProgressInfo ProgressOf(OnStep* on_step) {
  VX_ProgressInfo info{};
  info.progress_refcon = on_step;
  info.progress_func = [](void* refcon, int32_t step, int32_t final_step) {
    return (*static_cast<OnStep*>(refcon))(step, final_step);
  };
  return info;
}

// --- an iterator of several threads --------------------------------------------------------------

inline constexpr int32_t kThreads = 4;
inline thread_local int32_t this_thread_index = 0;

// Lines in random order. A code, returned or thrown, ends its thread; the lowest thread's wins.
inline VX_Err IterateOnThreads(int32_t iterations, void* refcon, VX_GenericFunc function) {
  static uint32_t seed = TestSeed();
  std::vector<int32_t> order(static_cast<size_t>(std::max(iterations, 0)));
  std::iota(order.begin(), order.end(), 0);
  std::shuffle(order.begin(), order.end(), std::mt19937(++seed));
  VX_Err errors[kThreads] = {};
  std::vector<std::thread> threads;
  for (int32_t t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      this_thread_index = t;
      for (size_t i = static_cast<size_t>(t); i < order.size() && errors[t] == 0; i += kThreads) {
        VX_Err result = 0;
        const VX_Err thrown = Thrown([&] { result = function(refcon, t, order[i], iterations); });
        errors[t] = thrown != 0 ? thrown : result;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  const VX_Err* const first = std::find_if(errors, std::end(errors), [](VX_Err e) { return e; });
  return first == std::end(errors) ? 0 : *first;
}

class IteratorReplaced {
 public:
  explicit IteratorReplaced(VX_IterateGenericFunc function = &IterateOnThreads)
      : before_(VXp_G_OverFuncs.VX_IterateGeneric_Static) {
    VXp_G_OverFuncs.VX_IterateGeneric_Static = function;
    VXHost_SetNumThreads(kThreads);
  }
  ~IteratorReplaced() {
    VXp_G_OverFuncs.VX_IterateGeneric_Static = before_;
    VXHost_SetNumThreads(1);
  }

 private:
  VX_IterateGenericFunc before_;
};

// Nothing is left behind when a test ends.
class Blur : public testing::Test {
 protected:
  void TearDown() override {
    const VXHost_Memory after = VXHost_GetMemory();
    EXPECT_EQ(after.blocks, before_.blocks);
    EXPECT_EQ(after.frames, before_.frames);
    EXPECT_EQ(after.accounted, before_.accounted);
  }
  const VXHost_Memory before_ = VXHost_GetMemory();
};

// --- worlds --------------------------------------------------------------------------------------

// Runs of transparent pixels with hidden colour, of opaque and of translucent ones. No float alpha
// is so small that a quotient by it magnifies the rounding of the sums. `wild`: hidden colours may
// be infinite, or no number.
template <class Pixel>
struct RandomRuns {
  std::mt19937& random;
  bool wild = false;
  int left = 0;
  int kind = 0;

  Pixel operator()() {
    if (left-- == 0) {
      left = static_cast<int>(random() % 6);
      kind = static_cast<int>(random() % 4);
    }
    Pixel p = GuardedWorld<Pixel>::RandomPixel(random);
    if constexpr (sizeof(Pixel) == 16) {
      constexpr float kWild[] = {NAN, INFINITY, -INFINITY, 3e38f};
      p.alpha = 0.25f + std::abs(p.alpha) / 2;
      if (wild && kind == 0) p.red = kWild[random() % 4], p.blue = kWild[random() % 4];
    }
    if (kind == 0) p.alpha = 0;
    if (kind == 1) p.alpha = kFull<Pixel>;
    return p;
  }
};

// Equal bytes. Float pixels may differ by `tolerance`, relative above 1, and are then made equal.
template <class Pixel>
testing::AssertionResult Same(EdgeWorld<Pixel>* got, const EdgeWorld<Pixel>& want,
                              double tolerance = sizeof(Pixel) == 16 ? 4e-6 : 0) {
  for (int32_t i = 0; i < want.world.width * want.world.height; ++i) {
    const int32_t x = i % want.world.width, y = i / want.world.width;
    VX_ChannelOf<Pixel> g[4], w[4];
    const Pixel a = got->Get(x, y), b = want.Get(x, y);
    std::memcpy(g, &a, sizeof a), std::memcpy(w, &b, sizeof b);
    for (int c = 0; c < 4; ++c) {
      if (std::memcmp(&g[c], &w[c], sizeof g[c]) == 0) continue;
      const auto scale = std::max(1.0, std::abs(static_cast<double>(w[c])));
      const double error = std::abs(static_cast<double>(g[c]) - static_cast<double>(w[c]));
      if (error <= tolerance * (sizeof(Pixel) == 16 ? scale : 1)) continue;
      return testing::AssertionFailure()
             << "channel " << c << " of pixel " << x << ", " << y << " is "
             << static_cast<double>(g[c]) << ", not " << static_cast<double>(w[c]);
    }
    if (tolerance > 0) got->Set(x, y, b);
  }
  if (got->SameBytes(want)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "bytes around the pixels";
}

// --- trials --------------------------------------------------------------------------------------

// Worlds from 1 x 1 to `wide` x `high`, near each other or far. 512 numbers go through all flags,
// directions and forms; the rest is random. `lines`, if not 0, is how many the destination has.
template <class Pixel>
struct BlurTrial {
  std::mt19937 random;
  BlurCall call;
  std::unique_ptr<EdgeWorld<Pixel>> src, kept_src, dst, want;

  BlurTrial(uint32_t number, float radius, int32_t iterations, uint32_t wide = 23,
            uint32_t high = 17, int32_t lines = 0)
      : random(TestSeed() + number) {
    const auto bit = [&number](int i) { return (number >> i & 1) != 0; };
    call = {{radius, static_cast<int32_t>(number % 32), bit(5), bit(6), bit(7), bit(8)},
            iterations,
            static_cast<uint8_t>(Up(3) == 0)};
    int32_t width = 1 + Up(wide), height = 1 + Up(high);
    if (lines != 0) (call.pass.src_direction != 0 ? width : height) = lines + Up(5) - 2;
    MakePair(width, height, &src, &kept_src);
    src->Paint(RandomRuns<Pixel>{random, !call.pass.src_premultiplied});
    kept_src->CopyBytes(*src);
    const bool alike = Up(3) == 0;
    if (call.pass.src_direction != call.pass.dst_direction) std::swap(width, height);
    if (!alike) width = 1 + Up(wide), height = 1 + Up(high);
    if (lines != 0) (call.pass.dst_direction != 0 ? width : height) = lines;
    MakePair(width, height, &dst, &want);
    if (alike && Up(2) == 0) return;
    src->world.origin_x = Up(9) - 4, src->world.origin_y = Up(9) - 4;
    dst->world.origin_x = want->world.origin_x = Up(9) - 4;
    dst->world.origin_y = want->world.origin_y = Up(16) == 0 ? 1000000 : Up(9) - 4;
  }
  int32_t Up(uint32_t n) { return static_cast<int32_t>(random() % n); }
  void MakePair(int32_t width, int32_t height, std::unique_ptr<EdgeWorld<Pixel>>* one,
                std::unique_ptr<EdgeWorld<Pixel>>* other) {
    const int32_t padding = Up(10);
    const bool at_end = Up(3) != 0;
    *one = std::make_unique<EdgeWorld<Pixel>>(width, height, padding, at_end, 7);
    *other = std::make_unique<EdgeWorld<Pixel>>(width, height, padding, at_end, 7);
  }

  void Check() {
    call.Run(src.get(), dst.get());
    call.Twin(*src, *want);
    ASSERT_TRUE(src->SameBytes(*kept_src));
    ASSERT_TRUE(Same(dst.get(), *want)) << Tell();
  }
  std::string Tell() const {
    const vxref::BlurPass& p = call.pass;
    const VX_LayerDef &s = src->world, &d = dst->world;
    return (testing::Message() << "radius " << p.radius << ", iterations " << call.iterations
                               << ", flags " << p.flags << ", directions " << p.src_direction
                               << p.dst_direction << ", premultiplied " << p.src_premultiplied
                               << p.dst_premultiplied << ", force_copy " << int{call.force_copy}
                               << ", source " << s.width << " x " << s.height << " at "
                               << s.origin_x << ", " << s.origin_y << ", destination " << d.width
                               << " x " << d.height << " at " << d.origin_x << ", " << d.origin_y)
        .GetString();
  }
};
