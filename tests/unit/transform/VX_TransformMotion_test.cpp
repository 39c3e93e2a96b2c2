// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Motion blur: how many sub-samples, and what their average is.

#include "TransformTestKit.h"

namespace {

template <class Pixel>
class TransformMotion : public testing::Test {};
TYPED_TEST_SUITE(TransformMotion, PixelTypes, DepthNames);

// An opaque half plane moves over 64 pixels. Each pixel on the way is covered by those sub-samples
// that came there in time, of which the last position is none: column c by those whose distance
// i * 64 / n reaches it, the edge between pixels apart.
TYPED_TEST(TransformMotion, CountsItsSubSamples) {
  using Pixel = TypeParam;
  const Picture<Pixel> src(80, 3, kWhite<Pixel>);
  const struct {
    int32_t matrices, quality, samples;
  } cases[] = {{2, 0, 8}, {2, 1, 16},    {3, 0, 2},    {3, 1, 2},
               {5, 1, 4}, {257, 0, 256}, {257, 1, 256}};
  for (const auto& c : cases) {
    const auto way = Between({.translate_x = -79.5}, {.translate_x = -15.5}, c.matrices);
    Picture<Pixel> dst(70, 3);
    ASSERT_EQ(Draw({.quality = c.quality}, src, way, &dst), VX_Ok);
    for (int32_t x = 2; x < 70; ++x) {
      // The edge of sub-sample i, whole or half on this pixel, begins at -0.5 + i * 64 / n.
      double covered = 0;
      for (int32_t i = 0; i < c.samples; ++i) {
        const double edge = -0.5 + i * 64.0 / c.samples;  // centre of the last opaque column
        covered += c.quality == 0 ? (x < edge + 0.5 ? 1 : 0) : std::clamp(edge + 1 - x, 0.0, 1.0);
      }
      const double full = static_cast<double>(kFull<Pixel>);
      EXPECT_NEAR(dst.At(x, 1).alpha, covered / c.samples * full,
                  kDepth<Pixel> == 8 ? 1.0 : full * 1e-4)
          << c.matrices << " matrices, quality " << c.quality << ", column " << x;
    }
  }
}

// Averages: white stays white at any count, where 16-bit sums need 64 bits; a colour that is not
// covered has no weight; opaque means round to the nearest, others and alphas are cut.
TYPED_TEST(TransformMotion, Averages) {
  using Pixel = TypeParam;
  using Channel = VX_ChannelOf<Pixel>;
  for (const int32_t count : {2, 3, 4, 100, 257}) {
    const Picture<Pixel> src(40, 40, kWhite<Pixel>);
    for (const auto& to :
         {VX_TransformParts{.translate_x = -3.3, .translate_y = -9},
          VX_TransformParts{.rotation = 9, .translate_x = -9, .translate_y = -12}}) {
      for (const int32_t quality : {0, 1}) {
        Picture<Pixel> dst(8, 8);
        const auto way = Between({.translate_x = -12, .translate_y = -12}, to, count);
        ASSERT_EQ(Draw({.mode = ModeOf(VX_Xfer_Scale), .quality = quality}, src, way, &dst), VX_Ok);
        EXPECT_TRUE(dst == (Picture<Pixel>(8, 8, kWhite<Pixel>))) << count << " " << quality;
      }
    }
  }
  // Two columns under a draft blur of 8 sub-samples over 2 pixels: positions of pixel 1 are at
  // 1, 0.75 (4 of them at 1, the others at 0, halves up).
  const auto blurred = [](const Pixel& left, const Pixel& right) {
    Picture<Pixel> src(2, 1), dst(2, 1);
    src.At(0, 0) = left;
    src.At(1, 0) = right;
    EXPECT_EQ(Draw({.mode = ModeOf(VX_Xfer_Scale), .quality = 0}, src,
                   {Moved(0, 0), Moved(1.125, 0)}, &dst),
              VX_Ok);
    return dst.At(1, 0);  // at 1 - i * 9 / 64: right for i = 0..3, left for 4..7
  };
  const Channel full = kFull<Pixel>, quarter = full / 4;
  const Pixel red{full, full, 0, 3}, hidden{0, full, full, full}, faint{quarter, 0, full, 0};
  const Pixel with_nothing = blurred(hidden, red);
  EXPECT_TRUE(SamePixel(with_nothing, {static_cast<Channel>(full / 2), full, 0, 3}))
      << Text(with_nothing);
  const Pixel weighed = blurred(faint, red);  // weights 1 : 4
  EXPECT_NEAR(weighed.alpha, full * 0.625, 1);
  EXPECT_NEAR(weighed.red, full * 0.8, full * 0.01);
  EXPECT_NEAR(weighed.green, full * 0.2, full * 0.01);
  if constexpr (kDepth<Pixel> != 32) {
    EXPECT_TRUE(SamePixel(blurred({full, 10, 10, 0}, {full, 11, 13, 1}), {full, 11, 12, 1}));
    EXPECT_EQ(blurred({100, 10, 0, 0}, {101, 11, 0, 0}).alpha, 100);
    EXPECT_EQ(blurred({100, 10, 0, 0}, {101, 11, 0, 0}).red, 10);
  }
}

// Matrices that differ by no more than 1e-12 stand still; then nothing is averaged, and a move is
// a transfer.
TEST(TransformMotionPaths, NeedMotion) {
  auto src = RandomPicture<VX_Pixel8>(20, 20, 1);
  for (const bool turned : {false, true}) {
    auto m = turned ? MatrixOf({.rotation = 30, .translate_x = 9}) : Moved(3, 2);
    Picture<VX_Pixel8> one(25, 25), two = one, apart = one;
    ASSERT_EQ(Draw({.mode = ModeOf(VX_Xfer_Scale)}, src, {m}, &one), VX_Ok);
    auto last = m;
    last.m[6] += 1e-13;
    ASSERT_EQ(Draw({.mode = ModeOf(VX_Xfer_Scale)}, src, {m, last}, &two), VX_Ok);
    EXPECT_TRUE(one == two);
    last.m[6] += 1;
    ASSERT_EQ(Draw({.mode = ModeOf(VX_Xfer_Scale)}, src, {m, last}, &apart), VX_Ok);
    EXPECT_FALSE(one == apart);
  }
}

// A bar that turns about its end sweeps an arc, whose middle lies at its length. The straight way
// between the positions at two matrices goes through a picture that is longer halfway.
TYPED_TEST(TransformMotion, TurnsSweepArcs) {
  using Pixel = TypeParam;
  const Picture<Pixel> src(30, 3, kWhite<Pixel>);
  const VX_TransformParts from{.anchor_y = 1, .translate_x = 2, .translate_y = 1};
  VX_TransformParts to = from;
  to.rotation = 90;
  Picture<Pixel> arc(40, 40), straight = arc;
  ASSERT_EQ(Draw({}, src, Between(from, to, 129), &arc), VX_Ok);
  ASSERT_EQ(Draw({}, src, Between(from, to, 2), &straight), VX_Ok);
  EXPECT_GT(arc.At(2 + 20, 2 + 20).alpha, 0);  // 28 pixels out
  EXPECT_EQ(arc.At(2 + 24, 2 + 24).alpha, 0);  // 34
  EXPECT_GT(straight.At(2 + 24, 2 + 24).alpha, 0);
}

}  // namespace
