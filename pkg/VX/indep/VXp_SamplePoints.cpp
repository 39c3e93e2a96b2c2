// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "indep/VXp_SamplePoints.h"

#include "VX/VX_OverrideTable.h"

namespace {

bool OwnsWeights() {
  return VXp_G_OverFuncs.VX_SubpixelSampleComputeWeight == &VX_SubpixelSampleComputeWeight;
}

}  // namespace

template <>
VXp_SamplePointsFunc<VX_Pixel8> VXp_OwnPoints(const VX_SamplerSet<VX_Pixel8>& set) {
  const bool own = set.all_in == &VX_SubpixelSamplePlus_Straight &&
                   set.clipped == &VX_SubpixelSample_Straight &&
                   set.box == &VX_AreaSample_Straight &&
                   set.weighted == &VX_SubpixelSampleTranslateNoClip_Straight &&
                   set.span == &VX_SubpixelSpanSampleTranslateNoClip_Straight && OwnsWeights();
  if (own && set.unclipped == &VX_SubpixelSampleNoClip_Straight_SSE2) return VXp_SinglePoints;
  if (own && set.unclipped == &VX_SubpixelSampleNoClip_Straight) {
    return VXp_StraightPoints<VX_Pixel8>;
  }
  return nullptr;
}

template <>
VXp_SamplePointsFunc<VX_Pixel16> VXp_OwnPoints(const VX_SamplerSet<VX_Pixel16>& set) {
  const bool own = set.all_in == &VX_SubpixelSamplePlus_Straight16 &&
                   set.clipped == &VX_SubpixelSample_Straight16 &&
                   set.box == &VX_AreaSample_Straight16 &&
                   set.unclipped == &VX_SubpixelSampleNoClip_Straight16 &&
                   set.weighted == &VX_SubpixelSampleTranslateNoClip_Straight16 &&
                   set.span == &VX_SubpixelSpanSampleTranslateNoClip_Straight16 && OwnsWeights();
  return own ? VXp_StraightPoints<VX_Pixel16> : nullptr;
}

// The float samplers are not in the override table, so they cannot be replaced.
template <>
VXp_SamplePointsFunc<VX_PixelFloat> VXp_OwnPoints(const VX_SamplerSet<VX_PixelFloat>&) {
  return VXp_StraightPoints<VX_PixelFloat>;
}
