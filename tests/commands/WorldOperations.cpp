// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Operations on worlds, with their slow twins.

#include "FilterCalls.h"
#include "Operations.h"
#include "PlainTwins.h"
#include "reference/RefArithmetic.h"
#include "reference/RefBlur.h"
#include "reference/RefConvolve.h"
#include "reference/RefScan.h"
#include "reference/RefTables.h"
#include "reference/RefTransfer.h"
#include "reference/RefTransform.h"

namespace {

Runner OfObject(const ObjectCall& call) {
  return [call](Command& c) { return Run(c, call); };
}

// --- twins ---------------------------------------------------------------------------------------

VX_Err DraftTwin(void*, const VX_LayerDef* src, VX_LayerDef* dst, const M_Rect* from,
                 const M_Rect* to) {
  ByDepth(VXp_WorldDepth(src), [&]<class From>() {
    ByDepth(VXp_WorldDepth(dst),
            [&]<class To>() { vxref::CopyDraft<From, To>(*src, *dst, from, to); });
  });
  return VX_Ok;
}
template <bool premultiplied>
VX_Err HighTwin(void*, const VX_LayerDef* src, VX_LayerDef* dst, const M_Rect* from,
                const M_Rect* to) {
  ByDepth(VXp_WorldDepth(src),
          [&]<class Pixel>() { vxref::CopyHigh<Pixel>(premultiplied, *src, *dst, from, to); });
  return VX_Ok;
}
template <auto twin>
VX_Err OnBitmaps(void*, BM_World** src, BM_World** dst, const M_Rect* from, const M_Rect* to) {
  VX_LayerDef in, out;
  VX_EffectWorldFromBMWorld(src, &in);
  VX_EffectWorldFromBMWorld(dst, &out);
  return twin(nullptr, &in, &out, from, to);
}
// All pixels of an 8-bit destination change their order if it is not the source's.
VX_Err OrderedTwin(void*, BM_World** src, BM_World** dst, const M_Rect* from, const M_Rect* to) {
  OnBitmaps<&DraftTwin>(nullptr, src, dst, from, to);
  const bool turned = (*src)->bits_per_pixel == 32 && (*src)->channel_order == BM_ORDER_BGRA;
  if ((*dst)->bits_per_pixel != 32 || ((*dst)->channel_order == BM_ORDER_BGRA) == turned) {
    return VX_Ok;
  }
  VX_LayerDef world;
  VX_EffectWorldFromBMWorld(dst, &world);
  ForPixels<VX_Pixel8>(world, [](int32_t, int32_t, VX_Pixel8& p) {
    p = {p.blue, p.green, p.red, p.alpha};
  });
  return VX_Ok;
}
VX_Err ResizeTwin(VX_ProgressInfo*, int32_t quality, const VX_LayerDef* src, VX_LayerDef* dst) {
  if (quality == 0) return DraftTwin(nullptr, src, dst, nullptr, nullptr);
  ByDepth(VXp_WorldDepth(src), [&]<class Pixel>() { vxref::Resize<Pixel>(*src, *dst); });
  return VX_Ok;
}

VX_Err ConvertTwin(VX_ProgressInfo*, const VX_LayerDef* src, const M_Rect* rect, int32_t dither,
                   int32_t h, int32_t v, VX_LayerDef* dst) {
  if (dither != 0) return kNoTwin;
  const M_LRect r = rect == nullptr ? M_LRect{0, 0, src->width, src->height}
                                    : M_LRect{rect->left, rect->top, rect->right, rect->bottom};
  ByDepth(VXp_WorldDepth(src), [&]<class From>() {
    ByDepth(VXp_WorldDepth(dst), [&]<class To>() {
      for (int64_t y = r.top; y < r.bottom; ++y) {
        for (int64_t x = r.left; x < r.right; ++x) {
          const int64_t to_x = x - r.left + h, to_y = y - r.top + v;
          const bool in = x >= 0 && y >= 0 && x < src->width && y < src->height && to_x >= 0 &&
                          to_y >= 0 && to_x < dst->width && to_y < dst->height;
          if (!in) continue;
          vxref::At<To>(*dst, to_x, to_y) = vxref::Converted<To>(vxref::At<From>(*src, x, y));
        }
      }
    });
  });
  return VX_Ok;
}
VX_Err BlitTwin(const VX_World* src, const M_LPoint& at, bool lookup, bool invert,
                const VX_PixelFloat& low, const VX_PixelFloat& high, const M_Rect& rect,
                VX_WorldX<VX_Pixel8>* dst) {
  ByDepth(VXp_WorldDepth(src), [&]<class From>() {
    vxref::SpecialBlit<From>(*src, at, lookup, invert, low, high, rect, *dst);
  });
  return VX_Ok;
}

VX_Err TransferTwin(VX_ProgressInfo*, int32_t, int32_t, int32_t field, const M_Rect* rect,
                    const VX_LayerDef* src, const VX_CompositeModePlus* mode,
                    const VX_LinearBlendingTables* tables, const VX_MaskSpec* mask, int32_t x,
                    int32_t y, VX_LayerDef* dst) {
  return ByDepth(VXp_WorldDepth(dst), [&]<class Pixel>() {
    return vxref::Transfer<Pixel>({rect, x, y, field}, *src, *mode, tables, mask, *dst);
  });
}
template <bool premultiplied>
VX_Err CompositeTwin(VX_ProgressInfo*, const M_Rect* rect, int32_t opacity, const VX_LayerDef* src,
                     int32_t x, int32_t y, int32_t field, int32_t mode, VX_LayerDef* dst) {
  if (premultiplied && mode == VX_Xfer_InFront) mode = VX_Xfer_PremulOver;
  const float unit = static_cast<float>(std::clamp(opacity, 0, 255)) / 255.0f;
  const VX_CompositeModePlus record(mode, unit, nullptr, false, 0);
  return TransferTwin(nullptr, 0, 0, field, rect, src, &record, nullptr, nullptr, x, y, dst);
}

// The straight form is the mode that mixes by a mask of one value.
template <bool premultiplied>
VX_Err BlendTwin(VX_ProgressInfo*, const VX_LayerDef* a, const VX_LayerDef* b, VX_Fixed ratio,
                 VX_LayerDef* dst) {
  const double unit = std::clamp(ratio, 0, 65536) / 65536.0;
  ByDepth(VXp_WorldDepth(dst), [&]<class Pixel>() {
    using D = typename vxref::DepthOf<Pixel>::D;
    using Channel = VX_ChannelOf<Pixel>;
    const auto t = static_cast<Channel>(D::isFloat ? unit : std::floor(unit * D::full + 0.5));
    const VX_BlendingMode<Pixel> mode{VX_Xfer_MaskMix, 0, kFullAlpha<Pixel>, 0};
    ForPixels<Pixel>(*dst, [&](int32_t x, int32_t y, Pixel& out) {
      if (!IsInside(*a, x, y) || !IsInside(*b, x, y)) return;
      Pixel from = vxref::At<Pixel>(*a, x, y);
      const Pixel to = vxref::At<Pixel>(*b, x, y);
      const auto mix = [t](Channel c, Channel d) { return static_cast<Channel>(D::Lerp(c, d, t)); };
      if (premultiplied) {
        out = {mix(from.alpha, to.alpha), mix(from.red, to.red), mix(from.green, to.green),
               mix(from.blue, to.blue)};
      } else {
        const Pixel mask{t, 0, 0, 0};
        vxref::Scan<Pixel>(VX_Xfer_MaskMix, true, false, 1, &mode, nullptr, &to, &mask, &from);
        out = from;
      }
    });
  });
  return VX_Ok;
}

// Returns whether a matrix makes the source smaller, so that boxes are averaged. Sums over boxes of
// floats depend on their order.
bool Reduces(const M_Matrix3* matrices, int32_t count, uint8_t src2dst) {
  for (int32_t i = 0; i < count; ++i) {
    M_Matrix3 to_dst = matrices[i];
    bool invertible = true;
    if (src2dst == 0) M_InverseMatrixQuiet(to_dst, &to_dst, &invertible);
    const double* const m = to_dst.m;
    const double unit = m[2] == 0 && m[5] == 0 ? std::abs(m[8]) : 1;
    if (!invertible || std::min(std::hypot(m[0], m[1]), std::hypot(m[3], m[4])) < unit - 1e-9) {
      return true;
    }
  }
  return false;
}
// `single`: the rule of the unclipped 8-bit sampler.
template <bool single = true>
VX_Err TransformTwin(VX_ProgressInfo*, int32_t quality, int32_t, int32_t field,
                     const VX_LayerDef* src, const VX_CompositeModePlus* mode,
                     const VX_LinearBlendingTables* tables, const VX_TransformMask* mask,
                     const M_Matrix3* matrices, int32_t count, uint8_t src2dst, const M_Rect* rect,
                     VX_LayerDef* dst) {
  if (VXp_WorldDepth(dst) == 32 && quality != 0 && Reduces(matrices, count, src2dst)) {
    return kNoTwin;
  }
  VX_LayerDef from = *src;
  ByDepth(VXp_WorldDepth(dst), [&]<class Pixel>() {
    vxref::Transform<Pixel>(
        {quality, field, &from, mode, tables, mask, matrices, count, src2dst != 0, rect, single},
        *dst);
  });
  return VX_Ok;
}

template <class Slot>
VX_Err MotionWith(Command& c, Slot* slot, Slot replacement) {
  const Slot kept = *slot;
  *slot = replacement;
  const VX_Err error = Motion(c, &VX_TransformWorld);
  *slot = kept;
  return error;
}
// Draws with a sampler slot that a caller replaced: the slots are then called for each pixel.
VX_Err ReplacedSamplers(Command& c) {
  return MotionWith<VX_ComputeWeightFunc>(c, &VXp_G_OverFuncs.VX_SubpixelSampleComputeWeight,
                                          [](uint16_t x, uint16_t y, VX_SubpixelWeights* out) {
                                            return VX_SubpixelSampleComputeWeight(x, y, out);
                                          });
}
// Draws with the sampling rule of a host whose processor record has no SSE2.
VX_Err DoublePrecision(Command& c) {
  return MotionWith<VX_SampleFunc<VX_Pixel8>>(c, &VXp_G_OverFuncs.VX_SubpixelSampleNoClip_Straight,
                                              &VX_SubpixelSampleNoClip_Straight);
}

VX_Err ConvolveTwin(VX_ProgressInfo*, const VX_LayerDef* src, const M_Rect*, int32_t flags,
                    int32_t size, const int32_t* a, const int32_t* r, const int32_t* g,
                    const int32_t* b, VX_LayerDef* dst) {
  const int32_t* const kernels[] = {a, r, g, b};
  ByDepth(VXp_WorldDepth(dst),
          [&]<class Pixel>() { vxref::Convolve<Pixel>(*src, flags, size, kernels, *dst); });
  return VX_Ok;
}
void GaussianTwin(VX_ProgressInfo*, const VX_World* src, float radius, int32_t flags,
                  int32_t src_direction, int32_t src_premul, int32_t dst_direction,
                  int32_t dst_premul, uint8_t, VX_World* dst) {
  ByDepth(VXp_WorldDepth(dst), [&]<class Pixel>() {
    vxref::GaussianBlur1D<Pixel>(
        {radius, flags, src_direction, src_premul != 0, dst_direction, dst_premul != 0}, *src,
        *dst);
  });
}
void BoxTwin(VX_ProgressInfo*, const VX_World* src, float radius, int32_t iterations, int32_t flags,
             int32_t src_direction, int32_t src_premul, int32_t dst_direction, int32_t dst_premul,
             uint8_t, VX_World* dst) {
  ByDepth(VXp_WorldDepth(dst), [&]<class Pixel>() {
    vxref::BoxBlur1D<Pixel>(
        {radius, flags, src_direction, src_premul != 0, dst_direction, dst_premul != 0}, iterations,
        *src, *dst);
  });
}
// The pass along the rows into premultiplied pixels, then the pass down the columns. An axis with a
// radius of 0 has no pass.
VX_Err BlurWorldTwin(VX_ProgressInfo*, const VX_LayerDef* src, const VX_BlurSpec* spec,
                     VX_LayerDef* dst) {
  const auto pass = [spec]<class Pixel>(const Pixel*, int32_t direction, float radius,
                                        const VX_LayerDef& from, bool from_premultiplied,
                                        const VX_LayerDef& to, bool to_premultiplied) {
    const vxref::BlurPass all{radius,    spec->flags,     direction, from_premultiplied,
                              direction, to_premultiplied};
    if (spec->kind == VX_BlurKind_Box) {
      vxref::BoxBlur1D<Pixel>(all, spec->iterations, from, to);
    } else {
      vxref::GaussianBlur1D<Pixel>(all, from, to);
    }
  };
  return ByDepth(VXp_WorldDepth(dst), [&]<class Pixel>() {
    const float x = spec->radius_x, y = spec->radius_y;
    const Pixel* const type = nullptr;
    if (x == 0 || y == 0) {
      if (x == 0 && y == 0) return kNoTwin;
      pass(type, x == 0, x + y, *src, false, *dst, false);
      return VX_Err{VX_Ok};
    }
    std::vector<Pixel> pixels(static_cast<size_t>(dst->width) * static_cast<size_t>(src->height));
    VX_LayerDef between = *dst;
    between.data = pixels.data();
    between.rowbytes = between.width * static_cast<int32_t>(sizeof(Pixel));
    between.height = src->height;
    between.origin_y = src->origin_y;
    pass(type, VX_Blur_AlongRows, x, *src, false, between, true);
    pass(type, VX_Blur_DownColumns, y, between, true, *dst, false);
    return VX_Err{VX_Ok};
  });
}
VX_Err KernelTwin(void*, double radius, int32_t flags, double multiplier, int32_t* diameter,
                  int32_t* kernel) {
  if (radius > 32767) return kNoTwin;  // 16 bits of the radius are kept
  const std::vector<int32_t> weights = vxref::GaussianKernel(radius, flags, multiplier);
  *diameter = 2 * static_cast<int32_t>(std::ceil(radius)) + 1;
  std::copy(weights.begin(), weights.end(), kernel);
  return VX_Ok;
}

// --- methods of worlds ---------------------------------------------------------------------------

std::vector<Operation> ObjectOperations() {
  const auto source = [](Command& c, auto work) {
    AsObject(c.World(Use::kInput, c.OneIn(3) ? c.AnyDepth() : c.depth), work);
  };
  const auto any_fill = []<class Color>(const Color&, auto fill) {
    return OfObject([fill](Command& c, VX_World& w) {
      const auto color = c.AnyPixel<Color>();
      fill(w, color, c.Rect());
    });
  };
  const auto call = [](VX_World& w, const auto& color, const M_Rect* area) { w.Fill(color, area); };
  const auto twin = [](VX_World& w, const auto& color, const M_Rect* area) {
    FillWith(color, area, w);
  };
  const auto premul = [](auto call) {  // the methods refuse float worlds
    return OfObject([call](Command& c, VX_World& w) {
      c.must_be_refused = c.depth == 32;
      call(c, w);
    });
  };
  const auto premul_twin = [](int32_t forward) {
    return OfObject([forward](Command& c, VX_World& w) {
      const VX_Pixel16 color = c.AnyPixel<VX_Pixel16>();
      PremulColorTwin(nullptr, forward, &color, &w);
    });
  };
  const auto copy = [source](auto call) {
    return OfObject([source, call](Command& c, VX_World& w) {
      const M_Rect rect = c.RectValue();
      const auto h = static_cast<int16_t>(c.Between(-9, 30));
      const auto v = static_cast<int16_t>(c.Between(-4, 6));
      source(c, [&](auto& src) { call(w, src, rect, h, v); });
    });
  };
  return {
      {"VX_World::Clear", OfObject([](Command& c, VX_World& w) { w.Clear(c.Rect()); }),
       OfObject([](Command& c, VX_World& w) { FillWith(VX_Pixel8{}, c.Rect(), w); })},
      {"VX_World::ClearExceptRect",
       OfObject([](Command& c, VX_World& w) { w.ClearExceptRect(c.RectValue()); }),
       OfObject([](Command& c, VX_World& w) {
         const M_Rect area = c.RectValue();
         ChangePixels(w, &area, /*inside=*/false, [](auto& pixel) { pixel = {}; });
       })},
      {"VX_World::Fill float", any_fill(VX_PixelFloat{}, call), any_fill(VX_PixelFloat{}, twin)},
      {"VX_World::Fill 16", any_fill(VX_Pixel16{}, call), any_fill(VX_Pixel16{}, twin)},
      {"VX_World::FillAlpha", OfObject([](Command&, VX_World& w) { w.FillAlpha(); }),
       OfObject([](Command&, VX_World& w) {
         ChangePixels(w, nullptr, /*inside=*/true,
                      []<class Pixel>(Pixel& pixel) { pixel.alpha = kFullAlpha<Pixel>; });
       })},
      {"VX_World::InvertAlpha", OfObject([](Command&, VX_World& w) { w.InvertAlpha(); }),
       OfObject([](Command&, VX_World& w) {
         ChangePixels(w, nullptr, /*inside=*/true, []<class Pixel>(Pixel& pixel) {
           pixel.alpha = static_cast<VX_ChannelOf<Pixel>>(kFullAlpha<Pixel> - pixel.alpha);
         });
       })},
      {"VX_World::Premultiply", premul([](Command&, VX_World& w) { w.Premultiply(); }),
       OfObject([](Command&, VX_World& w) { PremulTwin(nullptr, 1, &w); })},
      {"VX_World::Unmultiply", premul([](Command&, VX_World& w) { w.Unmultiply(); }),
       OfObject([](Command&, VX_World& w) { PremulTwin(nullptr, 0, &w); })},
      {"VX_World::PremulColor",
       premul([](Command& c, VX_World& w) { w.PremulColor(c.AnyPixel<VX_Pixel16>()); }),
       premul_twin(1)},
      {"VX_World::UnmulColor",
       premul([](Command& c, VX_World& w) { w.UnmulColor(c.AnyPixel<VX_Pixel16>()); }),
       premul_twin(0)},
      {"VX_World::CopyRect",
       copy([](VX_World& w, VX_World& src, const M_Rect& rect, int16_t h, int16_t v) {
         w.CopyRect(&src, rect, h, v);
       }),
       copy([](VX_World& w, VX_World& src, const M_Rect& rect, int16_t h, int16_t v) {
         ConvertTwin(nullptr, &src, &rect, 0, h, v, &w);
       })},
      {"VX_World::CopyWorld", OfObject([source](Command& c, VX_World& w) {
         source(c, [&](auto& src) { w.CopyWorld(&src); });
       }),
       OfObject([source](Command& c, VX_World& w) {
         source(c, [&](auto& src) { ConvertTwin(nullptr, &src, nullptr, 0, 0, 0, &w); });
       })},
      {"VX_World::CopyRectPossiblyDifferentBitdepth",
       copy([](VX_World& w, VX_World& src, const M_Rect& rect, int16_t h, int16_t v) {
         w.CopyRectPossiblyDifferentBitdepth(&src, rect, /*dither=*/false, h, v, nullptr);
       }),
       copy([](VX_World& w, VX_World& src, const M_Rect& rect, int16_t h, int16_t v) {
         ConvertTwin(nullptr, &src, &rect, 0, h, v, &w);
       })},
  };
}

}  // namespace

