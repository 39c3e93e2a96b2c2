// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Bilinear samplers for straight alpha at 8 and 16 bits, in double precision, with the weights w of
// the neighbours and their alphas a:
//
//   a whole position    the pixel unchanged
//   four equal pixels   that pixel
//   four equal alphas   that alpha, and colours = sum(w c); a zero pixel if the alpha is 0
//   else                with s = w a: alpha = sum(s), colour = sum(s c) (1 / alpha)
//
// The two depths round differently, see Rule. Clipped and unclipped samplers differ only in how
// they load the neighbours. The function Mixed is the definition. PointRule gives the same results
// for many positions at once.

#include <cmath>
#include <cstring>

#include "indep/VXp_MixBytes.h"
#include "indep/VXp_Rounding.h"
#include "indep/VXp_SampleRow.h"
#include "indep/VXp_Weights.h"

namespace {

template <class Pixel>
struct Rule;

// Rounds to nearest, ties to even. The pixel is transparent if alpha is 0 after rounding, so an
// alpha of exactly 0.5 is transparent.
template <>
struct Rule<VX_Pixel8> {
  static VXp_IntLanes Whole(const VXp_DoubleLanes& v) { return VXp_Rounded(v); }
  static VXp_PointInts Whole(const VXp_PointDoubles& v) { return v.Rounded(); }
  static int32_t Whole(double v) { return static_cast<int32_t>(std::lrint(v)); }
  static bool IsNothing(double alpha) { return Whole(alpha) == 0; }
};

// Rounds to nearest, halves up. The pixel is transparent if alpha is below 0.5 before rounding.
template <>
struct Rule<VX_Pixel16> {
  static VXp_IntLanes Whole(const VXp_DoubleLanes& v) { return VXp_Truncated(v + 0.5); }
  static VXp_PointInts Whole(const VXp_PointDoubles& v) { return (v + 0.5).RoundedDown(); }
  static int32_t Whole(double v) { return static_cast<int32_t>(v + 0.5); }
  static bool IsNothing(double alpha) { return alpha < 0.5; }
};

// Mixes four pixels that are not all equal.
template <class Pixel>
VXp_RawPixel<Pixel> Mixed(const VXp_Quad<Pixel>& quad, const VXp_DoubleWeights& w) {
  const auto same_alpha = static_cast<VX_ChannelOf<Pixel>>(quad.p00);
  const bool same = quad.SameAlphas();
  if (same && same_alpha == 0) return 0;
  const VXp_DoubleLanes p00 = VXp_Doubles(quad.p00), p10 = VXp_Doubles(quad.p10);
  const VXp_DoubleLanes p01 = VXp_Doubles(quad.p01), p11 = VXp_Doubles(quad.p11);
  VXp_IntLanes whole;
  if (same) {
    whole = Rule<Pixel>::Whole(w.w00 * p00 + w.w10 * p10 + w.w01 * p01 + w.w11 * p11);
    whole[0] = same_alpha;
  } else {
    const double s00 = w.w00 * p00.Alpha(), s10 = w.w10 * p10.Alpha();
    const double s01 = w.w01 * p01.Alpha(), s11 = w.w11 * p11.Alpha();
    const double alpha = s00 + s10 + s01 + s11;
    if (Rule<Pixel>::IsNothing(alpha)) return 0;
    const VXp_DoubleLanes sum = s00 * p00 + s10 * p10 + s01 * p01 + s11 * p11;
    whole = Rule<Pixel>::Whole((1.0 / alpha) * sum);
    whole[0] = Rule<Pixel>::Whole(alpha);
  }
  return VXp_Packed<Pixel>(whole);
}

template <class Pixel>
VXp_RawPixel<Pixel> SampleQuad(const VXp_Quad<Pixel>& quad, const VXp_DoubleWeights& w) {
  return quad.SamePixels() ? quad.p00 : Mixed(quad, w);
}

template <class Pixel>
VX_Err StoreMixed(const VXp_Quad<Pixel>& quad, const VXp_Position& at, Pixel* out) {
  if (quad.SamePixels()) {
    VXp_Store(out, quad.p00);
  } else {
    VXp_RoundingToNearest([=] { VXp_Store(out, Mixed(quad, VXp_DoubleWeights(at.fx, at.fy))); });
  }
  return VX_Ok;
}

template <class Fetch, class Pixel>
VX_Err Sample(VX_Fixed x, VX_Fixed y, const VX_SampPB* record, Pixel* out) {
  const VXp_Position at(x, y);
  if (at.IsWhole()) {
    VXp_Store(out, Fetch::template One<Pixel>(*record->src, at.column, at.row));
    return VX_Ok;
  }
  return StoreMixed(Fetch::template Four<Pixel>(*record->src, at), at, out);
}

// Sets *all_in to 0 at a whole position, even inside the world. VXp_LineSampler relies on this.
template <class Pixel>
VX_Err SamplePlus(VX_Fixed x, VX_Fixed y, const VX_SampPB* record, uint8_t* all_in, Pixel* out) {
  const VXp_Position at(x, y);
  *all_in = !at.IsWhole() && VXp_AllIn(*record->src, at) ? 1 : 0;
  return Sample<VXp_Clipped>(x, y, record, out);
}

template <class Pixel>
VX_Err SampleWeighted(VX_Fixed x, VX_Fixed y, const VX_SubpixelWeights* weights,
                      const VX_SampPB* record, Pixel* out) {
  const auto quad = VXp_Unclipped::Four<Pixel>(*record->src, VXp_Position(x, y));
  if (quad.SamePixels()) {
    VXp_Store(out, quad.p00);
  } else {
    const VXp_DoubleWeights w(*weights);
    VXp_RoundingToNearest([=] { VXp_Store(out, Mixed(quad, w)); });
  }
  return VX_Ok;
}

// --- many positions ------------------------------------------------------------------------------

// Bounds of the error of colours up to 255 in single precision. VXp_MixByAlpha rounds at most 13
// times (relative to the result, since no term is negative); VXp_MixAlike rounds twice.
constexpr float kErrorByAlpha = 0x1p-12f, kErrorAlike = 0x1p-15f;

// Mixes, rounded to nearest (ties to even) and packed to pixels, and the distances from the rounded
// values. Of the three colours, the largest distance. NaN is ignored.
struct RoundedBytes {
  explicit RoundedBytes(const VXp_ByteMix& mixed) {
    for (int32_t c = 0; c < 4; ++c) {
      constexpr float kUnits = 0x1p23f;  // adding it rounds to an integer in the low bits
      const VXp_PointFloats sum = mixed.channel[c] + kUnits;
      const VXp_PointFloats off = mixed.channel[c] - (sum - kUnits);
      const auto distance =
          reinterpret_cast<VXp_PointFloats>(reinterpret_cast<VXp_PointInts>(off) & 0x7FFFFFFF);
      const auto bits = reinterpret_cast<VXp_PointWords>(sum);  // bits 8 to 23 are 0
      if (c == 0) {
        pixels = bits & 0xFFu;
      } else {
        pixels |= bits << (8 * c);
      }
      if (c == 0) {
        alpha_distance = distance;
      } else {
        color_distance = VXp_MaxFloats(distance, color_distance);
      }
    }
  }

