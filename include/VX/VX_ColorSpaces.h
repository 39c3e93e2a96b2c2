// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Conversion of single colours between RGB and two other colour spaces (HLS, YIQ), and functions
// that return one attribute of a colour, such as its hue.
//
// Definitions, with r, g, b as 0..1, x their maximum and n their minimum:
//   L = (x + n) / 2
//   S = (x - n) / (x + n) if L <= 0.5, else (x - n) / (2 - x - n); 0 for greys
//   H = 60 (g - b) / (x - n)         if x = r,
//       120 + 60 (b - r) / (x - n)   if x = g,
//       240 + 60 (r - g) / (x - n)   if x = b, modulo 360; 0 for greys
//   Y = 0.299 r + 0.587 g + 0.114 b
//   I = 0.596 r - 0.274 g - 0.322 b
//   Q = 0.211 r - 0.523 g + 0.312 b
//
// Arguments
//   ref   ignored
//   rgb   a pixel; alpha is not read and not written
//   hls   H in degrees, L and S in 0..1: signed 16.16 fixed point for integer pixels, else float
//   yiq   signed 16.16 fixed point for integer pixels, else float
//
// Rounding   Computed in double and rounded once; integers to nearest, halves up.
// Range      Integer channels above white are treated as white. When converting to RGB, H is taken
//            modulo 360 and integer channels are clamped; floats are not clamped. S is 0 if its
//            denominator is 0, which can occur for floats outside 0..1.
// Accuracy   Converting a pixel and converting the result back changes a channel by at most one
//            code value, floats in 0..1 by at most 1e-6.
// Errors     VX_ErrBadParameter for a null argument.
// Threads    Thread-safe.

#include "VX/VX_Types.h"

VX_API VX_Err VX_RGBtoHLS_Straight(void* ref, const VX_Pixel8* rgb, VX_Fixed hls[3]);
VX_API VX_Err VX_HLStoRGB_Straight(void* ref, const VX_Fixed hls[3], VX_Pixel8* rgb);
VX_API VX_Err VX_RGBtoYIQ_Straight(void* ref, const VX_Pixel8* rgb, VX_Fixed yiq[3]);
VX_API VX_Err VX_YIQtoRGB_Straight(void* ref, const VX_Fixed yiq[3], VX_Pixel8* rgb);

// Functions that return one attribute. Luminance is in channel units, see VX.h. Hue is H in degrees
// times full scale: 1 degree is 255 at 8 bits. Lightness and saturation are L and S times full
// scale. All are computed from the formulas, not from the fixed-point values.
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
