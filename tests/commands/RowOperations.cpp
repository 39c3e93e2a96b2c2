// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Operations on rows, samples and colours, with their slow twins.

#include <algorithm>
#include <cmath>

#include "Operations.h"
#include "RowCalls.h"
#include "reference/RefModes.h"
#include "reference/RefPipeline.h"
#include "reference/RefSample.h"
#include "reference/RefScan.h"
#include "reference/RefTransfer.h"

namespace {

// --- blending ------------------------------------------------------------------------------------

template <class Pixel>
bool AreFinite(const Pixel* row, int32_t count) {
  return std::all_of(row, row + count, [](const Pixel& p) {
    return std::isfinite(static_cast<float>(p.red) + static_cast<float>(p.green) +
                         static_cast<float>(p.blue));
  });
}
// Which channel of a colour with NaN is the largest is not defined.
template <class Pixel, bool masked, bool linear>
VX_Err ChooseTwin(int32_t, VX_InnerBlendingFunc<Pixel>* out) {
  out->scan = [](int32_t count, const VX_BlendingMode<Pixel>* mode,
                 const VX_LinearBlendingTables* tables, const Pixel* src, const Pixel* mask,
                 Pixel* dst) {
    const bool orders = mode->mode == VX_Xfer_Hue || mode->mode == VX_Xfer_Saturation;
    if (orders && !(AreFinite(src, count) && AreFinite(dst, count))) return kNoTwin;
    return vxref::Scan<Pixel>(mode->mode, masked, linear, count, mode, tables, src, mask, dst);
  };
  return VX_Ok;
}
template <class Pixel, bool masked, bool linear>
Operation Chooser(const std::string& name) {
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
  vxref::Xfer1(mode, *src, tables, {o, static_cast<size_t>(opacities)}, dst);
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

template <class Pixel>
void AddBlends(const std::string& depth, std::vector<Operation>* all) {
  const std::string chooser = "VX_GetInnerBlendingFunc " + depth;
  for (const Operation& operation :
       {Chooser<Pixel, false, false>(chooser), Chooser<Pixel, true, false>(chooser + " Mask"),
        Chooser<Pixel, false, true>(chooser + " Linear"),
        Chooser<Pixel, true, true>(chooser + " MaskLinear"),
        Operation{"VX_BlendPipeline " + depth, Of(&Pipeline<Pixel>), Of(&PipelineTwin<Pixel>)},
        Operation{"VXp_G_Xfer1 " + depth, [](Command& c) { return Run<Pixel>(c, &Xfer1<Pixel>); },
                  [](Command& c) { return Run<Pixel>(c, &Xfer1Twin<Pixel>); }}}) {
    all->push_back(operation);
  }
}

VX_CompositeMode OlderMode(Command& c) {
  const auto opacity = c.AnyChannel<uint8_t>();
  const auto opacity16 = c.AnyChannel<uint16_t>();
  return {AnyMode(c), 7, opacity, 1, opacity16};
}

std::vector<Operation> BlendOperations() {
  std::vector<Operation> all = {
      {"VX_PrepTrackMatteUniv", Of(&VX_PrepTrackMatteUniv), Of(&TrackMatteTwin)},
      {"VX_CompositeModePlus of VX_CompositeMode",
       [](Command& c) {
         const VX_CompositeMode older = OlderMode(c);
         const VX_CompositeModePlus plus(older);
         c.GaveNumbers("opacity", &plus.opacityF, 1);
         c.Gave("mode", plus.mode);
         c.Gave("rest", plus.seed + plus.keepDstAlpha, false);
         c.Gave("flags", VX_GetTransferFlags(older.mode), false);
         return VX_Ok;
       },
       [](Command& c) {
         const VX_CompositeMode older = OlderMode(c);
         const float want = vxref::OpacityOf(older);
         c.GaveNumbers("opacity", &want, 1);
         c.Gave("mode", older.mode);
         return VX_Ok;
       }},
  };
  AddBlends<VX_Pixel8>("8", &all);
  AddBlends<VX_Pixel16>("16", &all);
  AddBlends<VX_PixelFloat>("Float", &all);
  return all;
}

// --- samplers ------------------------------------------------------------------------------------

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
      {VX_OP(VX_SubpixelSpanSampleAllInCPlusPlusFloat, vxref::ScalarAllIn<PF>), 0},
      {VX_OP(VX_SubpixelSampleNoClip_Straight, vxref::Scalar<P8>), 0},
      {VX_OP(VX_SubpixelSampleNoClip_Straight_SSE2, vxref::SinglePrecision), 0},
      {VX_OP(VX_SubpixelSampleNoClip_Straight16, vxref::Scalar<P16>), 0},
      {VX_OP(VX_SubpixelCPlusPlusNoClip, vxref::Portable<P8>), 0},
      {VX_OP(VX_SubpixelCPlusPlusNoClip16, vxref::Portable<P16>), 0},
      {VX_OP(VX_SubpixelCPlusPlusNoClipFloat, vxref::Portable<PF>), 0},
      {VX_OP(VX_SubpixelSampleTranslateNoClip_Straight, vxref::ScalarWeighted<P8>), 0},
      {VX_OP(VX_SubpixelSampleTranslateNoClip_Straight16, vxref::ScalarWeighted<P16>), 0},
      {VX_OP(VX_SubpixelSampleTranslateNoClipCPlusPlusFloat, vxref::ScalarWeighted<PF>), 0},
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
  };
#undef VX_OP
}

