// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of the copies, one destination pixel at a time.
//
// Arguments must be valid; they are not checked: worlds with pixels of the depths of the template
// arguments. A null rectangle is the whole world; a rectangle with exchanged edges is empty.
// Results are written to `dst`.

#include "VX/VX_Types.h"

namespace vxref {

// Converts a pixel to another depth.
template <class To, class From>
To Converted(const From& pixel);

template <class From, class To>
void CopyDraft(const VX_LayerDef& src, const VX_LayerDef& dst, const M_Rect* src_rect,
               const M_Rect* dst_rect);

template <class Pixel>
void CopyHigh(bool premultiplied, const VX_LayerDef& src, const VX_LayerDef& dst,
              const M_Rect* src_rect, const M_Rect* dst_rect);

// VX_ResizeWorld at high quality, for straight alpha.
template <class Pixel>
void Resize(const VX_LayerDef& src, const VX_LayerDef& dst);

template <class From>
void SpecialBlit(const VX_LayerDef& src, const M_LPoint& at, bool lookup, bool invert_alpha,
                 const VX_PixelFloat& low, const VX_PixelFloat& high, const M_Rect& rect,
                 const VX_LayerDef& dst);

}  // namespace vxref
