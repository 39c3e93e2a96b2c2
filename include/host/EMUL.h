// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// EMUL: what is left of the host's emulation of an older platform.
#pragma once

#include <cstddef>

#include "host/VXHostApi.h"

// Between the two the host may make bitmaps without a window system. Calls are paired and nest.
VXHOST_API void EMUL_BeginGdiMinimalisticWindowCreationMode();
VXHOST_API void EMUL_EndGdiMinimalisticWindowCreationMode();

// Moves `size` bytes; the areas may overlap. The source comes first. Pointers may be null when size
// is 0.
VXHOST_API void BlockMove(const void* from, void* to, size_t size);
