// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_Premul.h"

#include "VX/VX_OverrideTable.h"
#include "frame/VXp_Convert.h"
#include "frame/VXp_Dispatch.h"
#include "frame/VXp_Report.h"
#include "housekeeping/VX_PremulT.h"
#include "housekeeping/VXp_HousekeepingBirth.h"

namespace {

template <class Color>
VX_Err PremulColorWorld(bool forward, const Color* color, const M_Rect* area, VX_LayerDef* world,
                        VXp_DepthText unknown) {
  if (world == nullptr) return VXp_BadParameter(kVXp_NoCheckNumber);
  const auto premul = [&]<class Pixel>(VX_WorldX<Pixel>& typed) -> VX_Err {
    if (typed.data == nullptr || color == nullptr) return VXp_BadParameter(kVXp_NoCheckNumber);
    const Pixel matte = VXp_ConvertPixel<Pixel>(*color);
    const M_LRect part = VXp_NormalisedArea(area, typed);
    return forward ? VXp_PremulArea<VXp_MultiplyMatte>(typed, part, matte)
                   : VXp_PremulArea<VXp_UnmultiplyMatte>(typed, part, matte);
  };
  return VXp_WithWorlds(world, unknown, premul, world);
}

}  // namespace

VX_Err VX_PremulRect_S(void*, int32_t forward, const M_Rect* area, VX_LayerDef* world) {
  if (world == nullptr) return VXp_BadParameter(kVXp_NoCheckNumber);
  const auto premul = [&]<class Pixel>(VX_WorldX<Pixel>& typed) -> VX_Err {
    if (typed.data == nullptr) return VXp_BadParameter(kVXp_NoCheckNumber);
    const M_LRect part = VXp_NormalisedArea(area, typed);
    return forward != 0 ? VXp_PremulArea<VXp_Multiply>(typed, part, Pixel{})
                        : VXp_PremulArea<VXp_Unmultiply>(typed, part, Pixel{});
  };
  return VXp_WithWorlds(world, kVXp_UnknownDepthText, premul, world);
}

VX_Err VX_PremulColorRect_S(void*, int32_t forward, const VX_Pixel8* color, const M_Rect* area,
                            VX_LayerDef* world) {
  return PremulColorWorld(forward != 0, color, area, world,
                          "Unknown world bitdepth in VX_PremulColorRect");
}

VX_Err VX_PremulColorRect16_S(void*, int32_t forward, const VX_Pixel16* color, const M_Rect* area,
                              VX_LayerDef* world) {
  return PremulColorWorld(forward != 0, color, area, world,
                          "Unknown world bitdepth in VX_PremulColorRect16");
}

VX_Err VX_PremulColorRectFloat_S(void*, int32_t forward, const VX_PixelFloat* color,
                                 const M_Rect* area, VX_LayerDef* world) {
  return PremulColorWorld(forward != 0, color, area, world,
                          "Unknown world bitdepth in VX_PremulColorRectFloat");
}

VX_Err VX_Premul(void* ref, int32_t forward, VX_LayerDef* world) {
  return VX_PremulRect(ref, forward, nullptr, world);
}

VX_Err VX_PremulRect(void* ref, int32_t forward, const M_Rect* area, VX_LayerDef* world) {
  return VXp_G_OverFuncs.VX_PremulRect_S(ref, forward, area, world);
}

VX_Err VX_PremulColor(void* ref, int32_t forward, const VX_Pixel8* color, VX_LayerDef* world) {
  return VX_PremulColorRect(ref, forward, color, nullptr, world);
}

VX_Err VX_PremulColor16(void* ref, int32_t forward, const VX_Pixel16* color, VX_LayerDef* world) {
  return VX_PremulColorRect16(ref, forward, color, nullptr, world);
}

VX_Err VX_PremulColorFloat(void* ref, int32_t forward, const VX_PixelFloat* color,
                           VX_LayerDef* world) {
  return VX_PremulColorRectFloat(ref, forward, color, nullptr, world);
}

VX_Err VX_PremulColorRect(void* ref, int32_t forward, const VX_Pixel8* color, const M_Rect* area,
                          VX_LayerDef* world) {
  return VXp_G_OverFuncs.VX_PremulColorRect_S(ref, forward, color, area, world);
}

VX_Err VX_PremulColorRect16(void* ref, int32_t forward, const VX_Pixel16* color, const M_Rect* area,
                            VX_LayerDef* world) {
  return VXp_G_OverFuncs.VX_PremulColorRect16_S(ref, forward, color, area, world);
}

VX_Err VX_PremulColorRectFloat(void* ref, int32_t forward, const VX_PixelFloat* color,
                               const M_Rect* area, VX_LayerDef* world) {
  return VXp_G_OverFuncs.VX_PremulColorRectFloat_S(ref, forward, color, area, world);
}
