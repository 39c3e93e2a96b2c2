// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Copies a rectangle between worlds of any two depths.

#include "VX/VX_Types.h"

// Copies a rectangle of the source; all four channels are converted in the same way.
//   progress   may be null; polled once per row with the rows done and the number of rows
//   rect       in the source; null is all of it; clipped to the source and to the destination
//   dither     not 0: for 8-bit destinations, noise is added in place of the rounding constant. The
//              noise of a pixel does not depend on the number of threads
//   h, v       destination column and row of the top left corner of the rectangle
//
//   conversion         rule
//   8 to 16 bits       (c * 32768 + 128) / 255
//   16 to 8 bits       (c * 255 + 16384) >> 15
//   8 bits to float    c * (float nearest to 1/255)
//   16 bits to float   c / 32768
//   float to integer   clamped; c * scale + 0.5 in double, truncated
//
// Returns VX_ErrBadParameter or the result of the progress function.
VX_API VX_Err VX_DepthConvertWorld(VX_ProgressInfo* progress, const VX_LayerDef* source,
                                   const M_Rect* rect, int32_t dither, int32_t h, int32_t v,
                                   VX_LayerDef* dest);

// Resets the position in the dither noise, so that a conversion can be repeated with equal results.
VX_API void VX_ResetDitherRandomIndex();
