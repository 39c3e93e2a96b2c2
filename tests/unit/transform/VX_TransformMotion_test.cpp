// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Motion blur: how many sub-samples, and what their average is.

#include <utility>

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

// --- along every matrix --------------------------------------------------------------------------

template <class Pixel>
VX_Err DrawMotion(const Manner& manner, const Picture<Pixel>& src,
                  const std::vector<M_Matrix3>& matrices, Picture<Pixel>* dst) {
  return VX_TransformMotion(manner.progress, manner.quality, manner.field, &src.world, &manner.mode,
                            nullptr, manner.mask, matrices.data(),
                            static_cast<int32_t>(matrices.size()), manner.src2dst, manner.rect,
                            &dst->world);
}

// Channels from 0 to full; alpha 0, full, or any.
template <class Pixel>
Picture<Pixel> UnitPicture(int32_t width, int32_t height, uint32_t salt, bool opaque) {
  Picture<Pixel> picture(width, height);
  Operands<Pixel> o(salt);
  const auto any = [&] {
    return static_cast<VX_ChannelOf<Pixel>>(o.Below(257) / 256.0 * kFull<Pixel>);
  };
  for (Pixel& p : picture.pixels) {
    p = {any(), any(), any(), any()};
    if (opaque || o.Below(3) == 0) p.alpha = kFull<Pixel>;
    if (!opaque && o.Below(8) == 0) p.alpha = 0;
  }
  return picture;
}

template <class Pixel>
std::vector<double> Channels(const Picture<Pixel>& picture) {
  std::vector<double> channels;
  for (const Pixel& p : picture.pixels)
    channels.insert(channels.end(), {1.0 * p.alpha, 1.0 * p.red, 1.0 * p.green, 1.0 * p.blue});
  return channels;
}

// The largest difference, in 255ths, between a motion and the mean of the drawings at all its
// matrices but the last, over an opaque background.
template <class Pixel>
double FarthestFromMean(const Manner& manner, const Picture<Pixel>& src,
                        const std::vector<M_Matrix3>& matrices, const Picture<Pixel>& below) {
  Picture<Pixel> motion = below;
  EXPECT_EQ(DrawMotion(manner, src, matrices, &motion), VX_Ok);
  const size_t samples = std::max<size_t>(matrices.size() - 1, 1);
  std::vector<double> mean(below.pixels.size() * 4);
  for (size_t k = 0; k < samples; ++k) {
    Picture<Pixel> single = below;
    EXPECT_EQ(Draw(manner, src, {matrices[k]}, &single), VX_Ok);
    const std::vector<double> channels = Channels(single);
    for (size_t i = 0; i < mean.size(); ++i) mean[i] += channels[i] / static_cast<double>(samples);
  }
  const std::vector<double> got = Channels(motion);
  double farthest = 0;
  for (size_t i = 0; i < mean.size(); ++i) {
    farthest = std::max(farthest, std::fabs(got[i] - mean[i]) / kFull<Pixel> * 255);
  }
  return farthest;
}

TYPED_TEST(TransformMotion, IsTheMeanOfSingleDraws) {
  using Pixel = TypeParam;
  using Parts = VX_TransformParts;
  const auto src = UnitPicture<Pixel>(31, 23, 1, false);
  const auto below = UnitPicture<Pixel>(60, 50, 2, true);
  const Parts placed{.anchor_x = 15, .anchor_y = 11, .translate_x = 14, .translate_y = 13};
  const auto from = [&](Parts parts) {
    parts.anchor_x = placed.anchor_x;
    parts.anchor_y = placed.anchor_y;
    parts.translate_x += placed.translate_x;
    parts.translate_y += placed.translate_y;
    return parts;
  };
  const std::pair<Parts, Parts> motions[] = {
      {{}, {}},
      {{}, {.translate_x = 9.25, .translate_y = -3.5}},
      {{.translate_x = -4}, {.translate_x = 4}},          // half pixels on the way
      {{.translate_x = -3000.5}, {.translate_x = 3000}},  // mostly outside
      {{}, {.rotation = 30}},
      {{}, {.rotation = 360}},
      {{.rotation = 10}, {.rotation = -710}},
      {{.scale_x = 0.2, .scale_y = 0.2}, {}},
      {{}, {.scale_x = 3, .scale_y = 3}},
      {{.scale_x = 0, .scale_y = 0}, {}},   // begins flat
      {{}, {.scale_x = 1, .scale_y = 0}},   // ends flat
      {{}, {.scale_x = -1, .scale_y = 1}},  // flat at the middle
      {{}, {.scale_x = 1, .scale_y = 0.05}},
      {{.skew_x = -0.5}, {.skew_x = 0.5, .skew_y = 0.3}},
      {{.scale_x = 0.3, .scale_y = 0.5, .rotation = -90, .translate_x = 5},
       {.scale_x = 1.5, .scale_y = 1.2, .skew_x = 0.2, .rotation = 270, .translate_y = 8.5}}};
  for (const auto& [start, end] : motions) {
    for (const int32_t count : {1, 2, 3, 9, 66}) {
      auto matrices = Between(from(start), from(end), count);
      for (const int32_t quality : {0, 1}) {
        const double most = kDepth<Pixel> == 8 ? 2 : kDepth<Pixel> == 16 ? 0.02 : 0.0005;
        EXPECT_LE(FarthestFromMean({.quality = quality}, src, matrices, below), most)
            << "motion " << &start - &motions[0].first << ", " << count << " matrices, quality "
            << quality;
      }
    }
  }
}

}  // namespace
