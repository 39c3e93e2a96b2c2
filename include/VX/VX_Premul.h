// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Multiplies colour by alpha in place (premultiplication), and the inverse. Alpha is unchanged.
//
//   ref       ignored
//   forward   not 0: c' = c * a. 0: the inverse, c' = c / a
//   color     matte colour m: c' = c * a + m * (1 - a); the inverse is c' = m + (c - m) / a,
//             clamped
//   area      null is the whole world
// The inverse gives 0 where alpha is 0. Float values are not clamped. The calls return
// VX_ErrBadParameter for a world of unknown depth or without pixels, and for a null colour.
// Thread-safe on different worlds.

#include "VX/VX_Types.h"

VX_API VX_Err VX_Premul(void* ref, int32_t forward, VX_LayerDef* world);
VX_API VX_Err VX_PremulRect(void* ref, int32_t forward, const M_Rect* area, VX_LayerDef* world);

VX_API VX_Err VX_PremulColor(void* ref, int32_t forward, const VX_Pixel8* color,
                             VX_LayerDef* world);
VX_API VX_Err VX_PremulColor16(void* ref, int32_t forward, const VX_Pixel16* color,
                               VX_LayerDef* world);
VX_API VX_Err VX_PremulColorFloat(void* ref, int32_t forward, const VX_PixelFloat* color,
                                  VX_LayerDef* world);

VX_API VX_Err VX_PremulColorRect(void* ref, int32_t forward, const VX_Pixel8* color,
                                 const M_Rect* area, VX_LayerDef* world);
VX_API VX_Err VX_PremulColorRect16(void* ref, int32_t forward, const VX_Pixel16* color,
                                   const M_Rect* area, VX_LayerDef* world);
VX_API VX_Err VX_PremulColorRectFloat(void* ref, int32_t forward, const VX_PixelFloat* color,
                                      const M_Rect* area, VX_LayerDef* world);
