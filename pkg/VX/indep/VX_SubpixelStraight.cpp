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
// they load the neighbours. The function Mixed is the definition. There are two faster forms with
// the same results: points (OnePoint16, BytePointRule) for any positions, and spans (MixColumns),
// in which neighbouring positions share a column of pixels. At 8 bits the second form is used only
// if all alphas are equal.

#include <cmath>
#include <cstring>

#include "indep/VXp_BytePairs.h"
#include "indep/VXp_MixFour.h"
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
  static int32_t Whole(double v) { return static_cast<int32_t>(std::lrint(v)); }
  static bool IsNothing(double alpha) { return Whole(alpha) == 0; }
};

// Rounds to nearest, halves up. The pixel is transparent if alpha is below 0.5 before rounding.
template <>
struct Rule<VX_Pixel16> {
  static VXp_IntLanes Whole(const VXp_DoubleLanes& v) { return VXp_Truncated(v + 0.5); }
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

VXp_DoubleLanes Between(const VXp_DoubleLanes& from, const VXp_DoubleLanes& to, double share) {
  return {from.first + share * (to.first - from.first),
          from.second + share * (to.second - from.second)};
}

// Mixes pixels of equal alphas that are not 0. In double precision this mix is exact, so the
// columns can be mixed first, which is faster. The result has the common alpha.
uint64_t MixedAlike(const VXp_Quad<VX_Pixel16>& quad, uint32_t fx, uint32_t fy) {
  const double a = static_cast<double>(fx) * 0x1p-16, b = static_cast<double>(fy) * 0x1p-16;
  const VXp_DoubleLanes left = Between(VXp_Doubles(quad.p00), VXp_Doubles(quad.p01), b);
  const VXp_DoubleLanes right = Between(VXp_Doubles(quad.p10), VXp_Doubles(quad.p11), b);
  return VXp_Packed16(Rule<VX_Pixel16>::Whole(Between(left, right, a)));
}

uint64_t OnePoint16(const VXp_Quad<VX_Pixel16>& quad, uint32_t fx, uint32_t fy) {
  if ((fx | fy) == 0 || quad.SamePixels()) return quad.p00;
  if (quad.SameAlphas()) return (quad.p00 & 0xFFFF) == 0 ? 0 : MixedAlike(quad, fx, fy);
  return Mixed(quad, VXp_DoubleWeights(fx, fy));
}

// Samples points at 8 bits, four at a time; see VXp_MixPointsByFour.
struct BytePointRule {
  static uint32_t One(const VXp_BytePairs& pairs, uint32_t fx, uint32_t fy) {
    if ((fx | fy) == 0 || pairs.SamePixels()) return pairs.First();
    return Mixed(pairs.Quad(), VXp_DoubleWeights(fx, fy));
  }

  // Computes in single precision. The rounded result is correct unless a value is close to a half;
  // such samples are computed again with One. Fractions that are multiples of 1/256 give many exact
  // halves. For these, alphas are exact in single precision, and if the alphas are equal, colours
  // too.
  static unsigned Four(const VXp_FourQuads& quads, const VXp_FourFractions& f, VX_Pixel8* out) {
    const VXp_WordLanes differences = quads.Differences();
    if (VXp_LaneBits(differences == 0) == 0xF) {
      VXp_Store(out, quads.p00);
      return 0;
    }
    const VXp_IntLanes alike = (differences & 0xFFu) == 0, coarse = f.Coarse();
    VXp_FourMixed mixed;
    if (VXp_LaneBits(alike) == 0xF) {
      mixed = VXp_FourAlike(quads, f);
    } else {
      mixed = VXp_FourByAlpha(quads, VXp_FourCloseWeights(f));
      if (VXp_LaneBits(alike & coarse) != 0) mixed.Take(alike, VXp_FourAlike(quads, f));
    }
    const VXp_FourRounded rounded(mixed);
    const VXp_IntLanes kept = (differences == 0) | f.Whole();
    const VXp_WordLanes sample = rounded.nothing ? VXp_WordLanes{} : rounded.pixels;
    VXp_Store(out, kept ? quads.p00 : sample);
    return VXp_LaneBits(((rounded.alpha_is_near & ~coarse) |
                         (rounded.color_is_near & ~rounded.nothing & ~(alike & coarse))) &
                        ~kept);
  }
};

// The two pixels of a column, and their vertical mix. The mix is not weighted by alpha and is
// exact.
template <class Pixel>
struct SpanColumn {
  SpanColumn(const char* upper_at, ptrdiff_t rowbytes, double fy)
      : upper(VXp_Load<VXp_RawPixel<Pixel>>(upper_at)),
        lower(VXp_Load<VXp_RawPixel<Pixel>>(upper_at + rowbytes)) {
    if constexpr (std::is_same_v<Pixel, VX_Pixel8>) {
      const VXp_FloatLanes above = VXp_Floats(upper);
      mixed = VXp_AsDouble(above + (VXp_Floats(lower) - above) * static_cast<float>(fy));
    } else {
      mixed = Between(VXp_Doubles(upper), VXp_Doubles(lower), fy);
    }
  }