  VXp_PointWords pixels{};
  VXp_PointFloats alpha_distance{}, color_distance{};
};

VXp_PointDoubles Doubles(VXp_PointWords channel) {
  return VXp_PointDoubles::Of(reinterpret_cast<VXp_PointInts>(channel));
}

// Computes a group in double precision, in the steps of Mixed. The caller replaces the samples of
// whole positions and of equal pixels.
template <class Pixel>
struct DoubleMix {
  using Lanes = VXp_PixelLanes<Pixel>;
  using Numbers = VXp_PointDoubles;

  // `differences` has a bit set where the alphas of the neighbours differ.
  static Lanes Mix(const VXp_Quads<Pixel>& q, const VXp_DoubleWeightLanes& w,
                   VXp_PointWords differences) {
    const Lanes mixed = VXp_AnyBit(differences) ? ByAlpha(q, w, differences == 0) : Alike(q, w);
    return mixed.Where(mixed.Channel(0) != 0);
  }

 private:
  static VXp_PointWords Whole(const Numbers& v) {
    return reinterpret_cast<VXp_PointWords>(Rule<Pixel>::Whole(v));
  }

  // Mixes each colour with mix(c00, c10, c01, c11).
  template <class Mixing>
  static Lanes Colors(const VXp_Quads<Pixel>& q, VXp_PointWords alpha, const Mixing& mix) {
    const auto color = [&](int32_t c) {
      return Whole(mix(Doubles(q.p00.Channel(c)), Doubles(q.p10.Channel(c)),
                       Doubles(q.p01.Channel(c)), Doubles(q.p11.Channel(c))));
    };
    return Lanes::Of(alpha, color(1), color(2), color(3));
  }

