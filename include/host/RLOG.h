// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// RLOG: the host's log.
#pragma once

#include <cstdint>

#include "host/VXHostApi.h"

// Writes a line to the log. Level 10 marks a stage in a package's life cycle; lower levels are more
// urgent. Null texts are treated as empty. The host may ignore the line.
VXHOST_API void RLOG_Log(int32_t level, const char* component, const char* event, const char* text);
