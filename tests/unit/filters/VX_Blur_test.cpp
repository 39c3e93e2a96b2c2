// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The blur passes compared with their slow twins; refusals and stops.

#include "VX/VX_Blur.h"

#include <limits>

#include "BlurTestKit.h"
#include "filters/VX_BoxBlurT.h"

namespace {

template <class Pixel>
class BlurDepths : public Blur {};
using AllDepths = testing::Types<VX_Pixel8, VX_Pixel16, VX_PixelFloat>;
TYPED_TEST_SUITE(BlurDepths, AllDepths);

// --- against the twins ---------------------------------------------------------------------------

TYPED_TEST(BlurDepths, AreTheTwins) {
  uint32_t number = 0;
  for (const float radius : {0.0f, 0.3f, 1.0f, 1.5f, 2.0f, 7.25f, 40.6f}) {
    for (int32_t iterations = 0; iterations <= 4; ++iterations) {
      for (uint32_t i = 0; i < 128; ++i, number += 5) {  // all 512 kinds in four rounds
        SCOPED_TRACE(testing::Message() << "trial " << number);
        BlurTrial<TypeParam> trial(number, radius, iterations);
        std::unique_ptr<IteratorReplaced> threads;
        if (number % 7 == 0) threads = std::make_unique<IteratorReplaced>();
        ASSERT_NO_FATAL_FAILURE(trial.Check());
      }
    }
  }
}

// If columns are read or written, lines are processed in tiles: up to 256 bytes of a row in the
// Gaussian, 512 in the box, and at most a sixteenth of all lines. Tests numbers of lines that fill
// these tiles, and one line more or less.
template <class Pixel>
constexpr int32_t kTiles[] = {4, 256 / int32_t{sizeof(Pixel)}, 512 / int32_t{sizeof(Pixel)}};

TYPED_TEST(BlurDepths, AreTheTwinsWithManyLines) {
  uint32_t number = 0;
  for (const int32_t tile : kTiles<TypeParam>) {
    for (const int32_t lines : {16 * tile - 1, 16 * tile, 16 * tile + 1, 18 * tile - 1}) {
      for (uint32_t i = 0; i < 24; ++i, number += 29) {
        const uint32_t columns = i % 3 == 0 ? 32 : i % 3 == 1 ? 128 : 160;
        BlurTrial<TypeParam> trial(number | columns, i % 5 == 0 ? 2 : 3.4f,
                                   static_cast<int32_t>(i % 4), 9, 9, lines);
        std::unique_ptr<IteratorReplaced> threads;
        if (i % 2 == 0) threads = std::make_unique<IteratorReplaced>();
        ASSERT_NO_FATAL_FAILURE(trial.Check());
      }
    }
  }
}

// Sums that need all their bits, and scratch far longer than the worlds.
TYPED_TEST(BlurDepths, AreTheTwinsAtEnormousRadii) {
  for (int32_t iterations = 0; iterations <= 2; ++iterations) {
    for (const float radius : {5000.5f, VX_Blur_MaxRadius}) {
      for (const uint32_t number : {31u, 31u + 32, 31u + 256, 15u + 32 + 256, 30u + 32}) {
        BlurTrial<TypeParam> trial(number, radius, iterations);
        trial.dst->world.origin_y = trial.want->world.origin_y = 0;
        ASSERT_NO_FATAL_FAILURE(trial.Check());
      }
    }
  }
  EdgeWorld<TypeParam> src(9001, 1, 0, true, 1), dst(9, 1, 0, true, 2), want(9, 1, 0, true, 2);
  std::mt19937 random(TestSeed());
  src.Paint([&random] {
    TypeParam p = GuardedWorld<TypeParam>::RandomPixel(random);
    p.alpha = p.blue = kFull<TypeParam>;
    return p;
  });
  dst.world.origin_x = want.world.origin_x = 4496;
  for (uint32_t i = 0; i < 32; ++i) {
    const float radius = i % 2 == 0 ? 1400.75f : 4400.5f;
    BlurCall call = MakeBlur(radius, i / 2 % 2, i / 4 % 2 == 0 ? 15 : 14, 0, true, i / 16 % 2 != 0);
    call.force_copy = i / 8 % 2;
    call.Run(&src, &dst);
    call.Twin(src, want);
    ASSERT_TRUE(Same(&dst, want)) << "radius " << radius << ", " << call.iterations;
  }
}

// With a forced copy, source and destination may be the same memory.
TYPED_TEST(BlurDepths, ForcedCopyAllowsTheSameMemory) {
  for (uint32_t number = 0; number < 2048; number += 7) {
    BlurTrial<TypeParam> trial(number, 2.5f, static_cast<int32_t>(number / 512));
    trial.call.force_copy = 1;
    trial.call.pass.dst_direction = trial.call.pass.src_direction;
    trial.src->world.origin_x = trial.src->world.origin_y = 0;
    trial.call.Twin(*trial.src, *trial.kept_src);
    trial.call.Run(trial.src.get(), trial.src.get());
    ASSERT_TRUE(Same(trial.src.get(), *trial.kept_src)) << trial.Tell();
  }
}

// --- empty areas
// ----------------------------------------------------------------------------------

// Opaque blue next to transparent pixels with a hidden colour: the hidden colour never shows, blue
// fades by alpha only, and alpha is exactly 0 where the window is empty. Float sums of alphas of
// very different size must not leave a rounding error there, which the twin's tolerance would hide.
TYPED_TEST(BlurDepths, HiddenColourNeverBleeds) {
  constexpr TypeParam kBlue = {kFull<TypeParam>, 0, 0, kFull<TypeParam>};
  TypeParam kHidden = {0, kFull<TypeParam>, kFull<TypeParam>, 0};
  if constexpr (sizeof(TypeParam) == 16) kHidden = {0, INFINITY, NAN, NAN};
  EdgeWorld<TypeParam> src(60, 1, 0, true, 1), dst(60, 1, 0, true, 2);
  for (int32_t x = 0; x < 60; ++x) src.Set(x, 0, x < 12 ? kBlue : kHidden);
  if (sizeof(TypeParam) == 16) {
    const auto faint = static_cast<VX_ChannelOf<TypeParam>>(1.1e-13);
    for (const int32_t x : {1, 2, 5, 8, 11}) src.Set(x, 0, {faint, 0, 0, kFull<TypeParam>});
  }
  for (int32_t iterations = 0; iterations <= 3; ++iterations) {
    for (const bool premultiplied : {false, true}) {
      MakeBlur(3.5f, iterations, 15, 0, false, premultiplied).Run(&src, &dst);
      for (int32_t x = 0; x < 60; ++x) {
        const TypeParam p = dst.Get(x, 0);
        ASSERT_TRUE(p.red == 0 && p.green == 0) << x;
        // An alpha that rounds to 0 may leave its colour.
        if (premultiplied || p.blue != 0 || p.alpha != 0) {
          ASSERT_NEAR(p.blue, premultiplied ? p.alpha : kFull<TypeParam>, 1e-6) << x;
        }
        ASSERT_TRUE(x < 12 + 4 * std::max(iterations, 1) || p.alpha == 0) << x << ": " << p.alpha;
      }
    }
  }
}

// --- failures ------------------------------------------------------------------------------------

TEST_F(Blur, BadArgumentsThrowAndTouchNothing) {
  EdgeWorld<VX_Pixel8> src(5, 4, 0, true, 1), dst(5, 4, 0, true, 2), kept(5, 4, 0, true, 2);
  EdgeWorld<VX_Pixel16> deep(5, 4, 0, true, 3);
  VX_LayerDef none = src.world;
  none.data = nullptr;
  VX_WorldX<VX_Pixel8> from(&src.world, true), to(&dst.world, true), empty(&none, true);
  VX_WorldX<VX_Pixel16> other(&deep.world, true);
  OddDepthWorld odd_src(&src.world), odd(&dst.world);
  constexpr float kInfinite = std::numeric_limits<float>::infinity();
  struct Case {
    const VX_World* src;
    VX_World* dst;
    float radius;
  };
  const Case cases[] = {{&other, &to, 2},
                        {&from, &other, 2},
                        {&odd_src, &odd, 2},
                        {&from, &odd, 2},
                        {nullptr, &to, 2},
                        {&from, nullptr, 2},
                        {&empty, &to, 2},
                        {&from, &empty, 2},
                        {&to, &to, 2},
                        {&from, &to, -1},
                        {&from, &to, std::nanf("")},
                        {&from, &to, kInfinite},
                        {&from, &to, -kInfinite},
                        {&from, &to, std::nextafterf(VX_Blur_MaxRadius, kInfinite)},
                        {&from, &to, 3e38f}};
  for (size_t i = 0; i < std::size(cases); ++i) {
    for (const int32_t iterations : {0, 1}) {
      const BlurCall call = MakeBlur(cases[i].radius, iterations, 15);
      EXPECT_EQ(Thrown([&] { call(cases[i].src, cases[i].dst); }), 3) << "case " << i;
    }
  }
  const std::pair<float, int32_t> bad_boxes[] = {{2, 0},
                                                 {2, -1},
                                                 {2, INT32_MIN},
                                                 {VX_Blur_MaxRadius, 9},
                                                 {32766.5f, 70000},
                                                 {0.5f, VX_Blur_MaxReach + 1},
                                                 {1, INT32_MAX}};
  for (const auto& [radius, iterations] : bad_boxes) {
    VXHost_TakeReports();
    const auto call = [&, r = radius, n = iterations] {
      VX_BoxBlur1D(nullptr, &from, r, n, 15, 0, 0, 0, 0, 0, &to);
    };
    EXPECT_EQ(Thrown(call), 3) << iterations;
    EXPECT_EQ(VXHost_TakeReports().size(), 1u);
  }
  for (const VX_FastBlurFunc entry :
       {&VX_FastBlur_Straight, &VX_FastBlur_Premul, VXp_G_OverFuncs.VX_FastBlur_Straight,
        VXp_G_OverFuncs.VX_FastBlur_Premul}) {
    EXPECT_EQ(entry(nullptr, nullptr, -1, 0, nullptr), 5);
    EXPECT_EQ(entry(nullptr, &src.world, 2, 15, &dst.world), 5);
  }
  EXPECT_TRUE(dst.SameBytes(kept));
  VXHost_TakeReports();
  // The largest valid arguments, and a radius of 0, which may be repeated any number of times.
  EXPECT_EQ(Thrown([&] { MakeBlur(VX_Blur_MaxRadius, 8, 15)(&from, &to); }), 0);
  EXPECT_EQ(Thrown([&] { MakeBlur(0, INT32_MAX, 15, 0, true, true)(&from, &to); }), 0);
  for (int32_t x = 0; x < 5; ++x) EXPECT_EQ(dst.Get(x, 3).red, src.Get(x, 3).red);
}

// The vector routine supports premultiplied output only, whatever channels it blurs.
TEST_F(Blur, VectorRoutineRefusesStraightOutput) {
  Reports();
  for (const int32_t flags : {15, 1, 6}) {
    const VXp_BoxPass pass{VXp_BoxWindowOf(2), {}, {}, 1, {}, {}, flags, /*premultiplied=*/false};
    EXPECT_EQ(Thrown([&] { VXp_BoxBlurPass8_SSE2(pass); }), 3);
    EXPECT_EQ(Reports(), (ReportList{{0x2503E7, "untested SSE2 codepath in blur"}}));
  }
}

// The code that progress returns at any line is thrown, with one thread and with several. With one
// thread, the lines after it are unchanged, except those of its tile. Scratch is in the host's
// accounts during the call only.
template <class Pixel>
void StopAt(int32_t stop_at, bool threaded, BlurTrial<Pixel>* trial) {
  const bool down = trial->call.pass.dst_direction == 1;
  const VX_LayerDef& world = trial->dst->world;
  const int32_t lines = down ? world.width : world.height;
  const bool together = down || trial->call.pass.src_direction == 1;
  const int32_t tile = together ? std::min(kTiles<Pixel>[2], std::max(lines / 16, 1)) : 1;
  const int32_t polled = threaded ? (lines + kThreads - 1) / kThreads : lines;
  const int64_t accounted = VXHost_GetMemory().accounted;
  const bool has_rows = trial->call.iterations > 1 || !trial->call.pass.src_premultiplied;
  int32_t calls = 0;
  OnStep on_step = [&](int32_t step, int32_t final_step) -> VX_Err {
    EXPECT_EQ(this_thread_index, 0);
    EXPECT_EQ(final_step, lines);
    EXPECT_TRUE(threaded ? step > 0 && step <= lines : step == calls + 1);
    EXPECT_TRUE(!has_rows || VXHost_GetMemory().accounted > accounted);
    return ++calls == stop_at ? 500 + stop_at : 0;
  };
  VX_ProgressInfo progress = ProgressOf(&on_step);
  const auto run = [&] { trial->call.Run(trial->src.get(), trial->dst.get(), &progress); };
  EXPECT_EQ(Thrown(run), stop_at > polled ? 0 : 500 + stop_at);
  EXPECT_EQ(calls, std::min(stop_at, polled));
  EXPECT_EQ(VXHost_GetMemory().accounted, accounted);
  if (threaded && stop_at <= polled) return;
  trial->call.Twin(*trial->src, *trial->want);
  for (int32_t i = 0; stop_at <= polled && i < world.width * world.height; ++i) {
    const int32_t x = i % world.width, y = i / world.width;
    const int32_t line = down ? x : y;
    const Pixel got = trial->dst->Get(x, y), none{};
    const bool written = std::memcmp(&got, &none, sizeof got) != 0;
    if (line >= stop_at && !(line < stop_at + tile - 1 && written)) trial->want->Set(x, y, none);
  }
  EXPECT_TRUE(Same(trial->dst.get(), *trial->want)) << trial->Tell();
}

TYPED_TEST(BlurDepths, StopsAtEachLine) {
  const int32_t wide = kTiles<TypeParam>[2];
  for (const bool threaded : {false, true}) {
    std::unique_ptr<IteratorReplaced> threads;
    if (threaded) threads = std::make_unique<IteratorReplaced>();
    const auto stop = [&](BlurTrial<TypeParam> trial, std::initializer_list<int32_t> lines) {
      for (const auto* world : {&trial.src, &trial.dst, &trial.want}) {
        (*world)->world.origin_x = (*world)->world.origin_y = 0;
      }
      for (const int32_t stop_at : lines) {
        trial.dst->Paint([] { return TypeParam{}; });
        StopAt(stop_at, threaded, &trial);
      }
    };
    for (uint32_t number = 15; number < 3 * 512; number += 32) {
      const auto iterations = static_cast<int32_t>(number / 512);
      stop({number, 1.5f, iterations}, {1, 2, 3, 4, 6, 8, 11, 14, 18, 23, 24});
      if (number / 32 % 3 != 0) continue;
      const std::initializer_list<int32_t> few = {1, wide - 1}, all = {1, wide, wide + 1, 9 * wide};
      stop({number, 1.5f, iterations, 9, 9, 16 * wide + 1}, threaded ? few : all);
    }
  }
}

TEST_F(Blur, WhatTheIteratorGivesIsThrown) {
  const IteratorReplaced refusing([](int32_t, void*, VX_GenericFunc) -> VX_Err { return 99; });
  for (int32_t iterations = 0; iterations <= 2; ++iterations) {
    BlurTrial<VX_Pixel8> trial(31, 3, iterations);
    EXPECT_EQ(Thrown([&] { trial.call.Run(trial.src.get(), trial.dst.get()); }), 99);
    EXPECT_TRUE(trial.dst->SameBytes(*trial.want));
  }
}

}  // namespace
