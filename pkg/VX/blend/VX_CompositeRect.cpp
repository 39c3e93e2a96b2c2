// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Shorter forms of VX_TransferRect.

#include "VX/VX_CompositeRect.h"

#include <algorithm>

#include "VX/VX_OverrideTable.h"
#include "blend/VXp_CompositeRect.h"

VX_Err VXp_CompositeRect_Straight(VX_ProgressInfo* progress, const M_Rect* src_rect,
                                  int32_t opacity, const VX_LayerDef* src, int32_t x, int32_t y,
                                  int32_t field, int32_t mode, VX_LayerDef* dst) {
  const float clamped = static_cast<float>(std::clamp(opacity, 0, 255)) / 255.0f;
  const VX_CompositeModePlus record(mode, clamped, nullptr, false, 0);
  return VXp_G_OverFuncs.VX_TransferRect_S(progress, 0, 0, field, src_rect, src, &record, nullptr,
                                           nullptr, x, y, dst);
}

VX_Err VXp_CompositeRect_Premul(VX_ProgressInfo* progress, const M_Rect* src_rect, int32_t opacity,
                                const VX_LayerDef* src, int32_t x, int32_t y, int32_t field,
                                int32_t mode, VX_LayerDef* dst) {
  const int32_t over = mode == VX_Xfer_InFront ? int32_t{VX_Xfer_PremulOver} : mode;
  return VXp_CompositeRect_Straight(progress, src_rect, opacity, src, x, y, field, over, dst);
}

VX_Err VX_CompositeRectDraft_Straight(VX_ProgressInfo* progress, const M_Rect* src_rect,
                                      int32_t opacity, const VX_LayerDef* src, int32_t x, int32_t y,
                                      int32_t field, int32_t mode, VX_LayerDef* dst) {
  return VXp_G_OverFuncs.VX_CompositeRectDraft_Straight(progress, src_rect, opacity, src, x, y,
                                                        field, mode, dst);
}

VX_Err VX_CompositeRectDraft_Premul(VX_ProgressInfo* progress, const M_Rect* src_rect,
                                    int32_t opacity, const VX_LayerDef* src, int32_t x, int32_t y,
                                    int32_t field, int32_t mode, VX_LayerDef* dst) {
  return VXp_G_OverFuncs.VX_CompositeRectDraft_Premul(progress, src_rect, opacity, src, x, y, field,
                                                      mode, dst);
}

VX_Err VX_CompositeRectBest_Straight(VX_ProgressInfo* progress, const M_Rect* src_rect,
                                     int32_t opacity, const VX_LayerDef* src, int32_t x, int32_t y,
                                     int32_t field, int32_t mode, VX_LayerDef* dst) {
  return VXp_G_OverFuncs.VX_CompositeRectBest_Straight(progress, src_rect, opacity, src, x, y,
                                                       field, mode, dst);
}

VX_Err VX_CompositeRectBest_Premul(VX_ProgressInfo* progress, const M_Rect* src_rect,
                                   int32_t opacity, const VX_LayerDef* src, int32_t x, int32_t y,
                                   int32_t field, int32_t mode, VX_LayerDef* dst) {
  return VXp_G_OverFuncs.VX_CompositeRectBest_Premul(progress, src_rect, opacity, src, x, y, field,
                                                     mode, dst);
}
