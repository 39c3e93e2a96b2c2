// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// RZFX: the host's effects package; the library only checks its version.
#pragma once

#include <cstdint>

#include "host/U.h"

inline constexpr int32_t RZFX_PKG_VERSION = 8;

// See U_CheckVersions.
VXHOST_API U_Err RZFX_CheckVersions(uint32_t code, int32_t wanted);
