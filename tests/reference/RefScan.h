// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The transfer modes as row loops.

#include "VX/VX_Blend.h"

namespace vxref {

// Blends a row in a mode. Returns VX_Ok or an error. Throws VX_ErrBadParameter if `linear` is set,
// the mode has a linear form at this depth, and `tables` is null. Opacity, seed and keepDstAlpha
// are read from `options`; its mode is ignored.
template <class Pixel>
VX_Err Scan(int mode, bool has_mask, bool linear, int32_t count,
            const VX_BlendingMode<Pixel>* options, const VX_LinearBlendingTables* tables,
            const Pixel* src, const Pixel* mask, Pixel* dst);

}  // namespace vxref
