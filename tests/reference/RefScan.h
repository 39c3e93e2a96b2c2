// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The transfer modes as row loops.

#include <type_traits>

#include "RefModes.h"
#include "RefSpace.h"
#include "VX/VX_Blend.h"

namespace vxref {

template <class Wide>
struct RowOptions {
  int mode;
  bool has_mask;
  Wide opacity;
  bool keep_alpha;
};

// The modes whose row loop changes a pixel at weight 0; all others skip such pixels.
inline bool ActsAtZeroWeight(int mode) {
  return mode == VX_Xfer_Scale || mode == VX_Xfer_Copy || mode == VX_Xfer_StencilAlpha ||
         mode == VX_Xfer_StencilLuma || mode == VX_Xfer_PremulOver;
}

// The order of the two multiplications depends on the mode. It changes the rounding.
template <class D>
typename D::Wide Weight(const RowOptions<typename D::Wide>& options, typename D::Wide sa,
                        typename D::Wide mask) {
  if (!options.has_mask) return D::Mul(sa, options.opacity);
  if (options.mode == VX_Xfer_Scale || options.mode == VX_Xfer_Copy) {
    return D::Mul(mask, D::Mul(sa, options.opacity));
  }
  return D::Mul(D::Mul(sa, mask), options.opacity);
}

// --- mask mix ------------------------------------------------------------------------------------

// q is a sum of two products, a1 + a2 below, with twice the bits of a channel. It is exact.
inline int64_t MixedAlpha(int64_t q, int64_t full) {
  return full == 255 ? (q + 128) / 255 : (q + 16384) >> 15;
}
inline float MixedAlpha(float q, float /*full*/) { return q; }

inline int64_t MixedColor(int64_t s, int64_t a1, int64_t d, int64_t a2, int64_t q) {
  return (s * a1 + d * a2 + (q >> 1)) / q;
}
inline float MixedColor(float s, float a1, float d, float a2, float q) {
  return (s * a1 + d * a2) / q;
}

// Returns false if the destination is unchanged.
template <class D>
bool MaskMix(const WidePixel<D>& s, typename D::Wide t, WidePixel<D>* d) {
  using Wide = typename D::Wide;
  const Wide a1 = s.alpha * t;
  const Wide a2 = (D::full - t) * d->alpha;
  const Wide q = a1 + a2;
  if (t == D::full) {
    *d = s;
    return true;
  }
  if (t == 0 || q == 0) return false;
  for (int i = 0; i < 3; ++i) d->c[i] = MixedColor(s.c[i], a1, d->c[i], a2, q);
  d->alpha = MixedAlpha(q, D::full);
  return true;
}

// --- one pixel of a row --------------------------------------------------------------------------

// The channels of a pixel that have to be stored.
struct Written {
  bool color;
  bool alpha;
};
inline constexpr Written kNothing = {false, false};

template <class D>
Written Behind(const RowOptions<typename D::Wide>& options, const WidePixel<D>& s,
               typename D::Wide w, WidePixel<D>* d) {
  if (d->alpha == D::full) return kNothing;
  if (d->alpha == 0) {
    *d = s;
    d->alpha = options.keep_alpha ? typename D::Wide{0} : w;
    return {true, true};
  }
  BlendPixel(VX_Xfer_Behind, s, w, d);
  return {true, !options.keep_alpha};
}

template <class D>
Written Dissolve(const RowOptions<typename D::Wide>& options, const WidePixel<D>& s,
                 typename D::Wide w, uint32_t* running_seed, WidePixel<D>* d) {
  if (w == 0) return kNothing;
  if (w != D::full && !D::DissolveTakes(w, Random(running_seed))) return kNothing;
  *d = s;
  d->alpha = D::full;
  return {true, !options.keep_alpha};
}

// The mode multiply with a mask, for stored 16-bit and float values. Its rounding at full weight
// differs from that of other weights.
template <class D>
void MultiplyMasked(const WidePixel<D>& s, typename D::Wide w, WidePixel<D>* d) {
  for (int i = 0; i < 3; ++i) {
    if (w == D::full) {
      d->c[i] = D::Mul(d->c[i], s.c[i]);
    } else {
      d->c[i] = d->c[i] - D::Mul(D::Mul(D::Inv(s.c[i]), d->c[i]), w);
    }
  }
}

template <class D>
Written MixBrighterOrDarker(int mode, const WidePixel<D>& s, typename D::Wide w, WidePixel<D>* d) {
  const int64_t source_luma = D::LumaAsByte(s.c);
  const int64_t luma = D::LumaAsByte(d->c);
  if (mode == VX_Xfer_LighterColor ? source_luma <= luma : source_luma >= luma) return kNothing;
  MixChosen(s, w, d);
  return {true, false};
}

template <class D>
Written ScanPixel(const RowOptions<typename D::Wide>& options, bool own_multiply,
                  const WidePixel<D>& s, typename D::Wide w, WidePixel<D>* d) {
  const int mode = options.mode;
  if (w == 0 && !ActsAtZeroWeight(mode)) return kNothing;
  switch (mode) {
    case VX_Xfer_Scale:
    case VX_Xfer_Copy:
      *d = s;
      d->alpha = w;
      return {true, !options.keep_alpha};
    case VX_Xfer_Behind: return Behind(options, s, w, d);
    case VX_Xfer_Hue:
    case VX_Xfer_Saturation:
    case VX_Xfer_Color:
    case VX_Xfer_Luminosity: MixNonSeparable(mode, s, w, d); return {true, false};
    case VX_Xfer_LighterColor:
    case VX_Xfer_DarkerColor: return MixBrighterOrDarker(mode, s, w, d);
    default: break;
  }
  if (mode == VX_Xfer_Multiply && own_multiply) {
    MultiplyMasked(s, w, d);
    return {true, false};
  }
  if (NeutralOf(mode) != Neutral::None) {
    for (int i = 0; i < 3; ++i) {
      d->c[i] = MattedColor<D>(mode, s.c[i], d->c[i], w, Overlay::OfRow);
    }
    return {true, false};
  }
  BlendPixel(mode, s, w, d);
  return {!IsAlphaOnly(mode), true};
}

template <class Space, class Pixel>
void ScanIn(const Space& space, int mode, bool has_mask, bool own_multiply, int32_t count,
            const VX_BlendingMode<Pixel>& blending, const Pixel* src, const Pixel* mask,
            Pixel* dst) {
  using D = typename Space::D;
  using Wide = typename D::Wide;
  const RowOptions<Wide> options = {mode, has_mask, space.InAlpha(blending.opacity),
                                    blending.keepDstAlpha != 0};
  uint32_t seed = static_cast<uint32_t>(blending.seed);
  for (int32_t i = 0; i < count; ++i) {
    const WidePixel<D> s = space.In(src[i]);
    WidePixel<D> d = space.In(dst[i]);
    const Wide t = mask == nullptr ? D::full : space.InAlpha(mask[i].alpha);
    const Wide w = Weight<D>(options, s.alpha, t);
    Written written = kNothing;
    if (mode == VX_Xfer_MaskMix) {
      written.color = written.alpha = MaskMix(s, t, &d);
    } else if (mode == VX_Xfer_Dissolve) {
      written = Dissolve(options, s, w, &seed, &d);
    } else {
      written = ScanPixel(options, own_multiply, s, w, &d);
    }
    if (written.color) space.OutColor(d, &dst[i]);
    if (written.alpha) space.OutAlpha(d.alpha, &dst[i]);
    ++seed;
  }
}

// At some depths the modes scale and copy ignore the tables for linear light.
template <class Pixel>
bool IgnoresLinear(int mode) {
  if (mode == VX_Xfer_Scale) return !std::is_same_v<Pixel, VX_PixelFloat>;
  if (mode == VX_Xfer_Copy) return !std::is_same_v<Pixel, VX_Pixel8>;
  return false;
}

// Blends a row in a mode. Returns VX_Ok or an error. Throws VX_ErrBadParameter if `linear` is set,
// the mode has a linear form at this depth, and `tables` is null. Opacity, seed and keepDstAlpha
// are read from `options`; its mode is ignored.
template <class Pixel>
VX_Err Scan(int mode, bool has_mask, bool linear, int32_t count,
            const VX_BlendingMode<Pixel>* options, const VX_LinearBlendingTables* tables,
            const Pixel* src, const Pixel* mask, Pixel* dst) {
  const bool in_linear_light = linear && !IgnoresLinear<Pixel>(mode);
  if (in_linear_light && tables == nullptr) throw VX_Err{VX_ErrBadParameter};
  if (mode == VX_Xfer_MaskMix && mask == nullptr) return VX_ErrBadParameter;
  if (in_linear_light) {
    ScanIn(LinearSpace<Pixel>{tables}, mode, has_mask, /*own_multiply=*/false, count, *options, src,
           mask, dst);
  } else {
    const bool own_multiply = has_mask && !std::is_same_v<Pixel, VX_Pixel8>;
    ScanIn(StoredSpace<Pixel>{}, mode, has_mask, own_multiply, count, *options, src, mask, dst);
  }
  return VX_Ok;
}

}  // namespace vxref
