// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "housekeeping/VXp_HousekeepingBirth.h"

#include "housekeeping/VXp_DitherNoise.h"

void VXp_FillHousekeepingSlots(VXp_OverrideTable& table) {
  table.VX_WorldCopy_Static = VX_WorldCopy_Static;
  table.VX_WorldCopy_HQ_Static = VX_WorldCopy_HQ_Static;
  table.VX_WorldCopy_HQ_Straight_Static = VX_WorldCopy_HQ_Straight_Static;
  table.VX_WorldCopy_HQ_Premul = VXp_WorldCopy_HQ_Premul;
  table.VX_CopyBits_Draft_Static = VX_CopyBits_Draft_Static;
  table.VX_CopyBits_HQ_Straight_Static = VX_CopyBits_HQ_Straight_Static;
  table.VX_CopyBits_HQ_Premul_Static = VX_CopyBits_HQ_Premul_Static;
  table.VX_Iterate_S = VX_Iterate_S;
  table.VX_IterateOrigin_S = VX_IterateOrigin_S;
  table.VX_IterateOriginAll_S = VX_IterateOriginAll_S;
  table.VX_IterateLUT_S = VX_IterateLUT_S;
  table.VX_IterateGeneric_Static = VX_IterateGeneric_Static;
  table.VX_PremulColorRect_S = VX_PremulColorRect_S;
  table.VX_PremulColorRect16_S = VX_PremulColorRect16_S;
  table.VX_PremulColorRectFloat_S = VX_PremulColorRectFloat_S;
  table.VX_DepthConvertWorld_S = VX_DepthConvertWorld_S;
  table.VX_PremulRect_S = VX_PremulRect_S;
}

VX_Err VXp_HousekeepingBirthNoise() { return VXp_LoadNoise(); }

void VXp_HousekeepingDeathNoise() { VXp_FreeNoise(); }
