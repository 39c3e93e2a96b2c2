// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The routines that acceleration modules and older callers fetch by number.
//
// What they get is read from the override table at the moment of asking, so a replacement made
// before it is seen and one made after it is not. Call after VX_Birth.

#include "VX/VX_OverrideTable.h"

// See VX_GetCallbackAddr for who is who at which quality.
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

// Bit 0 of the mode flags: pixels are straight. Clear: premultiplied.
enum : int32_t { VX_ModeFlag_Straight = 1 };

using VX_FillFunc = VX_Err (*)(void* ref, const VX_Pixel8* color, const M_Rect* area,
                               VX_LayerDef* world);
using VX_PremulWorldFunc = VX_Err (*)(void* ref, int32_t forward, VX_LayerDef* world);

// The order of the pointers is that of the numbers above.
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

// Fills the caller's block for high quality and straight alpha. 0, or 3 for a null block.
VX_API VX_Err VX_GetCallbackBlock(VX_CallbackBlock* block);

// Sets the routines of the block that depend on quality. 0, or 3 for a null block.
VX_API VX_Err VX_SetCallbackBlockQuality(VX_CallbackBlock* block, int32_t quality);

// Stores the address of one routine.
//
//   word        not read
//   quality     VX_Quality_Draft, anything else is high
//   mode_flags  bit 0: VX_ModeFlag_Straight
//   selector    VX_Callback_...
//
// The bilinear and the area sampler are the nearest one in draft, else the straight or
// premultiplied one. Copy is the draft copy, else the straight or premultiplied one; composite has
// all four. The others are the same at any quality. 0; 3 with *out untouched for a null `out` or,
// after a report, a selector that does not exist.
VX_API VX_Err VX_GetCallbackAddr(void* word, int32_t quality, int32_t mode_flags, int32_t selector,
                                 void** out);
