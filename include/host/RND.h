// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// RND: the host's noise.
#pragma once

#include <cstdint>

#include "host/U.h"

// Stores the address of a table of random 32-bit words and their number, which is prime so that
// walks of any step reach every word. The table must not be written and stays for the life of the
// process. Its words are the same in every run. Gives 3 for a null pointer, 4 when memory is short.
VXHOST_API U_Err RND_GetPrimeSizedTable(uint32_t** table, int32_t* size);
