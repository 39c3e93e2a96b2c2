// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// EMUL: calls that hosts keep for compatibility with an older platform.
#pragma once

#include <cstddef>

#include "host/VXHostApi.h"

// The library calls these around BM_NewWorld. Between Begin and End, the host is allowed to
// create bitmaps without using a window system. Pairs of calls may be nested.
VXHOST_API void EMUL_BeginGdiMinimalisticWindowCreationMode();
VXHOST_API void EMUL_EndGdiMinimalisticWindowCreationMode();

// Copies `size` bytes; the areas may overlap. The source is the first argument. Pointers may be
// null if size is 0.
VXHOST_API void BlockMove(const void* from, void* to, size_t size);
