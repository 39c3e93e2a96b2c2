// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Plans of scans, and the kernels of Gaussian scans.

#include <algorithm>
#include <numeric>

#include "VX/VX_CallbackBlock.h"
#include "VX/VX_Package.h"
#include "VX/VX_UnoBuffer.h"
#include "filters/VXp_FiltersBirth.h"
#include "filters/uno/VXp_Scan.h"
#include "filters/uno/VXp_UnoBuffer.h"

namespace {

// Returns a plan that writes the positions start - half to end + half - 1, and reads `half` more
// positions on each side. Both ranges are clipped to the line.
VXp_ScanPlan PlanOfNeighbours(VXp_ScanKind kind, int64_t half, int32_t length, int32_t start,
                              int32_t end, VX_Fixed radius) {
  VXp_ScanPlan plan;
  plan.kind = kind;
  plan.radius = radius;
  plan.half = half;
  plan.first = std::max<int64_t>(start - half, 0);
  plan.last = std::min<int64_t>(end + half, length);
  plan.from = std::max<int64_t>(plan.first - half, 0);
  plan.to = std::min<int64_t>(plan.last + half, length);
  plan.repeats_before = plan.repeats_after = true;
  return plan;
}

}  // namespace

VXp_ScanPlan VXp_PlanBoxScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                             VX_Fixed radius) {
  constexpr double kSmallest = 2.71;  // below this width a soft box is too coarse
  const bool one = kind == VX_UnoScan_OneBox;
  const double r = radius / 65536.0;
  const double width = (one ? 1.4 : 1.0) * r / kSmallest;
  if (width <= 1.0) return VXp_PlanGaussianScan(kind, length, start, end, radius);
  VXp_ScanPlan plan;
  if (start == end) return plan;
  const int64_t margin = static_cast<int64_t>((one ? 0.6 : 0.9) * r) + 3;
  const auto whole = static_cast<int64_t>(width);
  plan.kind = VXp_ScanKind::kSoftBox;
  plan.radius = radius;
  plan.passes = one ? 1 : 3;
  plan.half = whole;
  plan.outer = static_cast<int32_t>((width - static_cast<double>(whole)) * kVXp_ScanUnit);
  plan.first = plan.from = std::max<int64_t>(start - margin, 0);
  plan.last = plan.to = std::min<int64_t>(end + margin, length);
  plan.repeats_after = plan.last == length;
  return plan;
}

VXp_ScanPlan VXp_PlanGaussianScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                                  VX_Fixed radius) {
  if (radius <= 0 || start == end) return {};
  if (kind == VX_UnoScan_Gaussian) {
    return PlanOfNeighbours(VXp_ScanKind::kGaussian, VXp_ScanReach(radius), length, start, end,
                            radius);
  }
  const int64_t half = ((radius >> 1) + 32768) >> 16;
  return PlanOfNeighbours(VXp_ScanKind::kPlainBox, half, length, start, end, radius);
}

// --- kernels -------------------------------------------------------------------------------------

namespace {

constexpr int32_t kWeightArray = 14;  // entry of the string table

VXp_ScanKernel cached_kernel;

// Computes the weights of both sides. Requests the kernel routine from VX_GetCallbackAddr, so that
// a replacement in the override table is used.
VX_Err FillKernel(VX_Fixed radius, int32_t* diameter, int32_t* weights) {
  void* address = nullptr;
  const VX_Err error = VX_GetCallbackAddr(nullptr, VX_Quality_High, VX_ModeFlag_Straight,
                                          VX_Callback_GaussianKernel, &address);
  if (error != VX_Ok) return error;
  const auto make = reinterpret_cast<VX_GaussianKernelFunc>(address);
  return make(nullptr, radius / 65536.0, VX_Kernel_OneDimensional | VX_Kernel_Normalize, 1.0,
              diameter, weights);
}

}  // namespace

VX_Err VXp_MakeScanKernel(VX_Fixed radius, VXp_ScanKernel* kernel) {
  VXp_FreeScanKernel(kernel);
  const size_t count = 2 * static_cast<size_t>(VXp_ScanReach(radius)) + 1;
  void** const memory =
      U_AllocateHandle(kVXp_PackageWord | kVXp_UnoNumber,
                       U_ZLookupLStrCache(&VX_G_zref, kWeightArray), count * sizeof(int32_t));
  if (memory == nullptr) return VX_ErrOutOfMemory;
  auto* const all = static_cast<int32_t*>(*memory);
  int32_t diameter = 0;
  const VX_Err error = VXp_Guarded([&] { return FillKernel(radius, &diameter, all); });
  if (error != VX_Ok) {
    U_FreeHandle(memory);
    return error;
  }
  *kernel = {memory, radius, diameter / 2, std::accumulate(all, all + diameter, int64_t{0})};
  // Stores one side as 16-bit words in the same memory. This is safe, because word i is stored at
  // or before the weights that are read later.
  for (int32_t i = 0; i <= kernel->reach; ++i) {
    VXp_Store(static_cast<int16_t*>(*memory) + i, static_cast<int16_t>(all[kernel->reach + i]));
  }
  return VX_Ok;
}

void VXp_FreeScanKernel(VXp_ScanKernel* kernel) {
  U_FreeHandle(kernel->memory);
  *kernel = {};
}

VX_Err VXp_CachedScanKernel(VX_Fixed radius, const VXp_ScanKernel** out) {
  *out = &cached_kernel;
  return radius == cached_kernel.radius ? VX_Ok : VXp_MakeScanKernel(radius, &cached_kernel);
}

void VXp_FiltersDeathScanKernel() { VXp_FreeScanKernel(&cached_kernel); }
