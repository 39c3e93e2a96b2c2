// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of masks, one pixel at a time. All arguments are good. Every depth is to be
// compared bit for bit.

#include "RefUno.h"
#include "VX/VX_Mask.h"

namespace vxref {

// `second` is the size of the second buffer; null: there is none.
template <class Pixel, class Sample>
void MergeMaskAlpha(int32_t h, int32_t v, const M_Rect* rect, const Plane<Sample>& buffer,
                    const M_LPoint* second, const VX_LayerDef& world);

template <class Pixel>
void BlendSingleChannel(int32_t count, VX_ChannelOf<Pixel> opacity, VX_ChannelOf<Pixel> target,
                        const VX_ChannelOf<Pixel>* values, Pixel* row);

// What VX_MatteFromWorld makes of a pixel.
template <class Pixel>
VX_ChannelOf<Pixel> MatteValue(const Pixel& p, int32_t what);

}  // namespace vxref
