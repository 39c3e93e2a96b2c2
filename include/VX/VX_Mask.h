// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Masks: multiply a world's alpha by a one-channel buffer, mix one channel with a constant, convert
// between worlds and one-channel buffers. See VX_Transfer.h for VX_PrepTrackMatteUniv.

#include "VX/VX_Transfer.h"
#include "VX/VX_UnoBuffer.h"

// Multiplies alpha by a one-channel buffer. Outside the area alpha becomes 0; colours are
// unchanged.
//   progress   may be null
//   h, v       position of the buffer's top left corner in the world
//   rect       in the world; null is all of it. The area is the part of `rect` that is inside the
//              world and both buffers.
//   buffer     weights, converted to the depth of the world: 0 gives alpha 0, full scale leaves
//              alpha unchanged. If the depths differ, samples above full scale are clamped.
//   second     another buffer at the same position, or null. Only its size is used: it limits the
//              area.
// Returns VX_ErrBadParameter for a null world, for one that is not an 8-bit, 16-bit or float
// VX_World with pixels, and for an invalid buffer (see VX_UnoBuffer.h). Otherwise returns the
// result of the progress function; if that stops the call, the rows already processed stay changed.
VX_API VX_Err VX_MergeMaskAlpha(VX_ProgressInfo* progress, int16_t h, int16_t v, const M_Rect* rect,
                                const VX_UnoBuffer* buffer, const VX_UnoBuffer* second,
                                VX_World* world);

// Changes the first channel c (alpha) of `count` pixels to c + (target - c) * values[i] * opacity,
// with values and opacity as 0..1 of full scale. A count below 1 does nothing. Instantiated for
// VX_Pixel8, VX_Pixel16 and VX_PixelFloat.
template <class Pixel, class Channel>
VX_API void VX_BlendSingleChannel(int32_t count, Channel opacity, Channel target,
                                  const Channel* values, Pixel* row);

// The quantity of a world that VX_MatteFromWorld stores.
enum : int32_t {
  VX_Matte_Alpha = 0,
  VX_Matte_InverseAlpha = 1,
  VX_Matte_Luma = 2,  // luminance times alpha
  VX_Matte_InverseLuma = 3,
  VX_Matte_Red = 4,  // colours are stored unchanged, whatever alpha is
  VX_Matte_Green = 5,
  VX_Matte_Blue = 6
};

// Stores the selected quantity (VX_Matte_...) of each pixel in a buffer of the same size and depth
// as the world. Returns VX_ErrBadParameter with a report.
VX_API VX_Err VX_MatteFromWorld(VX_ProgressInfo* progress, const VX_LayerDef* world, int32_t what,
                                VX_UnoBuffer* buffer);

// Converts a buffer to an opaque grey picture: each sample is stored as red, green and blue. The
// world has the size and depth of the buffer.
VX_API VX_Err VX_WorldFromMatte(VX_ProgressInfo* progress, const VX_UnoBuffer* buffer,
                                VX_LayerDef* world);
