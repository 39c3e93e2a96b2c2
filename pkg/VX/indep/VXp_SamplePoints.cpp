// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "indep/VXp_SamplePoints.h"

template <>
VXp_SamplePointsFunc<VX_Pixel8> VXp_PointsForm(VX_SampleFunc<VX_Pixel8> sample) {
  if (sample == VX_SubpixelSampleNoClip_Straight_SSE2) return VXp_SinglePoints;
  if (sample == VX_SubpixelSampleNoClip_Straight || sample == VX_SubpixelSample_Straight) {
    return VXp_StraightPoints<VX_Pixel8>;
  }
  return nullptr;
}

template <>
VXp_SamplePointsFunc<VX_Pixel16> VXp_PointsForm(VX_SampleFunc<VX_Pixel16> sample) {
  if (sample == VX_SubpixelSampleNoClip_Straight16 || sample == VX_SubpixelSample_Straight16) {
    return VXp_StraightPoints<VX_Pixel16>;
  }
  return nullptr;
}

template <>
VXp_SamplePointsFunc<VX_PixelFloat> VXp_PointsForm(VX_SampleFunc<VX_PixelFloat> sample) {
  if (sample == VX_SubpixelCPlusPlusNoClipFloat || sample == VX_SubpixelCPlusPlusFloat) {
    return VXp_PortablePoints;
  }
  return nullptr;
}

template <>
VXp_SamplePointsFunc<VX_Pixel8> VXp_PointsForm(VX_SampleAllInFunc<VX_Pixel8> sample) {
  return sample == VX_SubpixelSamplePlus_Straight ? VXp_StraightPoints<VX_Pixel8> : nullptr;
}

template <>
VXp_SamplePointsFunc<VX_Pixel16> VXp_PointsForm(VX_SampleAllInFunc<VX_Pixel16> sample) {
  return sample == VX_SubpixelSamplePlus_Straight16 ? VXp_StraightPoints<VX_Pixel16> : nullptr;
}

template <>
VXp_SamplePointsFunc<VX_PixelFloat> VXp_PointsForm(VX_SampleAllInFunc<VX_PixelFloat> sample) {
  return sample == VX_SubpixelSpanSampleAllInCPlusPlusFloat ? VXp_PortablePoints : nullptr;
}
