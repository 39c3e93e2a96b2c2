// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Masks outside the general transfer: the alpha of a world times a buffer, one channel toward a
// constant, a buffer made of a world. VX_PrepTrackMatteUniv stands in VX_Transfer.h.

#include "VX/VX_Transfer.h"
#include "VX/VX_UnoBuffer.h"

// Multiplies the world's alpha by the buffer, which lies with its corner at (h, v) in the world.
// The area is `rect` (null: the whole world) where both buffers are; outside of it alpha becomes 0.
// A sample is brought to the world's depth first (one above the scale to full scale, where the
// depths differ): 0 gives alpha 0, full scale leaves it. `second` (may be null) bounds the area and
// is not read. Colours stay.
//
// A damaged buffer is reported: see VX_UnoBuffer.h. 0; 3 for a null or unknown world; or what
// progress returned, with the rows done so far merged.
VX_API VX_Err VX_MergeMaskAlpha(VX_ProgressInfo* progress, int16_t h, int16_t v, const M_Rect* rect,
                                const VX_UnoBuffer* buffer, const VX_UnoBuffer* second,
                                VX_World* world);

// Moves the first channel of `count` pixels toward `target` by values[i] times opacity. A count
// below 1 does nothing. For VX_Pixel8, VX_Pixel16 and VX_PixelFloat.
template <class Pixel, class Channel>
VX_API void VX_BlendSingleChannel(int32_t count, Channel opacity, Channel target,
                                  const Channel* values, Pixel* row);

// What of a world a buffer is made of.
enum : int32_t {
  VX_Matte_Alpha = 0,
  VX_Matte_InverseAlpha = 1,
  VX_Matte_Luma = 2,  // luminance times alpha
  VX_Matte_InverseLuma = 3,
  VX_Matte_Red = 4,  // as they stand, whatever alpha is
  VX_Matte_Green = 5,
  VX_Matte_Blue = 6
};

// Fills a buffer of the size and the depth of the world. 0, or 3 after a report.
VX_API VX_Err VX_MatteFromWorld(VX_ProgressInfo* progress, const VX_LayerDef* world, int32_t what,
                                VX_UnoBuffer* buffer);

// The same samples as greys: red, green and blue of an opaque world of the buffer's size and depth.
VX_API VX_Err VX_WorldFromMatte(VX_ProgressInfo* progress, const VX_UnoBuffer* buffer,
                                VX_LayerDef* world);
