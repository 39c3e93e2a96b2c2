// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_Convolve.h"

#include "VX/VX_OverrideTable.h"
#include "filters/VX_ConvolveT.h"
#include "filters/VXp_FiltersBirth.h"
#include "frame/VXp_Dispatch.h"

VX_Err VXp_Convolve_S(VX_ProgressInfo* progress, const VX_LayerDef* src, const M_Rect* rect,
                      int32_t flags, int32_t kernel_size, const int32_t* alpha_kernel,
                      const int32_t* red_kernel, const int32_t* green_kernel,
                      const int32_t* blue_kernel, VX_LayerDef* dst) {
  return VXp_Guarded([&]() -> VX_Err {
    if (src == nullptr || dst == nullptr) return VXp_BadParameter(kVXp_ConvolveNumber);
    const int32_t depth = VXp_WorldDepth(src);
    if (depth != VXp_WorldDepth(dst)) {
      return VXp_FailVerification("VX_Convolve requires source and dst worlds to be same depth");
    }
    const auto convolve = [&](const auto& from, auto& to) -> VX_Err {
      return VXp_Convolve(progress, &from, rect, flags, kernel_size, alpha_kernel, red_kernel,
                          green_kernel, blue_kernel, &to);
    };
    return VXp_WithWorldsOfDepth(depth, kVXp_UnknownDepthText, convolve, src, dst);
  });
}

VX_Err VX_Convolve(VX_ProgressInfo* progress, const VX_LayerDef* src, const M_Rect* rect,
                   int32_t flags, int32_t kernel_size, const int32_t* alpha_kernel,
                   const int32_t* red_kernel, const int32_t* green_kernel,
                   const int32_t* blue_kernel, VX_LayerDef* dst) {
  return VXp_G_OverFuncs.VX_Convolve(progress, src, rect, flags, kernel_size, alpha_kernel,
                                     red_kernel, green_kernel, blue_kernel, dst);
}
