// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The exported copies that call through the override table.

#include "VX/VX_Copy.h"

#include "VX/VX_OverrideTable.h"

VX_Err VX_CopyBits_Draft(void* ref, const VX_LayerDef* src, VX_LayerDef* dst,
                         const M_Rect* src_rect, const M_Rect* dst_rect) {
  return VXp_G_OverFuncs.VX_CopyBits_Draft_Static(ref, src, dst, src_rect, dst_rect);
}

VX_Err VX_CopyBits_HQ_Straight(void* ref, const VX_LayerDef* src, VX_LayerDef* dst,
                               const M_Rect* src_rect, const M_Rect* dst_rect) {
  return VXp_G_OverFuncs.VX_CopyBits_HQ_Straight_Static(ref, src, dst, src_rect, dst_rect);
}

VX_Err VX_CopyBits_HQ_Premul(void* ref, const VX_LayerDef* src, VX_LayerDef* dst,
                             const M_Rect* src_rect, const M_Rect* dst_rect) {
  return VXp_G_OverFuncs.VX_CopyBits_HQ_Premul_Static(ref, src, dst, src_rect, dst_rect);
}

VX_Err VX_CopyBits3_LO_Straight(void* ref, const VX_LayerDef* src, VX_LayerDef* dst,
                                const M_Rect* src_rect, const M_Rect* dst_rect) {
  return VX_CopyBits_Draft(ref, src, dst, src_rect, dst_rect);
}

VX_Err VX_WorldCopy_HQ(void* ref, BM_World** src, BM_World** dst, const M_Rect* src_rect,
                       const M_Rect* dst_rect) {
  return VXp_G_OverFuncs.VX_WorldCopy_HQ_Static(ref, src, dst, src_rect, dst_rect);
}

VX_Err VX_WorldCopy_HQ_Straight(void* ref, BM_World** src, BM_World** dst, const M_Rect* src_rect,
                                const M_Rect* dst_rect) {
  return VXp_G_OverFuncs.VX_WorldCopy_HQ_Straight_Static(ref, src, dst, src_rect, dst_rect);
}

VX_Err VX_WorldCopy_HQ_Premul(void* ref, BM_World** src, BM_World** dst, const M_Rect* src_rect,
                              const M_Rect* dst_rect) {
  return VXp_G_OverFuncs.VX_WorldCopy_HQ_Premul(ref, src, dst, src_rect, dst_rect);
}
