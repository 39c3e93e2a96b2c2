// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Process-wide numeric tables, written by birth and then read without a lock. The exported ones are
// declared in VX/VX_Package.h.

#include <cstdint>

#include "VX/VX_Types.h"

// The curves of soft light at x = i / 4096. The first, for darkening, is x(1 - x). The second, for
// lightening, is D(x) - x, where D(x) is ((16x - 12)x + 4)x up to x = 0.25, else the square root of
// x. 16-bit entries are scaled by 32768 and rounded. The entry after the last one is 0, so that
// pairs of entries can be loaded.
inline constexpr int32_t kVXp_SoftLightEntries = 4097;
extern float VXp_G_SoftLightF[2][kVXp_SoftLightEntries + 1];
extern uint16_t VXp_G_SoftLight16[2][kVXp_SoftLightEntries + 1];

void VXp_FillByteToFloat();
void VXp_BuildSoftLightTables();

// VXp_PrepareByteTables gets the multiply and divide tables from the host, VXp_UnprepareByteTables
// releases them. Both return the host's error.
VX_Err VXp_PrepareByteTables();
VX_Err VXp_UnprepareByteTables();
