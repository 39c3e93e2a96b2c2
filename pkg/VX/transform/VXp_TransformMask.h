// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Mask rows for transforms. They are computed as for transfers (VXp_MaskRow), with one exception:
// float luminance below 1e-30 becomes 0 and luminance above 1 becomes 1. For inverse luma, this is
// done before the inversion.

#include "blend/mask/VXp_MaskRow.h"

inline void VXp_HoldLuma(int32_t count, bool invert, VX_PixelFloat* row) {
  for (int32_t i = 0; i < count; ++i) {
    const float cut = row[i].alpha < 1e-30f ? 0.0f : row[i].alpha;
    const float clamped = cut > 1.0f ? 1.0f : cut;
    row[i].alpha = invert ? 1.0f - clamped : clamped;
  }
}

// Returns the row of mask values, see VXp_MaskRow.
template <class Pixel>
const Pixel* VXp_TransformMaskRow(const VX_TransformMask& spec, const VX_WorldX<Pixel>& mask,
                                  int32_t left, int32_t width, int32_t y, Pixel* buffer) {
  if constexpr (std::is_same_v<Pixel, VX_PixelFloat>) {
    if (spec.what >= VX_MaskUse_Luma) {
      VX_TransformMask plain = spec;
      plain.what = VX_MaskUse_Luma;
      VXp_MaskRow(plain, mask, left, width, y, buffer);
      VXp_HoldLuma(width, spec.what == VX_MaskUse_InverseLuma, buffer);
      return buffer;
    }
  }
  return VXp_MaskRow(spec, mask, left, width, y, buffer);
}
