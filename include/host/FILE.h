// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// FILE: the host's map of file types.
#pragma once

#include <cstdint>

#include "host/U.h"

inline constexpr int32_t FILE_PKG_VERSION = 39;

// As U_CheckVersions.
VXHOST_API U_Err FILE_CheckVersions(uint32_t code, int32_t wanted);

// Tells the host that files whose name ends in `extension` (with its dot, copied) are of the
// four-character type `type`, first letter in the top byte. `minus_one` is -1. The latest entry of
// an extension counts. Gives 3 for a null or empty extension, 4 when memory is short.
VXHOST_API U_Err FILE_AddExtensionMap(const char* extension, uint32_t type, int32_t minus_one);
