// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Motion of the blocks of a pair of frames, from coarse to fine.

#include <memory>
#include <vector>

#include "frameblend/imgproc/FnImager.h"
#include "frameblend/imgproc/FnResample.h"
#include "frameblend/motion/FnBlocks.h"

// A picture and its reductions; [0] is the picture.
using FnLevels = std::vector<const FnFloatMap*>;

// The number of levels for a frame: 1, and one more for each time that it can be halved so that
// both sides divided by 4 (as integers) exceed 1.
int32_t FnLevelCount(int32_t width, int32_t height);

// weightA and weightB of a parameter -1000..1000: how much a vector must match the pictures and how
// much its neighbours. Negative values raise the first, positive ones the second.
struct FnSmoothWeights {
  float a, b;
};
FnSmoothWeights FnSmoothWeightsOf(float parameter);

struct FnMotionEstimateGradientPyramidParameters {
  FnLevels frames0, frames1;  // the vectors lie on the grid of frames1
  FnLevels masks;             // may be empty; values above 0.5 exclude pixels
  float quantiseStep = 0.1f;  // of the vectors of level 0; halved for each level above it
  int32_t reserved[2] = {0, 0};
  int32_t overlap = 0;
  float weightA = 1, weightB = 1;
  float threshold = 0.01f;
  std::vector<float> blockWidths, blockHeights;  // by level
  bool useProfiles = false;
  int32_t levels = 4;
  int32_t lowestLevel = 0;  // levels below it are zoomed only
  int32_t smoothPasses = 5;
  int32_t nearestZoom = 0;
  FnVectorMap* outPositions = nullptr;  // results of level 0, see FnMotionEstimateGradient
  FnFloatMap* outErrors = nullptr;
  FnFloatMap* outActivity = nullptr;
  bool gateOnActivity = false;
};

// Fills a map with one vector per block of level 0, in pixels of its frame. The map has the size
// FnBlockSize::Columns x Rows. With smoothPasses above 0 every vector is valid: a level of which
// parts stay unknown after a hundred further rounds of smoothing becomes all zero.
class FnMotionEstimateGradientPyramid final : public Generator<HvVec2> {
 public:
  FnMotionEstimateGradientPyramidParameters parameters;

  // Does the whole work. Each step fans out on its own.
  void prepare(FnVectorMap* dst) override;
  void finish(FnVectorMap*) override { maps_.clear(); }

 private:
  FnBlockSize BlockSize(int32_t level) const;
  FnVectorMap* Map(int32_t level, FnVectorMap* dst) const;
  bool AllocateMaps();
  void EstimateLevel(int32_t level, FnVectorMap* map);
  void ZoomToFiner(int32_t level, FnVectorMap* from, FnVectorMap* to);
  bool Stopped() { return FnPoll(interrupt) != VX_Ok; }

  std::vector<std::unique_ptr<FnVectorMap>> maps_;  // of levels 1 and up
};
