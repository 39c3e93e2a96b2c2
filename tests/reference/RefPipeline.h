// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of the stages of a row, in the order in which they run.

#include "VX/VX_Blend.h"

namespace vxref {

// The stages that a mode uses.
struct Plan {
  bool keeps_alpha;   // keepDstAlpha restores the alpha of the row
  bool behind_first;  // the source is blended behind the destination before the scan
  bool matted;        // stages: matte, scan, union of alphas, unmatte
};
Plan PlanOf(int mode);

template <class Pixel>
void MatteRow(int mode, int32_t count, Pixel* dst);
template <class Pixel>
void UnmatteRow(int mode, int32_t count, Pixel* dst);

template <class Pixel>
void AlphaUnionRow(int32_t count, const Pixel* src, VX_ChannelOf<Pixel> opacity, const Pixel* mask,
                   Pixel* dst);

// Blends in linear light if `tables` is not null, through a mask if `mask` is not null.
template <class Pixel>
VX_Err Pipeline(const VX_BlendingMode<Pixel>& mode, const VX_LinearBlendingTables* tables,
                int32_t count, const Pixel* src, const Pixel* mask, Pixel* dst);

}  // namespace vxref
