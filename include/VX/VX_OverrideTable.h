// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The table of replaceable routines.
//
// VX_Birth fills the table. If a slot has several variants, it chooses one by the host's processor
// record (U_G_CPU_DataP). Before work begins, an acceleration module or VX_SetOverrideFunc may
// store another routine of the same signature in a slot; the exported calls then call that routine.
// The table is read without a lock.
//
// Before VX_Birth all slots are null, and a call through a null slot crashes. After VX_Birth every
// slot that has a routine in VX_OverrideSlots.def is set; numbers without a routine stay null.

#include "VX/VX_Blend.h"
#include "VX/VX_Blur.h"
#include "VX/VX_Convolve.h"
#include "VX/VX_Copy.h"
#include "VX/VX_DepthConvert.h"
#include "VX/VX_Iterate.h"
#include "VX/VX_Sampling.h"
#include "VX/VX_Transfer.h"
#include "VX/VX_Transform.h"
#include "VX/VX_Types.h"

// --- signatures ----------------------------------------------------------------------------------

// Composites a rectangle of one world over another, see VX_CompositeRect.h for the arguments.
using VX_CompositeRectFunc = VX_Err (*)(VX_ProgressInfo* progress, const M_Rect* src_rect,
                                        int32_t opacity, const VX_LayerDef* src, int32_t x,
                                        int32_t y, int32_t field, int32_t mode, VX_LayerDef* dst);

// Mixes two worlds: ratio 0 gives a, 65536 gives b.
using VX_BlendWorldsFunc = VX_Err (*)(VX_ProgressInfo* progress, const VX_LayerDef* a,
                                      const VX_LayerDef* b, VX_Fixed ratio, VX_LayerDef* dst);

using VX_TransferRectFunc = decltype(&VX_TransferRect_S);

using VX_TransformWorldFunc = decltype(&VX_TransformWorld_S);

// See VX_Premul.h and VX_DepthConvert.h.
template <class Pixel>
using VX_PremulColorFunc = VX_Err (*)(void* ref, int32_t forward, const Pixel* color,
                                      const M_Rect* area, VX_LayerDef* world);
using VX_PremulFunc = VX_Err (*)(void* ref, int32_t forward, const M_Rect* area,
                                 VX_LayerDef* world);
using VX_DepthConvertFunc = decltype(&VX_DepthConvertWorld);

// Blurs the positions `start` to `end` - 1 of one line of one channel in place, see the scans in
// VX_UnoBuffer.h. Some samples on both sides of this part may change too. `scratch` has
// VX_UnoScanScratch(length, radius) elements.
template <class Channel>
using VX_BlurScanFunc = VX_Err (*)(int32_t kind, int32_t length, int32_t start, int32_t end,
                                   VX_Fixed radius, Channel* scratch, Channel* line);

// Operations on rows of one-channel buffers, see VX_UnoBuffer.h. Rows may start at any byte. Depths
// are 8, 16 or 32. Gains are integers: a gain of 1 is 255 for 8-bit sources, else 32768. Opacities
// are at most full scale. A null mask means full scale everywhere.
template <class Channel>
using VX_UnoTransferFunc = VX_Err (*)(int32_t count, const Channel* src, const Channel* mask,
                                      Channel* dst);
template <class Channel>
using VX_UnoFadeFunc = VX_Err (*)(int32_t count, Channel opacity, Channel* row);
using VX_UnoConvertFunc = VX_Err (*)(int32_t count, int32_t src_depth, const void* src,
                                     int16_t flag, int32_t dst_depth, void* dst);
using VX_UnoAccumulateFunc = VX_Err (*)(int32_t count, int32_t mode, int32_t src_depth,
                                        const void* src, int32_t gain_src, int32_t gain_dst,
                                        int32_t dst_depth, void* dst);

// Multiplies the alpha of each pixel of a row by its mask sample.
template <class Channel>
using VX_MergeMask8Func = VX_Err (*)(int32_t count, const Channel* mask, VX_Pixel8* row);
template <class Pixel>
using VX_MergeMaskFunc = VX_Err (*)(int32_t count, int32_t mask_depth, const void* mask,
                                    Pixel* row);

// See VX_GetInnerBlendingFunc.
template <class Pixel>
using VX_GetInnerBlendingSlot = VX_Err (*)(int32_t mode, VX_InnerBlendingFunc<Pixel>* out);

// --- the table -----------------------------------------------------------------------------------

inline constexpr int32_t VX_OverrideSlotCount = 118;

// Each member has the name of its routine. Numbers without a routine are unnamed padding.
struct VXp_OverrideTable {
// clang-format off
#define VX_SLOT(number, name, type, routine) type name;
#define VX_NULL_SLOT(number) uint64_t : 64;
// clang-format on
#include "VX/VX_OverrideSlots.def"
#undef VX_SLOT
#undef VX_NULL_SLOT
};
static_assert(sizeof(VXp_OverrideTable) == VX_OverrideSlotCount * sizeof(void*));
static_assert(sizeof(VXp_OverrideTable) == 944);
#define VX_SLOT(number, name, type, routine) \
  static_assert(offsetof(VXp_OverrideTable, name) == (number) * sizeof(void*));
#define VX_NULL_SLOT(number)
#include "VX/VX_OverrideSlots.def"
#undef VX_SLOT
#undef VX_NULL_SLOT

extern VX_API VXp_OverrideTable VXp_G_OverFuncs;

// Stores a routine in a slot. Not thread-safe: no other thread may use the library during the call.
//
//   slot     number of the slot, 0..117
//   routine  a function of the slot's signature, which is not checked; not null
//
// Returns VX_Ok, or VX_ErrBadParameter, after a report, for a number without a routine or a null
// `routine`.
VX_API VX_Err VX_SetOverrideFunc(int32_t slot, void* routine);

// Obsolete: always returns VX_ErrObsolete after a report.
VX_API VX_Err VX_OverrideStdFuncs();

// --- description of the table --------------------------------------------------------------------

enum : int32_t {
  VX_SlotState_Null = 0,     // null: the number has no routine, or VX_Birth was not called
  VX_SlotState_BuiltIn = 1,  // the routine that VX_Birth chose
  VX_SlotState_Replaced = 2  // another routine
};

struct VX_SlotDescription {
  int32_t number;
  const char* name;       // name of the routine; null for a number without one
  const char* signature;  // name of the pointer type; null for a number without one
  int32_t state;          // VX_SlotState_...
  const void* routine;    // address of the function in the slot; may be null
};

// Describes a slot. The strings are constant. Returns VX_Ok, or VX_ErrBadParameter for a number
// outside 0..117 or a null `out`.
VX_API VX_Err VX_DescribeSlot(int32_t slot, VX_SlotDescription* out);
