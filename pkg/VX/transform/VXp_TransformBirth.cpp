// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "transform/VXp_TransformBirth.h"

void VXp_FillTransformSlots(VXp_OverrideTable& table) {
  table.VX_TransformWorld_S = &VX_TransformWorld_S;
}
