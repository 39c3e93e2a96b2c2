// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// FILE: the host's table of file types.
#pragma once

#include <cstdint>

#include "host/U.h"

inline constexpr int32_t FILE_PKG_VERSION = 39;

// See U_CheckVersions.
VXHOST_API U_Err FILE_CheckVersions(uint32_t code, int32_t wanted);

// Assigns a type to a file extension. A later call for the same extension replaces the type.
//   extension   with its dot; copied
//   type        four characters, the first in the most significant byte
//   minus_one   always -1
// Returns bad argument (3) for a null or empty extension; out of memory (4).
VXHOST_API U_Err FILE_AddExtensionMap(const char* extension, uint32_t type, int32_t minus_one);
