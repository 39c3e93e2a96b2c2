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

#include "indep/VXp_SamplePoints.h"
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
void VXp_StraightRow<VX_PixelFloat>(const VX_SampPB& record, const VX_Fixed* x, int32_t count,
                                    VX_Fixed y, char* out) {
  VXp_MixRow<VX_PixelFloat>(*record.src, x, count, y, out,
                            [](const VXp_Quad<VX_PixelFloat>& quad, uint32_t fx, uint32_t fy) {
                              return Mixed(quad, VXp_SingleWeights(fx, fy));
                            });
}

template <>
[[gnu::flatten]] void VXp_StraightPoints(const VX_SampPB& record, const VX_Fixed* x,
                                         const VX_Fixed* y, int32_t count, VX_PixelFloat* out) {
  VXp_MixPoints(record, x, y, count, out,
                [](const VXp_Quad<VX_PixelFloat>& quad, uint32_t fx, uint32_t fy) {
                  return Mixed(quad, VXp_SingleWeights(fx, fy));
                });
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
