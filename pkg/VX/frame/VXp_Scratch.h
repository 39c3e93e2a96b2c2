// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The process-wide scratch: three row buffers of any depth and the seven fixed blocks of the motion
// blur. Unlocked; birth makes it, VX_FreeUpSomeMemory shrinks it, death frees it. The composite
// calls bring storage of their own, so they may run beside each other.

#include "VX/VX_Transform.h"

enum class VXp_Regrow { IfNeeded, Always };

// Provides rows of `pixels` pixels and stores all ten pointers in `out`.
//
//   depth_code  1, 2 or 4 bytes a channel. Any other is reported, gives 0 and leaves `out` alone
//   regrow      Always allocates anew, which also shrinks
//
// Capacity is in bytes whatever the depth: rows for a deep request serve a shallow one. Gives 4
// when the rows cannot be had; the old ones then stay until the next success frees them, but are
// not handed out again. Throws 4 when the motion blur's blocks cannot be had.
VX_Err VXp_ReallocScratch(int32_t pixels, int32_t depth_code, VXp_Regrow regrow,
                          VX_BlendScratch* out);

// Frees everything.
void VXp_DisposeScratch();

// VX_AllocateMotionBlurScratch makes that many.
inline constexpr int32_t kVXp_MotionBlocks = 7;
