// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "filters/uno/VXp_ScanPlan.h"

#include <algorithm>

#include "VX/VX_UnoBuffer.h"

namespace {

// The window spreads what is written by `half` on both sides, and reads as far again.
VXp_ScanPlan PlanOfNeighbours(VXp_ScanRoad road, int64_t half, int32_t length, int32_t start,
                              int32_t end, VX_Fixed radius) {
  VXp_ScanPlan plan;
  plan.road = road;
  plan.radius = radius;
  plan.half = half;
  plan.first = std::max<int64_t>(start - half, 0);
  plan.last = std::min<int64_t>(end + half, length);
  plan.from = std::max<int64_t>(plan.first - half, 0);
  plan.to = std::min<int64_t>(plan.last + half, length);
  plan.holds_before = plan.holds_after = true;
  return plan;
}

}  // namespace

VXp_ScanPlan VXp_PlanBoxScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                             VX_Fixed radius) {
  constexpr double kSmallest = 2.71;  // below it a box is too coarse
  const bool one = kind == VX_UnoScan_OneBox;
  const double r = radius / 65536.0;
  const double width = (one ? 1.4 : 1.0) * r / kSmallest;
  if (width <= 1.0) return VXp_PlanGaussianScan(kind, length, start, end, radius);
  VXp_ScanPlan plan;
  if (start == end) return plan;
  const int64_t margin = static_cast<int64_t>((one ? 0.6 : 0.9) * r) + 3;
  const auto whole = static_cast<int64_t>(width);
  plan.road = VXp_ScanRoad::kBoxes;
  plan.radius = radius;
  plan.passes = one ? 1 : 3;
  plan.half = whole;
  plan.outer = static_cast<int32_t>((width - static_cast<double>(whole)) * kVXp_ScanUnit);
  plan.first = plan.from = std::max<int64_t>(start - margin, 0);
  plan.last = plan.to = std::min<int64_t>(end + margin, length);
  plan.holds_after = plan.last == length;
  return plan;
}

VXp_ScanPlan VXp_PlanGaussianScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                                  VX_Fixed radius) {
  if (radius <= 0 || start == end) return {};
  if (kind == VX_UnoScan_Gaussian) {
    return PlanOfNeighbours(VXp_ScanRoad::kGaussian, VXp_ScanReach(radius), length, start, end,
                            radius);
  }
  const int64_t half = ((radius >> 1) + 32768) >> 16;
  return PlanOfNeighbours(VXp_ScanRoad::kPlainBox, half, length, start, end, radius);
}
