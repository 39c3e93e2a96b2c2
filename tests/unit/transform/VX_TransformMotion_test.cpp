// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Motion: VX_TransformMotion against the mean of single draws, and matrices from parts. The random
// commands compare the rules of VX_TransformWorld for straight and curved paths with the slow twin.

#include <span>
#include <utility>

#include "TransformTestKit.h"

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
      {{.translate_x = -3000.5}, {.translate_x = 3000}},  // mostly outside
      {{.rotation = 10}, {.rotation = -710}},
      {{.scale_x = 0.2, .scale_y = 0.2}, {}},
      {{.scale_x = 0, .scale_y = 0}, {}},   // begins flat
      {{}, {.scale_x = 1, .scale_y = 0}},   // ends flat
      {{}, {.scale_x = -1, .scale_y = 1}},  // flat at the middle
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

// A quarter turn keeps one NaN one pixel; three sub-samples put it on three pixels. Interpolation
// spreads it.
TEST(TransformMotion, CopiesPixelsOfExactMoves) {
  Picture<VX_PixelFloat> src(9, 9, kWhite<VX_PixelFloat>);
  src.At(6, 3).red = NAN;
  const VX_TransformParts start{.anchor_x = 4, .anchor_y = 4};
  for (const double turn : {90.0, 45.0}) {
    for (const int32_t count : {1, 4}) {
      VX_TransformParts first = start, last = start;
      first.rotation = turn;
      last.rotation = count * turn;
      const auto path = Between(first, last, count);
      Picture<VX_PixelFloat> out(9, 9, kWhite<VX_PixelFloat>);
      const VX_CompositeModePlus mode = ModeOf(VX_Xfer_InFront);
      EXPECT_EQ(VX_TransformMotion(nullptr, 1, 0, &src.world, &mode, nullptr, nullptr, path.data(),
                                   count, 1, nullptr, &out.world),
                VX_Ok);
      const auto spoiled = std::ranges::count_if(
          out.pixels, [](const VX_PixelFloat& p) { return std::isnan(p.red); });
      EXPECT_EQ(spoiled == std::max(count - 1, 1), turn == 90) << count << ": " << spoiled;
    }
  }
}

// --- parts ---------------------------------------------------------------------------------------

// The parts in their order; quarter turns are exact. The anchor cancels exactly if only the
// translation differs from the default. Between two ends each part is interpolated.
TEST(TransformParts, AreExact) {
  const VX_TransformParts all{1,   2,  2, 3, 1,
                              0.5, 90, 5, 7};  // (x, y) to (13 - x - 3y, 1 + 2x + 3y)
  const struct {
    VX_TransformParts parts;
    M_Matrix3 matrix;
  } cases[] = {{all, {{-1, 2, 0, -3, 3, 0, 13, 1, 1}}},
               {{.rotation = 90}, {{0, 1, 0, -1, 0, 0, 0, 0, 1}}},
               {{.rotation = -90}, {{0, -1, 0, 1, 0, 0, 0, 0, 1}}},
               {{.scale_x = 2, .rotation = 540}, {{-2, 0, 0, 0, -1, 0, 0, 0, 1}}},
               {{.anchor_x = 0.1, .anchor_y = 1e9 / 7, .translate_x = 0.3, .translate_y = -2},
                Moved(0.3, -2)}};
  for (const auto& c : cases) {
    EXPECT_TRUE(M_EqualMatrixWithinEpsilon(MatrixOf(c.parts), c.matrix, 0)) << &c - cases;
  }
  const VX_TransformParts far{5, 10, 6, -1, 3, 4.5, -30, 25, -1},
      quarter{2, 4, 3, 2, 1.5, 1.5, 60, 10, 5};
  const auto path = Between(all, far, 5);
  EXPECT_TRUE(M_EqualMatrixWithinEpsilon(path[1], MatrixOf(quarter), 1e-12));
  EXPECT_TRUE(M_EqualMatrixWithinEpsilon(path[4], MatrixOf(far), 1e-12));
  EXPECT_TRUE(M_EqualMatrixWithinEpsilon(Between(all, far, 1)[0], MatrixOf(all), 0));
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
