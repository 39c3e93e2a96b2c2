// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Runs the stages of one row in the order that VX_BlendPipeline documents.

#include <cstring>

#include "VX/VX_Blend.h"
#include "blend/VXp_FindFusedRow.h"
#include "frame/VXp_Rows.h"

namespace {

// Loads one channel per pixel: alpha is the first channel of a pixel.
template <class Pixel>
void SaveAlpha(int32_t count, const Pixel* row, VX_ChannelOf<Pixel>* alpha) {
  for (ptrdiff_t i = 0; i < count; ++i) alpha[i] = VXp_Load<VX_ChannelOf<Pixel>>(row + i);
}

template <class Pixel>
void RestoreAlpha(int32_t count, const VX_ChannelOf<Pixel>* alpha, Pixel* row) {
  for (ptrdiff_t i = 0; i < count; ++i) VXp_Store(row + i, alpha[i]);
}

// Returns whether rows of `count` pixels have no byte in common. A null row has none.
template <class Pixel>
bool AreApart(int32_t count, const Pixel* a, const Pixel* b) {
  if (a == nullptr) return true;
  const auto first = reinterpret_cast<uintptr_t>(a), second = reinterpret_cast<uintptr_t>(b);
  const auto bytes = static_cast<uintptr_t>(count) * sizeof(Pixel);
  return first + bytes <= second || second + bytes <= first;
}

template <class Pixel>
VX_Err RunStages(int32_t count, const VX_BlendModeDescriptor<Pixel>& d, const Pixel* src,
                 const Pixel* mask, Pixel* dst) {
  VX_Err error = VX_Ok;
  if (d.usesMatte != 0) {
    error = d.matteStage(count, nullptr, dst);
  } else if (d.usesBehindPass != 0) {
    error = d.behindScan(count, &d.blendingMode, d.tables, src, mask, dst);
  }
  if (error == VX_Ok) error = d.scan(count, &d.blendingMode, d.tables, src, mask, dst);
  if (error == VX_Ok && d.usesAlphaUnion != 0) {
    error = d.alphaUnionStage(count, src, d.blendingMode.opacity, mask, dst);
  }
  if (error == VX_Ok && d.usesMatte != 0) error = d.unmatteStage(count, nullptr, dst);
  return error;
}

}  // namespace

template <class Pixel>
VX_Err VX_BlendPipeline(VX_ProgressInfo* /*progress*/, int32_t count,
                        const VX_BlendModeDescriptor<Pixel>* descriptor, const Pixel* src,
                        const Pixel* mask, VX_ChannelOf<Pixel>* alpha_scratch, Pixel* dst) {
  // If the rows overlap, each stage sees what the stages before have written.
  if (count > 0 && AreApart(count, src, dst) && AreApart(count, mask, dst)) {
    if (const auto fused = VXp_FindFusedRow(*descriptor, mask != nullptr); fused != nullptr) {
      fused(count, descriptor->blendingMode, src, mask, dst);
      return VX_Ok;
    }
  }
  const bool keeps =
      descriptor->savesDstAlpha != 0 && descriptor->blendingMode.keepDstAlpha != 0 && count > 0;
  if (keeps) SaveAlpha(count, dst, alpha_scratch);
  const VX_Err error = RunStages(count, *descriptor, src, mask, dst);
  if (error == VX_Ok && keeps) RestoreAlpha(count, alpha_scratch, dst);
  return error;
}

template VX_API VX_Err VX_BlendPipeline<VX_Pixel8>(VX_ProgressInfo*, int32_t,
                                                   const VX_BlendModeDescriptor<VX_Pixel8>*,
                                                   const VX_Pixel8*, const VX_Pixel8*, uint8_t*,
                                                   VX_Pixel8*);
template VX_API VX_Err VX_BlendPipeline<VX_Pixel16>(VX_ProgressInfo*, int32_t,
                                                    const VX_BlendModeDescriptor<VX_Pixel16>*,
                                                    const VX_Pixel16*, const VX_Pixel16*, uint16_t*,
                                                    VX_Pixel16*);
template VX_API VX_Err VX_BlendPipeline<VX_PixelFloat>(VX_ProgressInfo*, int32_t,
                                                       const VX_BlendModeDescriptor<VX_PixelFloat>*,
                                                       const VX_PixelFloat*, const VX_PixelFloat*,
                                                       float*, VX_PixelFloat*);
