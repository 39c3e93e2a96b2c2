// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Scaling of a whole picture, with the border pixels repeated.

#include "VX/VX_Copy.h"
#include "frame/VXp_Dispatch.h"
#include "housekeeping/VXp_CopyRows.h"
#include "housekeeping/VXp_ScaleHigh.h"

namespace {

// Returns the range from the centre of the first to the centre of the last pixel. Positions are
// clamped to it, which repeats the border pixels. Reductions need no clamping, because the area
// that a pixel covers is always inside the source.
VXp_ClampRange CentreRange(int32_t size) { return {0, (int64_t{size} - 1) * 65536}; }

template <class Pixel>
VX_Err ResizeHigh(VX_ProgressInfo* progress, const VX_WorldX<Pixel>& src, VX_WorldX<Pixel>& dst) {
  if (src.data == nullptr || dst.data == nullptr) return VXp_BadParameter(kVXp_CopyNumber);
  const VXp_CopyPlan plan = VXp_PlanCopy(src, nullptr, dst, nullptr);
  switch (plan.kind) {
    case VXp_CopyKind::Nothing: break;
    case VXp_CopyKind::Equal: return VXp_CopyRows<Pixel, Pixel>(progress, src, dst, plan.area);
    case VXp_CopyKind::Scaled:
      return VXp_ScaleHigh(progress, VX_ModeFlag_Straight, plan, CentreRange(src.width),
                           CentreRange(src.height), src, dst);
  }
  return VX_Ok;
}

VX_Err ResizeDraft(VX_ProgressInfo* progress, const VX_LayerDef* src, VX_LayerDef* dst) {
  if (const VX_Err error = VX_CopyBits_Draft(nullptr, src, dst, nullptr, nullptr)) return error;
  VXp_RowProgress polling(progress, 0, 1);
  const VX_Err stop = polling.RowDone();
  return stop != VX_Ok ? stop : polling.LastError();
}

}  // namespace

VX_Err VX_ResizeWorld(VX_ProgressInfo* progress, int32_t quality, const VX_LayerDef* src,
                      VX_LayerDef* dst) {
  if (src == nullptr || dst == nullptr) return VXp_BadParameter(kVXp_CopyNumber);
  return VXp_Guarded([&]() -> VX_Err {
    if (quality == VX_Quality_Draft) return ResizeDraft(progress, src, dst);
    const int32_t depth = VXp_WorldDepth(src);
    if (depth != VXp_WorldDepth(dst)) {
      return VXp_FailVerification(
          "VX_ResizeWorld requires src and dst worlds to have same bit depth");
    }
    return VXp_WithWorldsOfDepth(
        depth, kVXp_UnknownDepthText,
        [&](const auto& from, auto& to) { return ResizeHigh(progress, from, to); }, src, dst);
  });
}
