// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of the copies, one destination pixel at a time.
//
// All arguments are good: worlds with pixels, of the depths that the template arguments say. Null
// rectangles are whole worlds; turned over ones are empty. Results go where `dst` points.

#include "VX/VX_Types.h"

namespace vxref {

// A channel from one depth to another.
template <class To, class From>
To Converted(const From& pixel);

template <class From, class To>
void CopyDraft(const VX_LayerDef& src, const VX_LayerDef& dst, const M_Rect* src_rect,
               const M_Rect* dst_rect);

template <class Pixel>
void CopyHigh(bool premultiplied, const VX_LayerDef& src, const VX_LayerDef& dst,
              const M_Rect* src_rect, const M_Rect* dst_rect);

// The high quality of VX_ResizeWorld: straight.
template <class Pixel>
void Resize(const VX_LayerDef& src, const VX_LayerDef& dst);

template <class From>
void SpecialBlit(const VX_LayerDef& src, const M_LPoint& at, bool lookup, bool invert_alpha,
                 const VX_PixelFloat& low, const VX_PixelFloat& high, const M_Rect& rect,
                 const VX_LayerDef& dst);

}  // namespace vxref
