// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What the lifecycle needs of this room.

struct VXp_OverrideTable;

// Puts the transfer, the stages of a row, the twelve choosers of row loops and the merging of masks
// into their slots.
void VXp_FillBlendSlots(VXp_OverrideTable& table);
