// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The memory of a world that owns its pixels: a frame (a memory block of BM_AllocateFrameQuiet), or
// a host bitmap.

#include <cstdint>

#include "VX/VX_Types.h"

inline constexpr int32_t kVXp_MaxWorldSize = 30000;

// Value of the guard bytes (gutter) after the last pixel of a frame.
inline constexpr uint8_t kVXp_GutterByte = 0x55;

// Returns the bytes from row to row: the size of a row, rounded up to a multiple of 16.
constexpr int32_t VXp_FrameRowBytes(int32_t width, int32_t pixel_size) {
  return (width * pixel_size + 15) & ~15;
}

// Returns the size of a frame: the pixels, the gutter, and 8 bytes to align the first pixel to 16
// bytes. After ReReference rowbytes may be negative, so the sum is signed.
constexpr uint64_t VXp_FrameSize(int32_t width, int32_t height, int32_t rowbytes,
                                 int32_t pixel_size) {
  const int64_t last_row = int64_t{width} * pixel_size;
  return static_cast<uint64_t>(int64_t{height - 1} * rowbytes + last_row + (rowbytes - pixel_size) +
                               8);
}

// Returns the address of the first pixel in a frame: its first 16-byte aligned address. The frame
// itself is at least 8-byte aligned.
inline char* VXp_FrameStart(void* frame) {
  const bool between = (reinterpret_cast<uintptr_t>(frame) & 8) != 0;
  return static_cast<char*>(frame) + (between ? 8 : 0);
}

// Checks a size. If it is out of range, throws VX_ErrReported after a report, or the error that
// formatting the report's text returned.
void VXp_CheckWorldSize(int32_t width, int32_t height);

// Allocates a frame. Throws VX_ErrOutOfMemory after a report by the host.
void* VXp_NewFrame(int32_t width, int32_t height, int32_t rowbytes, int32_t pixel_size);

// Creates a cleared bitmap with locked pixels. On failure throws the host's error.
BM_World** VXp_NewBitmap(int32_t width, int32_t height, int32_t pixel_size);

// Unlocks and disposes a bitmap that VXp_NewBitmap created.
void VXp_DisposeBitmap(BM_World** bitmap);

// Returns the address of a bitmap's first pixel.
void* VXp_BitmapPixels(BM_World** bitmap);
