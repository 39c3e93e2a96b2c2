// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_Fill.h"

#include "frame/VXp_Dispatch.h"
#include "frame/VXp_Report.h"
#include "housekeeping/VX_FillT.h"
#include "housekeeping/VXp_ClearAlpha.h"

namespace {

// The check number of the fills in reports of bad parameters.
constexpr uint32_t kFillNumber = 13;

template <class Color>
VX_Err FillWorld(const Color* color, const M_Rect* area, VX_LayerDef* world,
                 VXp_DepthText unknown) {
  if (world == nullptr) return VXp_BadParameter(kFillNumber);
  const auto fill = [&]<class Pixel>(VX_WorldX<Pixel>& typed) -> VX_Err {
    if (typed.data == nullptr) return VXp_BadParameter(kFillNumber);
    const Pixel value = VXp_FillColor<Pixel>(color != nullptr ? *color : Color{});
    const M_LRect part = VXp_NormalisedArea(area, typed);
    return VXp_IsZero(value) ? VXp_ClearArea<Pixel>(typed, part) : VXp_FillArea(typed, part, value);
  };
  return VXp_WithWorlds(world, unknown, fill, world);
}

// Returns the part of `keep` that is inside the world, in which alpha is not cleared. Null gives an
// empty area.
M_LRect AreaToKeep(const M_LRect* keep, const VX_LayerDef& world) {
  if (keep == nullptr) return {};
  const M_LRect kept = VXp_ClippedArea(*keep, world);
  return VXp_IsEmpty(kept) ? M_LRect{} : kept;
}

}  // namespace

VX_Err VX_Fill(void*, const VX_Pixel8* color, const M_Rect* area, VX_LayerDef* world) {
  return FillWorld(color, area, world, "Unknown world bitdepth in VX_Fill");
}

VX_Err VX_Fill16(void*, const VX_Pixel16* color, const M_Rect* area, VX_LayerDef* world) {
  return FillWorld(color, area, world, "Unknown world bitdepth in VX_Fill16");
}

VX_Err VX_FillFloat(void*, const VX_PixelFloat* color, const M_Rect* area, VX_LayerDef* world) {
  return FillWorld(color, area, world, "Unknown world bitdepth in VX_FillFloat");
}

VX_Err VXp_ClearAlphaExceptRect(VX_LayerDef* world, const M_LRect* keep) {
  if (world == nullptr) return VXp_BadParameter(kFillNumber);
  const auto clear = [&]<class Pixel>(VX_WorldX<Pixel>& typed) -> VX_Err {
    const M_LRect kept = AreaToKeep(keep, typed);
    if (kept.left == 0 && kept.top == 0 && kept.right == typed.width &&
        kept.bottom == typed.height) {
      return VX_Ok;
    }
    if (typed.data == nullptr) return VXp_BadParameter(kFillNumber);
    return VXp_ForOutside(typed, kept, [&](const M_LRect& part) -> VX_Err {
      return VXp_SetAlpha<Pixel>(typed, part, 0);
    });
  };
  return VXp_WithWorlds(world, kVXp_UnknownDepthText, clear, world);
}

VX_Err VX_ClearAlphaExceptRect(void*, const M_Rect* area, VX_LayerDef* world) {
  if (world == nullptr) return VXp_BadParameter(kFillNumber);
  if (area != nullptr) {
    const M_LRect keep = VXp_LRectOf(*area);
    return VXp_ClearAlphaExceptRect(world, &keep);
  }
  return VXp_WithPixel(VXp_WorldDepth(world), kVXp_UnknownDepthText,
                       [](auto) -> VX_Err { return VX_Ok; });
}
