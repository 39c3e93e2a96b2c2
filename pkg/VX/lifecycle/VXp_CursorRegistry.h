// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The registry behind VX/VX_Cursor.h.

// An empty registry. Throws when memory is short.
void VXp_BirthCursorRegistry();

// Drops the registry and its handlers. May throw what a handler's destruction throws.
void VXp_DeathCursorRegistry();
