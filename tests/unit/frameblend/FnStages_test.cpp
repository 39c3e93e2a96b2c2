// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Stages of motion estimation that an estimate with default settings does not show: masks, outputs,
// gate, profiles, box sums, and the pieces that have short definitions.

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "frameblend/motion/FnGradient.h"
#include "frameblend/motion/FnLuminance.h"
#include "frameblend/smooth/FnMonitor.h"
#include "frameblend/smooth/FnPyramid.h"
#include "frameblend/smooth/FnSmooth.h"
#include "frameblend/tween/FnPicture.h"

namespace {

struct Picture : FnFloatMap {
  // A smooth texture, moved by (dx, dy).
  Picture(int32_t w, int32_t h, float dx = 0, float dy = 0) : FnFloatMap(w, h) {
    setEdgeModes(FnEdge_Hold, FnEdge_Hold);
    Each([=](float x, float y) {
      return 0.5f + 0.2f * std::sin((x - dx) * 0.7f) * std::cos((y - dy) * 0.5f) +
             0.1f * std::sin((x - dx) * 0.23f + (y - dy) * 0.61f);
    });
  }
  template <class Value>
  void Each(Value value) {
    for (int32_t y = 0; y < height(); ++y) {
      for (int32_t x = 0; x < width(); ++x) {
        row(y)[x] = value(static_cast<float>(x), static_cast<float>(y));
      }
    }
  }
};

struct Vectors : FnVectorMap {
  Vectors(int32_t w, int32_t h, HvVec2 v = {0, 0}) : FnVectorMap(w, h) {
    for (int32_t y = 0; y < h; ++y) std::fill_n(row(y), w, v);
  }
};

// One block of a 12x12 frame.
struct OneBlock : FnMotionEstimateGradient {
  OneBlock() { blockWidth = blockHeight = 12; }
};

}  // namespace

TEST(FnStages, GradientOfOneBlock) {
  const Picture still(12, 12), moved(12, 12, 0.4f, -0.3f);
  Picture mask(12, 12), flat(12, 12), edge(12, 12), moved_edge(12, 12);
  mask.Each([](float, float) { return 0.6f; });
  flat.Each([](float, float) { return 0.25f; });
  edge.Each([](float x, float) { return std::tanh(x - 5.5f); });
  moved_edge.Each([](float x, float) { return std::tanh(x - 5.9f); });

  struct Row {
    const char* name;
    const Picture &frame0, &frame1;
    const Picture* mask;
    HvVec2 start, end;
    float tolerance;
  };
  const Row rows[] = {
      // Content that moves by (dx, dy) gives (dx, -dy).
      {"moved", still, moved, nullptr, {0, 0}, {0.4f, 0.3f}, 0.05f},
      {"masked", still, moved, &mask, {0, 0}, HvVec2::Invalid(), 0},
      {"flat", flat, flat, nullptr, {0.3f, -2}, {0.3f, -2}, 0},
      {"across an edge only", edge, moved_edge, nullptr, {0, 0}, {0.4f, 0}, 0.05f},
      {"no gradient", flat, still, nullptr, {0, 0}, HvVec2::Invalid(), 0},
      {"outside", still, moved, nullptr, {40, 0}, HvVec2::Invalid(), 0},
      {"far outside", still, moved, nullptr, {1e30f, -1e30f}, HvVec2::Invalid(), 0},
      {"invalid", still, moved, nullptr, HvVec2::Invalid(), HvVec2::Invalid(), 0},
  };
  for (const Row& row : rows) {
    for (const bool profiles : {false, true}) {
      // Profiles need a gradient to be tried.
      if (profiles && (&row.frame0 == &flat || row.start.x > 1)) continue;
      Vectors vectors(1, 1, row.start), positions(1, 1);
      FnFloatMap errors(1, 1), activity(1, 1);
      OneBlock stage;
      stage.threshold = 1e-5f;
      stage.mask = row.mask;
      stage.useProfiles = profiles;
      stage.outPositions = &positions;
      stage.outErrors = &errors;
      stage.outActivity = &activity;
      stage.process(&row.frame0, &row.frame1, &vectors);
      const HvVec2 v = vectors.row(0)[0];
      EXPECT_NEAR(v.x, row.end.x, row.tolerance) << row.name << profiles;
      EXPECT_NEAR(v.IsValid() ? v.y : row.end.y, row.end.y, row.tolerance) << row.name;
      EXPECT_TRUE(positions.row(0)[0] == (HvVec2{6, 6}));
      EXPECT_EQ(errors.row(0)[0] == FLT_MAX, !v.IsValid()) << row.name;
    }
  }
}

