// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The transfer modes, one pixel at a time.

#include <bit>
#include <cmath>
#include <cstdlib>
#include <span>

#include "RefArithmetic.h"
#include "RefSpace.h"
#include "VX/VX_Transfer.h"

namespace vxref {

// The colour that a matted mode leaves unchanged under a transparent source.
enum class Neutral { None, Black, White, Gray };

// The formula of a matted mode; m is a destination channel after Matte. Row loops and single pixels
// round the product of overlay at different steps.
enum class Overlay { OfPixel, OfRow };

// --- families of modes ---------------------------------------------------------------------------

inline Neutral NeutralOf(int mode) {
  switch (mode) {
    case VX_Xfer_Add:
    case VX_Xfer_Screen:
    case VX_Xfer_Lighten:
    case VX_Xfer_Difference:
    case VX_Xfer_Dodge:
    case VX_Xfer_Exclusion: return Neutral::Black;
    case VX_Xfer_Multiply:
    case VX_Xfer_Darken:
    case VX_Xfer_Burn: return Neutral::White;
    case VX_Xfer_Overlay:
    case VX_Xfer_SoftLight:
    case VX_Xfer_HardLight: return Neutral::Gray;
    default: return Neutral::None;
  }
}

// True for modes that change alpha only.
inline bool IsAlphaOnly(int mode) {
  return mode >= VX_Xfer_StencilAlpha && mode <= VX_Xfer_SilhouetteLuma;
}

// --- matted modes --------------------------------------------------------------------------------

// Matte blends one colour channel over the neutral colour by alpha; Unmatte is its inverse.
template <class D>
typename D::Wide Matte(Neutral neutral, typename D::Wide d, typename D::Wide da) {
  if (!(da < D::full)) return d;
  switch (neutral) {
    case Neutral::Black: return D::Mul(d, da);
    case Neutral::White: return D::Inv(D::Mul(D::Inv(d), da));
    case Neutral::Gray:
      if (d < D::half) return d + D::Mul(D::half - d, D::Inv(da));
      return D::Mul(d - D::half, da) + D::half;
    case Neutral::None: break;
  }
  return d;
}

template <class D>
typename D::Wide Unmatte(Neutral neutral, typename D::Wide r, typename D::Wide a) {
  using Wide = typename D::Wide;
  if (!(a < D::full)) return r;
  switch (neutral) {
    case Neutral::Black: return D::Div(r, a);
    case Neutral::White: return D::Inv(D::Div(D::Inv(r), a));
    case Neutral::Gray: {
      if (r < D::half) {
        const Wide t = D::Div(D::half - r, a);
        return t < D::half ? D::half - t : Wide{0};
      }
      const Wide t = D::Div(r - D::half, a);
      return t < D::half ? t + D::half : D::full;
    }
    case Neutral::None: break;
  }
  return r;
}

template <class D>
typename D::Wide OpaqueMattedColor(int mode, typename D::Wide s, typename D::Wide m,
                                   Overlay overlay) {
  using Wide = typename D::Wide;
  const Wide u = D::DoubledWrapped(s);
  switch (mode) {
    case VX_Xfer_Add: return D::isFloat ? m + s : Min(m + s, D::full);
    case VX_Xfer_Multiply: return m - D::Mul(D::Inv(s), m);
    case VX_Xfer_Screen: return D::Inv(D::Mul(D::Inv(s), D::Inv(m)));
    case VX_Xfer_Overlay:
      if (m < D::half) return overlay == Overlay::OfRow ? D::Mul(2 * m, s) : 2 * D::Mul(s, m);
      return D::Inv(D::Mul(D::Inv(s), 2 * D::Inv(m)));
    case VX_Xfer_SoftLight:
      if (s >= D::half) return m + D::Mul(u, D::SoftLight(Curve::Up, m));
      return m - D::Mul(D::Inv(u), D::SoftLight(Curve::Down, m));
    case VX_Xfer_HardLight:
      if (s >= D::half) return m + D::Mul(D::Inv(m), u);
      return m - D::Mul(D::Inv(u), m);
    case VX_Xfer_Darken: return Min(s, m);
    case VX_Xfer_Lighten: return Max(s, m);
    case VX_Xfer_Difference: return std::abs(s - m);
    case VX_Xfer_Dodge: return D::Quotient(m, D::Inv(s));
    case VX_Xfer_Burn: return D::Inv(D::Quotient(D::Inv(m), s));
    default:  // exclusion
      return s + m - 2 * D::Mul(s, m);
  }
}

template <class D>
typename D::Wide PartialMattedColor(int mode, typename D::Wide s, typename D::Wide m,
                                    typename D::Wide sa, Overlay overlay) {
  using Wide = typename D::Wide;
  const Wide u = D::DoubledWrapped(s);
  switch (mode) {
    case VX_Xfer_Add: {
      const Wide sum = m + D::Mul(s, sa);
      return D::isFloat ? sum : Min(sum, D::full);
    }
    case VX_Xfer_Multiply: return m - D::Mul(D::Mul(D::Inv(s), m), sa);
    case VX_Xfer_Screen: return D::Inv(D::Mul(D::Inv(D::Mul(s, sa)), D::Inv(m)));
    case VX_Xfer_Overlay: return D::Lerp(m, OpaqueMattedColor<D>(mode, s, m, overlay), sa);
    case VX_Xfer_SoftLight:
      if (s >= D::half) return m + D::Mul(D::Mul(u, D::SoftLight(Curve::Up, m)), sa);
      return m - D::Mul(D::Mul(D::Inv(u), D::SoftLight(Curve::Down, m)), sa);
    case VX_Xfer_HardLight:
      if (s >= D::half) return m + D::Mul(D::Mul(D::Inv(m), u), sa);
      return m - D::Mul(D::Mul(D::Inv(u), m), sa);
    case VX_Xfer_Darken: return s < m ? m - D::Mul(m - s, sa) : m;
    case VX_Xfer_Lighten: return s > m ? m + D::Mul(s - m, sa) : m;
    case VX_Xfer_Difference: return std::abs(D::Mul(s, sa) - m);
    case VX_Xfer_Dodge: return D::Quotient(m, D::Inv(D::Mul(s, sa)));
    case VX_Xfer_Burn: return D::Inv(D::Quotient(D::Inv(m), D::Inv(D::Mul(D::Inv(s), sa))));
    default: {  // exclusion
      const Wide t = D::Mul(s, m);
      return m + D::Mul(s - t - t, sa);
    }
  }
}

template <class D>
typename D::Wide MattedColor(int mode, typename D::Wide s, typename D::Wide m, typename D::Wide sa,
                             Overlay overlay) {
  if (sa == D::full) return OpaqueMattedColor<D>(mode, s, m, overlay);
  return PartialMattedColor<D>(mode, s, m, sa, overlay);
}

template <class D>
void BlendMatted(int mode, const WidePixel<D>& s, typename D::Wide sa, WidePixel<D>* d) {
  using Wide = typename D::Wide;
  const Neutral neutral = NeutralOf(mode);
  const Wide a = Union<D>(sa, d->alpha);
  for (int i = 0; i < 3; ++i) {
    const Wide m = Matte<D>(neutral, d->c[i], d->alpha);
    const Wide r = MattedColor<D>(mode, s.c[i], m, sa, Overlay::OfPixel);
    d->c[i] = sa == D::full ? r : Unmatte<D>(neutral, r, a);
  }
  d->alpha = sa == D::full ? D::full : a;
}

// --- three-term modes ----------------------------------------------------------------------------

inline int64_t LinearLight(int64_t s, int64_t d, int64_t full) {
  // The constant is 256 (full scale + 1) at 8 bits and 32768 (full scale) at 16 bits.
  const int64_t v = d + 2 * s - (full == 255 ? 256 : 32768);
  return v < 0 ? 0 : v > full ? full : v;
}
inline float LinearLight(float s, float d, float /*full*/) { return d + 2.0f * s - 1.0f; }

inline int64_t HardMix(int64_t s, int64_t d, int64_t full) {
  const int64_t t = full == 255 ? Depth8::Mul(255 - s, 254) : ((32768 - s) * 32767 + 16384) >> 15;
  return d > t ? full : 0;
}
inline float HardMix(float s, float d, float /*full*/) {
  const float ramp = 1.0013580322265625e-05f;
  const float t = (1.0f - s) * std::bit_cast<float>(0x3F7FFF58u);
  if (d <= t) return 0.0f;
  const float e = d - t;
  return ramp > e ? e / ramp : 1.0f;
}

template <class D>
typename D::Wide VividLight(typename D::Wide s, typename D::Wide d) {
  if (s < D::half) {
    return s == 0 ? 0 : D::Inv(D::Quotient(D::Inv(d), D::DoubledLow(s)));
  }
  if (s > D::half) {
    return s == D::full ? D::full : D::Quotient(d, D::Inv(D::DoubledHigh(s)));
  }
  return d;
}

template <class D>
typename D::Wide PinLight(typename D::Wide s, typename D::Wide d) {
  if (s < D::half) return Min(d, D::DoubledLow(s));
  if (s > D::half) return Max(d, D::DoubledHigh(s));
  return d;
}

// The result of a three-term mode if source and destination are opaque.
template <class D>
typename D::Wide ThreeTermColor(int mode, typename D::Wide s, typename D::Wide d) {
  using Wide = typename D::Wide;
  switch (mode) {
    case VX_Xfer_Difference2: return std::abs(s - d);
    case VX_Xfer_Dodge2: return d == 0 ? Wide{0} : D::Quotient(d, D::Inv(s));
    case VX_Xfer_Burn2: return s == 0 && d == D::full ? d : D::Inv(D::Quotient(D::Inv(d), s));
    case VX_Xfer_LinearDodge: return D::isFloat ? s + d : Min(s + d, D::full);
    case VX_Xfer_LinearBurn: return Max(s + d - D::full, Wide{0});
    case VX_Xfer_LinearLight: return LinearLight(s, d, D::full);
    case VX_Xfer_VividLight: return VividLight<D>(s, d);
    case VX_Xfer_PinLight: return PinLight<D>(s, d);
    default: return HardMix(s, d, D::full);
  }
}

template <class D>
void BlendThreeTerm(int mode, const WidePixel<D>& s, typename D::Wide sa, WidePixel<D>* d) {
  using Wide = typename D::Wide;
  const Wide da = d->alpha;
  const Wide a = Union<D>(sa, da);
  const Wide p = D::Mul(sa, da);
  for (int i = 0; i < 3; ++i) {
    const Wide b = ThreeTermColor<D>(mode, s.c[i], d->c[i]);
    if (sa == D::full) {
      d->c[i] = D::Lerp(s.c[i], b, da);
    } else {
      const Wide r = D::Mul(da, d->c[i]) - D::Mul(p, d->c[i]) + D::Mul(sa, s.c[i]) -
                     D::Mul(p, s.c[i]) + D::Mul(p, b);
      d->c[i] = D::Div(r, a);
    }
  }
  d->alpha = sa == D::full ? D::full : a;
}

// --- non-separable modes -------------------------------------------------------------------------

// Keeps the order of `from`'s channels. The largest becomes `range`, the smallest 0, and the middle
// one is scaled in proportion.
template <class Wide>
void SpreadLike(const Wide from[3], Wide range, Wide out[3]) {
  int largest = 0;
  for (int i = 1; i < 3; ++i) {
    if (from[i] > from[largest]) largest = i;
  }
  int smallest = largest == 2 ? 1 : 2;
  for (int i = smallest - 1; i >= 0; --i) {
    if (i != largest && from[i] < from[smallest]) smallest = i;
  }
  const int middle = 3 - largest - smallest;
  const Wide rise = from[middle] - from[smallest];
  const Wide span = from[largest] - from[smallest];
  out[largest] = range;
  out[smallest] = 0;
  out[middle] = span == 0 ? rise : rise * range / span;
}

template <class Wide>
Wide Least(const Wide c[3]) {
  return Min(Min(c[0], c[1]), c[2]);
}
template <class Wide>
Wide Greatest(const Wide c[3]) {
  return Max(Max(c[0], c[1]), c[2]);
}

template <class D>
void ClipToRange(typename D::Wide luma, typename D::Wide c[3]) {
  using Wide = typename D::Wide;
  // If the luminance is itself out of range, it may be equal to the extreme channel. The divisor is
  // then 0, and the channels are kept.
  const Wide n = Least(c);
  for (int i = 0; n < 0 && n != luma && i < 3; ++i) c[i] = luma + (c[i] - luma) * luma / (luma - n);
  const Wide x = Greatest(c);
  for (int i = 0; x > D::full && x != luma && i < 3; ++i) {
    c[i] = luma + (c[i] - luma) * (D::full - luma) / (x - luma);
  }
}

// MixNonSeparable: hue, saturation, color and luminosity. The source must already be blended behind
// the destination. MixChosen: the last step of lighter color and darker color, if the source pixel
// is chosen: a copy at full weight, otherwise a mix.
template <class D>
void MixNonSeparable(int mode, const WidePixel<D>& s, typename D::Wide sa, WidePixel<D>* d) {
  using Wide = typename D::Wide;
  const Wide luma = D::Luma(d->c);
  const Wide source_luma = D::Luma(s.c);
  Wide c[3];
  if (mode == VX_Xfer_Color) {
    for (int i = 0; i < 3; ++i) c[i] = s.c[i] - source_luma + luma;
  } else if (mode == VX_Xfer_Luminosity) {
    for (int i = 0; i < 3; ++i) c[i] = d->c[i] + source_luma - luma;
  } else {
    const Wide* order = mode == VX_Xfer_Hue ? s.c : d->c;
    const Wide* range = mode == VX_Xfer_Hue ? d->c : s.c;
    SpreadLike<Wide>(order, Greatest(range) - Least(range), c);
    const Wide lift = luma - D::Luma(c);
    for (Wide& channel : c) channel += lift;
  }
  ClipToRange<D>(luma, c);
  for (int i = 0; i < 3; ++i) d->c[i] = sa == D::full ? c[i] : D::Lerp(d->c[i], c[i], sa);
}

template <class D>
void MixChosen(const WidePixel<D>& s, typename D::Wide sa, WidePixel<D>* d) {
  for (int i = 0; i < 3; ++i) {
    d->c[i] = sa == D::full ? s.c[i] : D::Lerp(d->c[i], s.c[i], sa);
  }
}

// --- plain composition ---------------------------------------------------------------------------

template <class D>
void CopyWith(typename D::Wide alpha, const WidePixel<D>& s, WidePixel<D>* d) {
  *d = s;
  d->alpha = alpha;
}

template <class D>
void BlendBehind(const WidePixel<D>& s, typename D::Wide sa, WidePixel<D>* d) {
  using Wide = typename D::Wide;
  if (d->alpha == D::full) return;
  const Wide a = Union<D>(sa, d->alpha);
  for (int i = 0; i < 3; ++i) {
    const Wide k = D::Mul(s.c[i], sa);
    d->c[i] = D::Div(D::Lerp(k, d->c[i], d->alpha), a);
  }
  d->alpha = a;
}

template <class D>
void BlendInFront(const WidePixel<D>& s, typename D::Wide sa, WidePixel<D>* d) {
  using Wide = typename D::Wide;
  if (sa == D::full || d->alpha == 0) return CopyWith(sa, s, d);
  const Wide a = Union<D>(sa, d->alpha);
  for (int i = 0; i < 3; ++i) {
    const Wide k = D::Mul(d->c[i], d->alpha);
    d->c[i] = D::Div(D::Lerp(k, s.c[i], sa), a);
  }
  d->alpha = a;
}

template <class D>
void BlendPremulOver(const WidePixel<D>& s, typename D::Wide sa, WidePixel<D>* d) {
  using Wide = typename D::Wide;
  const Wide a = Union<D>(sa, d->alpha);
  const Wide k = D::Mul(d->alpha, D::Inv(sa));
  for (int i = 0; i < 3; ++i) {
    d->c[i] = D::Div(Min(s.c[i] + D::Mul(d->c[i], k), D::full), a);
  }
  d->alpha = a;
}

template <class D>
void BlendAlphaAdd(const WidePixel<D>& s, typename D::Wide sa, WidePixel<D>* d) {
  using Wide = typename D::Wide;
  if (sa == D::full) return CopyWith(sa, s, d);
  const Wide sum = d->alpha + sa;
  for (int i = 0; i < 3; ++i) {
    if (sum >= D::full) {
      d->c[i] = D::Mul(s.c[i], sa) + D::Mul(d->c[i], D::Inv(sa));
    } else {
      d->c[i] = D::Div(D::Mul(d->c[i], d->alpha) + D::Mul(s.c[i], sa), sum);
    }
  }
  d->alpha = sum >= D::full ? D::full : sum;
}

inline int64_t ClampUnit(int64_t a) { return a; }
inline float ClampUnit(float a) {
  if (a >= 1.0f) return 1.0f;
  if (a <= 1e-30f) return 0.0f;
  return a;
}

template <class D>
typename D::Wide AlphaOnly(int mode, const WidePixel<D>& s, typename D::Wide sa,
                           typename D::Wide da) {
  switch (mode) {
    case VX_Xfer_StencilAlpha: return D::Mul(da, sa);
    case VX_Xfer_StencilLuma: return ClampUnit(D::Mul(da, D::Mul(sa, D::Luma(s.c))));
    case VX_Xfer_SilhouetteAlpha: return D::Mul(da, D::Inv(sa));
    default: return ClampUnit(D::Mul(da, D::Inv(D::Mul(sa, D::Luma(s.c)))));
  }
}

// --- any mode ------------------------------------------------------------------------------------

// The complete formula of a mode, with sa as the source's alpha. sa = 0 is not treated specially:
// callers skip such pixels, if the mode does.
template <class D>
void BlendPixel(int mode, const WidePixel<D>& s, typename D::Wide sa, WidePixel<D>* d) {
  using Wide = typename D::Wide;
  if (NeutralOf(mode) != Neutral::None) return BlendMatted(mode, s, sa, d);
  if (mode >= VX_Xfer_Difference2 && mode <= VX_Xfer_HardMix) return BlendThreeTerm(mode, s, sa, d);
  if (IsAlphaOnly(mode)) {
    d->alpha = AlphaOnly(mode, s, sa, d->alpha);
    return;
  }
  switch (mode) {
    case VX_Xfer_Copy: return CopyWith(sa, s, d);
    case VX_Xfer_Behind: return BlendBehind(s, sa, d);
    case VX_Xfer_InFront: return BlendInFront(s, sa, d);
    case VX_Xfer_PremulOver: return BlendPremulOver(s, sa, d);
    case VX_Xfer_AlphaAdd: return BlendAlphaAdd(s, sa, d);
    case VX_Xfer_Hue:
    case VX_Xfer_Saturation:
    case VX_Xfer_Color:
    case VX_Xfer_Luminosity:
      if (d->alpha < D::full) BlendBehind(s, sa, d);
      return MixNonSeparable(mode, s, sa, d);
    case VX_Xfer_LighterColor:
    case VX_Xfer_DarkerColor: {
      // The comparison uses the destination before the source is blended behind it.
      const Wide source_luma = D::Luma(s.c);
      const Wide luma = D::Luma(d->c);
      if (d->alpha < D::full) BlendBehind(s, sa, d);
      if (mode == VX_Xfer_LighterColor ? source_luma > luma : source_luma < luma) {
        MixChosen(s, sa, d);
      }
      return;
    }
    default:  // dissolve does not change a single pixel
      return;
  }
}

// Whether the mode lighter or darker color leaves an opaque pixel as it is.
template <class D>
bool KeepsPixel(int mode, const WidePixel<D>& s, const WidePixel<D>& d) {
  if (d.alpha != D::full) return false;
  if (mode == VX_Xfer_LighterColor) return !(D::Luma(s.c) > D::Luma(d.c));
  return mode == VX_Xfer_DarkerColor && !(D::Luma(s.c) < D::Luma(d.c));
}

template <class Space, class Pixel, class Channel>
void Xfer1In(const Space& space, int mode, const Pixel& src, std::span<const Channel> opacities,
             Pixel* dst) {
  using D = typename Space::D;
  const WidePixel<D> s = space.In(src);
  WidePixel<D> d = space.In(*dst);
  typename D::Wide sa = s.alpha;
  for (const Channel opacity : opacities) {
    if (space.InAlpha(opacity) < D::full) sa = D::Mul(sa, space.InAlpha(opacity));
  }
  if (sa == 0 && mode != VX_Xfer_PremulOver) return;
  if (KeepsPixel(mode, s, d)) return;
  const bool divides = mode == VX_Xfer_Burn || mode == VX_Xfer_Burn2 || mode == VX_Xfer_VividLight;
  for (int i = 0; i < 3; ++i) {
    if (divides && !D::isFloat && s.c[i] == 0 && d.c[i] > D::full) d.c[i] = D::full;
  }
  BlendPixel(mode, s, sa, &d);
  space.OutAlpha(d.alpha, dst);
  if (!IsAlphaOnly(mode)) space.OutColor(d, dst);
}

// The function of an entry in the per-pixel tables. `opacities` has 0 to 2 values, depending on the
// table.
template <class Pixel>
void Xfer1(int mode, const Pixel& src, const VX_LinearBlendingTables* tables,
           std::span<const decltype(Pixel::alpha)> opacities, Pixel* dst) {
  const bool stored = tables == nullptr || mode == VX_Xfer_Copy;
  if (stored) return Xfer1In(StoredSpace<Pixel>{}, mode, src, opacities, dst);
  Xfer1In(LinearSpace<Pixel>{tables}, mode, src, opacities, dst);
}

}  // namespace vxref
