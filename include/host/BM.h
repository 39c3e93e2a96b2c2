// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// BM: the host's bitmaps, and the plain frames that hold pixels of worlds. Any thread may make and
// free them; one bitmap is locked, unlocked and disposed on one thread at a time.
#pragma once

#include <cstdint>

#include "host/M.h"
#include "host/U.h"

inline constexpr int32_t BM_PKG_VERSION = 31;

// As U_CheckVersions.
VXHOST_API U_Err BM_CheckVersions(uint32_t code, int32_t wanted);

// Channel orders of a bitmap, in memory.
inline constexpr int32_t BM_ORDER_ARGB = 0;
inline constexpr int32_t BM_ORDER_BGRA = 1;

// A bitmap, always reached through a handle. Callers may read all fields but the last.
struct BM_World {
  void* base;              // first pixel of the first row; may be null: ask BMp_GetPixBaseAddr
  int32_t rowbytes;        // bytes from row to row, a multiple of 16 in bitmaps made here
  int32_t width, height;   // pixels
  int16_t bits_per_pixel;  // 32, 64 or 128: four channels of 8, 16 or 32 bits
  int32_t channel_order;   // BM_ORDER_...
  int32_t lock_count;      // pixels stay where they are while it is above 0
  void* private_block;     // the host's own
};

// Stores a new frame of at least `size` bytes, or null when memory is short ("quiet": no report).
// Frames are 8-byte aligned at least; the embedded host's are 16-byte aligned. `zero` is 0.
VXHOST_API void BM_AllocateFrameQuiet(uint64_t size, int32_t zero, void** out);

// Frees a frame. `size` is what the caller believes; a host must not rely on it. Null is accepted.
VXHOST_API void BM_FreeFrame(void* frame, uint64_t size);

// Tells the user that the pixels of a world of this shape could not be allocated. `code` is 4.
VXHOST_API void BM_ReportWorldAllocationFailure(U_Err code, int32_t rowbytes, int32_t width,
                                                int32_t height, int32_t bits_per_pixel);

// Makes a bitmap of the area's size, ARGB, cleared, unlocked, its rows 16-byte aligned, and stores
// its handle. zero1, eight, zero2, zero3 are 0, 8, 0, 0. Gives 3 for an empty area, a null out or
// bits other than 32, 64, 128; 4 when memory is short; null is stored then.
VXHOST_API U_Err BM_NewWorld(int32_t zero1, int32_t eight, const M_Rect& area,
                             int32_t bits_per_pixel, int32_t zero2, int32_t zero3, BM_World*** out);

// Loads the pixels and raises the lock count. one, zero1, zero2 are 1, 0, 0. Gives 3 for null.
VXHOST_API U_Err BM_LoadLockPixels(int32_t one, BM_World** world, int32_t zero1, int32_t zero2);

// Lowers the lock count, never below 0. Null is accepted.
VXHOST_API void BM_UnlockPixels(BM_World** world);

// Frees the bitmap and its handle, locked or not. Null is accepted.
VXHOST_API void BM_DisposeWorld(BM_World** world);

// The address of the first pixel, also when the record's `base` is null. Null gives null.
VXHOST_API void* BMp_GetPixBaseAddr(BM_World** world);

// The channel order, BM_ORDER_ARGB for null.
VXHOST_API int32_t BM_GetChannelOrder(BM_World** world);