TEST(FnStages, ActivityGateAndSmallFrames) {
  // Of 2 x 1 blocks the right one has no texture.
  Picture frame0(24, 12), frame1(24, 12, 0.4f, 0);
  for (Picture* frame : {&frame0, &frame1}) {
    for (int32_t y = 0; y < 12; ++y) std::fill_n(frame->row(y) + 12, 12, 0.5f);
  }
  Vectors vectors(2, 1);
  FnFloatMap activity(2, 1);
  OneBlock stage;
  stage.gateOnActivity = true;
  stage.outActivity = &activity;
  stage.process(&frame0, &frame1, &vectors);
  EXPECT_TRUE(vectors.row(0)[0].IsValid() && !vectors.row(0)[1].IsValid());
  EXPECT_GT(activity.row(0)[0], 1);
  EXPECT_EQ(activity.row(0)[1], 0);

  const FnBlockSize size{6, 6, 2};
  EXPECT_EQ(size.Columns(384), 95);
  EXPECT_EQ(size.Rows(216), 53);
  EXPECT_EQ(size.Columns(1), 0);
  const FnFloatMap frame(16, 5);
  const FnBlock last = FnBlockAt(3, 0, size, frame);
  EXPECT_TRUE(last.x0 == 10 && last.x1 == 16 && last.y0 == 0 && last.y1 == 5);
}

// The settings of the pyramid that an estimate leaves at their defaults.
TEST(FnStages, PyramidOptions) {
  const Picture still(64, 48), moved(64, 48, 3, -2);
  FnFilteredPyramid pyramids[2];
  ASSERT_TRUE(pyramids[0].build(still, 2, nullptr) && pyramids[1].build(moved, 2, nullptr));
  Picture all0(64, 48), all1(32, 24);
  for (Picture* mask : {&all0, &all1}) mask->Each([](float, float) { return 1.0f; });
  const auto pyramid = [&](int32_t first, int32_t levels) {
    FnMotionEstimateGradientPyramid stage;
    FnMotionEstimateGradientPyramidParameters& p = stage.parameters;
    p.frames0 = FnLevels(pyramids[0].levels().begin() + first, pyramids[0].levels().end());
    p.frames1 = FnLevels(pyramids[1].levels().begin() + first, pyramids[1].levels().end());
    p.levels = levels;
    p.overlap = 2;
    p.blockWidths = p.blockHeights = {6, 6};
    p.quantiseStep = std::ldexp(0.1f, -first);
    return stage;
  };

  // Level 0 is only zoomed: each block takes the vector of the nearest block of level 1.
  Vectors coarse(7, 5), fine(15, 11, {9, 9}), zero(15, 11, {9, 9}), masked(15, 11, {9, 9});
  FnFloatMap errors(15, 11);
  errors.row(10)[14] = 5;
  pyramid(1, 1).process(&coarse);
  auto zoomed = pyramid(0, 2);
  zoomed.parameters.lowestLevel = 1;
  zoomed.parameters.nearestZoom = 1;
  zoomed.parameters.outErrors = &errors;
  zoomed.process(&fine);
  EXPECT_EQ(errors.row(10)[14], 5);  // only an estimate of level 0 writes it
  FnMotionEstimateGradientQuantise quantise;
  float mean = 0;
  for (int32_t y = 0; y < 11; ++y) {
    for (int32_t x = 0; x < 15; ++x) {
      HvVec2 want;
      quantise.pixel(coarse.row(std::min(y / 2, 4))[std::min(x / 2, 6)] * 2.0f, &want, 0);
      EXPECT_TRUE(fine.row(y)[x] == want) << x << ' ' << y;
      mean += want.x / 165;
    }
  }
  EXPECT_NEAR(mean, 3, 0.7f);

  auto none = pyramid(0, 2);
  none.parameters.lowestLevel = 2;
  none.process(&zero);
  auto hidden = pyramid(0, 2);
  hidden.parameters.masks = {&all0, &all1};
  hidden.parameters.outErrors = &errors;
  hidden.process(&masked);
  EXPECT_EQ(errors.row(10)[14], FLT_MAX);
  for (int32_t i = 0; i < 165; ++i) {
    EXPECT_TRUE(zero.row(i / 15)[i % 15] == (HvVec2{0, 0}));
    EXPECT_TRUE(masked.row(i / 15)[i % 15] == (HvVec2{0, 0}));
  }
}

TEST(FnStages, LevelsAndWeights) {
  EXPECT_EQ(FnLevelCount(384, 216), 5);
  EXPECT_EQ(FnLevelCount(19, 19), 2);
  EXPECT_EQ(FnLevelCount(15, 400), 1);
  EXPECT_EQ(FnLevelCount(1, 1), 1);
  EXPECT_TRUE(FnSmoothWeightsOf(-3).a == 4 && FnSmoothWeightsOf(-3).b == 1);
  EXPECT_TRUE(FnSmoothWeightsOf(500).a == 1 && FnSmoothWeightsOf(500).b == 501);
}

