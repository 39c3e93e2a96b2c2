// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Convolution of whole worlds with integer kernels, and Gaussian kernels.
//
// A kernel is an array of signed 32-bit weights in row order, top row first, not mirrored: the
// first weight multiplies the top left pixel of the window. Its diameter is odd. A full kernel has
// diameter * diameter weights, a one-dimensional one has `diameter` weights. A kernel of the single
// weight 256 reproduces the source.

#include "VX/VX_Types.h"

enum : int32_t {
  VX_Kernel_OneDimensional = 1,
  VX_Kernel_Normalize = 2,  // in VX_Convolve: divide by the sum of each kernel
  VX_Kernel_NoClamp = 4,    // in VX_Convolve only: see "limits" there
  VX_Kernel_Vertical = 32   // in VX_Convolve: a one-dimensional kernel is applied along columns
};

// The profile of the Gaussian kernels. `d` is the distance from the centre in units of the distance
// at which the kernel ends. Returns 0 for d > 1, else 1 - 1.102 * (1 - exp(-2.378 * d * d)). The
// value at d = 1 is slightly above 0.
VX_API double VXp_GaussianValue(double d);

// Builds a kernel of diameter 2 * ceil(radius) + 1. A weight is 255 * VXp_GaussianValue(distance /
// (radius + 1)) * multiplier, rounded and limited to 0..255. With VX_Kernel_Normalize all weights
// are then multiplied by one factor, so that their sum is about 255 times their number, and
// truncated; the scaled weights may exceed 255. Thread-safe.
//
//   ref         not read
//   radius      in pixels, 0 to 32767. Only 16 bits of ceil(radius) are used, as a signed number:
//               65537 gives a kernel of 3 by 3.
//   flags       VX_Kernel_OneDimensional and VX_Kernel_Normalize; others are ignored
//   multiplier  factor of all weights; finite
//   diameter    receives the diameter
//   kernel      receives the weights; VX_GaussianKernelSize returns their number
//
// Returns VX_Ok, or VX_ErrBadParameter after a report for a null result, a multiplier that is not
// finite, or a radius that is negative, NaN, does not fit 32 bits or is negative in 16 bits. The
// results are unchanged then.
using VX_GaussianKernelCall = VX_Err(void* ref, double radius, int32_t flags, double multiplier,
                                     int32_t* diameter, int32_t* kernel);
using VX_GaussianKernelFunc = VX_GaussianKernelCall*;
VX_API VX_GaussianKernelCall VX_GaussianKernel;

// Returns the number of weights that VX_GaussianKernel writes, or 0 for a radius that it rejects.
VX_API int64_t VX_GaussianKernelSize(double radius, int32_t flags);

// Applies a kernel to each channel of the whole destination. Taps outside of the source are omitted
// and the divisor stays the same, so edges fade toward transparent black.
//
//   divisor         256 * number of taps; with VX_Kernel_Normalize the sum of the kernel, or 1 if
//                   that sum is 0
//   8 and 16 bits   sums are exact (64 bits); the quotient is truncated toward 0
//   float           sums have single precision and are added in the order of the kernel
//   limits          results are clamped to 0..full scale. With VX_Kernel_NoClamp, colours of floats
//                   are not clamped, and integers keep their low bits. Float alpha is always
//                   clamped to 0..1, and set to 0 below 1e-30. NaN is not changed.
//
//   progress       called after a row if more than 2048 taps were computed since the last call,
//                  with the completed rows and the number of rows; may be null
//   src            source world
//   rect           not read
//   flags          VX_Kernel_...
//   kernel_size    diameter of the kernels: odd, 1 to 65535
//   alpha_kernel   weights of alpha
//   red_kernel     weights of red
//   green_kernel   weights of green
//   blue_kernel    weights of blue
//   dst            destination world of the same depth. If its pixels overlap those of the source,
//                  some are read after they were written.
//
// Returns VX_Ok, or
//   VX_ErrBadParameter  reported; a null world, pixels or kernel, different or unknown depths, a
//                       destination with the pixels of the source, a size that is even or below 1;
//                       the destination is unchanged
//   other               the code that the progress function returned; later rows are unchanged
using VX_ConvolveFunc = VX_Err (*)(VX_ProgressInfo* progress, const VX_LayerDef* src,
                                   const M_Rect* rect, int32_t flags, int32_t kernel_size,
                                   const int32_t* alpha_kernel, const int32_t* red_kernel,
                                   const int32_t* green_kernel, const int32_t* blue_kernel,
                                   VX_LayerDef* dst);
VX_API VX_Err VX_Convolve(VX_ProgressInfo* progress, const VX_LayerDef* src, const M_Rect* rect,
                          int32_t flags, int32_t kernel_size, const int32_t* alpha_kernel,
                          const int32_t* red_kernel, const int32_t* green_kernel,
                          const int32_t* blue_kernel, VX_LayerDef* dst);
