// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_CallbackBlock.h"

#include "VX/VX_Convolve.h"
#include "VX/VX_Fill.h"
#include "VX/VX_Package.h"
#include "VX/VX_Premul.h"
#include "frame/VXp_Report.h"

namespace {

enum class Alpha { Straight, Premultiplied };

VX_CallbackBlock BlockFor(int32_t quality, Alpha alpha) {
  const VXp_OverrideTable& slots = VXp_G_OverFuncs;
  const bool draft = quality == VX_Quality_Draft;
  const bool straight = alpha == Alpha::Straight;
  VX_CallbackBlock block{};
  block.nearest = slots.VX_NNSample;
  block.gaussian_kernel = VX_GaussianKernel;
  block.fill = VX_Fill;
  block.convolve = slots.VX_Convolve;
  block.premultiply = VX_Premul;
  block.iterate = slots.VX_Iterate_S;
  if (draft) {
    block.bilinear = slots.VX_NNSample;
    block.area = slots.VX_NNSample;
    block.copy = slots.VX_CopyBits_Draft_Static;
    block.composite =
        straight ? slots.VX_CompositeRectDraft_Straight : slots.VX_CompositeRectDraft_Premul;
  } else {
    block.bilinear = straight ? slots.VX_SubpixelSample_Straight : slots.VX_SubpixelSample_Premul;
    block.area = straight ? slots.VX_AreaSample_Straight : slots.VX_AreaSample_Premul;
    block.copy =
        straight ? slots.VX_CopyBits_HQ_Straight_Static : slots.VX_CopyBits_HQ_Premul_Static;
    block.composite =
        straight ? slots.VX_CompositeRectBest_Straight : slots.VX_CompositeRectBest_Premul;
  }
  return block;
}

void* AddressIn(const VX_CallbackBlock& block, int32_t selector) {
  switch (selector) {
    case VX_Callback_Nearest: return reinterpret_cast<void*>(block.nearest);
    case VX_Callback_Bilinear: return reinterpret_cast<void*>(block.bilinear);
    case VX_Callback_Area: return reinterpret_cast<void*>(block.area);
    case VX_Callback_GaussianKernel: return reinterpret_cast<void*>(block.gaussian_kernel);
    case VX_Callback_Fill: return reinterpret_cast<void*>(block.fill);
    case VX_Callback_Copy: return reinterpret_cast<void*>(block.copy);
    case VX_Callback_Composite: return reinterpret_cast<void*>(block.composite);
    case VX_Callback_Convolve: return reinterpret_cast<void*>(block.convolve);
    case VX_Callback_Premultiply: return reinterpret_cast<void*>(block.premultiply);
    case VX_Callback_Iterate: return reinterpret_cast<void*>(block.iterate);
    default: return nullptr;
  }
}

}  // namespace

VX_Err VX_GetCallbackBlock(VX_CallbackBlock* block) {
  return VX_SetCallbackBlockQuality(block, VX_Quality_High);
}

VX_Err VX_SetCallbackBlockQuality(VX_CallbackBlock* block, int32_t quality) {
  if (block == nullptr) return VX_ErrBadParameter;
  *block = BlockFor(quality, Alpha::Straight);
  return VX_Ok;
}

VX_Err VX_GetCallbackAddr(void* /*word*/, int32_t quality, int32_t mode_flags, int32_t selector,
                          void** out) {
  if (selector < 0 || selector >= VX_CallbackCount) {
    constexpr int32_t kInvalidSelectorText = 0;
    Up_ReportErrString(kVXp_PackageWord | kVXp_NoCheckNumber, 8,
                       U_ZLookupLStrCache(&VX_G_zref, kInvalidSelectorText));
    return VX_ErrBadParameter;
  }
  if (out == nullptr) return VX_ErrBadParameter;
  const bool straight = (mode_flags & VX_ModeFlag_Straight) != 0;
  *out = AddressIn(BlockFor(quality, straight ? Alpha::Straight : Alpha::Premultiplied), selector);
  return VX_Ok;
}
