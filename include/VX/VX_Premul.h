// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Multiplying colour by alpha in place, and undoing it.
//
// `forward` non-zero multiplies: c' = c * a, plus m * (1 - a) with a matte colour m. Zero undoes
// it: c' = c / a, or m + (c - m) / a clamped; 0 where alpha is 0. Float is not clamped. Alpha
// stays. A null area is the whole world. 0, or 3 for a world of unknown depth or without pixels, or
// a null colour. The first argument is not read. Safe on several threads for different worlds.

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
