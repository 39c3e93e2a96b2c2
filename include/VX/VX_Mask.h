// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Masks: multiply a world's alpha by a buffer, mix one channel with a constant, convert between
// worlds and buffers. See VX_Transfer.h for VX_PrepTrackMatteUniv.

#include "VX/VX_Transfer.h"
#include "VX/VX_UnoBuffer.h"

// Multiplies alpha by a one-channel buffer. Outside the area alpha becomes 0; colours are
// unchanged.
//   progress   may be null
//   h, v       position of the buffer's top left corner in the world
//   rect       in the world; null is all of it. The area is its intersection with both buffers.
//   buffer     weights, converted to the depth of the world: 0 gives alpha 0, full scale leaves
//              alpha unchanged. If the depths differ, samples above full scale are clamped.
//   second     another buffer, or null. Only its size is used: it limits the area.
// Returns VX_ErrBadParameter for a null or unknown world, an error of an invalid buffer (see
// VX_UnoBuffer.h), or the result of the progress function; rows done before remain merged.
VX_API VX_Err VX_MergeMaskAlpha(VX_ProgressInfo* progress, int16_t h, int16_t v, const M_Rect* rect,
                                const VX_UnoBuffer* buffer, const VX_UnoBuffer* second,
                                VX_World* world);

// Mixes the first channel of `count` pixels with `target`, with the weight values[i] times opacity.
// A count below 1 does nothing. Instantiated for VX_Pixel8, VX_Pixel16 and VX_PixelFloat.
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
