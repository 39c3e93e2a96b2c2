// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Bilinear mixes of 8-bit pixels at four positions, one per lane, in single precision.

#include <bit>

#include "indep/VXp_BytePairs.h"
#include "indep/VXp_SamplePoints.h"

// The neighbours of four positions: a vector for each neighbour, with one pixel per lane and alpha
// in the low bits.
struct VXp_FourQuads {
  using Pairs = uint64_t __attribute__((vector_size(16)));

  VXp_FourQuads(const VXp_Origin<VX_Pixel8>& origin, const VX_Fixed* x, const VX_Fixed* y) {
    const char* const at[kVXp_Lanes] = {origin.Upper(x[0], y[0]), origin.Upper(x[1], y[1]),
                                        origin.Upper(x[2], y[2]), origin.Upper(x[3], y[3])};
    Split(at, 0, &p00, &p10);
    Split(at, origin.rowbytes(), &p01, &p11);
  }

  VXp_WordLanes Differences() const { return (p00 ^ p10) | (p00 ^ p01) | (p00 ^ p11); }

  VXp_WordLanes p00, p10, p01, p11;

 private:
  static void Split(const char* const* at, ptrdiff_t offset, VXp_WordLanes* left,
                    VXp_WordLanes* right) {
    const auto pair = [=](int i) { return VXp_Load<uint64_t>(at[i] + offset); };
    const auto first = reinterpret_cast<VXp_WordLanes>(Pairs{pair(0), pair(1)});
    const auto second = reinterpret_cast<VXp_WordLanes>(Pairs{pair(2), pair(3)});
    *left = __builtin_shufflevector(first, second, 0, 2, 4, 6);
    *right = __builtin_shufflevector(first, second, 1, 3, 5, 7);
  }
};

// The fractions of four positions: as integers of 16 bits, and as floats from 0 to below 1.
struct VXp_FourFractions {
  VXp_FourFractions(const VX_Fixed* x, const VX_Fixed* y)
      : fx(VXp_Load<VXp_IntLanes>(x) & 0xFFFF),
        fy(VXp_Load<VXp_IntLanes>(y) & 0xFFFF),
        a(VXp_AsFloat(fx) * 0x1p-16f),
        b(VXp_AsFloat(fy) * 0x1p-16f) {}

  VXp_IntLanes Whole() const { return (fx | fy) == 0; }
  // Returns the lanes with multiples of 1/256, for which sums of weights times bytes are exact
  // floats.
  VXp_IntLanes Coarse() const { return ((fx | fy) & 0xFF) == 0; }

  VXp_IntLanes fx, fy;
  VXp_FloatLanes a, b;
};

// The weights of the neighbours in single precision, computed in the same steps as VXp_WeightsOf.
struct VXp_FourSingleWeights {
  explicit VXp_FourSingleWeights(const VXp_FourFractions& f)
      : w11(f.a * f.b), w10(f.a - w11), w01(f.b - w11), w00(1.0f - w11 - w10 - w01) {}

  VXp_FloatLanes w11, w10, w01, w00;
};

// The weights as products of the fractions a, b and their complements. Their relative error is a
// few roundings, even for very small weights.
struct VXp_FourCloseWeights {
  explicit VXp_FourCloseWeights(const VXp_FourFractions& f)
      : w11(f.a * f.b),
        w10(f.a * (1.0f - f.b)),
        w01((1.0f - f.a) * f.b),
        w00((1.0f - f.a) * (1.0f - f.b)) {}

  VXp_FloatLanes w11, w10, w01, w00;
};

// Returns channel c of four pixels.
inline VXp_FloatLanes VXp_FourChannel(VXp_WordLanes pixels, int c) {
  return VXp_AsFloat(reinterpret_cast<VXp_IntLanes>(pixels >> (8 * c) & 0xFFu));
}

// The four channels of four mixed positions.
struct VXp_FourMixed {
  void Take(VXp_IntLanes where, const VXp_FourMixed& other) {
    for (int c = 0; c < 4; ++c) channel[c] = where ? other.channel[c] : channel[c];
  }

  VXp_FloatLanes channel[4];
};

