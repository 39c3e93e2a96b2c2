// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The portable bilinear samplers: one rule at all three depths, in single precision, with the
// weights w of the neighbours and their alphas a:
//
//   four equal alphas   the result has that alpha, also if it is 0; colours = sum(w c)
//   else                with s = w a: alpha = sum(s), colour = sum(s c) (1 / alpha); a zero pixel
//                       if alpha is 0
//
// Integers are value + 0.5, truncated; floats are not rounded. Whole positions and equal pixels are
// not treated separately.

#include "indep/VXp_QuadLanes.h"
#include "indep/VXp_SampleRow.h"
#include "indep/VXp_Weights.h"

namespace {

template <class Pixel>
VXp_RawPixel<Pixel> Finished(VXp_FloatLanes v) {
  if constexpr (std::is_same_v<Pixel, VX_PixelFloat>) {
    return v;
  } else {
    return VXp_Packed<Pixel>(VXp_Truncated(v + 0.5f));
  }
}

template <class Pixel>
VXp_RawPixel<Pixel> Mixed(const VXp_Quad<Pixel>& raw, const VXp_SingleWeights& w) {
  const VXp_SingleQuad quad(raw);
  if (raw.SameAlphas()) return Finished<Pixel>(quad.Plain(w));
  const VXp_FloatLanes mixed = quad.ByAlpha(w);
  return mixed[0] == 0.0f ? VXp_RawPixel<Pixel>{} : Finished<Pixel>(mixed);
}

template <class Fetch, class Pixel>
VX_Err Sample(VX_Fixed x, VX_Fixed y, const VX_SampPB* record, Pixel* out) {
  const VXp_Position at(x, y);
  const auto quad = Fetch::template Four<Pixel>(*record->src, at);
  VXp_Store(out, Mixed(quad, VXp_SingleWeights(at.fx, at.fy)));
  return VX_Ok;
}

// Float pixels in lanes, in the steps of Mixed. A product with 1 is exact, so equal alphas are
// replaced by 1 and need no formula of their own.
struct FloatRule {
  using Weights = VXp_SingleWeightLanes;

  static void Mix(const VXp_Quads<VX_PixelFloat>& q, const Weights& w, VX_PixelFloat* out) {
    const auto &p00 = q.p00.argb, &p10 = q.p10.argb, &p01 = q.p01.argb, &p11 = q.p11.argb;
    const VXp_PointInts alike =
        (p00.alpha == p10.alpha) & (p00.alpha == p01.alpha) & (p00.alpha == p11.alpha);
    const auto one = VXp_Splat<VXp_PointFloats>(1.0f);
    const VXp_PointFloats s00 = w.w00 * (alike ? one : p00.alpha);
    const VXp_PointFloats s10 = w.w10 * (alike ? one : p10.alpha);
    const VXp_PointFloats s01 = w.w01 * (alike ? one : p01.alpha);
    const VXp_PointFloats s11 = w.w11 * (alike ? one : p11.alpha);
    const VXp_PointFloats sum = s00 + s10 + s01 + s11;
    const VXp_PointFloats inverse = 1.0f / (alike ? one : sum);
    const VXp_PointInts nothing = ~alike & (sum == 0.0f);
    const auto mixed = [&](VXp_PointFloats c00, VXp_PointFloats c10, VXp_PointFloats c01,
                           VXp_PointFloats c11) {
      const VXp_PointFloats color = (s00 * c00 + s10 * c10 + s01 * c01 + s11 * c11) * inverse;
      return nothing ? VXp_PointFloats{} : color;
    };
    const VXp_PointFloats alpha = nothing ? VXp_PointFloats{} : sum;
    const VXp_PixelLanes<VX_PixelFloat> pixels{{alike ? p00.alpha : alpha,
                                                mixed(p00.red, p10.red, p01.red, p11.red),
                                                mixed(p00.green, p10.green, p01.green, p11.green),
                                                mixed(p00.blue, p10.blue, p01.blue, p11.blue)}};
    pixels.Store(out);
  }
};

// Samples a span. Reads the right and lower neighbours even if their weights are zero.
template <class Pixel>
VX_Err SampleSpan(int32_t count, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                  VX_AlphaSumOf<Pixel>* alpha_sum, Pixel* out) {
  if (count <= 0) return VX_Ok;
  const VXp_Position at(x, y);
  const VXp_SingleWeights w(at.fx, at.fy);
  const char* from = VXp_PixelAddress<Pixel>(*record->src, at.column, at.row);
  const int32_t rowbytes = record->src->rowbytes;
  auto sum = *alpha_sum;
  for (int32_t i = 0; i < count; ++i) {
    const VXp_RawPixel<Pixel> pixel = Mixed(VXp_Unclipped::Four<Pixel>(from, rowbytes), w);
    VXp_Store(out + i, pixel);
    if constexpr (std::is_same_v<Pixel, VX_PixelFloat>) {
      sum += pixel[0];
    } else {
      sum += static_cast<VX_ChannelOf<Pixel>>(pixel);
    }
    from += sizeof(Pixel);
  }
  *alpha_sum = sum;
  return VX_Ok;
}

}  // namespace

