// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The host's processor record, read at each call: tests and embedders may change it between calls.

#include "host/U.h"

inline bool VXp_HasSSE2() { return U_G_CPU_DataP[U_CPU_HAS_SSE2] != 0; }
