// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Fills the override table with the built-in routines: first a placeholder in every slot, then the
// routines of each component, selected by the processor record.
void VXp_FillTable();