template <>
[[gnu::flatten]] void VXp_StraightPoints(const VX_SampPB& record, const VX_Fixed* x,
                                         const VX_Fixed* y, int32_t count, ptrdiff_t ahead,
                                         VX_PixelFloat* out) {
  VXp_MixPoints<FloatRule>(VXp_Origin<VX_PixelFloat>(*record.src), x, y, count, ahead, out);
}

template <>
void VXp_StraightRow<VX_PixelFloat>(const VX_SampPB& record, const VX_Fixed* x, int32_t count,
                                    VX_Fixed y, char* out) {
  VXp_SampleRowBy<VX_PixelFloat>(
      *record.src, x, count, y, out,
      [&](const VX_Fixed* xs, const VX_Fixed* ys, int32_t points, VX_PixelFloat* pixels) {
        VXp_StraightPoints<VX_PixelFloat>(record, xs, ys, points, /*ahead=*/0, pixels);
      },
      [&](VX_Fixed at, VX_PixelFloat* pixel) { Sample<VXp_Clipped>(at, y, &record, pixel); });
}

template <>
[[gnu::flatten]] void VXp_StraightSpan(const VX_SampPB& record, VX_Fixed x, VX_Fixed y,
                                       int32_t count, ptrdiff_t ahead, VX_PixelFloat* out) {
  VXp_MixSpan<FloatRule>(VXp_Origin<VX_PixelFloat>(*record.src), x, y, count, ahead, out);
}

VX_Err VX_SubpixelCPlusPlus(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                            VX_Pixel8* out) {
  return Sample<VXp_Clipped>(x, y, record, out);
}

VX_Err VX_SubpixelCPlusPlus16(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                              VX_Pixel16* out) {
  return Sample<VXp_Clipped>(x, y, record, out);
}

VX_Err VX_SubpixelCPlusPlusFloat(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                                 VX_PixelFloat* out) {
  return Sample<VXp_Clipped>(x, y, record, out);
}

VX_Err VX_SubpixelCPlusPlusNoClip(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                                  VX_Pixel8* out) {
  return Sample<VXp_Unclipped>(x, y, record, out);
}

VX_Err VX_SubpixelCPlusPlusNoClip16(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y,
                                    const VX_SampPB* record, VX_Pixel16* out) {
  return Sample<VXp_Unclipped>(x, y, record, out);
}

VX_Err VX_SubpixelCPlusPlusNoClipFloat(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y,
                                       const VX_SampPB* record, VX_PixelFloat* out) {
  return Sample<VXp_Unclipped>(x, y, record, out);
}

VX_Err VX_SubpixelSpanSampleCPlusPlus(VX_ProgressInfo*, int32_t count, VX_Fixed x, VX_Fixed y,
                                      const VX_SampPB* record, uint32_t* alpha_sum,
                                      VX_Pixel8* out) {
  return SampleSpan(count, x, y, record, alpha_sum, out);
}

VX_Err VX_SubpixelSpanSampleCPlusPlus16(VX_ProgressInfo*, int32_t count, VX_Fixed x, VX_Fixed y,
                                        const VX_SampPB* record, uint32_t* alpha_sum,
                                        VX_Pixel16* out) {
  return SampleSpan(count, x, y, record, alpha_sum, out);
}

VX_Err VX_SubpixelSpanSampleCPlusPlusFloat(VX_ProgressInfo*, int32_t count, VX_Fixed x, VX_Fixed y,
                                           const VX_SampPB* record, float* alpha_sum,
                                           VX_PixelFloat* out) {
  return SampleSpan(count, x, y, record, alpha_sum, out);
}

VX_Err VX_SubpixelSpanSampleAllInCPlusPlusFloat(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y,
                                                const VX_SampPB* record, uint8_t* all_in,
                                                VX_PixelFloat* out) {
  Sample<VXp_Clipped>(x, y, record, out);
  *all_in = VXp_AllIn(*record->src, VXp_Position(x, y)) ? 1 : 0;
  return VX_Ok;
}

VX_Err VX_SubpixelSampleTranslateNoClipCPlusPlusFloat(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y,
                                                      const VX_SubpixelWeights* weights,
                                                      const VX_SampPB* record, VX_PixelFloat* out) {
  const auto quad = VXp_Unclipped::Four<VX_PixelFloat>(*record->src, VXp_Position(x, y));
  VXp_Store(out, Mixed(quad, VXp_SingleWeights(*weights)));
  return VX_Ok;
}
