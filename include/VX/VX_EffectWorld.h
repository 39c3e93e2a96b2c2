// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Services for plug-ins: worlds, pixels, planes.
//
// `ref` is ignored. For a bad argument, the calls for planes return VX_ErrBadParameter with a
// report; all others return VX_ErrReported after a report to the user. Thread-safe on distinct
// worlds.

#include "VX/VX_Types.h"

// --- worlds --------------------------------------------------------------------------------------

inline constexpr uint32_t VX_EffectWorldStamp = 0xAAAABBBB;
inline constexpr uint32_t VX_ForeignWorldStamp = 0xAAAAAAAA;  // accepted by VX_GetPlatformRefs only

// Creates a world that owns its pixels and describes it in `out`. Free it with
// VX_DisposeEffectWorld.
//   width, height   1..30,000
//   depth           8, 16 or 32
//   clear           set all pixels to 0
//   use_bm_world    store the pixels in a host bitmap
//   out             null: nothing is created, returns VX_Ok
// Returns VX_ErrBadParameter for another depth, VX_ErrOutOfMemory or VX_ErrReported; `out` is then
// unchanged.
VX_API VX_Err VX_NewEffectWorld(void* ref, int32_t width, int32_t height, int32_t depth, bool clear,
                                bool use_bm_world, VX_LayerDef* out);

// Like VX_NewEffectWorld with a host bitmap. `flags`: bit 0 clears the pixels; bit 1 selects 16
// bits per channel instead of 8.
VX_API VX_Err VX_NewEffectWorldFlags(void* ref, int32_t width, int32_t height, uint32_t flags,
                                     VX_LayerDef* out);

// Frees a world that VX_NewEffectWorld created, and clears the descriptor. Returns VX_ErrReported,
// with the descriptor unchanged, for null or a descriptor that was created otherwise.
VX_API VX_Err VX_DisposeEffectWorld(void* ref, VX_LayerDef* world);

// Stores null in `first` and `second`, because this platform has no native drawing objects for a
// world. Returns VX_ErrReported for a null argument, and for a world whose effect_world_stamp is
// neither VX_EffectWorldStamp nor VX_ForeignWorldStamp.
VX_API VX_Err VX_GetPlatformRefs(void* ref, const VX_LayerDef* world, void** first, void** second);

// --- pixels --------------------------------------------------------------------------------------

// Stores the address of the first pixel as a pointer to the type in the name: `pixels` if it is not
// null, else the data of the world. Stores null if the world has another depth. Returns
// VX_ErrReported for a null world or `out`.
VX_API VX_Err VX_GetPixelData8(const VX_LayerDef* world, void* pixels, VX_Pixel8** out);
VX_API VX_Err VX_GetPixelData16(const VX_LayerDef* world, void* pixels, VX_Pixel16** out);
VX_API VX_Err VX_GetPixelDataFloat(const VX_LayerDef* world, void* pixels, VX_PixelFloat** out);

// --- planes --------------------------------------------------------------------------------------

enum : uint32_t { VX_Plane_Alpha = 1, VX_Plane_Red = 2, VX_Plane_Green = 4, VX_Plane_Blue = 8 };

// Copies channels of an 8-bit world into a new handle, pixel by pixel in the order alpha, red,
// green, blue.
//   mask       VX_Plane_... bits, 0..15
//   handle     receives the handle; the caller frees it with U_FreeHandle
//   row_size   receives the bytes per row: ((width + 8) * n + 3) & ~1 for n channels. The bytes
//              after the last pixel are not set.
// The depth is not checked. A negative width or height is treated as 0; the handle is then valid.
// Returns VX_ErrBadParameter with a report for a null argument, a world without pixels, another
// mask or a row of 2^31 bytes or more; VX_ErrOutOfMemory.
VX_API VX_Err VX_ExtractPlanes(void* ref, const VX_LayerDef* world, uint32_t mask, void*** handle,
                               int32_t* row_size);

// Copies the planes that VX_ExtractPlanes made back into the world; channels that are not in `mask`
// are unchanged. Returns VX_ErrBadParameter with a report, also for a null handle or a row size
// that is too small.
VX_API VX_Err VX_InsertPlanes(void* ref, void** handle, int32_t row_size, uint32_t mask,
                              VX_LayerDef* world);
