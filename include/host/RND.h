// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// RND: the host's noise.
#pragma once

#include <cstdint>

#include "host/U.h"

// Stores the address and size of a table of random 32-bit words. The size is prime, so that reading
// with any step below the size visits every word. The table is read-only, static, and the same in
// every run. Returns bad argument (3) for a null pointer; out of memory (4).
VXHOST_API U_Err RND_GetPrimeSizedTable(uint32_t** table, int32_t* size);
