// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What the package's end takes from this room; nothing is made at its start.

// Releases the fallback settings, when somebody asked for them. The colour engine must still be
// bound.
void VXp_DeathEmergencyColorSettings();
