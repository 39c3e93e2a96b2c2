// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Multiplies the alpha of a world by a mask buffer.

#include <algorithm>

#include "VX/VX_Mask.h"
#include "VX/VX_World.h"
#include "blend/mask/VXp_MergeMaskRow.h"
#include "filters/uno/VXp_UnoBuffer.h"
#include "frame/VXp_Dispatch.h"
#include "frame/VXp_OverrideTable.h"
#include "frame/VXp_Rows.h"

namespace {

// Multiplies the alphas of one row by mask samples, through the slot of the pixel type. The depth
// of the mask must have been checked.
template <class Pixel>
VX_Err MergeRowBySlot(int32_t count, int32_t depth, const void* mask, Pixel* row) {
  return VXp_SlotOf<vxp_slot::MergeMaskRow, Pixel>()(count, depth, mask, row);
}
template <class Sample>
VX_Err MergeSamplesBySlot(int32_t count, const void* mask, VX_Pixel8* row) {
  const auto merge_row = VXp_SlotOf<vxp_slot::MergeMaskRow8, Sample>();
  return merge_row(count, static_cast<const Sample*>(mask), row);
}
VX_Err MergeRowBySlot(int32_t count, int32_t depth, const void* mask, VX_Pixel8* row) {
  if (depth == 8) return MergeSamplesBySlot<uint8_t>(count, mask, row);
  if (depth == 16) return MergeSamplesBySlot<uint16_t>(count, mask, row);
  return MergeSamplesBySlot<float>(count, mask, row);
}

template <class Pixel>
void ClearAlpha(char* row, int32_t count) {
  for (ptrdiff_t i = 0; i < count; ++i) {
    VXp_Store(row + i * static_cast<ptrdiff_t>(sizeof(Pixel)), VX_ChannelOf<Pixel>{});
  }
}

struct Position {
  int32_t h, v;
};

// Returns the part of the world that `rect` and both buffers cover; all zeros if it is empty.
M_LRect AreaOf(const VX_World& world, Position position, const M_Rect* rect,
               const VX_UnoBuffer& buffer, const VX_UnoBuffer* second) {
  const auto reach = [](int32_t from, int32_t size) {
    return static_cast<int32_t>(std::clamp<int64_t>(int64_t{from} + size, INT32_MIN, INT32_MAX));
  };
  M_LRect area = {0, 0, world.width, world.height};
  if (rect != nullptr) area = VXp_Section(area, VXp_LRectOf(*rect));
  for (const VX_UnoBuffer* bounds : {&buffer, second}) {
    if (bounds == nullptr) continue;
    area = VXp_Section(area, {position.h, position.v, reach(position.h, bounds->width),
                              reach(position.v, bounds->height)});
  }
  const bool empty = area.right <= area.left || area.bottom <= area.top;
  return empty ? M_LRect{} : area;
}

template <class Pixel>
VX_Err Merge(const VX_ProgressInfo* progress, Position position, const M_LRect& area,
             const VX_UnoBuffer& buffer, const VX_World& world) {
  const VXp_Bands bands = VXp_PlanItems(world.height, world.width);
  return VXp_ForBands(bands, progress, [&](int32_t, int32_t y) -> VX_Err {
    char* const row = VXp_PixelAddress<Pixel>(world, 0, y);
    if (y < area.top || y >= area.bottom) {
      ClearAlpha<Pixel>(row, world.width);
      return VX_Ok;
    }
    const auto at = [&](int32_t x) { return VXp_PixelAddress<Pixel>(world, x, y); };
    ClearAlpha<Pixel>(row, area.left);
    ClearAlpha<Pixel>(at(area.right), world.width - area.right);
    const ptrdiff_t sample = ptrdiff_t{y - position.v} * buffer.width + (area.left - position.h);
    const char* const mask = static_cast<const char*>(*buffer.data) + sample * (buffer.depth / 8);
    return MergeRowBySlot(area.right - area.left, buffer.depth, mask,
                          reinterpret_cast<Pixel*>(at(area.left)));
  });
}

// Calls `merge` with the tag (VXp_PixelTag) of the pixel type of the world's class.
template <class Body>
VX_Err WithClassOf(const VX_World* world, Body&& merge) {
  if (dynamic_cast<const VX_WorldX<VX_Pixel8>*>(world)) return merge(VXp_PixelTag<VX_Pixel8>{});
  if (dynamic_cast<const VX_WorldX<VX_Pixel16>*>(world)) return merge(VXp_PixelTag<VX_Pixel16>{});
  if (dynamic_cast<const VX_WorldX<VX_PixelFloat>*>(world)) {
    return merge(VXp_PixelTag<VX_PixelFloat>{});
  }
  return VXp_FailVerification(kVXp_MergeDepthText);
}

}  // namespace

VX_Err VX_MergeMaskAlpha(VX_ProgressInfo* progress, int16_t h, int16_t v, const M_Rect* rect,
                         const VX_UnoBuffer* buffer, const VX_UnoBuffer* second, VX_World* world) {
  return VXp_Guarded([&]() -> VX_Err {
    const VX_Err error = VXp_CheckUno(buffer);
    if (error != VX_Ok) return error;
    return WithClassOf(world, [&](auto tag) -> VX_Err {
      using Pixel = typename decltype(tag)::Pixel;
      const bool known = buffer->depth == 8 || buffer->depth == 16 || buffer->depth == 32;
      if (!known) return VXp_FailVerification(kVXp_MergeDepthText);
      if (world->width <= 0 || world->height <= 0) return VX_Ok;
      if (world->data == nullptr) return VXp_FailVerification("mask for a world without pixels");
      const Position position{h, v};
      return Merge<Pixel>(progress, position, AreaOf(*world, position, rect, *buffer, second),
                          *buffer, *world);
    });
  });
}
