// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Blurs: what the random commands do not reach. Those are hidden colours and float sums of very
// different alphas, one memory for source and destination, worlds that take several bands, and the
// limits of the arguments.

#include "VX/VX_Blur.h"

#include <cmath>

#include "unit/GuardedWorld.h"
#include "unit/PixelTestKit.h"

namespace {

template <class Pixel>
class BlurDepths : public testing::Test {};
TYPED_TEST_SUITE(BlurDepths, PixelTypes, DepthNames);

// A pass of a box, or of a Gaussian if there are no iterations.
struct Pass {
  float radius;
  int32_t iterations, flags, direction;
  bool src_premultiplied, dst_premultiplied;
  uint8_t force_copy = 0;

  template <class Pixel>
  void Run(const VX_LayerDef& src, VX_LayerDef& dst) const {
    VX_LayerDef in = src;
    const VX_WorldX<Pixel> from(&in, true);
    VX_WorldX<Pixel> to(&dst, true);
    if (iterations == 0) {
      VX_GaussianBlur1D(nullptr, &from, radius, flags, direction, src_premultiplied, direction,
                        dst_premultiplied, force_copy, &to);
    } else {
      VX_BoxBlur1D(nullptr, &from, radius, iterations, flags, direction, src_premultiplied,
                   direction, dst_premultiplied, force_copy, &to);
    }
  }
};

// With a forced copy, source and destination may be the same memory.
TYPED_TEST(BlurDepths, ForcedCopyAllowsTheSameMemory) {
  for (int32_t i = 0; i < 256; ++i) {
    const Pass pass{2.5f,
                    i % 4,
                    i % 2 == 0 ? 15 : 22,
                    i / 4 % 2,
                    i / 8 % 2 != 0,
                    i / 16 % 2 != 0,
                    /*force_copy=*/1};
    GuardedWorld<TypeParam> src(5 + i % 19, 17, i % 5, static_cast<uint32_t>(i));
    GuardedWorld<TypeParam> dst(5 + i % 19, 17, i % 5, static_cast<uint32_t>(i));
    pass.Run<TypeParam>(src.world, dst.world);
    pass.Run<TypeParam>(src.world, src.world);
    ASSERT_TRUE(src.bytes == dst.bytes) << i;
  }
}

// Opaque blue next to transparent pixels with a hidden colour: the hidden colour never shows, blue
// fades by alpha only, and alpha is exactly 0 where the window is empty. Float sums of alphas of
// very different size must not leave a rounding error there, which the twin's tolerance would hide.
TYPED_TEST(BlurDepths, HiddenColourNeverBleeds) {
  constexpr TypeParam kBlue = {kFull<TypeParam>, 0, 0, kFull<TypeParam>};
  TypeParam kHidden = {0, kFull<TypeParam>, kFull<TypeParam>, 0};
  if constexpr (sizeof(TypeParam) == 16) kHidden = {0, INFINITY, NAN, NAN};
  GuardedWorld<TypeParam> src(60, 1, 0, 1), dst(60, 1, 0, 2);
  for (int32_t x = 0; x < 60; ++x) src.Set(x, 0, x < 12 ? kBlue : kHidden);
  if (sizeof(TypeParam) == 16) {
    const auto faint = static_cast<VX_ChannelOf<TypeParam>>(1.1e-13);
    for (const int32_t x : {1, 2, 5, 8, 11}) src.Set(x, 0, {faint, 0, 0, kFull<TypeParam>});
  }
  for (int32_t iterations = 0; iterations <= 3; ++iterations) {
    for (const bool premultiplied : {false, true}) {
      Pass{3.5f, iterations, 15, 0, false, premultiplied}.Run<TypeParam>(src.world, dst.world);
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

// A world that is blurred in several bands, some of which read rows that an earlier band computed,
// against the two passes over whole worlds. The destination is taller than the source, ends before
// it, is inside, or overlaps its end only.
TEST(BlurWorld, InBandsIsTwoWholePasses) {
  constexpr int32_t kWide = 8192;
  struct Case {
    VX_BlurSpec spec;
    int32_t top, height;
  };
  const Case cases[] = {{{VX_BlurKind_Gaussian, 3, 2.5f, 0, 15}, -100, 700},
                        {{VX_BlurKind_Box, 1.5f, 70, 1, 31}, -400, 650},
                        {{VX_BlurKind_Box, 2, 9.5f, 3, 15 - VX_Blur_Red}, 13, 400},
                        {{VX_BlurKind_Box, 2, 40, 2, 15}, 290, 520}};
  GuardedWorld<VX_Pixel16> src(kWide, 420, 0, 1);
  GuardedWorld<VX_Pixel16> between(kWide, 420, 0, 2);
  src.world.origin_x = 5, between.world.origin_x = -3;
  for (const auto& [spec, top, height] : cases) {
    const int32_t iterations = spec.kind == VX_BlurKind_Box ? spec.iterations : 0;
    GuardedWorld<VX_Pixel16> dst(kWide, height, 4, 3), want(kWide, height, 4, 3);
    dst.world.origin_x = want.world.origin_x = -3;
    dst.world.origin_y = want.world.origin_y = top;
    Pass{spec.radius_x, iterations, spec.flags, 0, false, true}.Run<VX_Pixel16>(src.world,
                                                                                between.world);
    Pass{spec.radius_y, iterations, spec.flags, 1, true, false}.Run<VX_Pixel16>(between.world,
                                                                                want.world);
    ASSERT_EQ(VX_BlurWorld(nullptr, &src.world, &spec, &dst.world), 0);
    EXPECT_TRUE(dst.bytes == want.bytes) << "kind " << spec.kind << ", top " << top;
  }
}

// Without a radius the source is copied, and the destination around it is cleared.
TEST(BlurWorld, WithoutRadiusIsACopy) {
  GuardedWorld<VX_Pixel8> src(7, 4, 0, 1), dst(12, 9, 3, 2), want(12, 9, 3, 2);
  src.world.origin_x = 2, src.world.origin_y = 3;
  want.Paint([] { return VX_Pixel8{}; });
  for (int32_t i = 0; i < 28; ++i) want.Set(2 + i % 7, 3 + i / 7, src.Get(i % 7, i / 7));
  const VX_BlurSpec none = {VX_BlurKind_Gaussian, 0, 0, 1, 15};
  EXPECT_EQ(VX_BlurWorld(nullptr, &src.world, &none, &dst.world), 0);
  EXPECT_TRUE(dst.bytes == want.bytes);
}

// How far a blur reaches beyond the source on each side.
TEST(BlurWorld, Reach) {
  struct Case {
    VX_BlurSpec spec;
    int32_t x, y;
  };
  constexpr float kMost = VX_Blur_MaxRadius;
  for (const Case& c : {Case{{VX_BlurKind_Gaussian, 12.5f, 0, 1, 15}, 13, 0},
                        Case{{VX_BlurKind_Gaussian, 3, 2, 1, 15}, 3, 2},
                        Case{{VX_BlurKind_Box, 8, 0.3f, 3, 15}, 24, 3},
                        Case{{VX_BlurKind_Box, 1.5f, 1, 2, 15}, 4, 2},
                        Case{{VX_BlurKind_Box, kMost, kMost, 8, 15}, 262136, 262136}}) {
    int32_t x = -1, y = -1;
    ASSERT_EQ(VX_BlurReach(&c.spec, &x, &y), 0);
    EXPECT_TRUE(x == c.x && y == c.y) << x << ", " << y;
  }
}

}  // namespace
