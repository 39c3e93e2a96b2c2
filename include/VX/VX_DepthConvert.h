// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Copying a rectangle between worlds of any two depths.

#include "VX/VX_Types.h"

// Copies `rect` of the source (null: all of it) so that its corner lands at column h, row v of the
// destination, clipped on both sides. All four channels convert alike and clamp alike: 8 to 16 by
// (c * 32768 + 128) / 255, 16 to 8 by (c * 255 + 16384) >> 15, float by c * scale + 0.5 in double.
// `dither` non-zero: on the way to 8 bits noise replaces the rounding constant. Progress (may be
// null) is polled once a row with the rows done and the number of rows. 0, 3, or what progress
// returned.
VX_API VX_Err VX_DepthConvertWorld(VX_ProgressInfo* progress, const VX_LayerDef* source,
                                   const M_Rect* rect, int32_t dither, int32_t h, int32_t v,
                                   VX_LayerDef* dest);

// Rewinds the dither noise, so that a following conversion repeats an earlier one.
VX_API void VX_ResetDitherRandomIndex();
