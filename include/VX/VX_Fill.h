// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Fills a rectangle of a world with one colour.
//
//   ref     ignored
//   color   all channels are stored, without blending; null stores 0 in all channels
//   area    null is the whole world; edges in reverse order are exchanged; then clipped to the
//           world
// Return VX_ErrBadParameter for a world without pixels (with a report) or of unknown depth.
// Thread-safe on different worlds.

#include "VX/VX_Types.h"

// The colour is converted to the depth of the world: 8 to 16 bits by (c * 32768 + 128) / 255, 16 to
// 8 bits by (c * 255 + 16384) >> 15, to float by one multiplication in single precision.
VX_API VX_Err VX_Fill(void* ref, const VX_Pixel8* color, const M_Rect* area, VX_LayerDef* world);
VX_API VX_Err VX_Fill16(void* ref, const VX_Pixel16* color, const M_Rect* area, VX_LayerDef* world);

// In integer worlds, red, green and blue are clamped and rounded (c * scale + 0.5 in double,
// truncated). Alpha is not clamped: only the low bits of its rounded value are stored, so 2.0
// becomes 254 at 8 bits.
VX_API VX_Err VX_FillFloat(void* ref, const VX_PixelFloat* color, const M_Rect* area,
                           VX_LayerDef* world);

// Sets alpha to 0 outside the area; colours are unchanged. A null area changes nothing; an area
// that is empty after clipping clears all alpha.
VX_API VX_Err VX_ClearAlphaExceptRect(void* ref, const M_Rect* area, VX_LayerDef* world);
