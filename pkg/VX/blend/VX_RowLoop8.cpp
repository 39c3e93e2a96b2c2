// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The row loops of 8-bit pixels, with the faster variants of copy and in-front.

#include "blend/VX_RowLoop8Pairs.h"
#include "blend/VXp_SelectRowLoop.h"
#include "frame/VXp_Cpu.h"

namespace {

template <bool hasMask>
VX_ScanFunc<VX_Pixel8> PairsLoop(int32_t mode) {
  if (!VXp_HasSSE2()) return nullptr;
  if (mode == VX_Xfer_Copy) return &VXp_ScanCopyPairs<hasMask>;
  if (mode == VX_Xfer_InFront) return &VXp_ScanInFrontPairs<hasMask>;
  return nullptr;
}

}  // namespace

template <>
VX_ScanFunc<VX_Pixel8> VXp_VectorRowLoop<VX_Pixel8, false, false>(int32_t mode) {
  return PairsLoop<false>(mode);
}
template <>
VX_ScanFunc<VX_Pixel8> VXp_VectorRowLoop<VX_Pixel8, true, false>(int32_t mode) {
  return PairsLoop<true>(mode);
}

VXP_INSTANTIATE_ROW_LOOPS(VX_Pixel8)
