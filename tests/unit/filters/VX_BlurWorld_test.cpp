// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Blurs over both axes.

#include "BlurTestKit.h"

namespace {

// Compares with the twins of the two passes. The destination is larger or smaller than the source,
// or away from it.
TEST_F(Blur, WorldIsTwoPasses) {
  const VX_BlurSpec specs[] = {{VX_BlurKind_Gaussian, 2.5f, 1, 0, 15},
                               {VX_BlurKind_Gaussian, 7, 3.25f, 1, 31},
                               {VX_BlurKind_Box, 1.5f, 4, 1, 15},
                               {VX_BlurKind_Box, 2, 0.3f, 3, 31},
                               {VX_BlurKind_Box, 3, 1, 2, VX_Blur_Alpha}};
  const M_Rect places[] = {{0, 0, 17, 23}, {-9, -8, 25, 31}, {3, 5, 9, 12}, {-20, -3, -1, 4}};
  std::mt19937 random(TestSeed());
  for (const VX_BlurSpec& spec : specs) {
    for (const M_Rect& place : places) {
      const int32_t width = place.right - place.left, height = place.bottom - place.top;
      EdgeWorld<VX_PixelFloat> src(23, 17, 0, true, 1), between(width, 17, 0, true, 2);
      EdgeWorld<VX_PixelFloat> dst(width, height, 4, true, 3), want(width, height, 4, true, 3);
      src.Paint(RandomRuns<VX_PixelFloat>{random, /*wild=*/true});
      between.world.origin_x = dst.world.origin_x = want.world.origin_x = place.left;
      dst.world.origin_y = want.world.origin_y = place.top;
      const int32_t iterations = spec.kind == VX_BlurKind_Box ? spec.iterations : 0;
      MakeBlur(spec.radius_x, iterations, spec.flags, 0, false, true).Twin(src, between);
      MakeBlur(spec.radius_y, iterations, spec.flags, 1, true, false).Twin(between, want);
      ASSERT_EQ(VX_BlurWorld(nullptr, &src.world, &spec, &dst.world), 0);
      EXPECT_TRUE(Same(&dst, want, 2e-5))
          << "kind " << spec.kind << ", flags " << spec.flags << ", top " << place.top;
    }
  }
}

// A world that is blurred in several bands, some of which read rows that an earlier band computed.
// The destination is taller than the source, ends before it, is inside, or overlaps its end only.
TEST_F(Blur, WorldInBandsIsTwoWholePasses) {
  constexpr int32_t kWide = 8192;
  struct Case {
    VX_BlurSpec spec;
    int32_t top, height;
  };
  const Case cases[] = {{{VX_BlurKind_Gaussian, 3, 2.5f, 0, 15}, -100, 700},
                        {{VX_BlurKind_Box, 1.5f, 70, 1, 31}, -400, 650},
                        {{VX_BlurKind_Box, 2, 9.5f, 3, 15 - VX_Blur_Red}, 13, 400},
                        {{VX_BlurKind_Box, 2, 40, 2, 15}, 290, 520}};
  EdgeWorld<VX_Pixel16> src(kWide, 420, 0, true, 1), between(kWide, 420, 0, true, 2);
  std::mt19937 random(TestSeed());
  src.Paint(RandomRuns<VX_Pixel16>{random});
  src.world.origin_x = 5, between.world.origin_x = -3;
  for (const auto& [spec, top, height] : cases) {
    const int32_t iterations = spec.kind == VX_BlurKind_Box ? spec.iterations : 0;
    EdgeWorld<VX_Pixel16> dst(kWide, height, 4, true, 3), want(kWide, height, 4, true, 3);
    dst.world.origin_x = want.world.origin_x = -3;
    dst.world.origin_y = want.world.origin_y = top;
    MakeBlur(spec.radius_x, iterations, spec.flags, 0, false, true).Run(&src, &between);
    MakeBlur(spec.radius_y, iterations, spec.flags, 1, true, false).Run(&between, &want);
    int32_t before = 0, last = 0;
    OnStep on_step = [&](int32_t step, int32_t final_step) -> VX_Err {
      EXPECT_GT(step, before);
      before = step, last = final_step;
      return 0;
    };
    VX_ProgressInfo progress = ProgressOf(&on_step);
    ASSERT_EQ(VX_BlurWorld(&progress, &src.world, &spec, &dst.world), 0);
    EXPECT_TRUE(dst.SameBytes(want)) << "kind " << spec.kind << ", top " << top;
    EXPECT_EQ(before, last);
  }
}

// A radius of 0 does not change its axis; two do not change the picture.
TEST_F(Blur, WorldAxisWithoutRadiusStays) {
  EdgeWorld<VX_Pixel8> src(11, 9, 0, true, 1), dst(11, 9, 0, true, 1), want(11, 9, 0, true, 1);
  src.Paint([n = 0]() mutable {
    const auto v = static_cast<uint8_t>(n++ * 37);
    return VX_Pixel8{255, v, static_cast<uint8_t>(255 - v), 255};
  });
  for (const int32_t kind : {VX_BlurKind_Gaussian, VX_BlurKind_Box}) {
    const int32_t iterations = kind == VX_BlurKind_Box ? 1 : 0;
    const VX_BlurSpec none = {kind, 0, 0, 1, 15}, across = {kind, 2, 0, 1, 15},
                      down = {kind, 0, 2, 1, 15};
    EXPECT_EQ(VX_BlurWorld(nullptr, &src.world, &none, &dst.world), 0);
    EXPECT_TRUE(Same(&dst, src));
    EXPECT_EQ(VX_BlurWorld(nullptr, &src.world, &across, &dst.world), 0);
    MakeBlur(2, iterations, 15, 0).Twin(src, want);
    EXPECT_TRUE(Same(&dst, want));
    EXPECT_EQ(VX_BlurWorld(nullptr, &src.world, &down, &dst.world), 0);
    MakeBlur(2, iterations, 15, 1).Twin(src, want);
    EXPECT_TRUE(Same(&dst, want));
  }
}

// A world that is enlarged by the reach contains a whole blurred pixel.
TEST_F(Blur, ReachHoldsTheWholeBlur) {
  struct Case {
    VX_BlurSpec spec;
    int32_t x, y;
  };
  const Case cases[] = {{{VX_BlurKind_Gaussian, 12.5f, 0, 1, 15}, 13, 0},
                        {{VX_BlurKind_Gaussian, 3, 2, 1, 15}, 3, 2},
                        {{VX_BlurKind_Box, 8, 0.3f, 3, 15}, 24, 3},
                        {{VX_BlurKind_Box, 1.5f, 1, 2, 15}, 4, 2}};
  EdgeWorld<VX_PixelFloat> point(1, 1, 0, true, 1);
  point.Set(0, 0, {1, 1, 1, 1});
  for (const Case& c : cases) {
    int32_t x = -1, y = -1;
    ASSERT_EQ(VX_BlurReach(&c.spec, &x, &y), 0);
    ASSERT_TRUE(x == c.x && y == c.y) << x << ", " << y;
    EdgeWorld<VX_PixelFloat> grown(2 * x + 1, 2 * y + 1, 0, true, 2);
    grown.world.origin_x = -x, grown.world.origin_y = -y;
    ASSERT_EQ(VX_BlurWorld(nullptr, &point.world, &c.spec, &grown.world), 0);
    double sum = 0;
    for (int32_t i = 0; i < grown.world.width * grown.world.height; ++i) {
      sum += static_cast<double>(grown.Get(i % grown.world.width, i / grown.world.width).alpha);
    }
    EXPECT_NEAR(sum, 1, 1e-5);
  }
}

TEST_F(Blur, WorldRefuses) {
  EdgeWorld<VX_Pixel8> src(9, 7, 0, true, 1), dst(9, 7, 0, true, 2), kept(9, 7, 0, true, 2);
  EdgeWorld<VX_Pixel16> deep(9, 7, 0, true, 3);
  const VX_BlurSpec good = {VX_BlurKind_Box, 2, 2, 1, 15};
  const VX_BlurSpec bad[] = {{2, 2, 2, 1, 15},
                             {-1, 2, 2, 1, 15},
                             {VX_BlurKind_Box, -1, 2, 1, 15},
                             {VX_BlurKind_Box, 2, std::nanf(""), 1, 15},
                             {VX_BlurKind_Gaussian, 40000, 2, 1, 15},
                             {VX_BlurKind_Box, 2, 2, 0, 15},
                             {VX_BlurKind_Box, 2, 32767, 9, 15},
                             {VX_BlurKind_Box, 0.5f, 0, VX_Blur_MaxReach + 1, 15}};
  int32_t x = 0, y = 0;
  for (const VX_BlurSpec& spec : bad) {
    EXPECT_EQ(VX_BlurWorld(nullptr, &src.world, &spec, &dst.world), 3);
    EXPECT_EQ(VX_BlurReach(&spec, &x, &y), 3);
  }
  EXPECT_EQ(VX_BlurWorld(nullptr, &src.world, nullptr, &dst.world), 3);
  EXPECT_EQ(VX_BlurWorld(nullptr, nullptr, &good, &dst.world), 3);
  EXPECT_EQ(VX_BlurWorld(nullptr, &src.world, &good, nullptr), 3);
  EXPECT_EQ(VX_BlurWorld(nullptr, &deep.world, &good, &dst.world), 3);
  EXPECT_EQ(VX_BlurWorld(nullptr, &dst.world, &good, &dst.world), 3);
  EXPECT_EQ(VX_BlurReach(nullptr, &x, &y), 3);
  EXPECT_EQ(VX_BlurReach(&good, nullptr, &y), 3);
  EXPECT_TRUE(dst.SameBytes(kept));
  VXHost_TakeReports();
}

// Progress increases over both passes to the final step, and can stop the call at any step.
TEST_F(Blur, WorldProgress) {
  EdgeWorld<VX_Pixel8> src(9, 7, 0, true, 1), dst(9, 7, 0, true, 2);
  const VX_BlurSpec spec = {VX_BlurKind_Box, 2, 2, 1, 15};
  std::vector<int32_t> steps;
  size_t stop_at = 0;
  int32_t last = 0;
  OnStep on_step = [&](int32_t step, int32_t final_step) -> VX_Err {
    EXPECT_TRUE(last == 0 || last == final_step);
    last = final_step;
    steps.push_back(step);
    return steps.size() == stop_at ? 517 : 0;
  };
  VX_ProgressInfo progress = ProgressOf(&on_step);
  EXPECT_EQ(VX_BlurWorld(&progress, &src.world, &spec, &dst.world), 0);
  ASSERT_FALSE(steps.empty());
  EXPECT_TRUE(std::is_sorted(steps.begin(), steps.end(), std::less_equal<>()));
  EXPECT_EQ(steps.back(), last);
  for (const size_t calls = steps.size(); stop_at++ < calls;) {
    steps.clear();
    EXPECT_EQ(VX_BlurWorld(&progress, &src.world, &spec, &dst.world), 517);
    EXPECT_EQ(steps.size(), stop_at);
  }
}

}  // namespace
