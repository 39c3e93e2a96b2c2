// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What a plug-in asks for while it holds a descriptor: worlds of its own, pixels, planes.
//
// Arguments called `ref` are not read. A bad argument is reported to the user and gives 516, a bad
// argument of the plane calls gives 3. The calls keep no state but the count of live worlds; any
// thread may make them.

#include "VX/VX_Types.h"

// --- worlds --------------------------------------------------------------------------------------

inline constexpr uint32_t VX_EffectWorldStamp = 0xAAAABBBB;
inline constexpr uint32_t VX_ForeignWorldStamp = 0xAAAAAAAA;  // accepted by VX_GetPlatformRefs only

// Makes a world that owns its pixels and describes it in `out`; give it back with
// VX_DisposeEffectWorld. Sizes 1..30,000, depth 8, 16 or 32. A null `out` does nothing and gives 0.
// 0, or the code that making the world gave (3 for another depth, 4, 516), with `out` as it was.
VX_API VX_Err VX_NewEffectWorld(void* ref, int32_t width, int32_t height, int32_t depth, bool clear,
                                bool use_bm_world, VX_LayerDef* out);

// The short form: `flags` bit 0 clears, bit 1 makes it 16-bit instead of 8; always bitmap-backed.
VX_API VX_Err VX_NewEffectWorldFlags(void* ref, int32_t width, int32_t height, uint32_t flags,
                                     VX_LayerDef* out);

// Deletes a world made here and clears the whole descriptor. 0; 516 after a report, with the
// descriptor as it was, for null or a descriptor that was not made here.
VX_API VX_Err VX_DisposeEffectWorld(void* ref, VX_LayerDef* world);

// This platform has no references to hand out: both places become null. 0; 516 after a report for
// null or a world without one of the two stamps.
VX_API VX_Err VX_GetPlatformRefs(void* ref, const VX_LayerDef* world, void** first, void** second);

// --- pixels --------------------------------------------------------------------------------------

// Stores the first pixel of a world of that depth: `pixels` when it is not null, else the world's
// own. A world of another depth stores null and is no failure. 0, or 516 after a report for a null
// world or place.
VX_API VX_Err VX_GetPixelData8(const VX_LayerDef* world, void* pixels, VX_Pixel8** out);
VX_API VX_Err VX_GetPixelData16(const VX_LayerDef* world, void* pixels, VX_Pixel16** out);
VX_API VX_Err VX_GetPixelDataFloat(const VX_LayerDef* world, void* pixels, VX_PixelFloat** out);

// --- planes --------------------------------------------------------------------------------------

enum : uint32_t { VX_Plane_Alpha = 1, VX_Plane_Red = 2, VX_Plane_Green = 4, VX_Plane_Blue = 8 };

// Packs the chosen channels of an 8-bit world into a new handle, in the order alpha, red, green,
// blue, a pixel after the other. A row is ((width + 8) * n + 3) with the lowest bit cleared bytes
// long for n channels; its tail is not written. A width or height below 0 counts as 0, and the
// handle is valid then as well. The caller frees it (U_FreeHandle). The depth is not tested. 0; 3
// after a report for a null argument, a world without pixels, a mask above 15, or a row beyond 2^31
// bytes; 4.
VX_API VX_Err VX_ExtractPlanes(void* ref, const VX_LayerDef* world, uint32_t mask, void*** handle,
                               int32_t* row_size);

// The reverse: writes the chosen channels of every pixel; the others stay. 0; 3 after a report,
// also for a null handle or a row size that the channels of a row do not fit into.
VX_API VX_Err VX_InsertPlanes(void* ref, void** handle, int32_t row_size, uint32_t mask,
                              VX_LayerDef* world);