  // Equal alphas are replaced by 1: then the sum of the weighted alphas is exactly 1, and so is its
  // reciprocal.
  static Lanes ByAlpha(const VXp_Quads<Pixel>& q, const VXp_DoubleWeightLanes& w,
                       VXp_PointInts alike) {
    const auto weighted = [alike](const Numbers& weight, const Lanes& pixels) {
      return weight * Doubles(alike ? VXp_PointWords{} + 1u : pixels.Channel(0));
    };
    const Numbers s00 = weighted(w.w00, q.p00), s10 = weighted(w.w10, q.p10);
    const Numbers s01 = weighted(w.w01, q.p01), s11 = weighted(w.w11, q.p11);
    const Numbers sum = s00 + s10 + s01 + s11, inverse = 1.0 / sum;
    return Colors(
        q, alike ? q.p00.Channel(0) : Whole(sum),
        [&](const Numbers& c00, const Numbers& c10, const Numbers& c01, const Numbers& c11) {
          return (s00 * c00 + s10 * c10 + s01 * c01 + s11 * c11) * inverse;
        });
  }

  static Lanes Alike(const VXp_Quads<Pixel>& q, const VXp_DoubleWeightLanes& w) {
    return Colors(
        q, q.p00.Channel(0),
        [&](const Numbers& c00, const Numbers& c10, const Numbers& c01, const Numbers& c11) {
          return w.w00 * c00 + w.w10 * c10 + w.w01 * c01 + w.w11 * c11;
        });
  }
};

template <class Pixel>
struct PointRule;

// Computes in single precision. The rounded result is correct unless a value is close to a half;
// such groups are computed again in double precision. Fractions that are multiples of 1/256 give
// many exact halves. For these, alphas are exact in single precision, and if the alphas are equal,
// colours too.
template <>
struct PointRule<VX_Pixel8> {
  struct Weights {
    explicit Weights(const VXp_Fractions& f)
        : stored(f), fractions(f), close(fractions), coarse(((f.fx | f.fy) & 0xFF) == 0) {}

    VXp_Fractions stored;
    VXp_FloatFractions fractions;
    VXp_CloseWeightLanes close;
    VXp_PointInts coarse;
  };