  VXp_RawPixel<Pixel> upper, lower;
  VXp_DoubleLanes mixed;
};

// Samples a span and returns the sum of its alphas. Neighbouring positions share a column of
// pixels. At 8 bits all alphas must be equal.
template <class Pixel>
uint32_t MixColumns(int32_t count, const char* from, ptrdiff_t rowbytes, const VXp_Position& at,
                    Pixel* out) {
  const double a = static_cast<double>(at.fx) * 0x1p-16, b = static_cast<double>(at.fy) * 0x1p-16;
  const VXp_DoubleWeights w(at.fx, at.fy);
  uint32_t sum = 0;
  SpanColumn<Pixel> left(from, rowbytes, b);
  for (ptrdiff_t i = 0; i < count; ++i) {
    from += sizeof(Pixel);
    const SpanColumn<Pixel> right(from, rowbytes, b);
    const VXp_Quad<Pixel> quad{left.upper, right.upper, left.lower, right.lower};
    VXp_RawPixel<Pixel> pixel;
    if (sizeof(Pixel) != sizeof(VX_Pixel8) && !quad.SameAlphas()) {
      pixel = Mixed(quad, w);
    } else if (static_cast<VX_ChannelOf<Pixel>>(quad.p00) != 0) {
      pixel = VXp_Packed<Pixel>(Rule<Pixel>::Whole(Between(left.mixed, right.mixed, a)));
    } else {
      pixel = quad.SamePixels() ? quad.p00 : 0;
    }
    VXp_Store(out + i, pixel);
    sum += static_cast<VX_ChannelOf<Pixel>>(pixel);
    left = right;
  }
  return sum;
}

template <class Pixel>
uint32_t AlphaSum(const Pixel* pixels, int32_t count) {
  uint32_t sum = 0;
  for (int32_t i = 0; i < count; ++i) sum += VXp_Load<VX_ChannelOf<Pixel>>(pixels + i);
  return sum;
}

// Returns whether `count` pixels of a row and of the row below all have the same alpha.
bool HaveOneAlpha(int32_t count, const char* from, ptrdiff_t rowbytes) {
  const auto first = VXp_Load<uint32_t>(from);
  uint32_t differences = 0;
  for (ptrdiff_t i = 0; i < count; ++i) {
    differences |= (VXp_Load<uint32_t>(from + 4 * i) ^ first) |
                   (VXp_Load<uint32_t>(from + rowbytes + 4 * i) ^ first);
  }
  return (differences & 0xFF) == 0;
}

constexpr int32_t kTile = 256;

// Samples a part of a span, at most kTile pixels, and returns the sum of their alphas.
template <class Pixel>
uint32_t SampleTile(int32_t count, const char* from, ptrdiff_t rowbytes, const VXp_Position& at,
                    Pixel* out) {
  if constexpr (sizeof(Pixel) == sizeof(VX_Pixel8)) {
    if (!HaveOneAlpha(count + 1, from, rowbytes)) {
      VX_Fixed x[kTile], y[kTile];
      for (int32_t i = 0; i < count; ++i) {
        x[i] = static_cast<VX_Fixed>(at.fx) + i * 65536;
        y[i] = static_cast<VX_Fixed>(at.fy);
      }
      VXp_MixPointsByFour<BytePointRule>(VXp_Origin<VX_Pixel8>(from, rowbytes), x, y, count, out);
      return AlphaSum(out, count);
    }
  }
  return MixColumns(count, from, rowbytes, at, out);
}

template <class Pixel>
VX_Err SampleSpan(int32_t count, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                  uint32_t* alpha_sum, Pixel* out) {
  if (count <= 0) return VX_Ok;
  const VXp_Position at(x, y);
  const char* const from = VXp_PixelAddress<Pixel>(*record->src, at.column, at.row);
  const ptrdiff_t rowbytes = record->src->rowbytes;
  if (at.IsWhole()) {
    std::memcpy(static_cast<void*>(out), from, static_cast<size_t>(count) * sizeof(Pixel));
    *alpha_sum += AlphaSum(out, count);
    return VX_Ok;
  }
  VXp_RoundingToNearest([=]() __attribute__((flatten)) {
    for (int32_t i = 0; i < count; i += kTile) {
      *alpha_sum +=
          SampleTile(std::min(kTile, count - i), from + ptrdiff_t{i} * ptrdiff_t{sizeof(Pixel)},
                     rowbytes, at, out + i);
    }
  });
  return VX_Ok;
}

}  // namespace

template <>
void VXp_StraightPoints(const VX_SampPB& record, const VX_Fixed* x, const VX_Fixed* y,
                        int32_t count, VX_Pixel8* out) {
  const VX_SampPB* const from = &record;
  VXp_RoundingToNearest([=]() __attribute__((flatten)) {
    VXp_MixPointsByFour<BytePointRule>(VXp_Origin<VX_Pixel8>(*from->src), x, y, count, out);
  });
}

template <>
void VXp_StraightPoints(const VX_SampPB& record, const VX_Fixed* x, const VX_Fixed* y,
                        int32_t count, VX_Pixel16* out) {
  const VX_SampPB* const from = &record;
  VXp_RoundingToNearest([=]() __attribute__((flatten)) {
    VXp_MixPoints(*from, x, y, count, out, OnePoint16);
  });
}

template <class Pixel>
void VXp_StraightRow(const VX_SampPB& record, const VX_Fixed* x, int32_t count, VX_Fixed y,
                     char* out) {
  auto* const pixels = reinterpret_cast<Pixel*>(out);
  const auto [first, end] = VXp_InsideOf(*record.src, x, count, y);
  const auto clipped = [&](int32_t from, int32_t to) {
    for (int32_t i = from; i < to; ++i) Sample<VXp_Clipped>(x[i], y, &record, pixels + i);
  };
  clipped(0, first);
  VX_Fixed ys[kTile];
  std::fill_n(ys, kTile, y);
  for (int32_t i = first; i < end; i += kTile) {
    VXp_StraightPoints<Pixel>(record, x + i, ys, std::min(kTile, end - i), pixels + i);
  }
  clipped(end, count);
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
