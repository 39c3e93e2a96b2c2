// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// BM: the host's bitmaps, and frames, which are memory blocks for the pixels of worlds.
//
// Threads: bitmaps and frames may be created and freed on any thread. One bitmap must not be
// locked, unlocked or disposed on several threads at once.
#pragma once

#include <cstdint>

#include "host/M.h"
#include "host/U.h"

inline constexpr int32_t BM_PKG_VERSION = 31;

// See U_CheckVersions.
VXHOST_API U_Err BM_CheckVersions(uint32_t code, int32_t wanted);

// Channel orders of a bitmap, in memory order.
inline constexpr int32_t BM_ORDER_ARGB = 0;
inline constexpr int32_t BM_ORDER_BGRA = 1;

// A bitmap, accessed through a handle. Callers may read all fields except private_block.
struct BM_World {
  void* base;              // first pixel of the first row; may be null: use BMp_GetPixBaseAddr
  int32_t rowbytes;        // bytes from row to row; a multiple of 16 for bitmaps of BM_NewWorld
  int32_t width, height;   // in pixels
  int16_t bits_per_pixel;  // 32, 64 or 128: four channels of 8, 16 or 32 bits
  int32_t channel_order;   // BM_ORDER_...
  int32_t lock_count;      // while it is above 0, the pixels do not move
  void* private_block;     // used by the host only
};

// Allocates a frame: a block of memory for pixels. "Quiet": a failure is not reported.
//   size   in bytes
//   zero   always 0
//   out    receives the frame, at least 8-byte aligned (16 in the embedded host); null if out of
//          memory
VXHOST_API void BM_AllocateFrameQuiet(uint64_t size, int32_t zero, void** out);

// Frees a frame that BM_AllocateFrameQuiet allocated. `size` is a hint only; hosts must not rely on
// it. Null is ignored.
VXHOST_API void BM_FreeFrame(void* frame, uint64_t size);

// Reports to the user that the pixels of a world with these properties could not be allocated.
// `code` is 4 (out of memory).
VXHOST_API void BM_ReportWorldAllocationFailure(U_Err code, int32_t rowbytes, int32_t width,
                                                int32_t height, int32_t bits_per_pixel);

// Creates a cleared, unlocked ARGB bitmap with 16-byte aligned rows.
//   zero1, eight, zero2, zero3   always 0, 8, 0, 0
//   area             the bitmap has the size of this rectangle
//   bits_per_pixel   32, 64 or 128
//   out              receives the handle; null on failure
// Returns bad argument (3) for an empty area, null `out` or other bits_per_pixel; out of memory
// (4).
VXHOST_API U_Err BM_NewWorld(int32_t zero1, int32_t eight, const M_Rect& area,
                             int32_t bits_per_pixel, int32_t zero2, int32_t zero3, BM_World*** out);

// Loads the pixels and increments the lock count. one, zero1, zero2 are always 1, 0, 0. Returns bad
// argument (3) for null.
VXHOST_API U_Err BM_LoadLockPixels(int32_t one, BM_World** world, int32_t zero1, int32_t zero2);

// Decrements the lock count, not below 0. Null is ignored.
VXHOST_API void BM_UnlockPixels(BM_World** world);

// Frees the bitmap and its handle, also while locked. Null is ignored.
VXHOST_API void BM_DisposeWorld(BM_World** world);

// Returns the address of the first pixel, even if `base` is null. Null returns null.
VXHOST_API void* BMp_GetPixBaseAddr(BM_World** world);

// Returns the channel order; BM_ORDER_ARGB for null.
VXHOST_API int32_t BM_GetChannelOrder(BM_World** world);