  static void Mix(const VXp_Quads<VX_Pixel8>& stored, const Weights& w, VX_Pixel8* out) {
    const VXp_ByteQuads quads(stored);
    const VXp_PointWords differences = quads.Differences();
    if (!VXp_AnyBit(differences)) {
      stored.p00.Store(out);
      return;
    }
    const VXp_PointInts same = differences == 0, alike = (differences & 0xFFu) == 0;
    VXp_ByteMix mixed;
    float error = kErrorByAlpha;
    if (!VXp_AnyBit(differences & 0xFFu)) {
      error = kErrorAlike;
      mixed = VXp_MixAlike(quads, w.fractions);
    } else {
      mixed = VXp_MixByAlpha(quads, w.close);
      if (VXp_AnyLane(alike & w.coarse)) mixed.Take(alike, VXp_MixAlike(quads, w.fractions));
    }
    const RoundedBytes rounded(mixed);
    const VXp_PointInts kept = same | w.stored.Whole();
    const VXp_PointInts nothing = (rounded.pixels & 0xFFu) == 0;
    VXp_PointWords sample = nothing ? VXp_PointWords{} : rounded.pixels;
    const VXp_PointInts alpha_is_near = (rounded.alpha_distance > 0.5f - error) & ~w.coarse;
    const VXp_PointInts color_is_near = rounded.color_distance > 0.5f - error;
    if (VXp_AnyLane(alpha_is_near | color_is_near)) [[unlikely]] {
      const VXp_PointInts unsure = alpha_is_near | (color_is_near & ~nothing & ~(alike & w.coarse));
      if (VXp_AnyLane(unsure & ~kept)) {
        const VXp_DoubleWeightLanes weights(w.stored);
        sample = DoubleMix<VX_Pixel8>::Mix(stored, weights, differences & 0xFFu).words;
      }
    }
    VXp_StoreLanes(out, 0, kept ? quads.p00 : sample);
  }
};

template <>
struct PointRule<VX_Pixel16> {
  struct Weights : VXp_DoubleWeightLanes {
    explicit Weights(const VXp_Fractions& f) : VXp_DoubleWeightLanes(f), whole(f.Whole()) {}

    VXp_PointInts whole;
  };

  static void Mix(const VXp_Quads<VX_Pixel16>& q, const Weights& w, VX_Pixel16* out) {
    const VXp_PointWords ar = Differences(q.p00.ar, q.p10.ar, q.p01.ar, q.p11.ar);
    const VXp_PointWords gb = Differences(q.p00.gb, q.p10.gb, q.p01.gb, q.p11.gb);
    const VXp_PointInts kept = ((ar | gb) == 0) | w.whole;
    if (!VXp_AnyLane(~kept)) {
      q.p00.Store(out);
      return;
    }
    const auto sample = DoubleMix<VX_Pixel16>::Mix(q, w, ar & 0xFFFFu);
    VXp_PixelLanes<VX_Pixel16>{kept ? q.p00.ar : sample.ar, kept ? q.p00.gb : sample.gb}.Store(out);
  }

 private:
  static VXp_PointWords Differences(VXp_PointWords a, VXp_PointWords b, VXp_PointWords c,
                                    VXp_PointWords d) {
    return (a ^ b) | (a ^ c) | (a ^ d);
  }
};

template <class Pixel>
uint32_t AlphaSum(const Pixel* pixels, int32_t count) {
  uint32_t sum = 0;
  for (int32_t i = 0; i < count; ++i) sum += VXp_Load<VX_ChannelOf<Pixel>>(pixels + i);
  return sum;
}

template <class Pixel>
VX_Err SampleSpan(int32_t count, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                  uint32_t* alpha_sum, Pixel* out) {
  if (count <= 0) return VX_Ok;
  const VXp_Position at(x, y);
  if (at.IsWhole()) {
    std::memcpy(static_cast<void*>(out), VXp_PixelAddress<Pixel>(*record->src, at.column, at.row),
                static_cast<size_t>(count) * sizeof(Pixel));
  } else {
    VXp_StraightSpan(*record, x, y, count, /*ahead=*/0, out);
  }
  *alpha_sum += AlphaSum(out, count);
  return VX_Ok;
}

}  // namespace

template <class Pixel>
void VXp_StraightPoints(const VX_SampPB& record, const VX_Fixed* x, const VX_Fixed* y,
                        int32_t count, ptrdiff_t ahead, Pixel* out) {
  const VX_SampPB* const from = &record;
  VXp_RoundingToNearest([=]() __attribute__((flatten)) {
    VXp_MixPoints<PointRule<Pixel>>(VXp_Origin<Pixel>(*from->src), x, y, count, ahead, out);
  });
}
template VXp_SamplePointsCall<VX_Pixel8> VXp_StraightPoints<VX_Pixel8>;
template VXp_SamplePointsCall<VX_Pixel16> VXp_StraightPoints<VX_Pixel16>;