const VX_LinearBlendingTables& TablesOf(int32_t curve) {
  static const VX_LinearBlendingTables tables[] = {
      vxref::BuildTables(
          [](double x) {
            if (x < 0.1) return 0.0;
            return x < 0.9 ? std::pow(x, 1.8) : 1.0;
          },
          1.8f),
      vxref::BuildTables([](double x) { return std::pow(x, 2.2); }, 2.2f)};
  return tables[curve];
}

std::vector<Operation> WorldOperations() {
  constexpr uint32_t kSums = kFinite | kTame, kBlurs = kFew | kTame;
  constexpr double kFloatSum = 4e-6;
#define VX_OP(f) #f, Of(&f)
  std::vector<Operation> all = {
      {VX_OP(VX_Fill), Of(&FillTwin<VX_Pixel8>)},
      {VX_OP(VX_Fill16), Of(&FillTwin<VX_Pixel16>)},
      {VX_OP(VX_FillFloat), Of(&FillTwin<VX_PixelFloat>), 0},
      {VX_OP(VX_ClearAlphaExceptRect), Of(&ClearExceptTwin)},
      {VX_OP(VX_Premul), Of(&PremulTwin)},
      {VX_OP(VX_PremulRect), Of(&PremulRectTwin)},
      {VX_OP(VX_PremulColor), Of(&PremulColorTwin<VX_Pixel8>)},
      {VX_OP(VX_PremulColor16), Of(&PremulColorTwin<VX_Pixel16>)},
      {VX_OP(VX_PremulColorFloat), Of(&PremulColorTwin<VX_PixelFloat>)},
      {VX_OP(VX_PremulColorRect), Of(&PremulAreaTwin<VX_Pixel8>)},
      {VX_OP(VX_PremulColorRect16), Of(&PremulAreaTwin<VX_Pixel16>)},
      {VX_OP(VX_PremulColorRectFloat), Of(&PremulAreaTwin<VX_PixelFloat>)},
      {VX_OP(VX_CopyBits_Draft), Of(&DraftTwin)},
      {VX_OP(VX_CopyBits_Draft_Static), Of(&DraftTwin)},
      {VX_OP(VX_CopyBits3_LO_Straight), Of(&DraftTwin)},
      {VX_OP(VX_CopyBits_HQ_Straight), Of(&HighTwin<false>), kSums, kFloatSum},
      {VX_OP(VX_CopyBits_HQ_Straight_Static), Of(&HighTwin<false>), kSums, kFloatSum},
      {VX_OP(VX_CopyBits_HQ_Premul), Of(&HighTwin<true>), kSums, kFloatSum},
      {VX_OP(VX_CopyBits_HQ_Premul_Static), Of(&HighTwin<true>), kSums, kFloatSum},
      {VX_OP(VX_WorldCopy), Of(&OrderedTwin), kFinite, 0, false},
      {VX_OP(VX_WorldCopy_Static), Of(&OnBitmaps<&DraftTwin>)},
      {VX_OP(VX_WorldCopy_HQ), Of(&OnBitmaps<&HighTwin<false>>), kSums, kFloatSum},
      {VX_OP(VX_WorldCopy_HQ_Static), Of(&OnBitmaps<&HighTwin<false>>), kSums, kFloatSum},
      {VX_OP(VX_WorldCopy_HQ_Straight), Of(&OnBitmaps<&HighTwin<false>>), kSums, kFloatSum},
      {VX_OP(VX_WorldCopy_HQ_Straight_Static), Of(&OnBitmaps<&HighTwin<false>>), kSums, kFloatSum},
      {VX_OP(VX_WorldCopy_HQ_Premul), Of(&OnBitmaps<&HighTwin<true>>), kSums, kFloatSum},
      {VX_OP(VX_ResizeWorld), Of(&ResizeTwin), kSums, kFloatSum},
      {VX_OP(VX_DepthConvertWorld), Of(&ConvertTwin), 0},
      {VX_OP(VX_SpecialCasePixelBlit), Of(&BlitTwin)},
      {VX_OP(VX_CompositeRectDraft_Straight), Of(&CompositeTwin<false>)},
      {VX_OP(VX_CompositeRectDraft_Premul), Of(&CompositeTwin<true>)},
      {VX_OP(VX_CompositeRectBest_Straight), Of(&CompositeTwin<false>)},
      {VX_OP(VX_CompositeRectBest_Premul), Of(&CompositeTwin<true>)},
      {VX_OP(VX_Blend_Straight), Of(&BlendTwin<false>)},
      {VX_OP(VX_Blend_Premul), Of(&BlendTwin<true>)},
      {VX_OP(VX_TransferRect), Of(&TransferTwin)},
      {VX_OP(VX_TransferRect_S), Of(&TransferTwin)},
      {VX_OP(VX_Convolve), Of(&ConvolveTwin)},
      {VX_OP(VX_GaussianKernel), Of(&KernelTwin)},
      {VX_OP(VX_FastBlur_Straight)},
      {VX_OP(VX_FastBlur_Premul)},
      {VX_OP(VX_GaussianBlur1D), Of(&GaussianTwin), kBlurs, kFloatSum},
      {VX_OP(VX_BoxBlur1D), Of(&BoxTwin), kBlurs, kFloatSum},
      {"VX_GaussianBlur1D large", [](Command& c) { return LargePass(c, &VX_GaussianBlur1D); },
       [](Command& c) { return LargePass(c, &GaussianTwin); }, kBlurs, kFloatSum},
      {"VX_BoxBlur1D large", [](Command& c) { return LargePass(c, &VX_BoxBlur1D); },
       [](Command& c) { return LargePass(c, &BoxTwin); }, kBlurs, kFloatSum},
      {VX_OP(VX_BlurWorld), Of(&BlurWorldTwin), kBlurs, 2e-5},
      {VX_OP(VX_TransformWorld), Of(&TransformTwin<>)},
      {VX_OP(VX_TransformWorld_S), Of(&TransformTwin<>)},
      {"motion of VX_TransformWorld", [](Command& c) { return Motion(c, &VX_TransformWorld); },
       [](Command& c) { return Motion(c, &TransformTwin<>); }, kFinite, 0, true, false},
      {"motion in double precision", &DoublePrecision,
       [](Command& c) { return Motion(c, &TransformTwin<false>); }, kFinite, 0, true, false},
      {"motion with replaced samplers", &ReplacedSamplers,
       [](Command& c) { return Motion(c, &TransformTwin<>); }, kFinite, 0, true, false},
      {VX_OP(VX_Iterate), Of(&IterateTwin)},
      {VX_OP(VX_IterateOrigin), Of(&OriginTwin<false>)},
      {VX_OP(VX_IterateOriginAll), Of(&OriginTwin<true>)},
      {VX_OP(VX_IterateLUT), Of(&TablesTwin)},
      {VX_OP(VX_IterateGeneric)},
      {VX_OP(VX_IterateGeneric_Static)},
  };
#undef VX_OP
  const std::vector<Operation> objects = ObjectOperations();
  all.insert(all.end(), objects.begin(), objects.end());
  return all;
}
