// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What the package's start takes from this room.

#include "VX/VX_OverrideTable.h"

// Puts this room's routine in its slot.
void VXp_FillTransformSlots(VXp_OverrideTable& table);
