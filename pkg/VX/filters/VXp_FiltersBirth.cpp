// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "filters/VXp_FiltersBirth.h"

void VXp_FillFiltersSlots(VXp_OverrideTable& table) {
  table.VX_FastBlur_Straight = VX_FastBlur_Straight;
  table.VX_FastBlur_Premul = VX_FastBlur_Premul;
  table.VX_Convolve = VXp_Convolve_S;
}
