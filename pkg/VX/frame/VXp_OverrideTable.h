// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The storage of the override table. It is written by birth and by VX_SetOverrideFunc.

#include "VX/VX_OverrideTable.h"

// Sets all slots to null. Birth calls it first.
void VXp_ClearOverrideTable();

// Stores the present routines as the built-in ones. Birth calls it last.
void VXp_RememberBuiltInRoutines();

// Returns the routine in a slot of a table. `slot` must be valid.
void* VXp_ReadSlot(const VXp_OverrideTable& table, int32_t slot);
