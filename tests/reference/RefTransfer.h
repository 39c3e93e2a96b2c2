// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of a complete composite of one image over another, and of the mask values of a
// matte.

#include "VX/VX_Transfer.h"

namespace vxref {

struct Image {
  char* data;
  int32_t rowbytes;
  int32_t width;
  int32_t height;
};

struct MaskImage {
  Image image;
  int32_t left;  // column of the destination
  int32_t top;
  int32_t what;  // VX_MaskUse_...
};

struct Placement {
  const M_Rect* rect;  // rectangle of the source; null: the whole source
  int32_t x, y;        // destination of its top left corner
  int32_t field;
};

// Arguments must be valid; they are not checked. There is no progress callback. `mask` and `tables`
// may be null.
template <class Pixel>
VX_Err Transfer(const Placement& place, const Image& src, const VX_CompositeModePlus& mode,
                const VX_LinearBlendingTables* tables, const MaskImage* mask, const Image& dst);

// The slow twin of VX_PrepTrackMatteUniv.
template <class Pixel>
void TrackMatte(int32_t count, const Pixel* mask_row, int32_t left, int32_t available, int32_t what,
                Pixel* out_row);

// The opacity 0..1 of a record of the older interface.
float OpacityOf(const VX_CompositeMode& older);

}  // namespace vxref
