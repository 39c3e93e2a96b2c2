// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Operations on one-channel buffers and masks, with their slow twins.

#include "Operations.h"
#include "PlainTwins.h"
#include "UnoCalls.h"
#include "reference/RefMask.h"
#include "reference/RefUno.h"

namespace {

Runner OfBuffer(const BufferCall& call) {
  return [call](Command& c) { return Run(c, call); };
}

// --- twins ---------------------------------------------------------------------------------------

template <class Sample>
vxref::Plane<Sample> PlaneOf(const VX_UnoBuffer& buffer) {
  vxref::Plane<Sample> plane = {buffer.width, buffer.height, {}};
  plane.samples.resize(static_cast<size_t>(buffer.width) * static_cast<size_t>(buffer.height));
  std::memcpy(plane.samples.data(), *buffer.data, plane.samples.size() * sizeof(Sample));
  return plane;
}
template <class Sample>
void Store(const vxref::Plane<Sample>& plane, const VX_UnoBuffer& buffer) {
  std::memcpy(*buffer.data, plane.samples.data(), plane.samples.size() * sizeof(Sample));
}
// `work(plane)` changes the samples of a buffer.
template <class Work>
VX_Err InPlane(const VX_UnoBuffer& buffer, Work work) {
  return BySample(buffer.depth, [&]<class Sample>() {
    vxref::Plane<Sample> plane = PlaneOf<Sample>(buffer);
    work(plane);
    Store(plane, buffer);
    return VX_Ok;
  });
}

VX_Err ConvertTwin(VX_ProgressInfo*, const VX_UnoBuffer* src, const M_Rect* rect, int16_t flag,
                   VX_UnoBuffer* dst) {
  return BySample(src->depth, [&]<class From>() {
    const vxref::Plane<From> from = PlaneOf<From>(*src);
    return InPlane(*dst, [&](auto& to) { vxref::Convert(from, rect, flag != 0, &to); });
  });
}
VX_Err TransferTwin(VX_ProgressInfo*, const VX_UnoBuffer* src, const VX_UnoBuffer* mask,
                    int32_t mode, const M_Rect* rect, const M_Point* point, VX_UnoBuffer* dst) {
  return BySample(dst->depth, [&]<class Sample>() {
    const vxref::Plane<Sample> from = PlaneOf<Sample>(*src);
    vxref::Plane<Sample> by, to = PlaneOf<Sample>(*dst);
    if (mask != nullptr) by = PlaneOf<Sample>(*mask);
    vxref::Transfer(from, mask != nullptr ? &by : nullptr, mode, rect, point, &to);
    Store(to, *dst);
    return VX_Ok;
  });
}
VX_Err AccumulateTwin(VX_ProgressInfo*, const VX_UnoBuffer* src, int32_t mode, float src_gain,
                      float dst_gain, const M_Rect* rect, const M_Point* point, VX_UnoBuffer* dst) {
  const auto add = [&]<class From, class To>(From, To) {
    const vxref::Plane<From> from = PlaneOf<From>(*src);
    vxref::Plane<To> to = PlaneOf<To>(*dst);
    vxref::Accumulate(from, mode, src_gain, dst_gain, rect, point, &to);
    Store(to, *dst);
    return VX_Ok;
  };
  if (src->depth == 8 && dst->depth == 16) return add(uint8_t{}, uint16_t{});
  return BySample(dst->depth, [&]<class Sample>() { return add(Sample{}, Sample{}); });
}
// Without gains the shorter form is called.
VX_Err Accumulate(VX_ProgressInfo* progress, const VX_UnoBuffer* src, int32_t mode, float src_gain,
                  float dst_gain, const M_Rect* rect, const M_Point* point, VX_UnoBuffer* dst) {
  if (src_gain == 1 && dst_gain == 1) {
    return VX_AccumulateUnoBuffers(progress, src, mode, rect, point, dst);
  }
  return VX_AccumulateUnoBuffers(progress, src, mode, src_gain, dst_gain, rect, point, dst);
}

template <bool box, class Sample>
VX_Err ScanTwin(int32_t kind, int32_t length, int32_t start, int32_t end, VX_Fixed radius, Sample*,
                Sample* line) {
  std::vector<Sample> samples(static_cast<size_t>(length));
  std::memcpy(samples.data(), line, samples.size() * sizeof(Sample));
  if (box) vxref::BoxScan(kind, start, end, radius, &samples);
  if (!box) vxref::GaussianScan(kind, start, end, radius, &samples);
  std::memcpy(line, samples.data(), samples.size() * sizeof(Sample));
  return VX_Ok;
}

VX_Err MergeTwin(VX_ProgressInfo*, int16_t h, int16_t v, const M_Rect* rect,
                 const VX_UnoBuffer* buffer, const VX_UnoBuffer* second, VX_World* world) {
  const M_LPoint size = second == nullptr ? M_LPoint{} : M_LPoint{second->width, second->height};
  ByDepth(world->Depth(), [&]<class Pixel>() {
    BySample(buffer->depth, [&]<class Sample>() {
      vxref::MergeMaskAlpha<Pixel, Sample>(h, v, rect, PlaneOf<Sample>(*buffer),
                                           second != nullptr ? &size : nullptr, *world);
    });
  });
  return VX_Ok;
}

VX_Err MatteTwin(VX_ProgressInfo*, const VX_LayerDef* world, int32_t what, VX_UnoBuffer* buffer) {
  return ByDepth(VXp_WorldDepth(world), [&]<class Pixel>() {
    auto plane = PlaneOf<VX_ChannelOf<Pixel>>(*buffer);
    ForPixels<Pixel>(*world, [&](int32_t x, int32_t y, const Pixel& pixel) {
      plane.At(x, y) = vxref::MatteValue(pixel, what);
    });
    Store(plane, *buffer);
    return VX_Ok;
  });
}
VX_Err GreyTwin(VX_ProgressInfo*, const VX_UnoBuffer* buffer, VX_LayerDef* world) {
  return ByDepth(VXp_WorldDepth(world), [&]<class Pixel>() {
    using Channel = VX_ChannelOf<Pixel>;
    const auto plane = PlaneOf<Channel>(*buffer);
    ForPixels<Pixel>(*world, [&](int32_t x, int32_t y, Pixel& pixel) {
      const Channel v = plane.At(x, y);
      pixel = {kFullAlpha<Pixel>, v, v, v};
    });
    return VX_Ok;
  });
}

// --- one buffer ----------------------------------------------------------------------------------

VX_Err Feather(Command& c, VX_UnoBuffer* buffer, bool by_twin) {
  const int32_t feather = c.OneIn(40) ? 3 : c.Below(3);
  const int32_t most = (c.OneIn(8) ? 60 : 9) * 65536;
  const VX_Fixed x = c.OneIn(4) ? 0 : c.Below(most), y = c.OneIn(4) ? 0 : c.Below(most);
  c.Log("feather %d, radii %d %d\n", feather, x, y);
  if (!by_twin) {
    return VX_FeatherUnoBuffer(c.FreeProgress(), feather, x / 65536.0, y / 65536.0, buffer);
  }
  return InPlane(*buffer, [&](auto& plane) { vxref::Feather(feather, x, y, &plane); });
}
double AnyOpacity(Command& c) {
  return c.Flag() ? c.Real(0, 1) : c.Pick({1e-5, 0.0, 1.0, -1.0, 2.0, 1e300, std::nan("")});
}
VX_Fixed AnyFixed(Command& c) {
  return c.Flag() ? c.Below(65537)
                  : c.Pick<VX_Fixed>({0, 1, 65536, 65537, -1, INT32_MAX, INT32_MIN});
}

template <class Sample>
VX_Err FillRectTwin(Sample value, const M_Rect& rect, VX_UnoBuffer* buffer) {
  auto plane = PlaneOf<Sample>(*buffer);
  for (int32_t y = std::max<int32_t>(rect.top, 0); y < std::min<int32_t>(rect.bottom, plane.height);
       ++y) {
    for (int32_t x = std::max<int32_t>(rect.left, 0);
         x < std::min<int32_t>(rect.right, plane.width); ++x) {
      plane.At(x, y) = value;
    }
  }
  Store(plane, *buffer);
  return VX_Ok;
}
template <class Sample>
VX_Err FillAllTwin(Sample value, VX_UnoBuffer* buffer) {
  return FillRectTwin(value, {0, 0, INT16_MAX, INT16_MAX}, buffer);
}
template <class Sample>
Runner FillOf(VX_Err (*fill)(Sample, VX_UnoBuffer*),
              VX_Err (*fill_rect)(Sample, const M_Rect&, VX_UnoBuffer*)) {
  return OfBuffer([=](Command& c, VX_UnoBuffer* b) {
    const auto value = c.AnyChannel<Sample>();
    return c.Flag() ? fill(value, b) : fill_rect(value, c.RectValue(), b);
  });
}

std::vector<Operation> BufferOperations() {
  return {
      {"VX_FillUnoBuffer", FillOf<uint8_t>(&VX_FillUnoBuffer, &VX_FillUnoBuffer),
       FillOf<uint8_t>(&FillAllTwin<uint8_t>, &FillRectTwin<uint8_t>)},
      {"VX_FillDeepUnoBuffer", FillOf<uint16_t>(&VX_FillDeepUnoBuffer, &VX_FillDeepUnoBuffer),
       FillOf<uint16_t>(&FillAllTwin<uint16_t>, &FillRectTwin<uint16_t>)},
      {"VX_FillFloatUnoBuffer", OfBuffer([](Command& c, VX_UnoBuffer* b) {
         return VX_FillFloatUnoBuffer(c.AnyChannel<float>(), b);
       }),
       OfBuffer([](Command& c, VX_UnoBuffer* b) { return FillAllTwin(c.AnyChannel<float>(), b); })},
      {"VX_FadeUnoBuffer",
       OfBuffer([](Command& c, VX_UnoBuffer* b) { return VX_FadeUnoBuffer(AnyOpacity(c), b); }),
       OfBuffer([](Command& c, VX_UnoBuffer* b) {
         const double opacity = AnyOpacity(c);
         return InPlane(*b, [&](auto& plane) { vxref::Fade(opacity, &plane); });
       })},
      {"VX_InvertUnoBuffer",
       OfBuffer([](Command&, VX_UnoBuffer* b) { return VX_InvertUnoBuffer(nullptr, b); }),
       OfBuffer([](Command&, VX_UnoBuffer* b) {
         return InPlane(*b, [](auto& plane) { vxref::InvertAndFade(65536, &plane); });
       })},
      {"VX_InvertAndFadeUnoBuffer", OfBuffer([](Command& c, VX_UnoBuffer* b) {
         return VX_InvertAndFadeUnoBuffer(nullptr, AnyFixed(c), b);
       }),
       OfBuffer([](Command& c, VX_UnoBuffer* b) {
         const VX_Fixed opacity = AnyFixed(c);
         return InPlane(*b, [&](auto& plane) { vxref::InvertAndFade(opacity, &plane); });
       })},
      {"VX_FeatherUnoBuffer",
       OfBuffer([](Command& c, VX_UnoBuffer* b) { return Feather(c, b, false); }),
       OfBuffer([](Command& c, VX_UnoBuffer* b) { return Feather(c, b, true); }), kFew | kTame,
       1e-5},
  };
}

}  // namespace

