// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Convolution compared with its slow twin, bit for bit, in worlds that end at the end of a page;
// limits of floats, progress and refusals.

#include "VX/VX_Convolve.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "../../reference/RefConvolve.h"
#include "../BornEnvironment.h"
#include "../EdgeWorld.h"
#include "../GuardedWorld.h"

namespace {

using Kernel = std::vector<int32_t>;

VX_Err Convolve(const VX_LayerDef& src, int32_t flags, const Kernel& kernel, int32_t size,
                VX_LayerDef& dst, VX_ProgressInfo* progress = nullptr) {
  return VX_Convolve(progress, &src, nullptr, flags, size, kernel.data(), kernel.data(),
                     kernel.data(), kernel.data(), &dst);
}

template <class Pixel>
class ConvolveDepths : public testing::Test {};
using Depths = testing::Types<VX_Pixel8, VX_Pixel16, VX_PixelFloat>;
TYPED_TEST_SUITE(ConvolveDepths, Depths);

// --- random commands -----------------------------------------------------------------------------

// Weights of one kind: small, around the limits of 16 bits, any, all 0, with signs.
Kernel AnyKernel(std::mt19937& random, size_t taps) {
  const uint32_t kind = random() % 6;
  Kernel kernel(taps);
  for (int32_t& weight : kernel) {
    const uint32_t r = random();
    switch (kind) {
      case 0: weight = static_cast<int32_t>(r % 256); break;
      case 1: weight = r % 8 == 0 ? 32768 : -32768; break;
      case 2: weight = r % 2 == 0 ? 32767 : -32768; break;
      case 3: weight = static_cast<int32_t>(r); break;
      case 4: weight = 0; break;
      default: weight = static_cast<int32_t>(r % 1001) - 500;
    }
  }
  return kernel;
}

int32_t AnySize(std::mt19937& random, int32_t flags) {
  constexpr int32_t kSizes[] = {1, 3, 3, 5, 7, 9, 15, 41, 129, 131};
  const bool one_dimensional = (flags & VX_Kernel_OneDimensional) != 0;
  return kSizes[random() % (one_dimensional ? 10 : 8)];
}

// Mostly small; some wider than a strip.
struct Shape {
  int32_t width, height, padding;
  uint32_t seed;
  explicit Shape(std::mt19937& random) : seed(random()) {
    const bool wide = random() % 12 == 0;
    width = 1 + static_cast<int32_t>(random() % (wide ? 600 : 24));
    height = 1 + static_cast<int32_t>(random() % (wide ? 3 : 12));
    padding = static_cast<int32_t>(random() % 10);
  }
  template <class Pixel>
  EdgeWorld<Pixel> Make() const {
    return EdgeWorld<Pixel>(width, height, padding, seed % 3 != 0, seed);
  }
};

template <class Pixel>
void RunCommand(uint32_t seed) {
  std::mt19937 random(seed);
  const int32_t flags = static_cast<int32_t>(random()) & 39;
  const int32_t size = AnySize(random, flags);
  const bool one_dimensional = (flags & VX_Kernel_OneDimensional) != 0;
  const Shape src_shape(random), dst_shape(random);
  EdgeWorld<Pixel> src = src_shape.Make<Pixel>();
  EdgeWorld<Pixel> dst = dst_shape.Make<Pixel>(), want = dst_shape.Make<Pixel>();
  // Half of the integer worlds keep random bits, above full scale too.
  if (sizeof(Pixel) == 16 || random() % 2 == 0) {
    src.Paint([&] { return GuardedWorld<Pixel>::RandomPixel(random); });
  }
  const bool alike = random() % 2 == 0;
  Kernel kernels[4];
  const int32_t* weights[4];
  for (int c = 0; c < 4; ++c) {
    kernels[c] = AnyKernel(random, static_cast<size_t>(one_dimensional ? size : size * size));
    weights[c] = kernels[alike ? 0 : c].data();
  }
  const M_Rect unread{3, 2, 1, 0};
  vxref::Convolve<Pixel>(src.world, flags, size, weights, want.world);
  ASSERT_EQ(VX_Convolve(nullptr, &src.world, &unread, flags, size, weights[0], weights[1],
                        weights[2], weights[3], &dst.world),
            0);
  ASSERT_TRUE(dst.SameBytes(want))
      << "seed " << seed << ": flags " << flags << ", size " << size << ", " << src.world.width
      << " x " << src.world.height << " to " << dst.world.width << " x " << dst.world.height;
}

TYPED_TEST(ConvolveDepths, GivesTheTwinsBits) {
  for (uint32_t i = 0; i < 1500 && !this->HasFatalFailure(); ++i) {
    RunCommand<TypeParam>(TestSeed() + i);
  }
}

TYPED_TEST(ConvolveDepths, HonoursTheLargestSize) {
  std::mt19937 random(TestSeed());
  const Kernel kernel = AnyKernel(random, 65535);
  const int32_t* const weights[] = {kernel.data(), kernel.data(), kernel.data(), kernel.data()};
  for (const int32_t flags : {1, 35}) {
    GuardedWorld<TypeParam> src(9, 5, 3, 1), dst(7, 8, 0, 2), want(7, 8, 0, 2);
    vxref::Convolve<TypeParam>(src.world, flags, 65535, weights, want.world);
    ASSERT_EQ(Convolve(src.world, flags, kernel, 65535, dst.world), 0);
    EXPECT_EQ(dst.bytes, want.bytes) << flags;
  }
  // Half of the next size is -32768 in 16 bits: there is no tap, so the kernel is not read.
  GuardedWorld<TypeParam> src(3, 3, 0, 1), dst(3, 3, 0, 2);
  const auto cleared =
      dst.Expected([](int, int) { return true; }, [](auto) { return TypeParam{}; });
  ASSERT_EQ(Convolve(src.world, 0, {0}, 65537, dst.world), 0);
  EXPECT_EQ(dst.bytes, cleared);
}

TEST(Convolve, LimitsOfFloats) {
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  struct Case {
    int32_t flags;
    float value, alpha, red;
  };
  for (const Case& c : {Case{0, 2, 1, 1}, Case{4, 2, 1, 2}, Case{0, -1, 0, 0}, Case{4, -1, 0, -1},
                        Case{0, 1e-31f, 0, 1e-31f}, Case{4, 1e-29f, 1e-29f, 1e-29f},
                        Case{0, kNaN, kNaN, kNaN}, Case{4, HUGE_VALF, 1, HUGE_VALF}}) {
    GuardedWorld<VX_PixelFloat> src(1, 1, 0, 1), dst(1, 1, 0, 2);
    src.Set(src.bytes, 0, 0, {c.value, c.value, 0, 0});
    ASSERT_EQ(Convolve(src.world, c.flags, {256}, 1, dst.world), 0);
    const VX_PixelFloat got = dst.Get(0, 0);
    const auto same = [](float a, float b) { return a == b || (std::isnan(a) && std::isnan(b)); };
    EXPECT_TRUE(same(got.alpha, c.alpha) && same(got.red, c.red))
        << c.value << " gave " << got.alpha << ", " << got.red;
  }
}

// --- progress and refusals -----------------------------------------------------------------------

struct Polls {
  std::vector<int32_t> steps;
  int32_t final_step = 0;
  VX_Err answer = 0;  // of the second call
};

VX_Err Poll(void* refcon, int32_t step, int32_t final_step) {
  auto* const polls = static_cast<Polls*>(refcon);
  polls->steps.push_back(step);
  polls->final_step = final_step;
  return polls->steps.size() == 2 ? polls->answer : 0;
}

TEST(Convolve, PollsOnceMoreThan2048TapsAreDone) {
  struct Case {
    int32_t width, height, flags, size;
    VX_Err answer;
    std::vector<int32_t> steps;
  };
  for (const Case& c : {Case{10, 50, 0, 3, 0, {23, 46}},  // 90 a row: 2070 after 23
                        Case{2048, 5, 0, 1, 0, {2, 4}},   // exactly 2048 do not poll
                        Case{2049, 2, 1, 1, 0, {1, 2}},   // each row
                        Case{100, 60, 33, 5, 0, {5, 10, 15, 20, 25, 30, 35, 40, 45, 50, 55, 60}},
                        Case{1, 20, 1, 65535, 517, {1, 2}},  // taps outside of the source count too
                        Case{10, 60, 0, 3, 9, {23, 46}}}) {
    GuardedWorld<VX_Pixel8> src(c.width, c.height, 0, 1), dst(c.width, c.height, 0, 2);
    const std::vector<uint8_t> before = dst.bytes;
    Polls polls{{}, 0, c.answer};
    VX_ProgressInfo info{};
    info.progress_func = Poll;
    info.progress_refcon = &polls;
    const Kernel kernel(65535, 1);
    EXPECT_EQ(Convolve(src.world, c.flags, kernel, c.size, dst.world, &info), c.answer);
    EXPECT_EQ(polls.steps, c.steps) << c.width << " x " << c.height;
    EXPECT_EQ(polls.final_step, c.height);
    // Rows below the stop are unchanged.
    const auto below = static_cast<ptrdiff_t>(dst.Offset(0, c.answer == 0 ? 0 : c.steps.back()));
    EXPECT_EQ(std::equal(before.begin() + below, before.end(), dst.bytes.begin() + below),
              c.answer != 0);
  }
}

TEST(Convolve, Refuses) {
  const ReportList bad = {{0x250008, kBadParameterText}};
  const Kernel k(9, 1);
  GuardedWorld<VX_Pixel8> src(4, 4, 0, 1), dst(4, 4, 0, 2);
  GuardedWorld<VX_Pixel16> deep(4, 4, 0, 3);
  VX_LayerDef empty = src.world, within = src.world;
  empty.data = nullptr;
  within.width = within.height = 2;
  OddDepthWorld odd_src(&src.world), odd_dst(&dst.world);
  const int32_t* const w = k.data();
  struct Case {
    const char* what;
    const VX_LayerDef* src;
    VX_LayerDef* dst;
    int32_t size;
    const int32_t *alpha, *red, *green, *blue;
    ReportList reports;
  };
  const Case cases[] = {
      {"no source", nullptr, &dst.world, 3, w, w, w, w, bad},
      {"no destination", &src.world, nullptr, 3, w, w, w, w, bad},
      {"depths",
       &deep.world,
       &dst.world,
       3,
       w,
       w,
       w,
       w,
       {{0x2503E7, "VX_Convolve requires source and dst worlds to be same depth"}}},
      {"depths before the rest",
       &empty,
       &deep.world,
       2,
       nullptr,
       w,
       w,
       w,
       {{0x2503E7, "VX_Convolve requires source and dst worlds to be same depth"}}},
      {"odd depth",
       &odd_src,
       &odd_dst,
       3,
       w,
       w,
       w,
       w,
       {{0x2503E7, "Unknown world bitdepth in##CONDITIONNAME"}}},
      {"no pixels", &empty, &dst.world, 3, w, w, w, w, bad},
      {"nowhere to go", &src.world, &empty, 3, w, w, w, w, bad},
      {"itself", &src.world, &src.world, 3, w, w, w, w, bad},
      {"its pixels", &src.world, &within, 3, w, w, w, w, bad},
      {"size 0", &src.world, &dst.world, 0, w, w, w, w, bad},
      {"even size", &src.world, &dst.world, 2, w, w, w, w, bad},
      {"negative size", &src.world, &dst.world, -3, w, w, w, w, bad},
      {"no alpha", &src.world, &dst.world, 3, nullptr, w, w, w, bad},
      {"no red", &src.world, &dst.world, 3, w, nullptr, w, w, bad},
      {"no green", &src.world, &dst.world, 3, w, w, nullptr, w, bad},
      {"no blue", &src.world, &dst.world, 3, w, w, w, nullptr, bad},
  };
  const auto before_src = src.bytes, before_dst = dst.bytes, before_deep = deep.bytes;
  Reports();
  for (const Case& c : cases) {
    EXPECT_EQ(
        VX_Convolve(nullptr, c.src, nullptr, 0, c.size, c.alpha, c.red, c.green, c.blue, c.dst), 3)
        << c.what;
    EXPECT_EQ(Reports(), c.reports) << c.what;
  }
  EXPECT_TRUE(src.bytes == before_src && dst.bytes == before_dst && deep.bytes == before_deep);
}

TEST(Convolve, WorldsOfNoSize) {
  for (const int32_t size : {0, -1, INT32_MIN}) {
    GuardedWorld<VX_Pixel8> src(4, 4, 0, 1), dst(4, 4, 0, 2);
    const auto before = dst.bytes;
    VX_LayerDef none = src.world, narrow = dst.world, flat = dst.world;
    narrow.width = flat.height = size;
    EXPECT_EQ(Convolve(src.world, 0, {256}, 1, narrow), 0);
    EXPECT_EQ(Convolve(src.world, 0, {256}, 1, flat), 0);
    EXPECT_EQ(dst.bytes, before);
    none.width = none.height = size;
    const auto cleared =
        dst.Expected([](int, int) { return true; }, [](auto) { return VX_Pixel8{}; });
    EXPECT_EQ(Convolve(none, 0, {256}, 1, dst.world), 0);
    EXPECT_EQ(dst.bytes, cleared);
  }
}

}  // namespace
