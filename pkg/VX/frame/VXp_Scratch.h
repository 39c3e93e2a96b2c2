// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Process-wide scratch memory: three row buffers for any depth, and seven fixed blocks for motion
// blur. Not locked. Birth allocates it, VX_FreeUpSomeMemory shrinks it, death frees it. The
// transfer calls of VX_Transfer.h use scratch of their own and may run concurrently.

#include "VX/VX_Transform.h"

enum class VXp_Regrow { IfNeeded, Always };

// Provides rows of `pixels` pixels and stores all ten addresses in `out`.
//
//   depth_code  bytes per channel: 1, 2 or 4. Others are reported, return VX_Ok and leave `out`
//               unchanged
//   regrow      Always: allocate new rows, which may be smaller
//
// Capacity is counted in bytes: rows for a larger depth serve a smaller one. Returns
// VX_ErrOutOfMemory if the rows cannot be allocated; the old rows are kept until the next success
// frees them, but not used. Throws VX_ErrOutOfMemory if the motion blur's blocks cannot be
// allocated.
VX_Err VXp_ReallocScratch(int32_t pixels, int32_t depth_code, VXp_Regrow regrow,
                          VX_BlendScratch* out);

// Frees everything.
void VXp_DisposeScratch();

// Number of blocks of VX_AllocateMotionBlurScratch.
inline constexpr int32_t kVXp_MotionBlocks = 7;
