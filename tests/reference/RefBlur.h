// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of the blur passes: every destination pixel by its own walk over its window.
//
// All arguments are good. Integer depths are exact 64-bit sums and are to be compared bit for bit.
// Float is summed in double; in which order, and where a quotient of two sums is rounded to single
// precision, is not part of the rule, so results may differ by a few units in the last place of
// the largest value in the window.

#include "VX/VX_Types.h"

namespace vxref {

// The arguments that both passes share, as VX_Blur.h tells them.
struct BlurPass {
  float radius;
  int32_t flags;
  int32_t src_direction;
  bool src_premultiplied;
  int32_t dst_direction;
  bool dst_premultiplied;
};

template <class Pixel>
void GaussianBlur1D(const BlurPass& pass, const VX_LayerDef& src, const VX_LayerDef& dst);

template <class Pixel>
void BoxBlur1D(const BlurPass& pass, int32_t iterations, const VX_LayerDef& src,
               const VX_LayerDef& dst);

}  // namespace vxref
