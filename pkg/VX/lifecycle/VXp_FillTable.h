// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Fills the override table with the built-in routines: every slot gets its stand-in, then each room
// puts in what it has, choosing variants by the processor record. Nothing fails.
void VXp_FillTable();
