// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The registry of cursor handlers, see VX/VX_Cursor.h.

// Creates an empty registry. Throws std::bad_alloc.
void VXp_BirthCursorRegistry();

// Deletes the registry and its handlers. Exceptions of handlers' destructors propagate.
void VXp_DeathCursorRegistry();
