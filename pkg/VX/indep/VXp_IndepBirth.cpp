// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "indep/VXp_IndepBirth.h"

void VXp_FillIndepSlots(VXp_OverrideTable& /*table*/) {}
