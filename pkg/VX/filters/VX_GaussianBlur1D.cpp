// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_Blur.h"
#include "filters/VX_GaussianBlurT.h"
#include "frame/VXp_Dispatch.h"

void VX_GaussianBlur1D(VX_ProgressInfo* progress, const VX_World* src, float radius, int32_t flags,
                       int32_t src_direction, int32_t src_premultiplied, int32_t dst_direction,
                       int32_t dst_premultiplied, uint8_t force_copy, VX_World* dst) {
  VXp_ThrowIf(VXp_Guarded([&] {
    const VXp_BlurArguments arguments{progress,      src,
                                      radius,        flags,
                                      src_direction, src_premultiplied,
                                      dst_direction, dst_premultiplied,
                                      force_copy,    dst};
    const int32_t depth = VXp_CheckBlur(arguments);
    VX_Blur1DState state(arguments);
    VXp_ThrowIf(VXp_WithPixel(depth, kVXp_UnknownDepthText, [&](auto tag) -> VX_Err {
      VXp_GaussianPass<typename decltype(tag)::Pixel>(state).Run();
      return VX_Ok;
    }));
  }));
}
