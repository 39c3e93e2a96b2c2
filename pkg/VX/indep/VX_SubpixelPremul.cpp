// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Bilinear samplers for premultiplied pixels, clipped: all four channels are mixed in the same way.
//
// At 8 and 16 bits the weighted sums have no rounding error, and results are sum + 0.5, truncated.
// The weights are exact at 16 bits and integers in 65536ths at 8 bits, see ByteWeights.

#include "indep/VXp_QuadLanes.h"
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

template <class Pixel>
VXp_RawPixel<Pixel> MixedQuad(const VXp_Quad<Pixel>& q, const VXp_Position& at) {
  using R = Rule<Pixel>;
  const typename R::Weights w(at.fx, at.fy);
  return R::Finished(w.w00 * R::Lanes(q.p00) + w.w10 * R::Lanes(q.p10) + w.w01 * R::Lanes(q.p01) +
                     w.w11 * R::Lanes(q.p11));
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

// --- many positions in lanes ---------------------------------------------------------------------

// The weights, the numbers of a channel and the rounding of a sum, with the results of Rule.
template <class Pixel>
struct LaneRule;

template <>
struct LaneRule<VX_Pixel8> {
  struct Weights {
    explicit Weights(const VXp_Fractions& f) {
      const auto fx = reinterpret_cast<VXp_PointWords>(f.fx);
      const auto fy = reinterpret_cast<VXp_PointWords>(f.fy);
      const VXp_PointWords i11 = fx * fy >> 16;
      const VXp_PointWords i10 = fx * (65536u - fy) >> 16;
      const VXp_PointWords i01 = fy * (65536u - fx) >> 16;
      w00 = Numbers(65536u - i10 - i01 - i11);
      w10 = Numbers(i10);
      w01 = Numbers(i01);
      w11 = Numbers(i11);
    }

    VXp_PointFloats w00, w10, w01, w11;
  };
  static VXp_PointFloats Numbers(VXp_PointWords channel) {
    return VXp_AsFloat(reinterpret_cast<VXp_PointInts>(channel));
  }
  static VXp_PointWords Finished(VXp_PointFloats sum) {
    return reinterpret_cast<VXp_PointWords>(VXp_Truncated(sum * 0x1p-16f + 0.5f));
  }
};

template <>
struct LaneRule<VX_Pixel16> {
  using Weights = VXp_DoubleWeightLanes;
  static VXp_PointDoubles Numbers(VXp_PointWords channel) {
    return VXp_PointDoubles::Of(reinterpret_cast<VXp_PointInts>(channel));
  }
  static VXp_PointWords Finished(const VXp_PointDoubles& sum) {
    return reinterpret_cast<VXp_PointWords>((sum + 0.5).RoundedDown());
  }
};

template <class Pixel>
struct PointRule {
  using Weights = typename LaneRule<Pixel>::Weights;

  static void Mix(const VXp_Quads<Pixel>& q, const Weights& w, Pixel* out) {
    const auto channel = [&](int32_t c) {
      const auto numbers = [c](const VXp_PixelLanes<Pixel>& p) {
        return LaneRule<Pixel>::Numbers(p.Channel(c));
      };
      return LaneRule<Pixel>::Finished(w.w00 * numbers(q.p00) + w.w10 * numbers(q.p10) +
                                       w.w01 * numbers(q.p01) + w.w11 * numbers(q.p11));
    };
    VXp_PixelLanes<Pixel>::Of(channel(0), channel(1), channel(2), channel(3)).Store(out);
  }
};

template <>
struct PointRule<VX_PixelFloat> {
  using Weights = VXp_SingleWeightLanes;

  static void Mix(const VXp_Quads<VX_PixelFloat>& q, const Weights& w, VX_PixelFloat* out) {
    const auto &p00 = q.p00.argb, &p10 = q.p10.argb, &p01 = q.p01.argb, &p11 = q.p11.argb;
    const auto mixed = [&w](VXp_PointFloats c00, VXp_PointFloats c10, VXp_PointFloats c01,
                            VXp_PointFloats c11) {
      return w.w00 * c00 + w.w10 * c10 + w.w01 * c01 + w.w11 * c11;
    };
    const VXp_PixelLanes<VX_PixelFloat> pixels{{mixed(p00.alpha, p10.alpha, p01.alpha, p11.alpha),
                                                mixed(p00.red, p10.red, p01.red, p11.red),
                                                mixed(p00.green, p10.green, p01.green, p11.green),
                                                mixed(p00.blue, p10.blue, p01.blue, p11.blue)}};
    pixels.Store(out);
  }
};

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
[[gnu::flatten]] void VXp_PremulRow(const VX_SampPB& record, const VX_Fixed* x, int32_t count,
                                    VX_Fixed y, char* out) {
  VXp_SampleRowBy<Pixel>(
      *record.src, x, count, y, out,
      [&](const VX_Fixed* xs, const VX_Fixed* ys, int32_t points, Pixel* pixels) {
        VXp_MixPoints<PointRule<Pixel>>(VXp_Origin<Pixel>(*record.src), xs, ys, points,
                                        /*ahead=*/0, pixels);
      },
      [&](VX_Fixed at, Pixel* pixel) {
        const VXp_Position position(at, y);
        VXp_Store(pixel, MixedQuad(VXp_Clipped::Four<Pixel>(*record.src, position), position));
      });
}
template VXp_SampleRowCall VXp_PremulRow<VX_Pixel8>;
template VXp_SampleRowCall VXp_PremulRow<VX_Pixel16>;
template VXp_SampleRowCall VXp_PremulRow<VX_PixelFloat>;
