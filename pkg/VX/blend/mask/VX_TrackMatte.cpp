// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Converts a row of a matte world to a row of mask values.

#include "blend/mask/VXp_TrackMatteRow.h"

VX_Err VX_PrepTrackMatteUniv(int32_t count, const void* mask_row, int32_t left, int32_t available,
                             int32_t what, uint8_t deep, void* out_row) {
  if (deep != 0) {
    VXp_TrackMatteRow(count, static_cast<const VX_Pixel16*>(mask_row), left, available, what,
                      static_cast<VX_Pixel16*>(out_row));
  } else {
    VXp_TrackMatteRow(count, static_cast<const VX_Pixel8*>(mask_row), left, available, what,
                      static_cast<VX_Pixel8*>(out_row));
  }
  return VX_Ok;
}
