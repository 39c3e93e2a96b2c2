// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Motion of the blocks of one pair of frames, by iterated least squares on the gradient.
//
// Frame 0 is read at displaced positions; blocks and vectors lie on frame 1. If the content moves
// by (dx, dy) from frame 0 to frame 1, y downwards, the vector is (dx, -dy).

#include <vector>

#include "frameblend/imgproc/FnImager.h"
#include "frameblend/imgproc/FnImgProc.h"
#include "frameblend/imgproc/FnLanes.h"
#include "frameblend/motion/FnBlocks.h"

// The sum of all pixels of a map, per thread, and their mean.
class FnMeanCalculator final : public GeneralSampler<float, 1, float, 1> {
 public:
  void prepare(const FnFloatMap* src, FnFloatMap* dst) override;
  void pixel(const float& value, float*, int32_t threadIndex) override;
  float mean() const;

 private:
  std::vector<float> sums_;
  std::vector<int32_t> counts_;
};

// Sums of `window` pixels: of pixel x and those after it in the row, or of pixel y and those below
// it in the column. Reads beyond the edges follow the source.
class FnMotionEstimateGradientRow final : public FnImgProc2<float, float> {
 public:
  int32_t window = 1;
  void processBand() override;
};
// Runs on the calling thread: a sum is updated from the one above it, so the rounding of the result
// depends on the row where the sum starts.
class FnMotionEstimateGradientColumn final : public FnImgProc2<float, float> {
 public:
  FnMotionEstimateGradientColumn() { options &= ~uint32_t{FnProcess_MultiThreaded}; }
  int32_t window = 1;
  void processBand() override;
};

// Rounds vectors to multiples of `step`: each component c becomes (int)((c + step / 2) / step) *
// step, truncated toward zero, so negative components round differently from positive ones. Invalid
// components, and those too large for an int, are unchanged.
class FnMotionEstimateGradientQuantise final : public GeneralSampler<HvVec2, 123, HvVec2, 123> {
 public:
  float step = 0.1f;
  void pixel(const HvVec2& from, HvVec2* to, int32_t) override;
  void processBand(const FnVectorMap* src, FnVectorMap* dst) override { FnWalk(*this, src, dst); }
};

// Updates each vector of a map, from its value at the start. A block with too few pixels inside the
// displaced frame, or without a gradient, gets an invalid vector.
class FnMotionEstimateGradient : public FnImgProc3<float, float, HvVec2> {
 public:
  int32_t blockWidth = 0, blockHeight = 0, overlap = 0;
  float weightA = 1, weightB = 1;  // not read
  float threshold = 0.01f;    // a block whose mean absolute difference is below it is not changed
  float quantiseStep = 0.1f;  // not read
  // Optional results, of the size of the map: the centres of the blocks; the last mean absolute
  // difference, FLT_MAX for a block without one; the activity, see below.
  FnVectorMap* outPositions = nullptr;
  FnFloatMap* outErrors = nullptr;
  FnFloatMap* outActivity = nullptr;
  const FnFloatMap* mask = nullptr;  // of the size of the frames; values above 0.5 exclude pixels
  // Blocks of frame 0 with less than the mean activity become invalid. The activity of a block is
  // the sum of absolute differences from its mean. Without the gate, outActivity receives |gx| +
  // |gy|, the components of the last gradient sums bx and by.
  bool gateOnActivity = false;
  bool useProfiles = false;  // correct each estimate by the shift of the sums of rows and columns

  void begin() override;
  void processBand() override;
  void end() override;
  void beginPass() override;

 private:
  struct Solution {
    bool done = false;  // the iteration ends and the vector is not used
    float error = 0, gx = 0, gy = 0;
  };
  struct Profiles {
    FnFloatMap rows, columns;
  };
  FnBlockSize Size() const { return {blockWidth, blockHeight, overlap}; }
  Solution Solve(const FnBlock& block, HvVec2* v, float* scratch) const;
  bool SolveProfiles(const FnBlock& block, HvVec2* v) const;
  bool MakeProfiles(const FnFloatMap& frame, Profiles* profiles);
  void Estimate(int32_t i, int32_t j, float* scratch);
  // Neighbouring blocks of a row, one per lane. Returns those that have to be estimated one by one:
  // they are near an edge of the displaced frame. `rows` has room for 2 * blockWidth values.
  bool CanEstimateLanes() const;
  FnInts EstimateLanes(int32_t i, int32_t j, FnFloats* rows) const;

  Profiles profiles_[2];
  FnFloatMap activity_;
  float cutOff_ = 0;
};
