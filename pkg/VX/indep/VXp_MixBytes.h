// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Bilinear mixes of 8-bit pixels in single precision, in the lanes of VXp_QuadLanes.h.

#include "indep/VXp_QuadLanes.h"

// The neighbours of 8-bit positions, with one pixel per lane and alpha in the low bits.
struct VXp_ByteQuads {
  explicit VXp_ByteQuads(const VXp_Quads<VX_Pixel8>& q)
      : p00(q.p00.words), p10(q.p10.words), p01(q.p01.words), p11(q.p11.words) {}

  VXp_PointWords Differences() const { return (p00 ^ p10) | (p00 ^ p01) | (p00 ^ p11); }

  VXp_PointWords p00, p10, p01, p11;
};

// The fractions as floats from 0 to below 1.
struct VXp_FloatFractions {
  explicit VXp_FloatFractions(const VXp_Fractions& f)
      : a(VXp_AsFloat(f.fx) * 0x1p-16f), b(VXp_AsFloat(f.fy) * 0x1p-16f) {}

  VXp_PointFloats a, b;
};

// The weights as products of the fractions a, b and their complements. Their relative error is a
// few roundings, even for very small weights.
struct VXp_CloseWeightLanes {
  explicit VXp_CloseWeightLanes(const VXp_FloatFractions& f)
      : w11(f.a * f.b),
        w10(f.a * (1.0f - f.b)),
        w01((1.0f - f.a) * f.b),
        w00((1.0f - f.a) * (1.0f - f.b)) {}

  VXp_PointFloats w11, w10, w01, w00;
};

// Returns channel c of the pixels.
inline VXp_PointFloats VXp_ChannelOf(VXp_PointWords pixels, int32_t c) {
  const VXp_PixelLanes<VX_Pixel8> lanes{pixels};
  return VXp_AsFloat(reinterpret_cast<VXp_PointInts>(lanes.Channel(c)));
}

// The four channels of mixed positions.
struct VXp_ByteMix {
  void Take(VXp_PointInts where, const VXp_ByteMix& other) {
    for (int32_t c = 0; c < 4; ++c) channel[c] = where ? other.channel[c] : channel[c];
  }

  VXp_PointFloats channel[4];
};

// Returns the mixes weighted by alpha. Where alpha is 0, the colours are NaN.
template <class Weights>
VXp_ByteMix VXp_MixByAlpha(const VXp_ByteQuads& q, const Weights& w) {
  const auto of = VXp_ChannelOf;
  VXp_ByteMix mixed;
  const VXp_PointFloats s00 = w.w00 * of(q.p00, 0), s10 = w.w10 * of(q.p10, 0);
  const VXp_PointFloats s01 = w.w01 * of(q.p01, 0), s11 = w.w11 * of(q.p11, 0);
  mixed.channel[0] = s00 + s10 + s01 + s11;
  const VXp_PointFloats inverse = 1.0f / mixed.channel[0];
  for (int32_t c = 1; c < 4; ++c) {
    mixed.channel[c] = VXp_MulAdd(s00, of(q.p00, c),
                                  VXp_MulAdd(s10, of(q.p10, c),
                                             VXp_MulAdd(s01, of(q.p01, c), s11 * of(q.p11, c)))) *
                       inverse;
  }
  return mixed;
}

// Mixes positions whose neighbours have equal alphas: the result has that alpha. Colours are mixed
// first vertically, which is exact, then horizontally.
inline VXp_ByteMix VXp_MixAlike(const VXp_ByteQuads& q, const VXp_FloatFractions& f) {
  const auto of = VXp_ChannelOf;
  VXp_ByteMix mixed{{of(q.p00, 0)}};
  for (int32_t c = 1; c < 4; ++c) {
    const VXp_PointFloats p00 = of(q.p00, c), p10 = of(q.p10, c);
    const VXp_PointFloats left = VXp_MulAdd(of(q.p01, c) - p00, f.b, p00);
    const VXp_PointFloats right = VXp_MulAdd(of(q.p11, c) - p10, f.b, p10);
    mixed.channel[c] = VXp_MulAdd(right - left, f.a, left);
  }
  return mixed;
}
