// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The pixels of a world that owns them: sizes of the plain frame, and the host bitmap that may
// stand in its place.

#include <cstdint>

#include "VX/VX_Types.h"

inline constexpr int32_t kVXp_MaxWorldSize = 30000;

// What fills the gutter behind the last pixel.
inline constexpr uint8_t kVXp_GutterByte = 0x55;

// Distance between rows: whole blocks of 16 bytes.
constexpr int32_t VXp_FrameRowBytes(int32_t width, int32_t pixel_size) {
  return (width * pixel_size + 15) & ~15;
}

// Bytes of the frame: the pixels, the gutter, and 8 to shift the first pixel to a 16-byte address.
// A re-referenced owner may hand in any pitch, so the sum is signed until the end.
constexpr uint64_t VXp_FrameSize(int32_t width, int32_t height, int32_t rowbytes,
                                 int32_t pixel_size) {
  const int64_t last_row = int64_t{width} * pixel_size;
  return static_cast<uint64_t>(int64_t{height - 1} * rowbytes + last_row + (rowbytes - pixel_size) +
                               8);
}

// The first pixel of an owned frame. Frames are 8-byte aligned at least.
inline char* VXp_FrameStart(void* frame) {
  const bool between = (reinterpret_cast<uintptr_t>(frame) & 8) != 0;
  return static_cast<char*>(frame) + (between ? 8 : 0);
}

// Reports a size that is out of range, with its numbers, and throws 516 (or the error of putting
// the text together).
void VXp_CheckWorldSize(int32_t width, int32_t height);

// A frame for pixels; throws 4 after the host has told the user.
void* VXp_NewFrame(int32_t width, int32_t height, int32_t rowbytes, int32_t pixel_size);

// A cleared bitmap with its pixels locked; throws the host's code and leaves nothing behind.
BM_World** VXp_NewBitmap(int32_t width, int32_t height, int32_t pixel_size);

// Undoes VXp_NewBitmap.
void VXp_DisposeBitmap(BM_World** bitmap);

// The address of a bitmap's first pixel.
void* VXp_BitmapPixels(BM_World** bitmap);
