// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Multiplies the alpha of a row of pixels by a row of a mask buffer.

#include "VX/VX_OverrideTable.h"

inline constexpr char kVXp_MergeDepthText[] = "Unexpected bitdepth in VXp_MergeMaskAlphaScanIter()";

// The routines of the slots for 8-bit pixels. Sample is the sample type of the buffer.
template <class Sample>
VX_Err VXp_MergeMaskRow8(int32_t count, const Sample* mask, VX_Pixel8* row);

// The routines of the slots for 16-bit and float pixels, for buffers of any depth. Return VX_Ok, or
// VX_ErrBadParameter after a report if mask_depth is not 8, 16 or 32.
template <class Pixel>
VX_Err VXp_MergeMaskRow(int32_t count, int32_t mask_depth, const void* mask, Pixel* row);
