// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Dense motion between two pictures of grey values.
//
// From coarse to fine levels: patches are moved to where they match by inverse search, and their
// displacements are averaged for each pixel (Kroeger, Timofte, Dai, Van Gool, "Fast optical flow
// using dense inverse search", 2016). Then each pixel's displacement is refined by minimising the
// differences of values and gradients and the roughness of the field (Brox, Bruhn, Papenberg,
// Weickert, "High accuracy optical flow estimation based on a theory for warping", 2004).
//
// The result does not depend on the number of threads.

#include <deque>

#include "frameblend/high/FnRows.h"
#include "frameblend/imgproc/FnTexture.h"

// Grey values at 0..255 with a border that repeats the outermost pixels.
class FnGrey {
 public:
  static constexpr int32_t kBorder = 16;

  bool allocate(int32_t width, int32_t height) {
    width_ = width;
    height_ = height;
    return map_.allocate(width + 2 * kBorder, height + 2 * kBorder);
  }
  // Fills the border.
  void Extend();
  int32_t width() const { return width_; }
  int32_t height() const { return height_; }
  // The row may be accessed at -kBorder..width + kBorder - 1; y has the same range.
  float* row(int32_t y) const { return map_.row(y + kBorder) + kBorder; }
  ptrdiff_t pitch() const { return width_ + 2 * kBorder; }  // floats from row to row

 private:
  FnFloatMap map_;
  int32_t width_ = 0, height_ = 0;
};

// A picture and its reductions by two.
struct FnGreyLevels {
  std::deque<FnGrey> levels;

  // Builds the levels above levels[0], which is complete. Sets error 4 if out of memory.
  void Build(FnInterruptState* interrupt);
};

// Pixel (x, y) of one picture corresponds to (x + u, y + v) of the other.
struct FnFlowVector {
  float u, v;

  friend FnFlowVector operator+(const FnFlowVector& a, const FnFlowVector& b) {
    return {a.u + b.u, a.v + b.v};
  }
  friend FnFlowVector operator-(const FnFlowVector& a, const FnFlowVector& b) {
    return {a.u - b.u, a.v - b.v};
  }
  friend FnFlowVector operator*(const FnFlowVector& a, float k) { return {a.u * k, a.v * k}; }
};
using FnFlowMap = FnMap<FnFlowVector>;

struct FnFlowSettings {
  int32_t finest = 1;            // the finest level of the search and of the refinement
  int32_t searchSteps = 12;      // most steps of a patch
  int32_t outer = 4, inner = 4;  // iterations of the refinement
  float smoothness = 30, valueWeight = 5, gradientWeight = 10;
};

// Estimates the motion from `from` to `to`, which have the same size, at the size of level 0.
void FnEstimateFlow(const FnGreyLevels& from, const FnGreyLevels& to,
                    const FnFlowSettings& settings, FnInterruptState* interrupt, FnFlowMap* out);
