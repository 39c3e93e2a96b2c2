// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The transfer modes as row loops.

#include "VX/VX_Blend.h"

namespace vxref {

// One row in one mode. 0 or an error; throws 3 for a linear row without tables. `options` gives
// opacity, seed and keepDstAlpha; its mode is not read.
template <class Pixel>
VX_Err Scan(int mode, bool has_mask, bool linear, int32_t count,
            const VX_BlendingMode<Pixel>* options, const VX_LinearBlendingTables* tables,
            const Pixel* src, const Pixel* mask, Pixel* dst);

}  // namespace vxref
