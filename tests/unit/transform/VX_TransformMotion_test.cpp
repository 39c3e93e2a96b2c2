// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Motion: VX_TransformMotion against the mean of single draws, the classic rule for curved paths,
// and matrices from parts.

#include <span>
#include <utility>

#include "../../reference/RefTransform.h"
#include "TransformTestKit.h"
#include "transform/VXp_MotionSum.h"

namespace {

template <class Pixel>
class TransformMotion : public testing::Test {};
TYPED_TEST_SUITE(TransformMotion, PixelTypes, DepthNames);

// The largest difference, in 255ths, between a motion and the mean of the draws at all its matrices
// but the last, over an opaque background.
template <class Pixel>
double FarthestFromMean(int32_t quality, const Picture<Pixel>& src,
                        const std::vector<M_Matrix3>& path, const Picture<Pixel>& below) {
  const auto channels = [](const Picture<Pixel>& picture) {
    return std::span(reinterpret_cast<const VX_ChannelOf<Pixel>*>(picture.pixels.data()),
                     picture.pixels.size() * 4);
  };
  const VX_CompositeModePlus mode = ModeOf(VX_Xfer_InFront);
  Picture<Pixel> motion = below;
  EXPECT_EQ(
      VX_TransformMotion(nullptr, quality, 0, &src.world, &mode, nullptr, nullptr, path.data(),
                         static_cast<int32_t>(path.size()), 1, nullptr, &motion.world),
      VX_Ok);
  const size_t samples = std::max<size_t>(path.size() - 1, 1);
  std::vector<double> sums(below.pixels.size() * 4);
  for (size_t k = 0; k < samples; ++k) {
    Picture<Pixel> single = below;
    EXPECT_EQ(Draw({.quality = quality}, src, {path[k]}, &single), VX_Ok);
    for (size_t i = 0; i < sums.size(); ++i) sums[i] += channels(single)[i];
  }
  double farthest = 0;
  for (size_t i = 0; i < sums.size(); ++i) {
    const double mean = sums[i] / static_cast<double>(samples);
    farthest = std::max(farthest, std::fabs(channels(motion)[i] - mean) / kFull<Pixel> * 255);
  }
  return farthest;
}

TYPED_TEST(TransformMotion, IsTheMeanOfSingleDraws) {
  using Pixel = TypeParam;
  using Parts = VX_TransformParts;
  const auto src = RandomPicture<Pixel>(31, 23, 1);
  const auto below = RandomPicture<Pixel>(60, 50, 2, true);
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
      {{.translate_x = -4}, {.translate_x = 4}},          // half pixels between the ends
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
        EXPECT_LE(FarthestFromMean(quality, src, matrices, below), most)
            << "motion " << &start - &motions[0].first << ", " << count << " matrices, quality "
            << quality;
      }
    }
  }
}

// Two opaque sub-samples: a half is rounded up.
TYPED_TEST(TransformMotion, MeanOf100And101Is101) {
  if constexpr (kDepth<TypeParam> != 32) {
    VXp_MotionSum<TypeParam> sum;
    for (const uint8_t red : {100, 101}) sum.Add(TypeParam{kFull<TypeParam>, red, 0, 0});
    EXPECT_EQ(sum.Average(2).red, 101);
  }
}

// The classic call: a path whose centre changes its step by 0.9 pixels has a sub-sample at each
// matrix. A path with smaller changes is straight.
TEST(TransformPaths, CurveFromAChangeOfNineTenths) {
  const auto src = RandomPicture<VX_Pixel16>(40, 40, 47);
  const VX_CompositeModePlus mode = ModeOf(VX_Xfer_Scale);
  const struct {
    std::vector<double> x;
    vxref::Path path;
  } cases[] = {{{0, 3, 6, 9}, vxref::Path::Straight},    {{0, 3, 6, 9.8}, vxref::Path::Straight},
               {{0, 3, 6, 9.95}, vxref::Path::Curved},   {{0, 5, 1, 4.5}, vxref::Path::Curved},
               {{0, 0.5, 0.125}, vxref::Path::Straight}, {{0, 4.25, 0.0625}, vxref::Path::Curved}};
  for (const auto& c : cases) {
    for (const bool down : {false, true}) {
      std::vector<M_Matrix3> path;
      for (const double x : c.x) {
        path.push_back(
            MatrixOf({.rotation = 30, .translate_x = down ? 1 : x, .translate_y = down ? x : 1}));
      }
      VX_LayerDef from = src.world;
      Picture<VX_Pixel16> want(20, 20), got = want;
      EXPECT_EQ(
          vxref::Transform<VX_Pixel16>({1, 0, &from, &mode, nullptr, nullptr, path.data(),
                                        static_cast<int32_t>(path.size()), true, nullptr, false},
                                       want.world),
          c.path);
      ASSERT_EQ(Draw({.mode = mode}, src, path, &got), VX_Ok);
      EXPECT_TRUE(want == got) << "case " << &c - cases << ", down " << down;
    }
  }
}

