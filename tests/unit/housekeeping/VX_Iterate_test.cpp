// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The iterators of the C interface, and the lambda over them.

#include "VX/VX_Iterate.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

#include "VX/VX_ForEachPixel.h"
#include "unit/GuardedWorld.h"

namespace {

// A pixel function and a progress function made of closures.
using OnPixel = std::function<VX_Err(int32_t x, int32_t y, void* in, void* out)>;
VX_Err CallPixel(void* refcon, int32_t x, int32_t y, void* in, void* out) {
  return (*static_cast<OnPixel*>(refcon))(x, y, in, out);
}
using OnStep = std::function<VX_Err(int32_t step, int32_t final_step)>;
VX_ProgressInfo ProgressOf(OnStep* on_step) {
  VX_ProgressInfo info{};
  info.progress_refcon = on_step;
  info.progress_func = [](void* refcon, int32_t step, int32_t final_step) {
    return (*static_cast<OnStep*>(refcon))(step, final_step);
  };
  return info;
}

}  // namespace

// Polling is shared by the calls of a pixel function and the tables. Rows 1 and 2 are the area.
TEST(Iterate, Progress) {
  struct Case {
    int32_t base, final_step;
    VX_Err answers[2];
    VX_Err result;
    std::vector<int32_t> steps;
  };
  const Case cases[] = {
      {10, 99, {0, 0}, 0, {11, 12}}, {0, 0, {517, 517}, 0, {}},
      {-5, -1, {517, 0}, 517, {-4}}, {0, 2, {0, 517}, 517, {1, 2}},
      {0, 2, {42, 0}, 42, {1, 2}},   {0, 2, {42, 517}, 517, {1, 2}},
      {0, 2, {7, 8}, 8, {1, 2}},     {INT32_MAX, 1, {0, 0}, 0, {INT32_MIN, INT32_MIN + 1}}};
  for (const bool tables : {false, true}) {
    for (const Case& c : cases) {
      std::vector<int32_t> steps;
      OnStep on_step = [&](int32_t step, int32_t final_step) {
        EXPECT_EQ(final_step, c.final_step);
        steps.push_back(step);
        return c.answers[steps.size() - 1];
      };
      GuardedWorld<VX_Pixel8> dst(4, 3, 2, 5), src(4, 3, 1, 6);
      OnPixel copy = [](int32_t, int32_t, void* in, void* out) {
        std::memcpy(out, in, 4);
        return 0;
      };
      VX_ProgressInfo info = ProgressOf(&on_step);
      const auto run = [&](const M_Rect& part) {
        return tables ? VX_IterateLUT(&info, c.base, c.final_step, &src.world, &part, nullptr,
                                      nullptr, nullptr, nullptr, &dst.world)
                      : VX_Iterate(&info, c.base, c.final_step, &src.world, &part, &copy, CallPixel,
                                   &dst.world);
      };
      const int32_t last = c.result == 517 ? static_cast<int32_t>(c.steps.size()) : 2;
      auto want = dst.bytes;
      for (int32_t i = 0; i < 2 * last; ++i) {
        dst.Set(want, i % 2, 1 + i / 2, src.Get(i % 2, 1 + i / 2));
      }
      EXPECT_EQ(run({1, 4, 3, 9}), 0);  // no pixel, no poll
      EXPECT_EQ(run({1, 0, 9, 2}), c.result);
      EXPECT_EQ(steps, c.steps);
      EXPECT_EQ(dst.bytes, want);
    }
  }
}

// The random commands compare the calls for each count. A code or an exception ends them.
TEST(Iterate, GenericEndsWithTheFirstError) {
  struct Calls {
    int32_t count, fails_at, throws_at;
  };
  const auto call = [](void* refcon, int32_t thread, int32_t i, int32_t) -> VX_Err {
    auto& calls = *static_cast<Calls*>(refcon);
    EXPECT_EQ(thread, 0);
    EXPECT_EQ(i, calls.count++);
    if (i == calls.throws_at) throw int32_t{71};
    return i == calls.fails_at ? 70 : 0;
  };
  Calls fails{0, 1, -1}, throws{0, -1, 0}, none{0, -1, -1};
  EXPECT_EQ(VX_IterateGeneric(3, &fails, call), 70);
  EXPECT_EQ(VX_IterateGeneric(3, &throws, call), 71);
  EXPECT_EQ(VX_IterateGeneric(-1, &none, call), 0);
  EXPECT_EQ(fails.count * 100 + throws.count * 10 + none.count, 211);
  EXPECT_EQ(VX_IterateGeneric(INT32_MIN, &none, call), 0);
  EXPECT_EQ(none.count, 1);
}

