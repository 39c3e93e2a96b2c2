// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Blends a row in linear light: pixels that the mode may change are converted into arrays, the
// pipeline runs on the arrays, and channels that it has changed are converted back.

#include <algorithm>

#include "blend/VXp_LightRows.h"
#include "blend/VXp_ModeTraits.h"
#include "color/VXp_LightCurves.h"
#include "frame/VXp_Rows.h"

namespace {

constexpr int32_t kMost = 256;  // pixels; the arrays stay in the first cache

struct Arrays {
  int32_t count = 0;
  int32_t at[kMost];  // positions in the row
  alignas(16) VX_PixelFloat src[kMost], before[kMost], dst[kMost], mask[kMost];
  float alpha[kMost];
};

VXp_FloatLanes LoadPixel(const VX_PixelFloat* from) {
  VXp_FloatLanes pixel;
  std::memcpy(&pixel, from, sizeof pixel);
  return pixel;
}
void StorePixel(VX_PixelFloat* to, VXp_FloatLanes pixel) {
  std::memcpy(static_cast<void*>(to), &pixel, sizeof pixel);
}
VXp_IntLanes EqualBits(VXp_FloatLanes a, VXp_FloatLanes b) {
  return reinterpret_cast<VXp_IntLanes>(a) == reinterpret_cast<VXp_IntLanes>(b);
}

// Lists the pixels of a part of a row that the mode may change.
void List(const VX_PixelFloat* src, const VX_PixelFloat* mask, bool skips, int32_t first,
          int32_t end, Arrays* arrays) {
  int32_t count = 0;
  for (int32_t i = first; i < end; ++i) {
    arrays->at[count] = i;
    const bool empty = skips && (VXp_Load<float>(src + i) == 0.0f ||
                                 (mask != nullptr && VXp_Load<float>(mask + i) == 0.0f));
    count += empty ? 0 : 1;
  }
  arrays->count = count;
}

// If the mode writes no colours, those of the destination are not converted.
void Linearize(const VX_LightCurves& curves, bool writes_color, const VX_PixelFloat* src,
               const VX_PixelFloat* mask, const VX_PixelFloat* dst, Arrays* arrays) {
  for (int32_t k = 0; k < arrays->count; ++k) {
    const int32_t i = arrays->at[k];
    const VXp_FloatLanes stored = LoadPixel(dst + i);
    const VXp_FloatLanes below = writes_color ? curves.ToLinear(stored) : stored;
    StorePixel(arrays->src + k, curves.ToLinear(LoadPixel(src + i)));
    StorePixel(arrays->before + k, below);
    StorePixel(arrays->dst + k, below);
    if (mask != nullptr) StorePixel(arrays->mask + k, LoadPixel(mask + i));
  }
}

// Stores the channels that the pipeline has changed.
void StoreChanges(const VX_LightCurves& curves, const Arrays& arrays, const VX_PixelFloat* src,
                  VX_PixelFloat* dst) {
  constexpr VXp_IntLanes kAlpha = {-1, 0, 0, 0};
  using L = VXp_LaneTraits<VX_PixelFloat, 4>;
  for (int32_t k = 0; k < arrays.count; ++k) {
    const int32_t i = arrays.at[k];
    const VXp_FloatLanes light = LoadPixel(arrays.dst + k);
    const VXp_IntLanes unchanged = EqualBits(light, LoadPixel(arrays.before + k));
    if (!L::Any(~unchanged)) continue;
    const VXp_IntLanes copied = EqualBits(light, LoadPixel(arrays.src + k));
    VXp_FloatLanes stored = copied ? LoadPixel(src + i) : light;
    if (L::Any(~(unchanged | copied | kAlpha))) {
      stored = copied ? stored : curves.ToStored(light);
    }
    StorePixel(dst + i, unchanged ? LoadPixel(dst + i) : stored);
  }
}

}  // namespace

const VX_LightCurves* VXp_CurvesFor(const VX_LightCurves* curves, const VX_LayerDef* src,
                                    int32_t mode) {
  if (curves == nullptr || src == nullptr || VXp_WorldDepth(src) != 32) return nullptr;
  if (curves->IsIdentity() || !VXp_TraitsOfMode(mode).uses_color) return nullptr;
  curves->Prepare();
  return curves;
}

const VX_LinearBlendingTables* VXp_TablesFor(const VX_LightCurves* curves, const VX_LayerDef* src) {
  const bool integers = curves != nullptr && src != nullptr && VXp_WorldDepth(src) != 32;
  return integers ? curves->tables() : nullptr;
}

VX_Err VXp_BlendLightRow(const VX_LightCurves& curves, VX_ProgressInfo* progress, int32_t count,
                         const VX_BlendModeDescriptor<VX_PixelFloat>& descriptor,
                         const VX_PixelFloat* src, const VX_PixelFloat* mask, VX_PixelFloat* dst) {
  const VXp_ModeTraits traits = VXp_TraitsOfMode(descriptor.blendingMode.mode);
  if (traits.skips_transparent && descriptor.blendingMode.opacity == 0.0f) return VX_Ok;
  Arrays arrays;
  for (int32_t first = 0; first < count; first += kMost) {
    const int32_t end = std::min(count, first + kMost);
    List(src, mask, traits.skips_transparent, first, end, &arrays);
    if (arrays.count == 0) continue;
    Linearize(curves, traits.writes_color, src, mask, dst, &arrays);
    const VX_Err error = VX_BlendPipeline<VX_PixelFloat>(
        progress, arrays.count, &descriptor, arrays.src, mask != nullptr ? arrays.mask : nullptr,
        arrays.alpha, arrays.dst);
    if (error != VX_Ok) return error;
    StoreChanges(curves, arrays, src, dst);
  }
  return VX_Ok;
}
