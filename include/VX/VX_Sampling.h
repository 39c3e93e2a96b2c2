// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Reading a world at a position that is not a whole pixel: the records and forms of the samplers.
//
// Positions are 16.16 fixed point and pixel centres lie on whole numbers. Outside a world is
// transparent black for the clipped samplers; the others trust the caller to stay inside. Samplers
// hold no state and may run on any number of threads.

#include "VX/VX_Types.h"

// What a sampler reads besides the position. Zero the whole record, then set the named fields.
struct VX_SampPB {
  VX_Fixed x_radius;  // half width of the footprint in source pixels
  VX_Fixed y_radius;  // half height
  VX_Fixed area;      // 4 * x_radius * y_radius
  VX_LayerDef* src;   // the descriptor inside a VX_World when handed to a float sampler
  uint32_t reserved_5[2];
  int32_t motion_samples;  // sub-samples per pixel of a motion-blurred row; the low 16 bits count
  uint32_t reserved_8[14];
};
static_assert(sizeof(VX_SampPB) == 96);
static_assert(offsetof(VX_SampPB, y_radius) == 4 && offsetof(VX_SampPB, area) == 8);
static_assert(offsetof(VX_SampPB, src) == 16 && offsetof(VX_SampPB, motion_samples) == 32);

// The shares of the four neighbours; digits are the column and the row of the neighbour.
struct VX_SubpixelWeights {
  double w00, w10, w01, w11;
};
static_assert(sizeof(VX_SubpixelWeights) == 32);

// --- forms ---------------------------------------------------------------------------------------
//
// `progress` is passed through and not read. All return 0.

// One pixel.
template <class Pixel>
using VX_SampleFunc = VX_Err (*)(VX_ProgressInfo* progress, VX_Fixed x, VX_Fixed y,
                                 const VX_SampPB* record, Pixel* out);

// One pixel, and whether all four neighbours lie inside (0 or 1).
template <class Pixel>
using VX_SampleAllInFunc = VX_Err (*)(VX_ProgressInfo* progress, VX_Fixed x, VX_Fixed y,
                                      const VX_SampPB* record, uint8_t* all_in, Pixel* out);

// One pixel with given weights; the fractions of x and y are not read.
template <class Pixel>
using VX_SampleWeightedFunc = VX_Err (*)(VX_ProgressInfo* progress, VX_Fixed x, VX_Fixed y,
                                         const VX_SubpixelWeights* weights, const VX_SampPB* record,
                                         Pixel* out);

// `count` pixels, one source column apart. Adds their alphas to `alpha_sum`.
template <class Pixel>
using VX_SampleSpanFunc = VX_Err (*)(VX_ProgressInfo* progress, int32_t count, VX_Fixed x,
                                     VX_Fixed y, const VX_SampPB* record, uint32_t* alpha_sum,
                                     Pixel* out);

// Four pixels at positions[0..7]: x0, y0, x1, y1 and so on.
using VX_SampleFourFunc = VX_Err (*)(VX_ProgressInfo* progress, const VX_Fixed* positions,
                                     const VX_SampPB* record, VX_Pixel8* out);
using VX_SampleFourWeightedFunc = VX_Err (*)(VX_ProgressInfo* progress, const VX_Fixed* positions,
                                             const VX_SubpixelWeights* weights,
                                             const VX_SampPB* record, VX_Pixel8* out);

// Weights from the fractions of x and y.
using VX_ComputeWeightFunc = VX_Err (*)(uint16_t fx, uint16_t fy, VX_SubpixelWeights* out);
