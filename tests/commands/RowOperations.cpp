// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Operations on rows, samples and colours, with their slow twins.

#include "Operations.h"
#include "RowCalls.h"
#include "reference/RefModes.h"
#include "reference/RefPipeline.h"
#include "reference/RefSample.h"
#include "reference/RefScan.h"
#include "reference/RefTransfer.h"

namespace {

template <class Function>
Runner Of(Function* f) {
  return [f](Command& c) { return Run(c, f); };
}

// --- blending ------------------------------------------------------------------------------------

template <class Pixel, bool masked, bool linear>
VX_Err ChooseTwin(int32_t, VX_InnerBlendingFunc<Pixel>* out) {
  out->scan = [](int32_t count, const VX_BlendingMode<Pixel>* mode,
                 const VX_LinearBlendingTables* tables, const Pixel* src, const Pixel* mask,
                 Pixel* dst) {
    return vxref::Scan<Pixel>(mode->mode, masked, linear, count, mode, tables, src, mask, dst);
  };
  return VX_Ok;
}
template <class Pixel, bool masked, bool linear>
Operation Chooser(const char* name) {
  return {name, Of(&VX_GetInnerBlendingFunc<Pixel, masked, linear>),
          Of(&ChooseTwin<Pixel, masked, linear>), 0};
}
template <class Pixel>
VX_Err PipelineTwin(const VX_BlendingMode<Pixel>& mode, const VX_LinearBlendingTables* tables,
                    int32_t count, const Pixel* src, const Pixel* mask, VX_ChannelOf<Pixel>*,
                    Pixel* dst) {
  return vxref::Pipeline<Pixel>(mode, tables, count, src, mask, dst);
}

// The tables of one pixel as one call.
template <class Pixel>
void Xfer1(int32_t mode, int32_t opacities, const Pixel* src, const VX_LinearBlendingTables* tables,
           const VX_ChannelOf<Pixel>* o, Pixel* dst) {
  const auto call = [&](auto none, auto one, auto two) {
    if (opacities == 0) none[mode](src, tables, dst);
    if (opacities == 1) one[mode](src, tables, o[0], dst);
    if (opacities == 2) two[mode](src, tables, o[0], o[1], dst);
  };
  if constexpr (kDepthOf<Pixel> == 8) {
    call(VXp_G_Xfer1_table8, VXp_G_Xfer1_Opacity_table8, VXp_G_Xfer1_Opacity2_table8);
  } else if constexpr (kDepthOf<Pixel> == 16) {
    call(VXp_G_Xfer1_table16, VXp_G_Xfer1_Opacity_table16, VXp_G_Xfer1_Opacity2_table16);
  } else {
    call(VXp_G_Xfer1_tableF, VXp_G_Xfer1_Opacity_tableF, VXp_G_Xfer1_Opacity2_tableF);
  }
}
template <class Pixel>
void Xfer1Twin(int32_t mode, int32_t opacities, const Pixel* src,
               const VX_LinearBlendingTables* tables, const VX_ChannelOf<Pixel>* o, Pixel* dst) {
  Pixel result;
  std::memcpy(&result, dst, sizeof result);
  vxref::Xfer1(mode, *src, tables, {o, static_cast<size_t>(opacities)}, &result);
  std::memcpy(dst, &result, sizeof result);
}

VX_Err TrackMatteTwin(int32_t count, const void* mask, int32_t left, int32_t available,
                      int32_t what, uint8_t deep, void* out) {
  const auto run = [&]<class Pixel>(Pixel* row) {
    vxref::TrackMatte(count, static_cast<const Pixel*>(mask), left, available, what, row);
  };
  if (deep != 0) run(static_cast<VX_Pixel16*>(out));
  if (deep == 0) run(static_cast<VX_Pixel8*>(out));
  return VX_Ok;
}

std::vector<Operation> BlendOperations() {
  return {
      Chooser<VX_Pixel8, false, false>("VX_GetInnerBlendingFunc 8"),
      Chooser<VX_Pixel8, true, false>("VX_GetInnerBlendingFunc 8 Mask"),
      Chooser<VX_Pixel8, false, true>("VX_GetInnerBlendingFunc 8 Linear"),
      Chooser<VX_Pixel8, true, true>("VX_GetInnerBlendingFunc 8 MaskLinear"),
      Chooser<VX_Pixel16, false, false>("VX_GetInnerBlendingFunc 16"),
      Chooser<VX_Pixel16, true, false>("VX_GetInnerBlendingFunc 16 Mask"),
      Chooser<VX_Pixel16, false, true>("VX_GetInnerBlendingFunc 16 Linear"),
      Chooser<VX_Pixel16, true, true>("VX_GetInnerBlendingFunc 16 MaskLinear"),
      Chooser<VX_PixelFloat, false, false>("VX_GetInnerBlendingFunc Float"),
      Chooser<VX_PixelFloat, true, false>("VX_GetInnerBlendingFunc Float Mask"),
      Chooser<VX_PixelFloat, false, true>("VX_GetInnerBlendingFunc Float Linear"),
      Chooser<VX_PixelFloat, true, true>("VX_GetInnerBlendingFunc Float MaskLinear"),
      {"VX_BlendPipeline 8", Of(&Pipeline<VX_Pixel8>), Of(&PipelineTwin<VX_Pixel8>)},
      {"VX_BlendPipeline 16", Of(&Pipeline<VX_Pixel16>), Of(&PipelineTwin<VX_Pixel16>)},
      {"VX_BlendPipeline Float", Of(&Pipeline<VX_PixelFloat>), Of(&PipelineTwin<VX_PixelFloat>)},
      {"VXp_G_Xfer1 8", [](Command& c) { return Run<VX_Pixel8>(c, &Xfer1<VX_Pixel8>); },
       [](Command& c) { return Run<VX_Pixel8>(c, &Xfer1Twin<VX_Pixel8>); }},
      {"VXp_G_Xfer1 16", [](Command& c) { return Run<VX_Pixel16>(c, &Xfer1<VX_Pixel16>); },
       [](Command& c) { return Run<VX_Pixel16>(c, &Xfer1Twin<VX_Pixel16>); }},
      {"VXp_G_Xfer1 Float", [](Command& c) { return Run<VX_PixelFloat>(c, &Xfer1<VX_PixelFloat>); },
       [](Command& c) { return Run<VX_PixelFloat>(c, &Xfer1Twin<VX_PixelFloat>); }},
      {"VX_PrepTrackMatteUniv", Of(&VX_PrepTrackMatteUniv), Of(&TrackMatteTwin)},
      {"VX_CompositeModePlus of VX_CompositeMode",
       [](Command& c) {
         const auto opacity = c.AnyChannel<uint8_t>();
         const auto opacity16 = c.AnyChannel<uint16_t>();
         const VX_CompositeMode older{AnyMode(c), 7, opacity, 1, opacity16};
         const VX_CompositeModePlus plus(older);
         c.GaveNumbers("opacity", &plus.opacityF, 1);
         c.Gave("mode", plus.mode);
         c.Gave("rest", plus.seed + plus.keepDstAlpha, false);
         c.Gave("flags", VX_GetTransferFlags(older.mode), false);
         return VX_Ok;
       },
       [](Command& c) {
         const auto opacity = c.AnyChannel<uint8_t>();
         const auto opacity16 = c.AnyChannel<uint16_t>();
         const VX_CompositeMode older{AnyMode(c), 7, opacity, 1, opacity16};
         const float want = vxref::OpacityOf(older);
         c.GaveNumbers("opacity", &want, 1);
         c.Gave("mode", older.mode);
         return VX_Ok;
       }},
  };
}

// --- samplers ------------------------------------------------------------------------------------

template <class Form, class Get, class... Quality>
Operation SetOperation(const char* name, Get get) {
  // A member of the set, whichever its form.
  return {name, [get](Command& c) {
            Form set{};
            const VX_Err error = get(c, &set);
            if (error != VX_Ok) return error;
            const auto run = [&c](auto... members) {
              const int32_t chosen = c.Below(sizeof...(members));
              int32_t i = 0;
              VX_Err result = VX_Ok;
              ((i++ == chosen ? void(result = Run(c, members)) : void()), ...);
              return result;
            };
            if constexpr (requires { set.all_in; }) {
              return run(set.all_in, set.clipped, set.box, set.weighted, set.span);
            } else {
              return run(set.nearest, set.bilinear, set.area);
            }
          }};
}
template <class Pixel, class Get>
Operation SamplerSet(const char* name, Get get) {
  return SetOperation<VX_SamplerSet<Pixel>>(
      name, [get](Command& c, VX_SamplerSet<Pixel>* out) { return get(c.Sometimes(out)); });
}
template <class Pixel, class Get>
Operation SamplerBatch(const char* name, Get get) {
  return SetOperation<VX_SamplerBatch<Pixel>>(name, [get](Command& c, VX_SamplerBatch<Pixel>* out) {
    const int32_t quality = c.Below(2);
    return get(quality, c.Below(4), c.Sometimes(out));
  });
}

std::vector<Operation> SamplerOperations() {
  using P8 = VX_Pixel8;
  using P16 = VX_Pixel16;
  using PF = VX_PixelFloat;
  constexpr uint32_t kSums = kFinite | kTame;
  constexpr double kLastPlace = 1.2e-7;
#define VX_OP(f, twin) #f, Of(&f), Of(&twin)
  return {
      {VX_OP(VX_NNSample, vxref::Nearest<P8>), 0},
      {VX_OP(VX_NNSample16, vxref::Nearest<P16>), 0},
      {VX_OP(VX_NNSampleFloat, vxref::Nearest<PF>), 0},
      {VX_OP(VX_SubpixelSample_Straight, vxref::Scalar<P8>), 0},
      {VX_OP(VX_SubpixelSample_Straight16, vxref::Scalar<P16>), 0},
      {VX_OP(VX_SubpixelSample_Premul, vxref::Premultiplied<P8>), 0},
      {VX_OP(VX_SubpixelSample_Premul16, vxref::Premultiplied<P16>), 0},
      {VX_OP(VX_SubpixelSample_PremulFloat, vxref::Premultiplied<PF>), 0},
      {VX_OP(VX_SubpixelCPlusPlus, vxref::Portable<P8>), 0},
      {VX_OP(VX_SubpixelCPlusPlus16, vxref::Portable<P16>), 0},
      {VX_OP(VX_SubpixelCPlusPlusFloat, vxref::Portable<PF>), 0},
      {VX_OP(VX_SubpixelSamplePlus_Straight, vxref::ScalarAllIn<P8>), 0},
      {VX_OP(VX_SubpixelSamplePlus_Straight16, vxref::ScalarAllIn<P16>), 0},
      {VX_OP(VX_SubpixelSpanSampleAllInCPlusPlusFloat, vxref::PortableAllIn), 0},
      {VX_OP(VX_SubpixelSampleNoClip_Straight, vxref::Scalar<P8>), 0},
      {VX_OP(VX_SubpixelSampleNoClip_Straight_SSE2, vxref::SinglePrecision), 0},
      {VX_OP(VX_SubpixelSampleNoClip_Straight16, vxref::Scalar<P16>), 0},
      {VX_OP(VX_SubpixelCPlusPlusNoClip, vxref::Portable<P8>), 0},
      {VX_OP(VX_SubpixelCPlusPlusNoClip16, vxref::Portable<P16>), 0},
      {VX_OP(VX_SubpixelCPlusPlusNoClipFloat, vxref::Portable<PF>), 0},
      {VX_OP(VX_SubpixelSampleTranslateNoClip_Straight, vxref::ScalarWeighted<P8>), 0},
      {VX_OP(VX_SubpixelSampleTranslateNoClip_Straight16, vxref::ScalarWeighted<P16>), 0},
      {VX_OP(VX_SubpixelSampleTranslateNoClipCPlusPlusFloat, vxref::PortableWeighted), 0},
      {VX_OP(VX_SubpixelSpanSampleTranslateNoClip_Straight, vxref::ScalarSpan<P8>), 0},
      {VX_OP(VX_SubpixelSpanSampleTranslateNoClip_Straight16, vxref::ScalarSpan<P16>), 0},
      {VX_OP(VX_SubpixelSpanSampleCPlusPlus, vxref::PortableSpan<P8>), 0},
      {VX_OP(VX_SubpixelSpanSampleCPlusPlus16, vxref::PortableSpan<P16>), 0},
      {VX_OP(VX_SubpixelSpanSampleCPlusPlusFloat, vxref::PortableSpan<PF>), 0},
      {VX_OP(VX_SubpixelSampleNoClip_Straight_4, vxref::Four), 0},
      {VX_OP(VX_SubpixelSampleTranslateNoClip_Straight_4, vxref::FourWeighted), 0},
      {VX_OP(VX_SubpixelSampleComputeWeight, vxref::ComputeWeight), 0},
      {VX_OP(VX_AreaSample_Straight, vxref::BoxStraight<P8>), 0},
      {VX_OP(VX_AreaSample_Straight16, vxref::BoxStraight<P16>), 0},
      {VX_OP(VX_AreaSample_Premul, vxref::BoxPremultiplied<P8>), 0},
      {VX_OP(VX_AreaSample_Premul16, vxref::BoxPremultiplied<P16>), 0},
      {VX_OP(VX_AreaSample_PremulFloat, vxref::BoxPremultiplied<PF>), kSums, kLastPlace},
      {VX_OP(VX_AreaSample_CPlusPlus<P8>, vxref::BoxStraight<P8>), 0},
      {VX_OP(VX_AreaSample_CPlusPlus<P16>, vxref::BoxStraight<P16>), 0},
      {VX_OP(VX_AreaSample_CPlusPlus<PF>, vxref::BoxStraight<PF>), kSums, kLastPlace},
      SamplerSet<P8>("VX_GetSamplerSet8", &VX_GetSamplerSet8),
      SamplerSet<P16>("VX_GetSamplerSet16", &VX_GetSamplerSet16),
      SamplerSet<PF>("VX_GetSamplerSetFloat", &VX_GetSamplerSetFloat),
      SamplerBatch<P8>("VX_GetSamplerBatch8", &VX_GetSamplerBatch8),
      SamplerBatch<P16>("VX_GetSamplerBatch16", &VX_GetSamplerBatch16),
      SamplerBatch<PF>("VX_GetSamplerBatchFloat", &VX_GetSamplerBatchFloat),
  };
#undef VX_OP
}

// --- colours and planes --------------------------------------------------------------------------

// One channel from interleaved pixels to a plane, or inward from a plane.
template <class Channel, bool inward>
VX_Err InterleaveTwin(const Channel* src, int32_t src_rowbytes, int32_t dst_rowbytes,
                      int32_t channels, M_Vector2T<int32_t> size, M_Vector2T<int32_t> from,
                      M_Vector2T<int32_t> to, Channel* dst) {
  constexpr auto unit = static_cast<int32_t>(sizeof(Channel));
  for (int32_t y = 0; y < size.y; ++y) {
    for (int32_t x = 0; x < size.x; ++x) {
      const int32_t in = (from.x + x) * (inward ? 1 : channels) * unit;
      const int32_t out = (to.x + x) * (inward ? channels : 1) * unit;
      std::memcpy(reinterpret_cast<char*>(dst) + (to.y + y) * dst_rowbytes + out,
                  reinterpret_cast<const char*>(src) + (from.y + y) * src_rowbytes + in, unit);
    }
  }
  return VX_Ok;
}

std::vector<Operation> ColorOperations() {
#define VX_OP(f) \
  { #f, Of(&f) }
#define VX_OPS(f) VX_OP(f), VX_OP(f##16), VX_OP(f##Float)
#define VX_PLANES(Channel)                                              \
  {"VX_Deinterleave1<" #Channel ">", Of(&VX_Deinterleave1<Channel>),    \
   Of(&InterleaveTwin<Channel, false>)},                                \
  {                                                                     \
    "VX_Interleave1to4<" #Channel ">", Of(&VX_Interleave1to4<Channel>), \
        Of(&InterleaveTwin<Channel, true>)                              \
  }
  return {
      VX_OPS(VX_RGBtoHLS_Straight),
      VX_OPS(VX_HLStoRGB_Straight),
      VX_OPS(VX_RGBtoYIQ_Straight),
      VX_OPS(VX_YIQtoRGB_Straight),
      VX_OPS(VX_Luminance_Straight),
      VX_OPS(VX_Hue_Straight),
      VX_OPS(VX_Lightness_Straight),
      VX_OPS(VX_Saturation_Straight),
      VX_PLANES(uint8_t),
      VX_PLANES(uint16_t),
      VX_PLANES(float),
  };
#undef VX_PLANES
#undef VX_OPS
#undef VX_OP
}

}  // namespace

std::vector<Operation> RowOperations() {
  std::vector<Operation> all = BlendOperations();
  for (const auto& part : {SamplerOperations(), ColorOperations()}) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}
