// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Routines that acceleration modules and older callers request by number. Each request reads the
// routine from the override table at that moment. Call after VX_Birth.

#include "VX/VX_OverrideTable.h"

// See VX_GetCallbackAddr.
enum : int32_t {
  VX_Callback_Nearest = 0,
  VX_Callback_Bilinear = 1,
  VX_Callback_Area = 2,
  VX_Callback_GaussianKernel = 3,
  VX_Callback_Fill = 4,
  VX_Callback_Copy = 5,
  VX_Callback_Composite = 6,
  VX_Callback_Convolve = 7,
  VX_Callback_Premultiply = 8,
  VX_Callback_Iterate = 9,
  VX_CallbackCount = 10
};

enum : int32_t { VX_Quality_Draft = 0, VX_Quality_High = 1 };

// Mode flags. With Straight, pixels have straight alpha; without it, colours are multiplied by
// alpha.
enum : int32_t { VX_ModeFlag_Straight = 1 };

using VX_FillFunc = VX_Err (*)(void* ref, const VX_Pixel8* color, const M_Rect* area,
                               VX_LayerDef* world);
using VX_PremulWorldFunc = VX_Err (*)(void* ref, int32_t forward, VX_LayerDef* world);

// Routines in the order of VX_Callback_...
struct VX_CallbackBlock {
  VX_SampleFunc<VX_Pixel8> nearest;
  VX_SampleFunc<VX_Pixel8> bilinear;
  VX_SampleFunc<VX_Pixel8> area;
  VX_GaussianKernelFunc gaussian_kernel;
  VX_FillFunc fill;
  VX_CopyBitsFunc copy;
  VX_CompositeRectFunc composite;
  VX_ConvolveFunc convolve;
  VX_PremulWorldFunc premultiply;
  VX_IterateFunc iterate;
  void* reserved[6];  // null
};
static_assert(sizeof(VX_CallbackBlock) == 16 * sizeof(void*));

// Fills the caller's block for high quality and straight alpha. Returns VX_ErrBadParameter for
// null.
VX_API VX_Err VX_GetCallbackBlock(VX_CallbackBlock* block);

// Replaces the routines of the block that depend on quality. Returns VX_ErrBadParameter for null.
VX_API VX_Err VX_SetCallbackBlockQuality(VX_CallbackBlock* block, int32_t quality);

// Stores the address of a routine.
//
//   word        ignored
//   quality     VX_Quality_Draft; any other value means high
//   mode_flags  VX_ModeFlag_... bits
//   selector    VX_Callback_...
//   out         receives the address
//
//   selector         draft                        high
//   Bilinear, Area   the nearest sampler          the straight or premultiplied sampler
//   Copy             the draft copy               the straight or premultiplied copy
//   Composite        straight or premultiplied    straight or premultiplied
//   (other selectors: the same routine at any quality)
//
// Returns VX_Ok, or VX_ErrBadParameter for a null `out` and, with a report, for an unknown
// selector. On error *out is unchanged.
VX_API VX_Err VX_GetCallbackAddr(void* word, int32_t quality, int32_t mode_flags, int32_t selector,
                                 void** out);

// --- services for older callers ------------------------------------------------------------------

// Requests byte tables and trigonometric tables, or releases them.
//
//   word       ignored
//   selector   2: the multiply table, 3: the divide table (see VXp_G_fcm_table), as const uint8_t*
//              4: the sine table, 5: the cosine table (see M_PrepareFTrig), as const int32_t*
//              6, 7: release of the tables of one request 2 or 3
//              8, 9: release of the tables of one request 4 or 5
//   table      for 2 to 5: receives the address; may be null. Ignored for other selectors.
//
// Returns the host's error; VX_Ok for any other selector, which has no effect. The tables are valid
// until they are released.
VX_API VX_Err VX_AppCallback(void* word, int32_t selector, const void** table);

// Functions of a calling convention that this platform does not have. They exist because callers
// link to them. The first returns false, the last one VX_Ok; the others store null through `out`,
// which may be null, and return null.
VX_API bool VX_IsCFM();
VX_API void* VX_GetMachoToCFMMapEntry(void* entry, void** out);
VX_API void* VX_GetCFMToMachoMapEntry(void* entry, void** out);
VX_API VX_Err VX_AddEntryToCFMMachoMaps(void* first, void* second);
