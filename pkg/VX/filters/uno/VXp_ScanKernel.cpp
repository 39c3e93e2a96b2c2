// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "filters/uno/VXp_ScanKernel.h"

#include <numeric>

#include "VX/VX_CallbackBlock.h"
#include "VX/VX_Package.h"
#include "filters/VXp_FiltersBirth.h"
#include "filters/uno/VXp_ScanPlan.h"
#include "filters/uno/VXp_UnoBuffer.h"

namespace {

constexpr int32_t kWeightArray = 14;  // entry of the string table

VXp_ScanKernel cached_kernel;

// The routine is asked for by number, as plug-ins do.
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
  void** const weights =
      U_AllocateHandle(kVXp_PackageWord | kVXp_UnoNumber,
                       U_ZLookupLStrCache(&VX_G_zref, kWeightArray), count * sizeof(int32_t));
  if (weights == nullptr) return VX_ErrOutOfMemory;
  auto* const first = static_cast<int32_t*>(*weights);
  int32_t diameter = 0;
  const VX_Err error = VXp_Guarded([&] { return FillKernel(radius, &diameter, first); });
  if (error != VX_Ok) {
    U_FreeHandle(weights);
    return error;
  }
  *kernel = {weights, radius, diameter, std::accumulate(first, first + diameter, int64_t{0})};
  return VX_Ok;
}

void VXp_FreeScanKernel(VXp_ScanKernel* kernel) {
  U_FreeHandle(kernel->weights);
  *kernel = {};
}

VX_Err VXp_CachedScanKernel(VX_Fixed radius, const VXp_ScanKernel** out) {
  *out = &cached_kernel;
  return radius == cached_kernel.radius ? VX_Ok : VXp_MakeScanKernel(radius, &cached_kernel);
}

void VXp_FiltersDeathScanKernel() { VXp_FreeScanKernel(&cached_kernel); }
