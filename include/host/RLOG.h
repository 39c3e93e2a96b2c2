// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// RLOG: the host's log.
#pragma once

#include <cstdint>

#include "host/VXHostApi.h"

// Writes one line of the log: `level` 10 is a turning point of a package's life, lower is more
// urgent. Null texts count as empty. The host may drop the line.
VXHOST_API void RLOG_Log(int32_t level, const char* component, const char* event, const char* text);
