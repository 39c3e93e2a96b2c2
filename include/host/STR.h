// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// STR: the host's string package; the library only checks its version.
#pragma once

#include <cstdint>

#include "host/U.h"

inline constexpr int32_t STR_PKG_VERSION = 3;

// See U_CheckVersions.
VXHOST_API U_Err STR_CheckVersions(uint32_t code, int32_t wanted);
