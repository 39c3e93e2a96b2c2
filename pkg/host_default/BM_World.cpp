// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "host/BM.h"

#include <cstdio>

#include "HostInternal.h"

U_Err BM_NewWorld(int32_t, int32_t, const M_Rect& area, int32_t bits_per_pixel, int32_t, int32_t,
                  BM_World*** out) {
  if (!out) return 3;
  *out = nullptr;
  const int32_t width = area.right - area.left;
  const int32_t height = area.bottom - area.top;
  if (width <= 0 || height <= 0) return 3;
  if (bits_per_pixel != 32 && bits_per_pixel != 64 && bits_per_pixel != 128) return 3;

  // Width and height are at most 65,535, so rowbytes fits 32 bits; the size of the bitmap may not.
  const int32_t rowbytes = (width * (bits_per_pixel / 8) + 15) & ~15;
  const size_t bytes = static_cast<size_t>(rowbytes) * static_cast<size_t>(height);
  BM_World** handle =
      reinterpret_cast<BM_World**>(U_AllocateHandleClear(0, "bitmap", sizeof(BM_World)));
  void* pixels = handle ? host::AllocateBlockClear("bitmap pixels", bytes) : nullptr;
  if (!pixels) {
    U_FreeHandle(reinterpret_cast<void**>(handle));
    return 4;
  }
  BM_World& world = **handle;
  world.base = pixels;
  world.rowbytes = rowbytes;
  world.width = width;
  world.height = height;
  world.bits_per_pixel = static_cast<int16_t>(bits_per_pixel);
  world.channel_order = BM_ORDER_ARGB;
  world.private_block = pixels;
  *out = handle;
  return 0;
}

U_Err BM_LoadLockPixels(int32_t, BM_World** world, int32_t, int32_t) {
  if (!world) return 3;
  ++(*world)->lock_count;
  return 0;
}

void BM_UnlockPixels(BM_World** world) {
  if (world && (*world)->lock_count > 0) --(*world)->lock_count;
}

void BM_DisposeWorld(BM_World** world) {
  if (!world) return;
  host::FreeBlock((*world)->private_block);
  U_FreeHandle(reinterpret_cast<void**>(world));
}

void* BMp_GetPixBaseAddr(BM_World** world) {
  if (!world) return nullptr;
  return (*world)->base ? (*world)->base : (*world)->private_block;
}

int32_t BM_GetChannelOrder(BM_World** world) {
  return world ? (*world)->channel_order : BM_ORDER_ARGB;
}

void BM_ReportWorldAllocationFailure(U_Err, int32_t rowbytes, int32_t width, int32_t height,
                                     int32_t bits_per_pixel) {
  char text[160];
  std::snprintf(text, sizeof text,
                "out of memory for a %dx%d image of %d bits a pixel (%lld bytes).", width, height,
                bits_per_pixel, static_cast<long long>(rowbytes) * height);
  host::Report(/*check=*/0, /*line=*/0, /*severity=*/8, text);
}