template <class Pixel>
void VXp_StraightSpan(const VX_SampPB& record, VX_Fixed x, VX_Fixed y, int32_t count,
                      ptrdiff_t ahead, Pixel* out) {
  const VX_SampPB* const from = &record;
  VXp_RoundingToNearest([=]() __attribute__((flatten)) {
    VXp_MixSpan<PointRule<Pixel>>(VXp_Origin<Pixel>(*from->src), x, y, count, ahead, out);
  });
}
template VXp_SampleSpanCall<VX_Pixel8> VXp_StraightSpan<VX_Pixel8>;
template VXp_SampleSpanCall<VX_Pixel16> VXp_StraightSpan<VX_Pixel16>;

template <class Pixel>
void VXp_StraightRow(const VX_SampPB& record, const VX_Fixed* x, int32_t count, VX_Fixed y,
                     char* out) {
  VXp_SampleRowBy<Pixel>(
      *record.src, x, count, y, out,
      [&](const VX_Fixed* xs, const VX_Fixed* ys, int32_t points, Pixel* pixels) {
        VXp_StraightPoints<Pixel>(record, xs, ys, points, /*ahead=*/0, pixels);
      },
      [&](VX_Fixed at, Pixel* pixel) { Sample<VXp_Clipped>(at, y, &record, pixel); });
}
template VXp_SampleRowCall VXp_StraightRow<VX_Pixel8>;
template VXp_SampleRowCall VXp_StraightRow<VX_Pixel16>;

VX_Err VX_SubpixelSample_Straight(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                                  VX_Pixel8* out) {
  return Sample<VXp_Clipped>(x, y, record, out);
}

VX_Err VX_SubpixelSample_Straight16(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y,
                                    const VX_SampPB* record, VX_Pixel16* out) {
  return Sample<VXp_Clipped>(x, y, record, out);
}

VX_Err VX_SubpixelSampleNoClip_Straight(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y,
                                        const VX_SampPB* record, VX_Pixel8* out) {
  return Sample<VXp_Unclipped>(x, y, record, out);
}

VX_Err VX_SubpixelSampleNoClip_Straight16(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y,
                                          const VX_SampPB* record, VX_Pixel16* out) {
  return Sample<VXp_Unclipped>(x, y, record, out);
}

VX_Err VX_SubpixelSamplePlus_Straight(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y,
                                      const VX_SampPB* record, uint8_t* all_in, VX_Pixel8* out) {
  return SamplePlus(x, y, record, all_in, out);
}

VX_Err VX_SubpixelSamplePlus_Straight16(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y,
                                        const VX_SampPB* record, uint8_t* all_in, VX_Pixel16* out) {
  return SamplePlus(x, y, record, all_in, out);
}

VX_Err VX_SubpixelSampleTranslateNoClip_Straight(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y,
                                                 const VX_SubpixelWeights* weights,
                                                 const VX_SampPB* record, VX_Pixel8* out) {
  return SampleWeighted(x, y, weights, record, out);
}

VX_Err VX_SubpixelSampleTranslateNoClip_Straight16(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y,
                                                   const VX_SubpixelWeights* weights,
                                                   const VX_SampPB* record, VX_Pixel16* out) {
  return SampleWeighted(x, y, weights, record, out);
}

VX_Err VX_SubpixelSpanSampleTranslateNoClip_Straight(VX_ProgressInfo*, int32_t count, VX_Fixed x,
                                                     VX_Fixed y, const VX_SampPB* record,
                                                     uint32_t* alpha_sum, VX_Pixel8* out) {
  return SampleSpan(count, x, y, record, alpha_sum, out);
}

VX_Err VX_SubpixelSpanSampleTranslateNoClip_Straight16(VX_ProgressInfo*, int32_t count, VX_Fixed x,
                                                       VX_Fixed y, const VX_SampPB* record,
                                                       uint32_t* alpha_sum, VX_Pixel16* out) {
  return SampleSpan(count, x, y, record, alpha_sum, out);
}

VX_Err VX_SubpixelSampleComputeWeight(uint16_t fx, uint16_t fy, VX_SubpixelWeights* out) {
  const VXp_DoubleWeights w(fx, fy);
  *out = {w.w00, w.w10, w.w01, w.w11};
  return VX_Ok;
}
