// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The stages of a row, in their order.

#include "VX/VX_Blend.h"

namespace vxref {

// How a mode's row is put together.
struct Plan {
  bool keeps_alpha;   // honours keepDstAlpha by restoring the alpha row
  bool behind_first;  // the source goes behind the destination before the scan
  bool matted;        // matte, scan, union, unmatte
};
Plan PlanOf(int mode);

template <class Pixel>
void MatteRow(int mode, int32_t count, Pixel* dst);
template <class Pixel>
void UnmatteRow(int mode, int32_t count, Pixel* dst);

template <class Pixel>
void AlphaUnionRow(int32_t count, const Pixel* src, VX_ChannelOf<Pixel> opacity, const Pixel* mask,
                   Pixel* dst);

// Linear light when there are tables, a mask when there is one.
template <class Pixel>
VX_Err Pipeline(const VX_BlendingMode<Pixel>& mode, const VX_LinearBlendingTables* tables,
                int32_t count, const Pixel* src, const Pixel* mask, Pixel* dst);

}  // namespace vxref
