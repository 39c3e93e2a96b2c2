// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The kernel of the Gaussian scans.

#include <cstdint>

#include "VX/VX_Types.h"

// Owns its weights. A zero object is an empty one.
struct VXp_ScanKernel {
  void** weights;    // a handle of 2 * reach + 1 integers, mirrored about the middle
  VX_Fixed radius;   // 0 for an empty one
  int32_t diameter;  // 2 * reach + 1
  int64_t sum;       // of all weights

  const int32_t* Middle() const { return static_cast<const int32_t*>(*weights) + diameter / 2; }
};

// Makes the kernel of a radius above 0 in place of what is there. 0; 4, or the kernel routine's
// error, with an empty kernel left.
VX_Err VXp_MakeScanKernel(VX_Fixed radius, VXp_ScanKernel* kernel);
void VXp_FreeScanKernel(VXp_ScanKernel* kernel);

// The one that is kept for the process: the kernel of the last radius. Not locked: a call with
// another radius frees what other threads may be reading. Errors as above.
VX_Err VXp_CachedScanKernel(VX_Fixed radius, const VXp_ScanKernel** out);
