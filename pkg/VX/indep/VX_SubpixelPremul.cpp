// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Bilinear samplers for premultiplied pixels, clipped: all four channels are mixed in the same way.
//
// At 8 and 16 bits the weighted sums have no rounding error, and results are sum + 0.5, truncated.
// The weights are exact at 16 bits and integers in 65536ths at 8 bits, see ByteWeights.

#include "indep/VXp_SampleRow.h"
#include "indep/VXp_Weights.h"

namespace {

// The 8-bit weights: integers on a scale of 65536. Three are truncated products; w00 is 65536 minus
// their sum. Sums of weights times bytes are below 2^24 and therefore exact in single precision.
struct ByteWeights {
  ByteWeights(uint32_t fx, uint32_t fy) {
    const uint32_t i11 = fx * fy >> 16;
    const uint32_t i10 = fx * (65536 - fy) >> 16;
    const uint32_t i01 = fy * (65536 - fx) >> 16;
    w00 = static_cast<float>(65536 - i10 - i01 - i11);
    w10 = static_cast<float>(i10);
    w01 = static_cast<float>(i01);
    w11 = static_cast<float>(i11);
  }

  float w00, w10, w01, w11;
};

// Defines, for each depth, the lanes of the channels, the weights, and the rounding of the sum.
template <class Pixel>
struct Rule;

template <>
struct Rule<VX_Pixel8> {
  using Weights = ByteWeights;
  static VXp_FloatLanes Lanes(uint32_t pixel) { return VXp_Floats(pixel); }
  static uint32_t Finished(VXp_FloatLanes sum) {
    return VXp_Packed8(VXp_Truncated((sum + 32768.0f) * 0x1p-16f));
  }
};

template <>
struct Rule<VX_Pixel16> {
  using Weights = VXp_DoubleWeights;
  static VXp_DoubleLanes Lanes(uint64_t pixel) { return VXp_Doubles(pixel); }
  static uint64_t Finished(const VXp_DoubleLanes& sum) {
    return VXp_Packed16(VXp_Truncated(sum + 0.5));
  }
};

// Float is mixed in single precision and not rounded.
template <>
struct Rule<VX_PixelFloat> {
  using Weights = VXp_SingleWeights;
  static VXp_FloatLanes Lanes(VXp_FloatLanes pixel) { return pixel; }
  static VXp_FloatLanes Finished(VXp_FloatLanes sum) { return sum; }
};

// The rule for rows of positions (see VXp_ColumnMixer). The upper and the lower pixel of a column
// are converted to lanes once, for both positions that use them.
template <class Pixel>
struct RowRule {
  using Raw = VXp_RawPixel<Pixel>;
  using Lanes = decltype(Rule<Pixel>::Lanes(Raw{}));
  struct Column {
    Lanes upper, lower;
  };

  static Column Of(Raw upper, Raw lower) {
    return {Rule<Pixel>::Lanes(upper), Rule<Pixel>::Lanes(lower)};
  }
  Raw Mix(const Column& left, const Column& right, uint32_t fx) const {
    const typename Rule<Pixel>::Weights w(fx, fy);
    return Rule<Pixel>::Finished(w.w00 * left.upper + w.w10 * right.upper + w.w01 * left.lower +
                                 w.w11 * right.lower);
  }

  uint32_t fy;
};

template <class Pixel>
VXp_RawPixel<Pixel> MixedQuad(const VXp_Quad<Pixel>& q, const VXp_Position& at) {
  using Row = RowRule<Pixel>;
  return Row{at.fy}.Mix(Row::Of(q.p00, q.p01), Row::Of(q.p10, q.p11), at.fx);
}

// At a whole position, and for four equal pixels, the formula gives the pixel itself. The tests
// only avoid the computation.
template <class Pixel>
VX_Err Sample(VX_Fixed x, VX_Fixed y, const VX_SampPB* record, Pixel* out) {
  const VXp_Position at(x, y);
  if (at.IsWhole()) {
    VXp_Store(out, VXp_Clipped::One<Pixel>(*record->src, at.column, at.row));
    return VX_Ok;
  }
  const auto quad = VXp_Clipped::Four<Pixel>(*record->src, at);
  VXp_Store(out, quad.SamePixels() ? quad.p00 : MixedQuad(quad, at));
  return VX_Ok;
}

}  // namespace

VX_Err VX_SubpixelSample_Premul(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                                VX_Pixel8* out) {
  return Sample(x, y, record, out);
}

VX_Err VX_SubpixelSample_Premul16(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                                  VX_Pixel16* out) {
  return Sample(x, y, record, out);
}

// Whole positions are not treated separately, unlike at the integer depths.
VX_Err VX_SubpixelSample_PremulFloat(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y,
                                     const VX_SampPB* record, VX_PixelFloat* out) {
  const VXp_Position at(x, y);
  VXp_Store(out, MixedQuad(VXp_Clipped::Four<VX_PixelFloat>(*record->src, at), at));
  return VX_Ok;
}

template <class Pixel>
void VXp_PremulRow(const VX_SampPB& record, const VX_Fixed* x, int32_t count, VX_Fixed y,
                   char* out) {
  const RowRule<Pixel> rule{static_cast<uint32_t>(y) & 0xFFFF};
  VXp_ColumnMixer<Pixel, RowRule<Pixel>>(*record.src, y, rule).Run(x, count, out);
}
template VXp_SampleRowCall VXp_PremulRow<VX_Pixel8>;
template VXp_SampleRowCall VXp_PremulRow<VX_Pixel16>;
template VXp_SampleRowCall VXp_PremulRow<VX_PixelFloat>;
