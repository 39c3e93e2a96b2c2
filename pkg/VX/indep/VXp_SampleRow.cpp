// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "indep/VXp_SampleRow.h"

template <>
VXp_SampleRowFunc VXp_RowForm(VX_SampleFunc<VX_Pixel8> sample) {
  if (sample == VX_SubpixelSample_Straight) return VXp_StraightRow<VX_Pixel8>;
  if (sample == VX_SubpixelSample_Premul) return VXp_PremulRow<VX_Pixel8>;
  if (sample == VX_AreaSample_Straight) return VXp_StraightBoxRow<VX_Pixel8>;
  if (sample == VX_AreaSample_Premul) return VXp_PremulBoxRow<VX_Pixel8>;
  return nullptr;
}

template <>
VXp_SampleRowFunc VXp_RowForm(VX_SampleFunc<VX_Pixel16> sample) {
  if (sample == VX_SubpixelSample_Straight16) return VXp_StraightRow<VX_Pixel16>;
  if (sample == VX_SubpixelSample_Premul16) return VXp_PremulRow<VX_Pixel16>;
  if (sample == VX_AreaSample_Straight16) return VXp_StraightBoxRow<VX_Pixel16>;
  if (sample == VX_AreaSample_Premul16) return VXp_PremulBoxRow<VX_Pixel16>;
  return nullptr;
}

template <>
VXp_SampleRowFunc VXp_RowForm(VX_SampleFunc<VX_PixelFloat> sample) {
  if (sample == VX_SubpixelCPlusPlusFloat) return VXp_StraightRow<VX_PixelFloat>;
  if (sample == VX_SubpixelSample_PremulFloat) return VXp_PremulRow<VX_PixelFloat>;
  if (sample == VX_AreaSample_CPlusPlus<VX_PixelFloat>) return VXp_StraightBoxRow<VX_PixelFloat>;
  if (sample == VX_AreaSample_PremulFloat) return VXp_PremulBoxRow<VX_PixelFloat>;
  return nullptr;
}
