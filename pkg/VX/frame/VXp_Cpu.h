// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Reads the host's processor record. The result is not cached, because tests and applications may
// change the record.

#include "host/U.h"

inline bool VXp_HasSSE2() { return U_G_CPU_DataP[U_CPU_HAS_SSE2] != 0; }

// Returns the rule of the unclipped 8-bit sampler: true for single precision.
inline bool VXp_SamplesInSingle() {
  return U_G_CPU_DataP[U_CPU_SAMPLING] == U_CPU_SAMPLING_SINGLE || VXp_HasSSE2();
}