// --- planes -------------------------------------------------------------------------------------

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

// A channel copied from one chunk to another.
VX_Err Chunks(Command& c) {
  const auto type = c.Pick<uint32_t>({VX_ChunkType_Float, VX_ChunkType_Double, VX_ChunkType_Short,
                                      VX_ChunkType_UByte, VX_ChunkType_ThreeBytes});
  uint16_t element = 0;
  VX_ChunkDataSize(type, &element);
  VX_ChannelChunk chunks[2] = {};
  const int32_t width = c.Between(0, 9), height = c.Between(1, 5);
  const int32_t channels[2] = {c.Between(1, 4), c.Between(1, 4)};
  std::vector<uint8_t> bytes[2];
  for (int i = 0; i < 2; ++i) {
    const int32_t columns = width + (i == 1 && c.OneIn(8) ? 1 : 0);
    const VX_Err made = VX_NewChunk(columns, height, channels[i], type, &chunks[i]);
    if (made != VX_Ok) return made;
    bytes[i].resize(static_cast<size_t>(chunks[i].rowbytes * height));
    for (uint8_t& byte : bytes[i]) byte = static_cast<uint8_t>(c.Word());
    std::copy(bytes[i].begin(), bytes[i].end(), static_cast<uint8_t*>(chunks[i].locked_data));
  }
  const int32_t from = c.Below(channels[0]), to = c.Between(0, channels[1]);
  const VX_Err error = VX_ChannelCopy(nullptr, &chunks[0], &chunks[1], from, to);
  for (int32_t i = 0; error == VX_Ok && i < width * height; ++i) {
    std::memcpy(&bytes[1][static_cast<size_t>((i * channels[1] + to) * element)],
                &bytes[0][static_cast<size_t>((i * channels[0] + from) * element)], element);
  }
  if (!std::equal(bytes[1].begin(), bytes[1].end(), static_cast<uint8_t*>(chunks[1].locked_data))) {
    c.Fail("another result of a channel copy");
  }
  for (VX_ChannelChunk& chunk : chunks) c.Gave("code", VX_DisposeChunk(&chunk));
  return error;
}

std::vector<Operation> PlaneOperations() {
#define VX_PLANES(Channel)                                              \
  {"VX_Deinterleave1<" #Channel ">", Of(&VX_Deinterleave1<Channel>),    \
   Of(&InterleaveTwin<Channel, false>)},                                \
  {                                                                     \
    "VX_Interleave1to4<" #Channel ">", Of(&VX_Interleave1to4<Channel>), \
        Of(&InterleaveTwin<Channel, true>)                              \
  }
  return {VX_PLANES(uint8_t), VX_PLANES(uint16_t), VX_PLANES(float), {"VX_NewChunk", &Chunks}};
#undef VX_PLANES
}

}  // namespace

std::vector<Operation> RowOperations() {
  std::vector<Operation> all = BlendOperations();
  for (const auto& part : {SamplerOperations(), PlaneOperations()}) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}
