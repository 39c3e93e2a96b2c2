// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What a scan does to a line, before any sample is looked at: which window, over which places, and
// what stands for places that it does not read.

#include <cstdint>

#include "VX/VX_Types.h"

enum class VXp_ScanRoad {
  kNone,      // the line stays
  kBoxes,     // `passes` boxes with soft ends
  kPlainBox,  // one box of whole samples
  kGaussian
};

struct VXp_ScanPlan {
  VXp_ScanRoad road = VXp_ScanRoad::kNone;
  VX_Fixed radius = 0;
  int32_t passes = 1;
  // Whole samples of the window on each side of its middle. Boxes have one more on each side, of
  // weight `outer`, where a whole one weighs kVXp_ScanUnit.
  int64_t half = 0;
  int32_t outer = 0;
  int64_t first = 0, last = 0;  // places that are written
  int64_t from = 0, to = 0;     // places that are read
  // Beyond them the sample next to them is repeated, otherwise nothing is there. Boxes fade at the
  // ends of the part, but for a part that reaches the end of the line: projects rely on how that
  // looks. The other windows are given the neighbours of the part, and both ends of the line. So
  // are all windows of feathers.
  bool holds_before = false, holds_after = false;
};

inline constexpr int32_t kVXp_ScanUnit = 255;

// The part start..end must lie within the line.
VXp_ScanPlan VXp_PlanBoxScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                             VX_Fixed radius);
VXp_ScanPlan VXp_PlanGaussianScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                                  VX_Fixed radius);

// How far a Gaussian reaches: the radius, rounded up to whole samples.
constexpr int64_t VXp_ScanReach(VX_Fixed radius) { return (int64_t{radius} + 0xFFFF) >> 16; }
