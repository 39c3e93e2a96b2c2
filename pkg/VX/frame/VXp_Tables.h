// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Process-wide tables of numbers, written by birth and read without a lock afterwards. The exported
// ones are declared in VX/VX_Package.h.

#include <cstdint>

#include "VX/VX_Types.h"

// Soft light at x = i / 4096: the way up to D(x), which is ((16x - 12)x + 4)x up to 0.25 and the
// square root of x above, and the way down x(1 - x). The 16-bit ones are scaled by 32768 and
// rounded.
inline constexpr int32_t kVXp_SoftLightEntries = 4097;
extern float VXp_G_SoftLightDeltaF[kVXp_SoftLightEntries];
extern float VXp_G_SoftLightParabolaF[kVXp_SoftLightEntries];
extern uint16_t VXp_G_SoftLightDelta16[kVXp_SoftLightEntries];
extern uint16_t VXp_G_SoftLightParabola16[kVXp_SoftLightEntries];

void VXp_FillByteToFloat();
void VXp_BuildSoftLightTables();

// Fetches the multiply and divide tables from the host, and gives them back. 0 or the host's error.
VX_Err VXp_PrepareByteTables();
VX_Err VXp_UnprepareByteTables();
