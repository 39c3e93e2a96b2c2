// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Painting a rectangle of a world with one colour.
//
// Common to all: the first argument is not read; a null area is the whole world; an area given
// upside down is turned over, then clipped. 0, or 3 for a world without pixels (reported) or of
// unknown depth. Nothing is blended: alpha is stored like the other channels. Fills poll no
// progress. Safe on several threads for different worlds.

#include "VX/VX_Types.h"

// A null colour is all zero. The colour is converted to the world's depth: 8 to 16 bits by
// (c * 32768 + 128) / 255, 16 to 8 by (c * 255 + 16384) >> 15, to float by one float product.
VX_API VX_Err VX_Fill(void* ref, const VX_Pixel8* color, const M_Rect* area, VX_LayerDef* world);
VX_API VX_Err VX_Fill16(void* ref, const VX_Pixel16* color, const M_Rect* area, VX_LayerDef* world);

// Red, green and blue are clamped and rounded (c * scale + 0.5, truncated, in double); alpha is not
// clamped at 8 and 16 bits: its low bits are stored, so 2.0 becomes 254 at 8 bits.
VX_API VX_Err VX_FillFloat(void* ref, const VX_PixelFloat* color, const M_Rect* area,
                           VX_LayerDef* world);

// Sets alpha to 0 outside the area, colours stay. An area that clips to nothing clears all alpha; a
// null area keeps everything.
VX_API VX_Err VX_ClearAlphaExceptRect(void* ref, const M_Rect* area, VX_LayerDef* world);
