// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Bilinear with straight alpha at 8 and 16 bits, in double precision.
//
//   a whole position    the pixel as it is
//   four equal pixels   that pixel, which spares flat areas all arithmetic
//   four equal alphas   that alpha, colours mixed; nothing where it is 0
//   else                s = w a;  alpha = sum(s);  colour = sum(s c) (1 / alpha)
//
// The two depths round apart, see Rule. Clipped and unclipped differ in the fetch alone.

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

// To nearest, ties to even; alpha counts after rounding, so a half is nothing.
template <>
struct Rule<VX_Pixel8> {
  static VXp_IntLanes Whole(const VXp_DoubleLanes& v) { return VXp_Rounded(v); }
  static int32_t Whole(double v) { return static_cast<int32_t>(std::lrint(v)); }
  static bool IsNothing(double alpha) { return Whole(alpha) == 0; }
};

// Halves up; alpha counts before rounding.
template <>
struct Rule<VX_Pixel16> {
  static VXp_IntLanes Whole(const VXp_DoubleLanes& v) { return VXp_Truncated(v + 0.5); }
  static int32_t Whole(double v) { return static_cast<int32_t>(v + 0.5); }
  static bool IsNothing(double alpha) { return alpha < 0.5; }
};

// Four pixels that are not all the same.
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
VX_Err StoreMixed(const VXp_Quad<Pixel>& quad, const VXp_Place& at, Pixel* out) {
  if (quad.SamePixels()) {
    VXp_Store(out, quad.p00);
  } else {
    VXp_RoundingToNearest([=] { VXp_Store(out, Mixed(quad, VXp_DoubleWeights(at.fx, at.fy))); });
  }
  return VX_Ok;
}

template <class Fetch, class Pixel>
VX_Err Sample(VX_Fixed x, VX_Fixed y, const VX_SampPB* record, Pixel* out) {
  const VXp_Place at(x, y);
  if (at.IsWhole()) {
    VXp_Store(out, Fetch::template One<Pixel>(*record->src, at.column, at.row));
    return VX_Ok;
  }
  return StoreMixed(Fetch::template Four<Pixel>(*record->src, at), at, out);
}

// A whole position tells 0 even inside: the rows of a transform stay with this form past it.
template <class Pixel>
VX_Err SamplePlus(VX_Fixed x, VX_Fixed y, const VX_SampPB* record, uint8_t* all_in, Pixel* out) {
  const VXp_Place at(x, y);
  *all_in = !at.IsWhole() && VXp_AllIn(*record->src, at) ? 1 : 0;
  return Sample<VXp_Clipped>(x, y, record, out);
}

template <class Pixel>
VX_Err SampleWeighted(VX_Fixed x, VX_Fixed y, const VX_SubpixelWeights* weights,
                      const VX_SampPB* record, Pixel* out) {
  const auto quad = VXp_Unclipped::Four<Pixel>(*record->src, VXp_Place(x, y));
  if (quad.SamePixels()) {
    VXp_Store(out, quad.p00);
  } else {
    const VXp_DoubleWeights w(*weights);
    VXp_RoundingToNearest([=] { VXp_Store(out, Mixed(quad, w)); });
  }
  return VX_Ok;
}

// Equal alphas that are not 0. The plain mix is exact in double precision, so it may go down the
// columns first, and gives the common alpha by itself.
uint32_t MixedAlike(const VXp_BytePairs& pairs, uint32_t fx, uint32_t fy) {
  const VXp_ByteColumns columns(pairs, fy);
  const VXp_DoubleLanes left = VXp_AsDouble(columns.left);
  const VXp_DoubleLanes rise = VXp_AsDouble(columns.right - columns.left);
  const double a = static_cast<double>(fx) * 0x1p-32;
  return VXp_Packed8(VXp_Rounded(0x1p-16 * left + a * rise));
}

VXp_DoubleLanes Between(const VXp_DoubleLanes& from, const VXp_DoubleLanes& to, double way) {
  return {from.first + way * (to.first - from.first),
          from.second + way * (to.second - from.second)};
}

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

// Of positions at 8 bits, four a step; see VXp_MixPointsByFour.
struct BytePointRule {
  static uint32_t One(const VXp_BytePairs& pairs, uint32_t fx, uint32_t fy) {
    if ((fx | fy) == 0 || pairs.SamePixels()) return pairs.First();
    if (pairs.SameAlphas()) return (pairs.upper & 0xFF) == 0 ? 0 : MixedAlike(pairs, fx, fy);
    return Mixed(pairs.Quad(), VXp_DoubleWeights(fx, fy));
  }

