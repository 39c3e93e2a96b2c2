// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "indep/VXp_SampleLine.h"

template <>
VXp_SampleLineFunc<VX_Pixel8> VXp_LineForm(VX_SampleFunc<VX_Pixel8> sample) {
  if (sample == VX_SubpixelSampleNoClip_Straight_SSE2) return VXp_SingleLine;
  if (sample == VX_SubpixelSampleNoClip_Straight || sample == VX_SubpixelSample_Straight) {
    return VXp_StraightLine<VX_Pixel8>;
  }
  return nullptr;
}

template <>
VXp_SampleLineFunc<VX_Pixel16> VXp_LineForm(VX_SampleFunc<VX_Pixel16> sample) {
  if (sample == VX_SubpixelSampleNoClip_Straight16 || sample == VX_SubpixelSample_Straight16) {
    return VXp_StraightLine<VX_Pixel16>;
  }
  return nullptr;
}

template <>
VXp_SampleLineFunc<VX_PixelFloat> VXp_LineForm(VX_SampleFunc<VX_PixelFloat> sample) {
  if (sample == VX_SubpixelCPlusPlusNoClipFloat || sample == VX_SubpixelCPlusPlusFloat) {
    return VXp_PortableLine;
  }
  return nullptr;
}