std::vector<Operation> UnoOperations() {
  constexpr uint32_t kSums = kFew | kTame;
  constexpr double kFloatSum = 3e-6;
#define VX_OP(f, twin) #f, Of(&f), Of(&twin)
  std::vector<Operation> all = {
      {VX_OP(VX_ConvertDeepUnoBuffer, ConvertTwin)},
      {VX_OP(VX_TransferUnoBuffers, TransferTwin)},
      {"VX_AccumulateUnoBuffers gains", Of(&Accumulate), Of(&AccumulateTwin)},
      {"VX_BoxBlurUnoScan", Of(&VX_BoxBlurUnoScan), Of(&ScanTwin<true, uint8_t>)},
      {"VX_BoxBlurDeepUnoScan", Of(&VX_BoxBlurDeepUnoScan), Of(&ScanTwin<true, uint16_t>)},
      {"VX_BoxBlurFloatUnoScan", Of(&VX_BoxBlurFloatUnoScan), Of(&ScanTwin<true, float>), kSums,
       kFloatSum},
      {"VX_GBlurUnoScan", Of(&VX_GBlurUnoScan), Of(&ScanTwin<false, uint8_t>)},
      {"VX_GBlurDeepUnoScan", Of(&VX_GBlurDeepUnoScan), Of(&ScanTwin<false, uint16_t>)},
      {"VX_GBlurFloatUnoScan", Of(&VX_GBlurFloatUnoScan), Of(&ScanTwin<false, float>), kSums,
       kFloatSum},
      {VX_OP(VX_MergeMaskAlpha, MergeTwin)},
      {VX_OP((VX_BlendSingleChannel<VX_Pixel8, uint8_t>), vxref::BlendSingleChannel<VX_Pixel8>)},
      {VX_OP((VX_BlendSingleChannel<VX_Pixel16, uint16_t>), vxref::BlendSingleChannel<VX_Pixel16>)},
      {VX_OP((VX_BlendSingleChannel<VX_PixelFloat, float>),
             vxref::BlendSingleChannel<VX_PixelFloat>)},
      {VX_OP(VX_MatteFromWorld, MatteTwin)},
      {VX_OP(VX_WorldFromMatte, GreyTwin)},
  };
#undef VX_OP
  const std::vector<Operation> buffers = BufferOperations();
  all.insert(all.end(), buffers.begin(), buffers.end());
  return all;
}