TEST(FnStages, LuminanceWeights) {
  using Luminance = FnMotionEstimateLuminanceFrameGenerator<FnColor16, 32768>;
  FnMap<FnColor16> source(2, 1);
  source.row(0)[0] = FnColor16::Of(0, 32768, 0, 16384);
  source.row(0)[1] = FnColor16::Of(9, 0, 32768, 0);
  FnFloatMap out(2, 1);
  out.row(0)[0] = 9;
  Luminance luminance;
  luminance.setWeights(2, 1, 1);
  luminance.process(&source, &out);
  EXPECT_TRUE(out.row(0)[0] == 0.625f && out.row(0)[1] == 0.25f);
  luminance.setWeights(0, 0, 0);  // all become 1
  luminance.keepMaximum = true;
  out.row(0)[1] = 3;
  luminance.process(&source, &out);
  EXPECT_TRUE(out.row(0)[0] == 1.5f && out.row(0)[1] == 3);
}

TEST(FnStages, BoxSumsAndMean) {
  const int32_t threads = FnThreadCount();
  FnFloatMap source(5, 4);
  for (int32_t i = 0; i < 20; ++i) source.row(i / 5)[i % 5] = static_cast<float>(i * i);
  for (const int32_t mode : {FnEdge_Hold, FnEdge_Mirror, FnEdge_Wrap, FnEdge_Transparent}) {
    source.setEdgeModes(mode, mode);
    source.setFill(1000);
    for (const int32_t count : {1, 3}) {
      FnSetThreadCount(count);
      FnFloatMap rows(5, 4), columns(5, 4);
      FnMotionEstimateGradientRow row;
      FnMotionEstimateGradientColumn column;
      row.window = column.window = 3;
      row.process(&source, &rows);
      column.process(&source, &columns);
      for (int32_t y = 0; y < 4; ++y) {
        for (int32_t x = 0; x < 5; ++x) {
          float along = 0, down = 0;
          for (int32_t i = 0; i < 3; ++i) {
            along += source.at(x + i, y);
            down += source.at(x, y + i);
          }
          EXPECT_EQ(rows.row(y)[x], along) << mode << x << y;
          EXPECT_EQ(columns.row(y)[x], down) << mode << x << y;
        }
      }
      FnMeanCalculator mean;
      mean.process(&source, &source);
      EXPECT_EQ(mean.mean(), 2470 * (1 / 20.0f));  // the squares of 0..19
    }
  }
  FnSetThreadCount(threads);
}

TEST(FnStages, Quantiser) {
  FnMotionEstimateGradientQuantise quantise;
  quantise.step = 0.5f;
  const float pairs[][2] = {{0.25f, 0.5f},   {0.24f, 0},   {-0.25f, 0},        {-0.74f, 0},
                            {-0.75f, -0.5f}, {7.3f, 7.5f}, {FLT_MAX, FLT_MAX}, {-1e30f, -1e30f}};
  for (const auto& [from, to] : pairs) {
    HvVec2 v;
    quantise.pixel({from, -1}, &v, 0);
    EXPECT_TRUE(v == (HvVec2{to, -0.5f})) << from;
  }
}

TEST(FnStages, MonitorAndGenerator) {
  Vectors vectors(3, 2);
  FnMotionEstimateGradientChangedNeighboursMonitor monitor;
  const auto changed = [&] {
    std::vector<int> all;
    for (int32_t i = 0; i < 6; ++i) all.push_back(monitor.isChanged(i % 3, i / 3));
    return all;
  };
  monitor.process(&vectors);
  EXPECT_EQ(changed(), (std::vector<int>{1, 1, 1, 1, 1, 1}));
  vectors.row(1)[2] = {0, FLT_MAX};
  monitor.process(&vectors);
  EXPECT_EQ(changed(), (std::vector<int>{0, 0, 0, 0, 0, 1}));
  EXPECT_TRUE(monitor.hasInvalid());
  vectors.row(1)[2] = {0, 1};
  vectors.row(0)[0] = {1, 0};
  monitor.process(&vectors);
  EXPECT_EQ(changed(), (std::vector<int>{1, 0, 0, 0, 0, 1}));
  EXPECT_FALSE(monitor.hasInvalid());
  monitor.process(&vectors);
  EXPECT_EQ(changed(), (std::vector<int>{0, 0, 0, 0, 0, 0}));
  monitor.seed();
  monitor.process(&vectors);
  EXPECT_EQ(changed(), (std::vector<int>{1, 1, 1, 1, 1, 1}));

  FnRandom random(57, 123, 100);  // starts at 12357
  FnRandom first(0, 0, 100);
  for (const uint32_t expected : {220u, 613u, 21791u, 22173u}) EXPECT_EQ(first.Next(), expected);
  EXPECT_NE(random.Next(), 220u);
}

