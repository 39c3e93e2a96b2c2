// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Single colours between RGB and two other spaces, and what is read off them.
//
// With x the largest and n the smallest of r, g, b as 0..1:
//   L = (x + n) / 2; S = (x - n) / (x + n) up to L = 0.5, above (x - n) / (2 - x - n), 0 for greys;
//   H = 60 (g - b) / (x - n) where r is the largest, 120 + 60 (b - r) / (x - n) where g is, and
//   240 + 60 (r - g) / (x - n) for b, brought to 0..360; 0 for greys.
//   Y = 0.299 r + 0.587 g + 0.114 b
//   I = 0.596 r - 0.274 g - 0.322 b
//   Q = 0.211 r - 0.523 g + 0.312 b
// For integer pixels the three are signed 16.16 fixed point, as are H in degrees and L, S in 0..1;
// for float pixels floats. All is computed in double and rounded once, integers to the nearest with
// halves upward.
//
// Back, H counts modulo 360; integer channels are held to 0..full scale, floats are not held. Alpha
// of a result pixel is not written. A way there and back ends within one code of the pixel, for
// floats of 0..1 within 1e-6. Integer channels above white count as white. Where S would be divided
// by nothing, which takes floats beyond 0..1, it is 0. `ref` is not read. 0, or 3 for a null
// argument. Safe on any thread.

#include "VX/VX_Types.h"

VX_API VX_Err VX_RGBtoHLS_Straight(void* ref, const VX_Pixel8* rgb, VX_Fixed hls[3]);
VX_API VX_Err VX_HLStoRGB_Straight(void* ref, const VX_Fixed hls[3], VX_Pixel8* rgb);
VX_API VX_Err VX_RGBtoYIQ_Straight(void* ref, const VX_Pixel8* rgb, VX_Fixed yiq[3]);
VX_API VX_Err VX_YIQtoRGB_Straight(void* ref, const VX_Fixed yiq[3], VX_Pixel8* rgb);

// The luminance of blending, in channel units; and H, L and S times the full scale (255 a degree
// for H), from the formulas and not from the fixed point.
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
