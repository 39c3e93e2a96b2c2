// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of the blur passes. The window of each destination pixel is summed independently
// of all others.
//
// Arguments must be valid; they are not checked. At integer depths sums are exact 64-bit integers,
// and the product must give equal bits. At float sums are doubles. The order of a sum, and the step
// at which a quotient is rounded to single precision, are free in the product, so results may
// differ by a few units in the last place of the window's largest value.

#include "VX/VX_Types.h"

namespace vxref {

// The arguments that both passes share; VX_Blur.h describes them.
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