  // Single precision tells the whole numbers but for those near to a half. Coarse fractions, which
  // bring many halves, leave alphas exact, and colours too where the alphas are alike.
  static unsigned Four(const VXp_FourQuads& quads, const VXp_FourFractions& f, VX_Pixel8* out) {
    const VXp_WordLanes differences = quads.Differences();
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

// Columns at 8 bits. There w a c is exact in double precision too, so the mix may go down them
// first, and division by equal alphas gives the plain mix.
class ByteColumnRule {
 public:
  struct Column {
    uint32_t upper, lower;
    VXp_DoubleLanes sum;  // alpha, and colours times alpha
  };

  explicit ByteColumnRule(VX_Fixed y)
      : whole_((static_cast<uint32_t>(y) & 0xFFFF) == 0),
        below_(static_cast<double>(static_cast<uint32_t>(y) & 0xFFFF) * 0x1p-16) {}

  Column Of(uint32_t upper, uint32_t lower) const {
    return {upper, lower, (1.0 - below_) * ByAlpha(upper) + below_ * ByAlpha(lower)};
  }

  uint32_t Mix(const Column& left, const Column& right, uint32_t fx) const {
    const VXp_Quad<VX_Pixel8> quad{left.upper, right.upper, left.lower, right.lower};
    if (quad.SamePixels() || (whole_ && fx == 0)) return quad.p00;
    const double a = static_cast<double>(fx) * 0x1p-16;
    const VXp_DoubleLanes sum = (1.0 - a) * left.sum + a * right.sum;
    const double alpha = sum.Alpha();
    if (alpha <= 0.5) return 0;
    VXp_DoubleLanes mixed = quad.SameAlphas()
                                ? VXp_DoubleLanes{sum.first / alpha, sum.second / alpha}
                                : (1.0 / alpha) * sum;
    mixed.first[0] = alpha;
    return VXp_Packed8(VXp_Rounded(mixed));
  }

 private:
  static VXp_DoubleLanes ByAlpha(uint32_t pixel) {
    return VXp_AsDouble(VXp_TimesAlpha(VXp_Floats(pixel)));
  }

  bool whole_;
  double below_;
};

// The two pixels of a column, and their plain mix, which is exact.
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

// Where neighbours of a span have not the same alpha.
template <class Pixel>
class SpanMix {
 public:
  explicit SpanMix(const VXp_Place& at) : w_(at.fx, at.fy) {}
  VXp_RawPixel<Pixel> At(ptrdiff_t, const VXp_Quad<Pixel>& quad) const { return Mixed(quad, w_); }

 private:
  VXp_DoubleWeights w_;
};

// One that follows another shares its column.
template <>
class SpanMix<VX_Pixel8> {
 public:
  explicit SpanMix(const VXp_Place& at) : rule_(static_cast<VX_Fixed>(at.fy)), fx_(at.fx) {}
  uint32_t At(ptrdiff_t i, const VXp_Quad<VX_Pixel8>& quad) {
    const ByteColumnRule::Column left = i == next_ ? right_ : rule_.Of(quad.p00, quad.p01);
    right_ = rule_.Of(quad.p10, quad.p11);
    next_ = i + 1;
    return rule_.Mix(left, right_, fx_);
  }

 private:
  ByteColumnRule rule_;
  uint32_t fx_;
  ByteColumnRule::Column right_{};
  ptrdiff_t next_ = -1;
};

// As the unclipped form, pixel after pixel; the fractions stay, and neighbours share a column.
template <class Pixel>
void WalkSpan(int32_t count, const char* from, ptrdiff_t rowbytes, const VXp_Place& at,
              uint32_t* alpha_sum, Pixel* out) {
  const double a = static_cast<double>(at.fx) * 0x1p-16, b = static_cast<double>(at.fy) * 0x1p-16;
  SpanMix<Pixel> mix(at);
  uint32_t sum = *alpha_sum;
  SpanColumn<Pixel> left(from, rowbytes, b);
  for (ptrdiff_t i = 0; i < count; ++i) {
    from += sizeof(Pixel);
    const SpanColumn<Pixel> right(from, rowbytes, b);
    const VXp_Quad<Pixel> quad{left.upper, right.upper, left.lower, right.lower};
    VXp_RawPixel<Pixel> pixel;
    if (!quad.SameAlphas()) {
      pixel = mix.At(i, quad);
    } else if (static_cast<VX_ChannelOf<Pixel>>(quad.p00) != 0) {
      pixel = VXp_Packed<Pixel>(Rule<Pixel>::Whole(Between(left.mixed, right.mixed, a)));
    } else {
      pixel = quad.SamePixels() ? quad.p00 : 0;
    }
    VXp_Store(out + i, pixel);
    sum += static_cast<VX_ChannelOf<Pixel>>(pixel);
    left = right;
  }
  *alpha_sum = sum;
}

template <class Pixel>
VX_Err SampleSpan(int32_t count, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                  uint32_t* alpha_sum, Pixel* out) {
  if (count <= 0) return VX_Ok;
  const VXp_Place at(x, y);
  const char* const from = VXp_PixelAddress<Pixel>(*record->src, at.column, at.row);
  if (at.IsWhole()) {
    std::memcpy(static_cast<void*>(out), from, static_cast<size_t>(count) * sizeof(Pixel));
    for (ptrdiff_t i = 0; i < count; ++i) *alpha_sum += VXp_Load<VX_ChannelOf<Pixel>>(out + i);
    return VX_Ok;
  }
  const ptrdiff_t rowbytes = record->src->rowbytes;
  VXp_RoundingToNearest([=] { WalkSpan(count, from, rowbytes, at, alpha_sum, out); });
  return VX_Ok;
}

}  // namespace

template <>
void VXp_StraightRow<VX_Pixel8>(const VX_SampPB& record, const VX_Fixed* x, int32_t count,
                                VX_Fixed y, char* out) {
  const VX_LayerDef* const src = record.src;
  VXp_RoundingToNearest([=] {
    VXp_ColumnWalk<VX_Pixel8, ByteColumnRule>(*src, y, ByteColumnRule(y)).Run(x, count, out);
  });
}

template <>
void VXp_StraightRow<VX_Pixel16>(const VX_SampPB& record, const VX_Fixed* x, int32_t count,
                                 VX_Fixed y, char* out) {
  const VX_LayerDef* const src = record.src;
  VXp_RoundingToNearest([=] {
    VXp_MixRow<VX_Pixel16>(
        *src, x, count, y, out, [](const VXp_Quad<VX_Pixel16>& quad, uint32_t fx, uint32_t fy) {
          return (fx | fy) == 0 ? quad.p00 : SampleQuad(quad, VXp_DoubleWeights(fx, fy));
        });
  });
}

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
