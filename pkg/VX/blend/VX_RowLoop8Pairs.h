// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The 8-bit row loops of copy and in-front with two channels in each word, which is twice as many
// as in VXp_RowLoop.h. Bit-identical results.

#include "VX/VX_Blend.h"

template <bool hasMask>
VX_Err VXp_ScanCopyPairs(int32_t count, const VX_BlendingMode<VX_Pixel8>* mode,
                         const VX_LinearBlendingTables* tables, const VX_Pixel8* src,
                         const VX_Pixel8* mask, VX_Pixel8* dst);

template <bool hasMask>
VX_Err VXp_ScanInFrontPairs(int32_t count, const VX_BlendingMode<VX_Pixel8>* mode,
                            const VX_LinearBlendingTables* tables, const VX_Pixel8* src,
                            const VX_Pixel8* mask, VX_Pixel8* dst);
