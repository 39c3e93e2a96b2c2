// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Provides the row of mask values for a row of the destination.

#include "VX/VX_World.h"
#include "blend/mask/VXp_TrackMatteRow.h"

// Returns the mask values, in alpha, for the pixels left..left + width - 1 of destination row y.
// For VX_MaskUse_Alpha the result points into the mask world itself, and the area must have been
// clipped to the mask. Otherwise the values are computed into the alphas of `buffer`.
template <class Pixel>
const Pixel* VXp_MaskRow(const VX_MaskSpec& spec, const VX_WorldX<Pixel>& mask, int32_t left,
                         int32_t width, int32_t y, Pixel* buffer) {
  // Computed in 64 bits, because differences of 32-bit positions may not fit 32 bits.
  const int64_t mask_y = int64_t{y} - spec.offsetV;
  const int64_t mask_left = int64_t{spec.offsetH} - left;
  if (spec.what == VX_MaskUse_Alpha) return mask.Row(static_cast<int32_t>(mask_y)) - mask_left;
  if (mask_y < 0 || mask_y >= mask.height || mask_left + mask.width <= 0) {
    VXp_TrackMatteRow<Pixel>(width, nullptr, 0, 0, spec.what, buffer);
  } else {
    VXp_TrackMatteRow(width, mask.Row(static_cast<int32_t>(mask_y)),
                      static_cast<int32_t>(mask_left), mask.width, spec.what, buffer);
  }
  return buffer;
}
