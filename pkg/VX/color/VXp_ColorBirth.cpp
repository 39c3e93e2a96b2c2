// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "color/VXp_ColorBirth.h"

void VXp_DeathEmergencyColorSettings() {}
