// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The vector fields of a pair of pictures, one vector for each pixel of their analysis pictures.

#include "VX/VX_FrameBlending.h"
#include "frameblend/imgproc/FnResample.h"

// A picture at analysis size, and its reductions.
struct FnAnalysisPicture {
  FnFloatMap luminance;
  FnFilteredPyramid pyramid;
  float ratio = 1;  // pixels of the picture per pixel of the luminance
};

// The size of the luminance of a world, at least 1 x 1.
struct FnAnalysisSize {
  int32_t width, height;
};
FnAnalysisSize FnAnalysisSizeOf(const VX_LayerDef& world, const VX_Veltor_AlgoParams& settings);

// Makes the analysis picture of a world. Errors are recorded in `interrupt`.
void FnPrepareAnalysis(const VX_LayerDef& world, const VX_Veltor_AlgoParams& settings,
                       FnInterruptState* interrupt, FnAnalysisPicture* out);

// Estimates the motion from `from` to `to` for each pixel of `from`, in pixels of the luminance:
// first the motion of blocks, spread over their pixels, then the final smoothing. FnEstimateBlocks
// allocates `field`. Errors are recorded in `interrupt`.
void FnEstimateBlocks(const FnAnalysisPicture& from, const FnAnalysisPicture& to,
                      const VX_Veltor_AlgoParams& settings, FnInterruptState* interrupt,
                      FnVectorMap* field);
void FnSmoothField(const FnAnalysisPicture& from, const FnAnalysisPicture& to,
                   const VX_Veltor_AlgoParams& settings, FnInterruptState* interrupt,
                   FnVectorMap* field);
