// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Single colours between RGB and two other spaces, and what is read off them.
//
// HLS: H in degrees 0..360, L and S 0..1. Y, I and Q by the NTSC matrix. For integer pixels the
// three are signed 16.16 fixed point, rounded to the nearest; for float pixels floats. Alpha of a
// result pixel is not written. A way there and back ends within one code of the pixel. `ref` is not
// read. 0, or 3 for a null argument. Safe on any thread.

#include "VX/VX_Types.h"

VX_API VX_Err VX_RGBtoHLS_Straight(void* ref, const VX_Pixel8* rgb, VX_Fixed hls[3]);
VX_API VX_Err VX_HLStoRGB_Straight(void* ref, const VX_Fixed hls[3], VX_Pixel8* rgb);
VX_API VX_Err VX_RGBtoYIQ_Straight(void* ref, const VX_Pixel8* rgb, VX_Fixed yiq[3]);
VX_API VX_Err VX_YIQtoRGB_Straight(void* ref, const VX_Fixed yiq[3], VX_Pixel8* rgb);

// The luminance of blending, 0..full scale; and H, L and S times the full scale (255 a degree for
// H).
VX_API VX_Err VX_Luminance_Straight(void* ref, const VX_Pixel8* rgb, int32_t* out);
VX_API VX_Err VX_Hue_Straight(void* ref, const VX_Pixel8* rgb, int32_t* out);
VX_API VX_Err VX_Lightness_Straight(void* ref, const VX_Pixel8* rgb, int32_t* out);
VX_API VX_Err VX_Saturation_Straight(void* ref, const VX_Pixel8* rgb, int32_t* out);

VX_API VX_Err VX_RGBtoHLS_Straight16(void* ref, const VX_Pixel16* rgb, VX_Fixed hls[3]);
VX_API VX_Err VX_HLStoRGB_Straight16(void* ref, const VX_Fixed hls[3], VX_Pixel16* rgb);
VX_API VX_Err VX_RGBtoYIQ_Straight16(void* ref, const VX_Pixel16* rgb, VX_Fixed yiq[3]);
VX_API VX_Err VX_YIQtoRGB_Straight16(void* ref, const VX_Fixed yiq[3], VX_Pixel16* rgb);
VX_API VX_Err VX_Luminance_Straight16(void* ref, const VX_Pixel16* rgb, int32_t* out);
VX_API VX_Err VX_Hue_Straight16(void* ref, const VX_Pixel16* rgb, int32_t* out);
VX_API VX_Err VX_Lightness_Straight16(void* ref, const VX_Pixel16* rgb, int32_t* out);
VX_API VX_Err VX_Saturation_Straight16(void* ref, const VX_Pixel16* rgb, int32_t* out);

VX_API VX_Err VX_RGBtoHLS_StraightFloat(void* ref, const VX_PixelFloat* rgb, float hls[3]);
VX_API VX_Err VX_HLStoRGB_StraightFloat(void* ref, const float hls[3], VX_PixelFloat* rgb);
VX_API VX_Err VX_RGBtoYIQ_StraightFloat(void* ref, const VX_PixelFloat* rgb, float yiq[3]);
VX_API VX_Err VX_YIQtoRGB_StraightFloat(void* ref, const float yiq[3], VX_PixelFloat* rgb);
VX_API VX_Err VX_Luminance_StraightFloat(void* ref, const VX_PixelFloat* rgb, float* out);
VX_API VX_Err VX_Hue_StraightFloat(void* ref, const VX_PixelFloat* rgb, float* out);
VX_API VX_Err VX_Lightness_StraightFloat(void* ref, const VX_PixelFloat* rgb, float* out);
VX_API VX_Err VX_Saturation_StraightFloat(void* ref, const VX_PixelFloat* rgb, float* out);
