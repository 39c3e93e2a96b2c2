// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Copies between host bitmaps.

#include "VX/VX_Copy.h"
#include "VX/VX_OverrideTable.h"
#include "frame/VXp_Frame.h"
#include "frame/VXp_Report.h"
#include "frame/VXp_Rows.h"
#include "host/U.h"
#include "housekeeping/VXp_Area.h"
#include "housekeeping/VXp_CopyPlan.h"
#include "housekeeping/VXp_HousekeepingBirth.h"

namespace {

VX_Err CopyBitmaps(VX_CopyBitsFunc copy, void* ref, BM_World** src, BM_World** dst,
                   const M_Rect* src_rect, const M_Rect* dst_rect) {
  VX_LayerDef from;
  VX_LayerDef to;
  if (const VX_Err error = VX_EffectWorldFromBMWorld(src, &from)) return error;
  if (const VX_Err error = VX_EffectWorldFromBMWorld(dst, &to)) return error;
  return copy(ref, &from, &to, src_rect, dst_rect);
}

// Returns the channel order. The host defines it only for bitmaps with 8 bits per channel.
int32_t ChannelOrder(BM_World** bitmap) {
  return (*bitmap)->bits_per_pixel == 32 ? BM_GetChannelOrder(bitmap) : BM_ORDER_ARGB;
}

VX_Err FlipChannels(BM_World** bitmap) {
  VX_LayerDef world;
  if (const VX_Err error = VX_EffectWorldFromBMWorld(bitmap, &world)) return error;
  return VXp_ForRows<VX_Pixel8>(
      world, VXp_WholeArea(world), VXp_MoveWork(world.width), [](char* first, size_t count) {
        for (size_t x = 0; x < count; ++x) {
          VXp_Store(first + x * 4, __builtin_bswap32(VXp_Load<uint32_t>(first + x * 4)));
        }
      });
}

}  // namespace

VX_Err VX_EffectWorldFromBMWorld(BM_World** bitmap, VX_LayerDef* out) {
  if (bitmap == nullptr || *bitmap == nullptr || out == nullptr) {
    return VXp_BadParameter(kVXp_CopyNumber);
  }
  const BM_World& record = **bitmap;
  if (record.bits_per_pixel != 32 && record.bits_per_pixel != 64 && record.bits_per_pixel != 128) {
    return VXp_FailVerification("VX_Worlds can only be 128, 64 or 32 bits per pixel");
  }
  *out = {};
  out->data = VXp_BitmapPixels(bitmap);
  out->rowbytes = record.rowbytes;
  out->width = record.width;
  out->height = record.height;
  out->bm_world = bitmap;
  return VXp_SetWorldDepth(out, VX_DepthOfBMWorld(bitmap));
}

VX_Err VX_WorldCopy_Static(void* ref, BM_World** src, BM_World** dst, const M_Rect* src_rect,
                           const M_Rect* dst_rect) {
  return CopyBitmaps(VX_CopyBits_Draft_Static, ref, src, dst, src_rect, dst_rect);
}

VX_Err VX_WorldCopy_HQ_Static(void* ref, BM_World** src, BM_World** dst, const M_Rect* src_rect,
                              const M_Rect* dst_rect) {
  return VX_WorldCopy_HQ_Straight_Static(ref, src, dst, src_rect, dst_rect);
}

VX_Err VX_WorldCopy_HQ_Straight_Static(void* ref, BM_World** src, BM_World** dst,
                                       const M_Rect* src_rect, const M_Rect* dst_rect) {
  return CopyBitmaps(VX_CopyBits_HQ_Straight_Static, ref, src, dst, src_rect, dst_rect);
}

VX_Err VXp_WorldCopy_HQ_Premul(void* ref, BM_World** src, BM_World** dst, const M_Rect* src_rect,
                               const M_Rect* dst_rect) {
  return CopyBitmaps(VX_CopyBits_HQ_Premul_Static, ref, src, dst, src_rect, dst_rect);
}

VX_Err VX_WorldCopy(void* ref, BM_World** src, BM_World** dst, const M_Rect* src_rect,
                    const M_Rect* dst_rect) {
  const VX_Err error = VXp_G_OverFuncs.VX_WorldCopy_Static(ref, src, dst, src_rect, dst_rect);
  if (error != VX_Ok || ChannelOrder(src) == ChannelOrder(dst)) return error;
  if ((*dst)->bits_per_pixel == 32) return FlipChannels(dst);
  constexpr uint32_t kOrderNumber = 0x68;
  return VXp_ReportText(kOrderNumber,
                        "Flipping 32/16-bit worlds is not implemented. Source data 8-bit BGRA.",
                        VX_ErrUnsupported);
}
