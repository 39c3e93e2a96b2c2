// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Process-wide scratch memory: three row buffers for any depth, and seven fixed blocks for motion
// blur. Not locked. Birth allocates it, VX_FreeUpSomeMemory shrinks it, death frees it. The calls
// of VX_Transfer.h allocate row buffers per call instead and may run concurrently.

#include "VX/VX_Transform.h"

enum class VXp_Regrow { IfNeeded, Always };

// Provides rows of `pixels` pixels and stores all ten addresses in `out`.
//
//   depth_code  bytes per channel: 1, 2 or 4. For other values, reports, returns VX_Ok and leaves
//               `out` unchanged.
//   regrow      Always: allocates new rows in any case; they may be smaller
//
// Capacity is counted in bytes, so rows for a larger depth can be used for a smaller one. Returns
// VX_ErrOutOfMemory if the rows cannot be allocated; the old rows then remain allocated, are not
// used, and are freed by the next successful call. Throws VX_ErrOutOfMemory if the blocks for
// motion blur cannot be allocated.
VX_Err VXp_ReallocScratch(int32_t pixels, int32_t depth_code, VXp_Regrow regrow,
                          VX_BlendScratch* out);

// Frees the rows and the blocks.
void VXp_DisposeScratch();

// Number of blocks of VX_AllocateMotionBlurScratch.
inline constexpr int32_t kVXp_MotionBlocks = 7;
