// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The storage of the override table: who may write it is birth, and VX_SetOverrideFunc.

#include "VX/VX_OverrideTable.h"

// All slots to null. Birth's first write.
void VXp_ClearOverrideTable();

// Remembers what the slots hold now as the built-in routines. Birth's last write.
void VXp_RememberBuiltInRoutines();

// The content of one slot of a table; `slot` is in range.
void* VXp_ReadSlot(const VXp_OverrideTable& table, int32_t slot);
