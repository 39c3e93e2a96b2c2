// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Integer kernels over whole worlds, and the kernel of a Gaussian.
//
// A kernel is an array of signed 32-bit weights in row order, top row first, not mirrored: the
// first weight multiplies the pixel above and to the left. Its diameter is odd. A full kernel has
// diameter * diameter weights, a one-dimensional one `diameter`. 256 stands for 1 of a single tap.

#include "VX/VX_Types.h"

enum : int32_t {
  VX_Kernel_OneDimensional = 1,
  VX_Kernel_Normalize = 2,  // in VX_Convolve: divide by the sum of each kernel
  VX_Kernel_NoClamp = 4,    // in VX_Convolve only
  VX_Kernel_Vertical = 32   // in VX_Convolve: a one-dimensional kernel runs down
};

// The profile of the kernels: `d` is the distance from the centre, 1 is the edge. Beyond it 0, else
// 1 - (1 - exp(-2.378 d d)) 1.102, which is slightly above 0 at the edge itself.
VX_API double VXp_GaussianValue(double d);

// Builds a kernel of diameter 2 ceil(radius) + 1. A weight is 255 times the profile at its distance
// over radius + 1, times `multiplier`, rounded, and limited to 0..255; with VX_Kernel_Normalize the
// weights are then scaled so that they sum to about 255 a tap (not limited again, truncated). Of
// the flags, one-dimensional and normalize are read. The caller provides room for the weights; ask
// VX_GaussianKernelSize. 0; 3 after a report for a radius that is negative or not a number, a
// multiplier that is not finite, or a null place. Of the ceiling of the radius 16 bits are kept, as
// of a signed word: 32767 is the largest radius that is honoured, 65537 gives a kernel of 3 by 3,
// and radii that come out negative, or do not fit 32 bits, are refused. `ref` is not read.
using VX_GaussianKernelCall = VX_Err(void* ref, double radius, int32_t flags, double multiplier,
                                     int32_t* diameter, int32_t* kernel);
using VX_GaussianKernelFunc = VX_GaussianKernelCall*;
VX_API VX_GaussianKernelCall VX_GaussianKernel;

// The number of weights that VX_GaussianKernel writes, or 0 for a radius that it refuses.
VX_API int64_t VX_GaussianKernelSize(double radius, int32_t flags);

// Applies a kernel of `kernel_size` to each channel of the whole destination; the rectangle is not
// read. What hangs over the source's edge is left out and the divisor stays, so edges fade toward
// transparent black. Divisors: 256 times the taps, or the sum of the kernel (1 when that is 0).
// Integer depths sum in 32 bits that wrap and divide truncating; float sums in single precision, in
// the order of the kernel. Results are clamped to the depth's scale unless VX_Kernel_NoClamp;
// integers then keep their low bits. Float alpha is always brought to 0..1, and below 1e-30 to 0;
// only what is not a number stays so, in every channel.
//
// Source and destination have the same depth and are different worlds; where their pixels overlap,
// some are read after they were written. Progress (may be null) is called with the rows done and
// all rows, after a row once more than 2048 taps were done since the last call; a result other than
// 0 stops and is returned. 0; 3 after a report for unequal or unknown depths, null worlds, pixels
// or kernels, the same pixels twice, or an even or negative size. Half of the size is kept in 16
// bits: 65535 is the largest size that is honoured.
using VX_ConvolveFunc = VX_Err (*)(VX_ProgressInfo* progress, const VX_LayerDef* src,
                                   const M_Rect* rect, int32_t flags, int32_t kernel_size,
                                   const int32_t* alpha_kernel, const int32_t* red_kernel,
                                   const int32_t* green_kernel, const int32_t* blue_kernel,
                                   VX_LayerDef* dst);
VX_API VX_Err VX_Convolve(VX_ProgressInfo* progress, const VX_LayerDef* src, const M_Rect* rect,
                          int32_t flags, int32_t kernel_size, const int32_t* alpha_kernel,
                          const int32_t* red_kernel, const int32_t* green_kernel,
                          const int32_t* blue_kernel, VX_LayerDef* dst);
