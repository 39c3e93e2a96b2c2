// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// SSE2 variants of the 8-bit row loops of copy and in-front, with bit-identical results.

#include "VX/VX_Blend.h"

template <bool hasMask>
VX_Err VXp_ScanCopy_SSE2(int32_t count, const VX_BlendingMode<VX_Pixel8>* mode,
                         const VX_LinearBlendingTables* tables, const VX_Pixel8* src,
                         const VX_Pixel8* mask, VX_Pixel8* dst);

template <bool hasMask>
VX_Err VXp_ScanInFront_SSE2(int32_t count, const VX_BlendingMode<VX_Pixel8>* mode,
                            const VX_LinearBlendingTables* tables, const VX_Pixel8* src,
                            const VX_Pixel8* mask, VX_Pixel8* dst);
