// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The high-quality copies.

#include "VX/VX_Copy.h"
#include "frame/VXp_Dispatch.h"
#include "housekeeping/VXp_CopyRows.h"
#include "housekeeping/VXp_ScaleHigh.h"

namespace {

VX_Err CopyHigh(const char* unequal_depths, int32_t mode_flags, const VX_LayerDef* src,
                VX_LayerDef* dst, const M_Rect* src_rect, const M_Rect* dst_rect) {
  if (src == nullptr || dst == nullptr) return VXp_BadParameter(kVXp_CopyNumber);
  const int32_t depth = VXp_WorldDepth(src);
  if (depth != VXp_WorldDepth(dst)) return VXp_FailVerification(unequal_depths);
  const auto copy = [&]<class Pixel>(const VX_WorldX<Pixel>& from, VX_WorldX<Pixel>& to) -> VX_Err {
    if (from.data == nullptr || to.data == nullptr) return VXp_BadParameter(kVXp_CopyNumber);
    const VXp_CopyPlan plan = VXp_PlanCopy(from, src_rect, to, dst_rect);
    switch (plan.kind) {
      case VXp_CopyKind::Nothing: break;
      case VXp_CopyKind::Equal: return VXp_CopyRows<Pixel, Pixel>(nullptr, from, to, plan.area);
      case VXp_CopyKind::Scaled:
        return VXp_ScaleHigh(nullptr, mode_flags, plan, kVXp_NoClamp, kVXp_NoClamp, from, to);
    }
    return VX_Ok;
  };
  return VXp_WithWorldsOfDepth(depth, kVXp_UnknownDepthText, copy, src, dst);
}

}  // namespace

VX_Err VX_CopyBits_HQ_Straight_Static(void*, const VX_LayerDef* src, VX_LayerDef* dst,
                                      const M_Rect* src_rect, const M_Rect* dst_rect) {
  return CopyHigh(
      "VX_CopyBits_HQ_Straight_Static requires src and dst worlds to have same bit depth",
      VX_ModeFlag_Straight, src, dst, src_rect, dst_rect);
}

VX_Err VX_CopyBits_HQ_Premul_Static(void*, const VX_LayerDef* src, VX_LayerDef* dst,
                                    const M_Rect* src_rect, const M_Rect* dst_rect) {
  return CopyHigh("VX_CopyBits_HQ_Premul_Static requires src and dst worlds to have same bit depth",
                  /*mode_flags=*/0, src, dst, src_rect, dst_rect);
}
