// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What the package's start takes from this room.

#include "VX/VX_OverrideTable.h"

// Puts this room's routines in their slots.
void VXp_FillFiltersSlots(VXp_OverrideTable& table);
