// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Pictures of instants between two pictures from dense motion in both directions.

#include "frameblend/high/FnFlow.h"
#include "frameblend/imgproc/FnTexture.h"

class FnTwoSided {
 public:
  // Both pictures, complete before Estimate: colours multiplied by alpha, at 0..255.
  FnMap<FnColorFloat> first, second;
  bool opaque = true;

  // The motion, of the size of the pictures: on the first picture, on the second.
  FnFlowMap forward, backward;

  // Estimates the motion. Sets error 4 if out of memory.
  void Estimate(FnInterruptState* interrupt);
  // Compares the pictures along the motion, before Unexplained and Render. Sets error 4 if out of
  // memory.
  void Compare(FnInterruptState* interrupt);
  // The share of pixels that the motion does not explain, 0..1; of both directions the smaller one.
  float Unexplained() const { return unexplained_; }
  // Makes the picture of a position in 0..1, in the form of the sources.
  void Render(float position, FnInterruptState* interrupt, FnMap<FnColorFloat>* out) const;

 private:
  FnFloatMap forwardCost_, backwardCost_;
  float unexplained_ = 0;
};