// A source or none, with and without a code, of any or one pixel type. The random commands compare
// areas and origins.
TEST(ForEachPixel, LambdaForms) {
  using Pixel = VX_Pixel16;
  GuardedWorld<Pixel> src(5, 4, 16, 1), dst(5, 4, 16, 2);
  const auto everywhere = [](int32_t, int32_t) { return true; };
  const auto reddened = [](Pixel p) { return Pixel{p.alpha, 1, p.green, p.blue}; };
  auto want = dst.Expected(everywhere, reddened);
  EXPECT_EQ(VX_ForEachPixel(&dst.world, [](int32_t, int32_t, auto* out) { out->red = 1; }), 0);
  EXPECT_EQ(dst.bytes, want);
  want = dst.Expected(everywhere, [](Pixel p) { return Pixel{p.alpha, 1, 2, p.blue}; });
  const auto greened = [](int32_t, int32_t, Pixel* out) { return out->green = 2, VX_Err{}; };
  EXPECT_EQ(VX_ForEachPixel<Pixel>(&dst.world, greened), 0);
  EXPECT_EQ(dst.bytes, want);
  for (int32_t i = 0; i < 20; ++i) dst.Set(want, i % 5, i / 5, src.Get(i % 5, i / 5));
  const auto copy = [](int32_t, int32_t, const auto* in, auto* out) { *out = *in; };
  EXPECT_EQ(VX_ForEachPixel(&src.world, &dst.world, copy), 0);
  EXPECT_EQ(dst.bytes, want);
}

// Codes and exceptions of both functions reach the caller.
TEST(ForEachPixel, ErrorsAndRefusals) {
  GuardedWorld<VX_Pixel8> dst(4, 3, 2, 5);
  OnStep throws = [](int32_t step, int32_t) -> VX_Err { throw double(step); };
  VX_ProgressInfo info = ProgressOf(&throws);
  const VX_ForEachPixelOptions polled{.progress = &info, .progress_base = 20, .progress_final = 3};
  int calls = 0;
  const auto run = [&](int fails_at, bool throws_own) -> double {
    calls = 0;
    try {
      const auto on_pixel = [&](int32_t, int32_t, VX_Pixel8*) -> VX_Err {
        if (++calls == fails_at && throws_own) throw 0.5;
        return calls == fails_at ? 55 : 0;
      };
      return VX_ForEachPixel<VX_Pixel8>(&dst.world, on_pixel, polled);
    } catch (double thrown) {
      return thrown + 1000;
    }
  };
  Reports();
  EXPECT_EQ(run(3, /*throws_own=*/true), 1000.5);
  EXPECT_EQ(run(3, /*throws_own=*/false), 55);
  EXPECT_EQ(calls, 3);
  EXPECT_EQ(run(9, /*throws_own=*/true), 1021);
  EXPECT_EQ(calls, 4);
  EXPECT_EQ(Reports(), ReportList{});

  const auto never = [&](int32_t, int32_t, auto*) { ++calls; };
  OddDepthWorld odd(&dst.world);
  EXPECT_EQ(VX_ForEachPixel<VX_Pixel16>(&dst.world, never), 3);
  EXPECT_EQ(VX_ForEachPixel(nullptr, never), 3);
  EXPECT_EQ(VX_ForEachPixel(&odd, never), 3);
  EXPECT_EQ(calls, 4);
  EXPECT_EQ(Reports(),
            (ReportList{{0x2503E7, "Pixel of another depth than the world in VX_ForEachPixel()"},
                        {0x25000E, kBadParameterText},
                        {0x2503E7, "Unknown world bitdepth in##CONDITIONNAME"}}));
}
