// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "frame/VXp_Frame.h"

#include "frame/VXp_Report.h"
#include "host/BM.h"
#include "host/EMUL.h"
#include "host/U.h"

namespace {

// Allows the host to create bitmaps without a window system for the lifetime of the object.
class WindowlessMode {
 public:
  WindowlessMode() { EMUL_BeginGdiMinimalisticWindowCreationMode(); }
  ~WindowlessMode() { EMUL_EndGdiMinimalisticWindowCreationMode(); }
  WindowlessMode(const WindowlessMode&) = delete;
  WindowlessMode& operator=(const WindowlessMode&) = delete;
};

}  // namespace

void VXp_CheckWorldSize(int32_t width, int32_t height) {
  if (width >= 1 && width <= kVXp_MaxWorldSize && height >= 1 && height <= kVXp_MaxWorldSize)
    return;
  const char* form = U_ZStringToMBString(
      "$$$/RZ/VX/VX_WorldX/Constructor/InvalidSizeError=invalid image buffer size (^L1x^L2).");
  const int32_t numbers[] = {width, height};
  char text[256];
  VXp_ThrowIf(U_SubString(text, sizeof text, form, numbers, 2));
  VXp_Throw(VXp_ReportText(0x66, text, VX_ErrReported));
}

void* VXp_NewFrame(int32_t width, int32_t height, int32_t rowbytes, int32_t pixel_size) {
  void* frame = nullptr;
  BM_AllocateFrameQuiet(VXp_FrameSize(width, height, rowbytes, pixel_size), 0, &frame);
  if (frame == nullptr) {
    BM_ReportWorldAllocationFailure(VX_ErrOutOfMemory, rowbytes, width, height, pixel_size * 8);
    VXp_Throw(VX_ErrOutOfMemory);
  }
  return frame;
}

BM_World** VXp_NewBitmap(int32_t width, int32_t height, int32_t pixel_size) {
  const WindowlessMode windowless;
  M_Rect area{};
  area.bottom = static_cast<int16_t>(height);
  area.right = static_cast<int16_t>(width);
  BM_World** bitmap = nullptr;
  VXp_ThrowIf(BM_NewWorld(0, 8, area, pixel_size * 8, 0, 0, &bitmap));
  const VX_Err error = BM_LoadLockPixels(1, bitmap, 0, 0);
  if (error != VX_Ok) {
    BM_DisposeWorld(bitmap);
    VXp_Throw(error);
  }
  return bitmap;
}

void VXp_DisposeBitmap(BM_World** bitmap) {
  BM_UnlockPixels(bitmap);
  BM_DisposeWorld(bitmap);
}

void* VXp_BitmapPixels(BM_World** bitmap) {
  return (*bitmap)->base != nullptr ? (*bitmap)->base : BMp_GetPixBaseAddr(bitmap);
}