// Returns the mixes weighted by alpha. Where alpha is 0, the colours are NaN.
template <class Weights>
VXp_FourMixed VXp_FourByAlpha(const VXp_FourQuads& q, const Weights& w) {
  const auto of = VXp_FourChannel;
  VXp_FourMixed mixed;
  const VXp_FloatLanes s00 = w.w00 * of(q.p00, 0), s10 = w.w10 * of(q.p10, 0);
  const VXp_FloatLanes s01 = w.w01 * of(q.p01, 0), s11 = w.w11 * of(q.p11, 0);
  mixed.channel[0] = s00 + s10 + s01 + s11;
  const VXp_FloatLanes inverse = 1.0f / mixed.channel[0];
  for (int c = 1; c < 4; ++c) {
    mixed.channel[c] =
        (s00 * of(q.p00, c) + s10 * of(q.p10, c) + s01 * of(q.p01, c) + s11 * of(q.p11, c)) *
        inverse;
  }
  return mixed;
}

// Mixes four positions whose neighbours have equal alphas: the result has that alpha. Colours are
// mixed first vertically, which is exact, then horizontally.
inline VXp_FourMixed VXp_FourAlike(const VXp_FourQuads& q, const VXp_FourFractions& f) {
  const auto of = VXp_FourChannel;
  VXp_FourMixed mixed{{of(q.p00, 0)}};
  for (int c = 1; c < 4; ++c) {
    const VXp_FloatLanes left = of(q.p00, c) + (of(q.p01, c) - of(q.p00, c)) * f.b;
    const VXp_FloatLanes right = of(q.p10, c) + (of(q.p11, c) - of(q.p10, c)) * f.b;
    mixed.channel[c] = left + (right - left) * f.a;
  }
  return mixed;
}

// A channel whose distance from a half is less than this may round to the other side in single
// precision. The error of 13 roundings of values up to 255 is less than 2^-12, and so is the error
// of weights that are computed as differences.
inline constexpr float kVXp_NearHalf = 0x1p-10f;

// Four mixes, rounded to nearest (ties to even) and packed to pixels, with flags for alphas of 0
// and for channels that are close to a half.
struct VXp_FourRounded {
  explicit VXp_FourRounded(const VXp_FourMixed& mixed) {
    for (int c = 0; c < 4; ++c) {
      constexpr float kUnits = 0x1.8p23f;  // adding it rounds to an integer
      const VXp_FloatLanes sum = mixed.channel[c] + kUnits;
      const VXp_IntLanes whole = reinterpret_cast<VXp_IntLanes>(sum) & 0xFF;
      const VXp_FloatLanes off = mixed.channel[c] - (sum - kUnits);
      const VXp_IntLanes is_near = (off > 0.5f - kVXp_NearHalf) | (off < kVXp_NearHalf - 0.5f);
      pixels |= reinterpret_cast<VXp_WordLanes>(whole << (8 * c));
      if (c == 0) {
        nothing = whole == 0;
        alpha_is_near = is_near;
      } else {
        color_is_near |= is_near;
      }
    }
  }

  VXp_WordLanes pixels{};
  VXp_IntLanes nothing{}, alpha_is_near{}, color_is_near{};
};

// Samples many positions, four at a time, by a rule:
//
//   unsigned Four(quads, fractions, out)   stores four samples; returns a bit for each sample that
//                                          must be computed again with One
//   uint32_t One(pairs, fx, fy)            returns one sample
template <class Rule>
void VXp_MixPointsByFour(const VXp_Origin<VX_Pixel8>& from, const VX_Fixed* x, const VX_Fixed* y,
                         int32_t count, VX_Pixel8* out) {
  const VXp_Origin<VX_Pixel8> origin = from;  // a local copy, so that stores cannot change it
  const auto one = [=](ptrdiff_t i) {
    const char* const upper = origin.Upper(x[i], y[i]);
    VXp_Store(out + i, Rule::One(VXp_BytePairs(upper, origin.Lower(upper)),
                                 static_cast<uint32_t>(x[i]) & 0xFFFF,
                                 static_cast<uint32_t>(y[i]) & 0xFFFF));
  };
  ptrdiff_t i = 0;
  for (; i + kVXp_Lanes <= count; i += kVXp_Lanes) {
    const VXp_FourQuads quads(origin, x + i, y + i);
    unsigned left = Rule::Four(quads, VXp_FourFractions(x + i, y + i), out + i);
    for (; left != 0; left &= left - 1) one(i + std::countr_zero(left));
  }
  for (; i < count; ++i) one(i);
}
