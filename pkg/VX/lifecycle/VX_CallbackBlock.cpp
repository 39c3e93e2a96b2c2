// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_CallbackBlock.h"

#include "VX/VX_Convolve.h"
#include "VX/VX_Fill.h"
#include "VX/VX_Package.h"
#include "VX/VX_Premul.h"
#include "frame/VXp_Report.h"

namespace {

VX_CallbackBlock BlockFor(int32_t quality, int32_t mode_flags) {
  const VXp_OverrideTable& slots = VXp_G_OverFuncs;
  const bool draft = quality == VX_Quality_Draft;
  const bool straight = (mode_flags & VX_ModeFlag_Straight) != 0;
  VX_SamplerBatch<VX_Pixel8> samplers;
  VX_GetSamplerBatch8(quality, mode_flags, &samplers);
  VX_CallbackBlock block{};
  block.nearest = samplers.nearest;
  block.bilinear = samplers.bilinear;
  block.area = samplers.area;
  block.gaussian_kernel = VX_GaussianKernel;
  block.fill = VX_Fill;
  block.convolve = slots.VX_Convolve;
  block.premultiply = VX_Premul;
  block.iterate = slots.VX_Iterate_S;
  if (draft) {
    block.copy = slots.VX_CopyBits_Draft_Static;
    block.composite =
        straight ? slots.VX_CompositeRectDraft_Straight : slots.VX_CompositeRectDraft_Premul;
  } else {
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

// Stores one of the two tables that `prepare` provides.
template <class Entry>
VX_Err StoreTable(U_Err (*prepare)(int32_t, int32_t, int32_t, Entry**, Entry**), bool second,
                  const void** out) {
  Entry* table = nullptr;
  const VX_Err error = prepare(1, 0, 0, second ? nullptr : &table, second ? &table : nullptr);
  if (error == VX_Ok && out != nullptr) *out = table;
  return error;
}

void* NoEntry(void** out) {
  if (out != nullptr) *out = nullptr;
  return nullptr;
}

}  // namespace

VX_Err VX_GetCallbackBlock(VX_CallbackBlock* block) {
  return VX_SetCallbackBlockQuality(block, VX_Quality_High);
}

VX_Err VX_SetCallbackBlockQuality(VX_CallbackBlock* block, int32_t quality) {
  if (block == nullptr) return VX_ErrBadParameter;
  *block = BlockFor(quality, VX_ModeFlag_Straight);
  return VX_Ok;
}

VX_Err VX_GetCallbackAddr(void* /*word*/, int32_t quality, int32_t mode_flags, int32_t selector,
                          void** out) {
  if (selector < 0 || selector >= VX_CallbackCount) {
    constexpr int32_t kInvalidSelectorText = 0;
    return VXp_ReportEntry(kVXp_NoCheckNumber, kInvalidSelectorText, VX_ErrBadParameter);
  }
  if (out == nullptr) return VX_ErrBadParameter;
  *out = AddressIn(BlockFor(quality, mode_flags), selector);
  return VX_Ok;
}

VX_Err VX_AppCallback(void* /*word*/, int32_t selector, const void** table) {
  switch (selector) {
    case 2: return StoreTable(M_PrepareFCMD, /*second=*/false, table);
    case 3: return StoreTable(M_PrepareFCMD, /*second=*/true, table);
    case 4: return StoreTable(M_PrepareFTrig, /*second=*/false, table);
    case 5: return StoreTable(M_PrepareFTrig, /*second=*/true, table);
    case 6:
    case 7: return M_UnprepareFCMD();
    case 8:
    case 9: return M_UnprepareFTrig();
    default: return VX_Ok;
  }
}

bool VX_IsCFM() { return false; }
void* VX_GetMachoToCFMMapEntry(void* /*entry*/, void** out) { return NoEntry(out); }
void* VX_GetCFMToMachoMapEntry(void* /*entry*/, void** out) { return NoEntry(out); }
VX_Err VX_AddEntryToCFMMachoMaps(void* /*first*/, void* /*second*/) { return VX_Ok; }
