// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "filters/VXp_FiltersBirth.h"

#include "filters/uno/VXp_UnoBuffer.h"

void VXp_FillFiltersSlots(VXp_OverrideTable& table) {
  table.VX_FastBlur_Straight = VX_FastBlur_Straight;
  table.VX_FastBlur_Premul = VX_FastBlur_Premul;
  table.VX_Convolve = VXp_Convolve_S;
  table.VX_BoxBlurUnoScan = VXp_BoxBlurUnoScan_S;
  table.VX_BoxBlurDeepUnoScan = VXp_BoxBlurDeepUnoScan_S;
  table.VX_GBlurUnoScan = VXp_GBlurUnoScan_S;
  table.VX_GBlurDeepUnoScan = VXp_GBlurDeepUnoScan_S;
  table.VX_UnoTransferRow = VXp_UnoTransferRow8;
  table.VX_UnoTransferRow16 = VXp_UnoTransferRow16;
  table.VX_UnoTransferRowFloat = VXp_UnoTransferRowFloat;
  table.VX_UnoFadeRow = VXp_UnoFadeRow8;
  table.VX_UnoFadeRow16 = VXp_UnoFadeRow16;
  table.VX_UnoConvertRow = VXp_UnoConvertRow;
  table.VX_UnoAccumulateRow = VXp_UnoAccumulateRow;
}