// --- parts ---------------------------------------------------------------------------------------

// Matrices move points through the parts in their order. Parts between two ends are interpolated.
TEST(TransformParts, MovePoints) {
  Operands<VX_Pixel8> o(46);
  const auto real = [&o](double most) { return (o.Word() / 2147483648.0 - 1) * most; };
  for (int run = 0; run < 200; ++run) {
    const auto any = [&real]() -> VX_TransformParts {
      return {real(50), real(50),  real(4),   real(4),  real(2),
              real(2),  real(720), real(100), real(100)};
    };
    const VX_TransformParts a = any(), b = any();
    const int count = o.Between(2, 20), i = o.Below(count);
    std::vector<M_Matrix3> path(static_cast<size_t>(count));
    ASSERT_EQ(VX_MatricesBetween(&a, &b, count, path.data()), 0);
    const auto between = [t = i / (count - 1.0)](double from, double to) {
      return from + t * (to - from);
    };
    const VX_TransformParts here = {
        between(a.anchor_x, b.anchor_x),      between(a.anchor_y, b.anchor_y),
        between(a.scale_x, b.scale_x),        between(a.scale_y, b.scale_y),
        between(a.skew_x, b.skew_x),          between(a.skew_y, b.skew_y),
        between(a.rotation, b.rotation),      between(a.translate_x, b.translate_x),
        between(a.translate_y, b.translate_y)};
    M_Matrix3 one;
    ASSERT_EQ(VX_MatrixOfParts(&here, &one), 0);
    for (const M_Matrix3& m : {one, path[static_cast<size_t>(i)]}) {
      const double x = real(100), y = real(100);
      double want_x = x, want_y = y, got_x, got_y;
      vxref::MovePoint(here, &want_x, &want_y);
      m.TransformPointAndDivide(x, y, &got_x, &got_y);
      EXPECT_NEAR(got_x, want_x, 1e-9);
      EXPECT_NEAR(got_y, want_y, 1e-9);
    }
  }
}

// Quarter turns are exact. The anchor cancels exactly if only the translation differs from the
// default.
TEST(TransformParts, AreExact) {
  const struct {
    VX_TransformParts parts;
    M_Matrix3 matrix;
  } cases[] = {{{.rotation = 90}, {{0, 1, 0, -1, 0, 0, 0, 0, 1}}},
               {{.rotation = -90}, {{0, -1, 0, 1, 0, 0, 0, 0, 1}}},
               {{.scale_x = 2, .rotation = 540}, {{-2, 0, 0, 0, -1, 0, 0, 0, 1}}},
               {{.anchor_x = 0.1, .anchor_y = 1e9 / 7, .translate_x = 0.3, .translate_y = -2},
                Moved(0.3, -2)}};
  for (const auto& c : cases) {
    EXPECT_TRUE(M_EqualMatrixWithinEpsilon(MatrixOf(c.parts), c.matrix, 0)) << &c - cases;
  }
  const VX_TransformParts from{.rotation = 10}, to{.rotation = 50};
  EXPECT_TRUE(M_EqualMatrixWithinEpsilon(Between(from, to, 1)[0], MatrixOf(from), 0));
}

TEST(TransformParts, CheckArguments) {
  const VX_TransformParts parts;
  M_Matrix3 out[2];
  EXPECT_EQ(VX_MatrixOfParts(nullptr, out), 3);
  EXPECT_EQ(VX_MatrixOfParts(&parts, nullptr), 3);
  EXPECT_EQ(VX_MatricesBetween(nullptr, &parts, 2, out), 3);
  EXPECT_EQ(VX_MatricesBetween(&parts, nullptr, 2, out), 3);
  EXPECT_EQ(VX_MatricesBetween(&parts, &parts, 2, nullptr), 3);
  EXPECT_EQ(VX_MatricesBetween(&parts, &parts, 0, out), 3);
}

}  // namespace
