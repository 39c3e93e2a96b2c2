// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of masks, one pixel at a time. Arguments must be valid; they are not checked. The
// product must give equal bits at each depth.

#include "RefUno.h"
#include "VX/VX_Mask.h"

namespace vxref {

// `second` is the size of a second buffer, or null if there is none.
template <class Pixel, class Sample>
void MergeMaskAlpha(int32_t h, int32_t v, const M_Rect* rect, const Plane<Sample>& buffer,
                    const M_LPoint* second, const VX_LayerDef& world);

template <class Pixel>
void BlendSingleChannel(int32_t count, VX_ChannelOf<Pixel> opacity, VX_ChannelOf<Pixel> target,
                        const VX_ChannelOf<Pixel>* values, Pixel* row);

// The mask value that VX_MatteFromWorld computes from a pixel.
template <class Pixel>
VX_ChannelOf<Pixel> MatteValue(const Pixel& p, int32_t what);

}  // namespace vxref
