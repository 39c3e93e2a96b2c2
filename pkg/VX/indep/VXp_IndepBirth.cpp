// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "indep/VXp_IndepBirth.h"

#include "frame/VXp_Cpu.h"

void VXp_FillIndepSlots(VXp_OverrideTable& table) {
  table.VX_NNSample = VX_NNSample;
  table.VX_SubpixelSample_Straight = VX_SubpixelSample_Straight;
  table.VX_SubpixelSample_Premul = VX_SubpixelSample_Premul;
  table.VX_AreaSample_Straight = VX_AreaSample_Straight;
  table.VX_AreaSample_Premul = VX_AreaSample_Premul;
  table.VX_SubpixelSampleComputeWeight = VX_SubpixelSampleComputeWeight;
  table.VX_SubpixelSampleTranslateNoClip_Straight = VX_SubpixelSampleTranslateNoClip_Straight;
  table.VX_SubpixelSamplePlus_Straight = VX_SubpixelSamplePlus_Straight;
  table.VX_SubpixelSampleNoClip_Straight =
      VXp_HasSSE2() ? VX_SubpixelSampleNoClip_Straight_SSE2 : VX_SubpixelSampleNoClip_Straight;
  table.VX_NNSample16 = VX_NNSample16;
  table.VX_SubpixelSample_Straight16 = VX_SubpixelSample_Straight16;
  table.VX_AreaSample_Straight16 = VX_AreaSample_Straight16;
  table.VX_SubpixelSampleTranslateNoClip_Straight16 = VX_SubpixelSampleTranslateNoClip_Straight16;
  table.VX_SubpixelSamplePlus_Straight16 = VX_SubpixelSamplePlus_Straight16;
  table.VX_SubpixelSampleNoClip_Straight16 = VX_SubpixelSampleNoClip_Straight16;
  table.VX_SubpixelSampleNoClip_Straight_4 = VX_SubpixelSampleNoClip_Straight_4;
  table.VX_SubpixelSampleTranslateNoClip_Straight_4 = VX_SubpixelSampleTranslateNoClip_Straight_4;
  table.VX_SubpixelSpanSampleTranslateNoClip_Straight =
      VX_SubpixelSpanSampleTranslateNoClip_Straight;
  table.VX_SubpixelSpanSampleTranslateNoClip_Straight16 =
      VX_SubpixelSpanSampleTranslateNoClip_Straight16;
}
