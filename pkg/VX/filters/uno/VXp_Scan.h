// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Scans: box and Gaussian blurs over lines of samples. A line is a row or a column of a one-channel
// buffer. A plan contains the window and the positions that are read and written. It is computed
// before any sample is read. Only Gaussian scans have a kernel.

#include <cstddef>
#include <cstdint>

#include "VX/VX_Types.h"

// --- plans ---------------------------------------------------------------------------------------

enum class VXp_ScanKind {
  kNone,      // the line is not changed
  kSoftBox,   // `passes` boxes with a weighted sample at each end of the window
  kPlainBox,  // one box of whole samples
  kGaussian
};

struct VXp_ScanPlan {
  VXp_ScanKind kind = VXp_ScanKind::kNone;
  VX_Fixed radius = 0;
  int32_t passes = 1;
  // Number of whole samples of the window on each side of its centre. Soft boxes have one more on
  // each side, of weight `outer`; a whole sample then has the weight kVXp_ScanUnit.
  int64_t half = 0;
  int32_t outer = 0;
  int64_t first = 0, last = 0;  // positions first..last - 1 are written
  int64_t from = 0, to = 0;     // positions from..to - 1 are read
  // Whether the sample at the start or the end of from..to is repeated outside of this range; if
  // not, samples outside are 0. Soft boxes fade at the start of the line and at the ends of the
  // scanned part, but not at the end of the line; existing projects depend on this. Other windows
  // also read the neighbours of the part, and repeat both end samples of the line. Feathering
  // repeats both ends for all windows.
  bool repeats_before = false, repeats_after = false;
};

inline constexpr int32_t kVXp_ScanUnit = 255;

// Returns the plan of a box scan or of a Gaussian scan. The part start..end - 1 must be inside the
// line.
VXp_ScanPlan VXp_PlanBoxScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                             VX_Fixed radius);
VXp_ScanPlan VXp_PlanGaussianScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                                  VX_Fixed radius);

// Returns the reach of a Gaussian: the radius rounded up to whole samples.
constexpr int64_t VXp_ScanReach(VX_Fixed radius) { return (int64_t{radius} + 0xFFFF) >> 16; }

// --- kernels -------------------------------------------------------------------------------------

// The weights of one side of a Gaussian window. Owns its memory. An object with all members 0 is
// empty.
struct VXp_ScanKernel {
  void** memory;    // a handle
  VX_Fixed radius;  // 0 if empty
  int32_t reach;    // distance of the last weight
  int64_t sum;      // of the weights on both sides

  const int16_t* Weights() const { return static_cast<const int16_t*>(*memory); }
};

// Replaces the kernel by the kernel of `radius`, which is above 0. On failure the kernel is empty.
// Returns VX_ErrOutOfMemory, or the error of the kernel routine.
VX_Err VXp_MakeScanKernel(VX_Fixed radius, VXp_ScanKernel* kernel);
void VXp_FreeScanKernel(VXp_ScanKernel* kernel);

// Returns the cached kernel of the process, which is that of the last radius. Not locked: a call
// with another radius frees the kernel, which other threads may be reading. Returns the errors of
// VXp_MakeScanKernel.
VX_Err VXp_CachedScanKernel(VX_Fixed radius, const VXp_ScanKernel** out);

// --- execution -----------------------------------------------------------------------------------

// Maximum number of adjacent lines that are processed together. The samples of that many columns
// fill one or two cache lines in each row.
template <class Sample>
inline constexpr int32_t kVXp_ScanLines = sizeof(Sample) <= 2 ? 64 : 32;

// The samples of `lines` adjacent lines. They may be unaligned, because rows of buffers may start
// at any byte.
struct VXp_ScanLines {
  char* data;        // position 0 of the first line
  ptrdiff_t stride;  // bytes from position to position
  int32_t lines;
};

// Scans the lines in place. `kernel` is read for Gaussian plans only, else it may be null. In
// `scratch`, the values of all lines at one position are adjacent. It has as many positions as are
// read, and plan.half more on each side for Gaussian windows. A second scratch of the same size
// makes plans of several passes faster; it may be null.
template <class Sample>
void VXp_RunScan(const VXp_ScanPlan& plan, const VXp_ScanKernel* kernel, const VXp_ScanLines& lines,
                 Sample* scratch, Sample* second);
