// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The typed world: creation, destruction, and members without arithmetic. Members that compute
// pixels are defined in housekeeping.

#include <cstring>

#include "VX/VX_World.h"
#include "frame/VXp_Bands.h"
#include "frame/VXp_Convert.h"
#include "frame/VXp_Counters.h"
#include "frame/VXp_Frame.h"
#include "frame/VXp_Rects.h"
#include "frame/VXp_Report.h"
#include "frame/VXp_RowMemory.h"
#include "frame/VXp_Rows.h"

namespace {

void ClearPixels(const VX_LayerDef& world, size_t row_size) {
  if (static_cast<size_t>(world.rowbytes) == row_size) {
    std::memset(world.data, 0, row_size * static_cast<size_t>(world.height));
    return;
  }
  char* row = static_cast<char*>(world.data);
  for (int32_t y = 0; y < world.height; ++y, row += world.rowbytes) std::memset(row, 0, row_size);
}

}  // namespace

template <class Pixel>
VX_WorldX<Pixel>::VX_WorldX(VX_LayerDef* descriptor, bool keep_all) {
  VX_LayerDef& self = *this;
  if (keep_all) {
    self = *descriptor;
    bm_world = nullptr;
  } else {
    world_flags = descriptor->world_flags;
    data = descriptor->data;
    rowbytes = descriptor->rowbytes;
    width = descriptor->width;
    height = descriptor->height;
    extent_hint = descriptor->extent_hint;
  }
  world_object = this;
}

template <class Pixel>
VX_WorldX<Pixel>::VX_WorldX(int32_t wanted_width, int32_t wanted_height, uint32_t flags) {
  constexpr int32_t kPixelSize = sizeof(Pixel);
  VXp_CheckWorldSize(wanted_width, wanted_height);
  if ((flags & VX_WorldFlag_BMWorld) != 0) {
    bm_world = VXp_NewBitmap(wanted_width, wanted_height, kPixelSize);
    owned_bitmap_ = bm_world;
    owned_pixels = reinterpret_cast<void*>(uintptr_t{1});
    data = VXp_BitmapPixels(bm_world);
    rowbytes = (*bm_world)->rowbytes;
  } else {
    rowbytes = VXp_FrameRowBytes(wanted_width, kPixelSize);
    owned_pixels = VXp_NewFrame(wanted_width, wanted_height, rowbytes, kPixelSize);
    data = VXp_FrameStart(owned_pixels);
    std::memset(static_cast<char*>(data) + static_cast<ptrdiff_t>(wanted_height - 1) * rowbytes +
                    static_cast<ptrdiff_t>(wanted_width) * kPixelSize,
                kVXp_GutterByte, static_cast<size_t>(rowbytes - kPixelSize));
  }
  width = wanted_width;
  height = wanted_height;
  alloc_width = static_cast<int16_t>(wanted_width);
  alloc_height = static_cast<int16_t>(wanted_height);
  alloc_rowbytes_ = rowbytes;
  extent_hint = VXp_WholeRect(wanted_width, wanted_height);
  VXp_SetWorldDepth(this, kVXp_DepthOf<Pixel>);
  if ((flags & VX_WorldFlag_Clear) != 0) {
    ClearPixels(*this, static_cast<size_t>(wanted_width) * sizeof(Pixel));
  }
  VXp_AddLiveWorlds(1);
  world_object = this;
}

template <class Pixel>
VX_WorldX<Pixel>::~VX_WorldX() {
  if (owned_pixels == nullptr) return;
  if (owned_bitmap_ != nullptr) {
    VXp_DisposeBitmap(owned_bitmap_);
  } else {
    BM_FreeFrame(owned_pixels, VXp_FrameSize(alloc_width, alloc_height, rowbytes, sizeof(Pixel)));
  }
  VXp_AddLiveWorlds(-1);
}

template <class Pixel>
int32_t VX_WorldX<Pixel>::Depth() const {
  return kVXp_DepthOf<Pixel>;
}

template <class Pixel>
bool VX_WorldX<Pixel>::IsReference() const {
  return owned_pixels == nullptr;
}

template <class Pixel>
void VX_WorldX<Pixel>::CopyRect(const VX_World* source, const M_Rect& rect, int16_t h, int16_t v) {
  if (source == nullptr || static_cast<int16_t>(source->Depth()) != static_cast<int16_t>(Depth())) {
    VXp_Throw(VXp_FailVerification("Src and dest bitdepths are different in VX_World::CopyRect"));
  }
  const VXp_CopyArea area = VXp_ClipCopy(*source, VXp_LRectOf(rect), *this, h, v);
  if (area.Empty()) return;
  if (source->data == nullptr || data == nullptr) {
    VXp_Throw(VXp_FailVerification("world without pixels in VX_World::CopyRect"));
  }
  char* const to = VXp_PixelAddress<Pixel>(*this, area.dest_x, area.dest_y);
  const char* const from = VXp_PixelAddress<Pixel>(*source, area.source_x, area.source_y);
  const auto width = static_cast<ptrdiff_t>(sizeof(Pixel)) * area.width;
  const bool independent = VXp_RowsAreIndependent({to, rowbytes, width, area.height},
                                                  {{from, source->rowbytes, width, area.height}});
  const VXp_Bands bands = VXp_PlanBands(area.height, VXp_MoveWork(area.width), independent);
  VXp_ThrowIf(VXp_ForBands(bands, [&](int32_t, int32_t y) -> VX_Err {
    std::memmove(to + ptrdiff_t{y} * rowbytes, from + ptrdiff_t{y} * source->rowbytes,
                 static_cast<size_t>(width));
    return VX_Ok;
  }));
}

template <class Pixel>
bool VX_WorldX<Pixel>::SubWorldSafetyGutterHasBeenOverWritten() const {
  // Bitmaps have no guard bytes (gutter). If rowbytes is the size of one pixel, frames have none
  // either.
  if (owned_pixels == nullptr || owned_bitmap_ != nullptr) return false;
  const ptrdiff_t gutter = alloc_rowbytes_ - static_cast<ptrdiff_t>(sizeof(Pixel));
  const char* byte = VXp_FrameStart(owned_pixels) +
                     static_cast<ptrdiff_t>(alloc_height - 1) * alloc_rowbytes_ +
                     static_cast<ptrdiff_t>(alloc_width) * static_cast<ptrdiff_t>(sizeof(Pixel));
  for (const char* end = byte + gutter; byte < end; ++byte) {
    if (static_cast<uint8_t>(*byte) != kVXp_GutterByte) return true;
  }
  return false;
}

template <class Pixel>
void VX_WorldX<Pixel>::ForgetPixels() {
  if (owned_pixels != nullptr) VXp_AddLiveWorlds(-1);
  owned_pixels = nullptr;
}

template class VX_WorldX<VX_Pixel8>;
template class VX_WorldX<VX_Pixel16>;
template class VX_WorldX<VX_PixelFloat>;
