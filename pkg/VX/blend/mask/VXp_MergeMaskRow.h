// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Rows of a mask buffer times the alpha of a row of pixels: one function for each pair of depths.

#include "VX/VX_OverrideTable.h"

inline constexpr char kVXp_MergeDepthText[] = "Unexpected bitdepth in VXp_MergeMaskAlphaScanIter()";

// The slots of 8-bit pixels, by the sample of the buffer.
template <class Sample>
VX_Err VXp_MergeMaskRow8(int32_t count, const Sample* mask, VX_Pixel8* row);

// The slots of the others. 3 after a report for a depth that is none of the three.
template <class Pixel>
VX_Err VXp_MergeMaskRowOfDepth(int32_t count, int32_t mask_depth, const void* mask, Pixel* row);
