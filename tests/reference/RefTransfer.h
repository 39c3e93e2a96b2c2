// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The whole composite of one image over another, and the mask values of a matte.

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
  int32_t left;  // in the destination's frame
  int32_t top;
  int32_t what;  // VX_MaskUse_...
};

struct Placement {
  const M_Rect* rect;  // of the source; null: all
  int32_t x, y;        // where its corner lands
  int32_t field;
};

// All arguments are good; there is no progress. `mask` may be null, and so may `tables`.
template <class Pixel>
VX_Err Transfer(const Placement& place, const Image& src, const VX_CompositeModePlus& mode,
                const VX_LinearBlendingTables* tables, const MaskImage* mask, const Image& dst);

// VX_PrepTrackMatteUniv.
template <class Pixel>
void TrackMatte(int32_t count, const Pixel* mask_row, int32_t left, int32_t available, int32_t what,
                Pixel* out_row);

// The opacity that a record of the older interface means.
float OpacityOf(const VX_CompositeMode& older);

}  // namespace vxref
