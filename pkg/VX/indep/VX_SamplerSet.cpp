// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_CallbackBlock.h"
#include "VX/VX_Sampling.h"
#include "frame/VXp_OverrideTable.h"

namespace {

template <class Pixel>
VX_Err SetFromSlots(VX_SamplerSet<Pixel>* out) {
  if (out == nullptr) return VX_ErrBadParameter;
  *out = {.all_in = VXp_SlotOf<vxp_slot::AllIn, Pixel>(),
          .clipped = VXp_SlotOf<vxp_slot::Clipped, Pixel>(),
          .box = VXp_SlotOf<vxp_slot::Box, Pixel>(),
          .unclipped = VXp_SlotOf<vxp_slot::Unclipped, Pixel>(),
          .weighted = VXp_SlotOf<vxp_slot::Weighted, Pixel>(),
          .span = VXp_SlotOf<vxp_slot::Span, Pixel>()};
  return VX_Ok;
}

}  // namespace

VX_Err VX_GetSamplerSet8(VX_SamplerSet<VX_Pixel8>* out) { return SetFromSlots(out); }
VX_Err VX_GetSamplerSet16(VX_SamplerSet<VX_Pixel16>* out) { return SetFromSlots(out); }

VX_Err VX_GetSamplerSetFloat(VX_SamplerSet<VX_PixelFloat>* out) {
  if (out == nullptr) return VX_ErrBadParameter;
  *out = {.all_in = VX_SubpixelSpanSampleAllInCPlusPlusFloat,
          .clipped = VX_SubpixelCPlusPlusFloat,
          .box = VX_AreaSample_CPlusPlus<VX_PixelFloat>,
          .unclipped = VX_SubpixelCPlusPlusNoClipFloat,
          .weighted = VX_SubpixelSampleTranslateNoClipCPlusPlusFloat,
          .span = VX_SubpixelSpanSampleCPlusPlusFloat};
  return VX_Ok;
}

namespace {

// The bilinear and the area sampler for one kind of alpha.
template <class Pixel>
struct Pair {
  VX_SampleFunc<Pixel> bilinear, area;
};

template <class Pixel>
VX_Err Choose(int32_t quality, int32_t mode_flags, VX_SampleFunc<Pixel> nearest,
              const Pair<Pixel>& straight, const Pair<Pixel>& premultiplied,
              VX_SamplerBatch<Pixel>* out) {
  if (out == nullptr) return VX_ErrBadParameter;
  if (quality == VX_Quality_Draft) {
    *out = {nearest, nearest, nearest};
  } else {
    const Pair<Pixel>& pair = (mode_flags & VX_ModeFlag_Straight) != 0 ? straight : premultiplied;
    *out = {nearest, pair.bilinear, pair.area};
  }
  return VX_Ok;
}

// Stores the samplers of a quality and a kind of alpha. The nearest and the straight samplers are
// read from their slots.
template <class Pixel>
VX_Err ChooseSlots(int32_t quality, int32_t mode_flags, const Pair<Pixel>& premultiplied,
                   VX_SamplerBatch<Pixel>* out) {
  return Choose<Pixel>(quality, mode_flags, VXp_SlotOf<vxp_slot::Nearest, Pixel>(),
                       {VXp_SlotOf<vxp_slot::Clipped, Pixel>(), VXp_SlotOf<vxp_slot::Box, Pixel>()},
                       premultiplied, out);
}

}  // namespace

VX_Err VX_GetSamplerBatch8(int32_t quality, int32_t mode_flags, VX_SamplerBatch<VX_Pixel8>* out) {
  const VXp_OverrideTable& slots = VXp_G_OverFuncs;
  return ChooseSlots<VX_Pixel8>(quality, mode_flags,
                                {slots.VX_SubpixelSample_Premul, slots.VX_AreaSample_Premul}, out);
}

// The premultiplied 16-bit samplers are not in the override table.
VX_Err VX_GetSamplerBatch16(int32_t quality, int32_t mode_flags, VX_SamplerBatch<VX_Pixel16>* out) {
  return ChooseSlots<VX_Pixel16>(quality, mode_flags,
                                 {VX_SubpixelSample_Premul16, VX_AreaSample_Premul16}, out);
}

// The float samplers are not in the override table.
VX_Err VX_GetSamplerBatchFloat(int32_t quality, int32_t mode_flags,
                               VX_SamplerBatch<VX_PixelFloat>* out) {
  return Choose<VX_PixelFloat>(quality, mode_flags, VX_NNSampleFloat,
                               {VX_SubpixelCPlusPlusFloat, VX_AreaSample_CPlusPlus<VX_PixelFloat>},
                               {VX_SubpixelSample_PremulFloat, VX_AreaSample_PremulFloat}, out);
}
