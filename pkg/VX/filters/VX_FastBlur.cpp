// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Entries that the function table keeps for modules that know their numbers.

#include "VX/VX_Blur.h"

VX_Err VX_FastBlur_Straight(VX_ProgressInfo*, const VX_LayerDef*, float, int32_t, VX_LayerDef*) {
  return VX_ErrUnsupported;
}

VX_Err VX_FastBlur_Premul(VX_ProgressInfo*, const VX_LayerDef*, float, int32_t, VX_LayerDef*) {
  return VX_ErrUnsupported;
}
