// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "lifecycle/VXp_FillTable.h"

#include "blend/VXp_BlendBirth.h"
#include "filters/VXp_FiltersBirth.h"
#include "frame/VXp_NotBuilt.h"
#include "frame/VXp_OverrideTable.h"
#include "housekeeping/VXp_HousekeepingBirth.h"
#include "indep/VXp_IndepBirth.h"
#include "transform/VXp_TransformBirth.h"

void VXp_FillTable() {
  VXp_FillNotBuilt(VXp_G_OverFuncs);
  VXp_FillIndepSlots(VXp_G_OverFuncs);
  VXp_FillHousekeepingSlots(VXp_G_OverFuncs);
  VXp_FillFiltersSlots(VXp_G_OverFuncs);
  VXp_FillBlendSlots(VXp_G_OverFuncs);
  VXp_FillTransformSlots(VXp_G_OverFuncs);
  VXp_RememberBuiltInRoutines();
}