// Masked pixels keep a vector of their neighbourhood; others take the one that matches.
TEST(FnStages, FinalSmoothingWithAMask) {
  const Picture still(20, 20), moved(20, 20, 2, 0);
  Picture mask(20, 20);
  mask.Each([](float x, float) { return x < 10 ? 1.0f : 0.0f; });
  Vectors vectors(20, 20, {-7, 0});
  for (int32_t y = 0; y < 20; ++y) {
    for (int32_t x = y % 2; x < 20; x += 2) vectors.row(y)[x] = {2, 0};
  }
  FnMotionEstimateGradientSmoothVectorsInitialAssignment initial;
  initial.spacingX = initial.spacingY = 1;
  initial.frame0 = &still;
  initial.frame1 = &moved;
  initial.mask = &mask;
  initial.process(&vectors);
  int32_t wrong = 0;
  for (int32_t y = 2; y < 18; ++y) {
    for (int32_t x = 2; x < 10; ++x) wrong += vectors.row(y)[x].x != 2;
    for (int32_t x = 10; x < 18; ++x) EXPECT_EQ(vectors.row(y)[x].x, 2) << x << ' ' << y;
  }
  EXPECT_GT(wrong, 16);
}

// The options of the picture that no render sets: diagnostic colours, the nearer frame, and the
// second pass on the boundaries of the states.
TEST(FnStages, OptionsOfThePicture) {
  using Colors = FnMap<FnColorFloat>;
  const int32_t width = 24, height = 9;
  const float t = 0.25f;
  Colors first(width, height), second(width, height);
  FnIntMap states(width, height);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      const auto fx = static_cast<float>(x), fy = static_cast<float>(y);
      first.row(y)[x] = FnColorFloat::Of(1, fx, fy, 0);
      second.row(y)[x] = FnColorFloat::Of(1, 100 + fx, fy, 1);
      states.row(y)[x] = x < 8 ? FnOcclusion_First : x < 16 ? FnOcclusion_Second : FnOcclusion_Both;
    }
  }
  Vectors a(width, height, {4, 0}), b(width, height, {-8, 0});
  const auto build = [&](uint32_t flags, bool nearest, int32_t passes, Colors* out) {
    FnMotionEstimateGradientTweenerBuildPicture<VX_PixelFloat> picture;
    picture.parameters.flags |= flags;
    picture.parameters.position = t;
    picture.parameters.occlusion = &states;
    picture.parameters.vectorsA = &a;
    picture.parameters.vectorsB = &b;
    picture.nearest = nearest;
    picture.passes = passes;
    picture.process(&first, &second, out);
  };
  Colors plain(width, height), diagnostic(width, height), nearer(width, height),
      twice(width, height);
  build(0, false, 1, &plain);
  build(FnTween_Diagnostic, false, 1, &diagnostic);
  build(0, true, 1, &nearer);
  build(0, false, 2, &twice);
  const int32_t y = 4;
  for (int32_t x = 6; x < width - 4; ++x) {
    // The first frame is read at x + 8 t, the second at x - 4 (1 - t).
    const auto fx = static_cast<float>(x);
    const float one = fx + 2, two = 100 + fx - 3;
    const bool in_first = x < 8, in_second = !in_first && x < 16;
    const float mixed = one * (1 - t) + two * t;
    const float want = in_first ? one : in_second ? two : mixed;
    EXPECT_FLOAT_EQ(plain.row(y)[x].red, want);
    EXPECT_FLOAT_EQ(nearer.row(y)[x].red, in_second ? two : one);
    const FnColorFloat color = diagnostic.row(y)[x];
    EXPECT_EQ(color.alpha, in_first || in_second ? 0 : 1);
    EXPECT_FLOAT_EQ(color.red, in_first ? 1 : in_second ? 0 : mixed);
    EXPECT_FLOAT_EQ(color.green, in_second ? 1 : in_first ? 0 : static_cast<float>(y));
    // The negated vectors: the second frame at x - 8 (1 - t), the first at x + 4 t.
    const float negated_two = 100 + fx - 6, negated_one = fx + 1;
    const float negated = in_first    ? negated_two
                          : in_second ? negated_one
                                      : negated_one * (1 - t) + negated_two * t;
    const bool boundary = x == 7 || x == 8 || x == 15 || x == 16;
    EXPECT_FLOAT_EQ(twice.row(y)[x].red, boundary ? (want + negated) / 2 : want) << x;
  }
}
