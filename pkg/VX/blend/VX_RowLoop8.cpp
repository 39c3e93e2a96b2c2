// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The row loops of 8-bit pixels, with the SSE2 variants of copy and in-front.

#include "blend/VX_RowLoop8_SSE2.h"
#include "blend/VXp_SelectRowLoop.h"
#include "frame/VXp_Cpu.h"

namespace {

template <bool hasMask>
VX_ScanFunc<VX_Pixel8> Sse2Loop(int32_t mode) {
  if (!VXp_HasSSE2()) return nullptr;
  if (mode == VX_Xfer_Copy) return &VXp_ScanCopy_SSE2<hasMask>;
  if (mode == VX_Xfer_InFront) return &VXp_ScanInFront_SSE2<hasMask>;
  return nullptr;
}

}  // namespace

template <>
VX_ScanFunc<VX_Pixel8> VXp_VectorRowLoop<VX_Pixel8, false, false>(int32_t mode) {
  return Sse2Loop<false>(mode);
}
template <>
VX_ScanFunc<VX_Pixel8> VXp_VectorRowLoop<VX_Pixel8, true, false>(int32_t mode) {
  return Sse2Loop<true>(mode);
}

VXP_INSTANTIATE_ROW_LOOPS(VX_Pixel8)
