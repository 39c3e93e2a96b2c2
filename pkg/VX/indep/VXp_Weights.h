// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The weights of the four neighbours in single and double precision, and the mix in single
// precision.
//
// The order of subtractions and additions determines the last bit of the results. In double
// precision the weights are exact for fractions of 16 bits, and so are sums of weights times
// channels; in single precision they are rounded. In both precisions weights are never negative.

#include "VX/VX_Sampling.h"
#include "indep/VXp_ChannelLanes.h"
#include "indep/VXp_Neighbours.h"

template <class Number>
struct VXp_WeightsOf {
  VXp_WeightsOf(uint32_t fx, uint32_t fy) {
    const Number a = static_cast<Number>(fx) * Number{0x1p-16};
    const Number b = static_cast<Number>(fy) * Number{0x1p-16};
    w11 = a * b;
    w10 = a - w11;
    w01 = b - w11;
    w00 = 1 - w11 - w10 - w01;
  }
  explicit VXp_WeightsOf(const VX_SubpixelWeights& given)
      : w00(static_cast<Number>(given.w00)),
        w10(static_cast<Number>(given.w10)),
        w01(static_cast<Number>(given.w01)),
        w11(static_cast<Number>(given.w11)) {}

  Number w00, w10, w01, w11;
};
using VXp_DoubleWeights = VXp_WeightsOf<double>;
using VXp_SingleWeights = VXp_WeightsOf<float>;

// The channels of the four neighbours in single precision.
struct VXp_SingleQuad {
  template <class Pixel>
  explicit VXp_SingleQuad(const VXp_Quad<Pixel>& quad)
      : p00(VXp_Floats(quad.p00)),
        p10(VXp_Floats(quad.p10)),
        p01(VXp_Floats(quad.p01)),
        p11(VXp_Floats(quad.p11)) {}

  // Mixes the colours without regard to alpha; the result has the alpha of the first pixel.
  VXp_FloatLanes Plain(const VXp_SingleWeights& w) const {
    VXp_FloatLanes mixed = w.w00 * p00 + w.w10 * p10 + w.w01 * p01 + w.w11 * p11;
    mixed[0] = p00[0];
    return mixed;
  }

  // Mixes the colours weighted by alpha. If the alpha is 0, the colours are NaN.
  VXp_FloatLanes ByAlpha(const VXp_SingleWeights& w) const {
    const VXp_FloatLanes s00 = w.w00 * AlphaOf(p00);
    const VXp_FloatLanes s10 = w.w10 * AlphaOf(p10);
    const VXp_FloatLanes s01 = w.w01 * AlphaOf(p01);
    const VXp_FloatLanes s11 = w.w11 * AlphaOf(p11);
    const VXp_FloatLanes alpha = s00 + s10 + s01 + s11;
    VXp_FloatLanes mixed = (s00 * p00 + s10 * p10 + s01 * p01 + s11 * p11) * (1.0f / alpha);
    mixed[0] = alpha[0];
    return mixed;
  }

  static VXp_FloatLanes AlphaOf(VXp_FloatLanes p) { return VXp_Splat<VXp_FloatLanes>(p[0]); }

  VXp_FloatLanes p00, p10, p01, p11;
};
