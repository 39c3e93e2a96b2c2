// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Blurs one line of samples in place.

#include <limits>

#include "VX/VX_UnoBuffer.h"
#include "filters/VXp_FiltersBirth.h"
#include "filters/uno/VXp_Scan.h"
#include "filters/uno/VXp_UnoBuffer.h"

namespace {

VX_Err Refuse(const char* text, int32_t line = __builtin_LINE()) {
  return VXp_FailVerification(kVXp_UnoNumber, line, text);
}

using Planner = decltype(&VXp_PlanBoxScan);

// Scans a line with a plan. If the plan does nothing, `scratch` and `line` may be null.
template <class Sample>
VX_Err Scan(Planner planner, int32_t kind, int32_t length, int32_t start, int32_t end,
            VX_Fixed radius, Sample* scratch, Sample* line) {
  if (radius <= 0 || start == end) return VX_Ok;
  if (scratch == nullptr || line == nullptr) return Refuse("scan without a line or scratch");
  if (start < 0 || end < start || length < end) return Refuse("scan of a part outside the line");
  const VXp_ScanPlan plan = planner(kind, length, start, end, radius);
  const VXp_ScanKernel* kernel = nullptr;
  if (plan.kind == VXp_ScanKind::kGaussian) {
    const VX_Err error = VXp_CachedScanKernel(radius, &kernel);
    if (error != VX_Ok) return error;
  }
  const VXp_ScanLines lines = {reinterpret_cast<char*>(line), sizeof(Sample), 1};
  VXp_RunScan<Sample>(plan, kernel, lines, scratch, nullptr);
  return VX_Ok;
}

}  // namespace

VX_Err VXp_BoxBlurUnoScan_S(int32_t kind, int32_t length, int32_t start, int32_t end,
                            VX_Fixed radius, uint8_t* scratch, uint8_t* line) {
  return Scan(VXp_PlanBoxScan, kind, length, start, end, radius, scratch, line);
}
VX_Err VXp_BoxBlurDeepUnoScan_S(int32_t kind, int32_t length, int32_t start, int32_t end,
                                VX_Fixed radius, uint16_t* scratch, uint16_t* line) {
  return Scan(VXp_PlanBoxScan, kind, length, start, end, radius, scratch, line);
}
VX_Err VXp_GBlurUnoScan_S(int32_t kind, int32_t length, int32_t start, int32_t end, VX_Fixed radius,
                          uint8_t* scratch, uint8_t* line) {
  return Scan(VXp_PlanGaussianScan, kind, length, start, end, radius, scratch, line);
}
VX_Err VXp_GBlurDeepUnoScan_S(int32_t kind, int32_t length, int32_t start, int32_t end,
                              VX_Fixed radius, uint16_t* scratch, uint16_t* line) {
  return Scan(VXp_PlanGaussianScan, kind, length, start, end, radius, scratch, line);
}

VX_Err VX_BoxBlurUnoScan(int32_t kind, int32_t length, int32_t start, int32_t end, VX_Fixed radius,
                         uint8_t* scratch, uint8_t* line) {
  return VXp_G_OverFuncs.VX_BoxBlurUnoScan(kind, length, start, end, radius, scratch, line);
}
VX_Err VX_BoxBlurDeepUnoScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                             VX_Fixed radius, uint16_t* scratch, uint16_t* line) {
  return VXp_G_OverFuncs.VX_BoxBlurDeepUnoScan(kind, length, start, end, radius, scratch, line);
}
VX_Err VX_BoxBlurFloatUnoScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                              VX_Fixed radius, float* scratch, float* line) {
  return Scan(VXp_PlanBoxScan, kind, length, start, end, radius, scratch, line);
}
VX_Err VX_GBlurUnoScan(int32_t kind, int32_t length, int32_t start, int32_t end, VX_Fixed radius,
                       uint8_t* scratch, uint8_t* line) {
  return VXp_G_OverFuncs.VX_GBlurUnoScan(kind, length, start, end, radius, scratch, line);
}
VX_Err VX_GBlurDeepUnoScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                           VX_Fixed radius, uint16_t* scratch, uint16_t* line) {
  return VXp_G_OverFuncs.VX_GBlurDeepUnoScan(kind, length, start, end, radius, scratch, line);
}
VX_Err VX_GBlurFloatUnoScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                            VX_Fixed radius, float* scratch, float* line) {
  return Scan(VXp_PlanGaussianScan, kind, length, start, end, radius, scratch, line);
}

// Returns the length of the line plus one window on each side.
int32_t VX_UnoScanScratch(int32_t length, VX_Fixed radius) {
  const int64_t reach = std::max<int64_t>(VXp_ScanReach(radius), 0);
  const int64_t samples = std::max<int64_t>(length, 0) + 2 * (2 * reach + 1);
  return static_cast<int32_t>(std::min<int64_t>(samples, std::numeric_limits<int32_t>::max()));
}
