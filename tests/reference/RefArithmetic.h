// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The arithmetic of the slow twins: one struct per depth.
//
// Integers are widened to 64 bits, so that a result wraps only where a rule of the product says so.
// Float is computed in single precision, because the rule includes the rounding of each step.

#include <cstdint>

#include "VX/VX_Types.h"

namespace vxref {

// The smaller and the larger of two values. If they are equal, or one is NaN, `b` is returned.
template <class Wide>
Wide Min(Wide a, Wide b) {
  return a < b ? a : b;
}
template <class Wide>
Wide Max(Wide a, Wide b) {
  return a > b ? a : b;
}

// Converts alpha and weights between 8 bits (0..255) and 16 bits (0..32768).
inline int64_t AlphaTo16(int64_t a8) { return (a8 * 8421504 + 33200) >> 16; }
inline int64_t AlphaTo8(int64_t a16) { return (a16 * 255 + 16384) >> 15; }

// Converts 0..1 to an integer depth. Values outside are clamped; NaN gives 0.
uint8_t UnitTo8(float v);
uint16_t UnitTo16(float v);

// Advances a pseudo-random generator and returns its next value, 0..32767.
uint32_t Random(uint32_t* state);

// The two curves of soft light. A source of at least one half adds Up(m) to the destination m,
// scaled by the source's strength; a darker source subtracts Down(m).
enum class Curve { Up, Down };
int64_t SoftLight8(Curve curve, int64_t m);
int64_t SoftLight16(Curve curve, int64_t m);
float SoftLightFloat(Curve curve, float m);

struct Depth8 {
  using Wide = int64_t;
  static constexpr Wide full = 255, half = 128;
  static constexpr bool isFloat = false;

  static Wide Inv(Wide a) { return 255 - a; }
  static Wide Mul(Wide a, Wide b) {  // a and b may be negative
    const Wide t = a * b;
    return (((t + 128) >> 8) + t + 128) >> 8;
  }
  static Wide Lerp(Wide x, Wide y, Wide t) { return (x + Mul(y - x, t)) & 0xFF; }
  static Wide Div(Wide n, Wide a) {
    if (n < 0) n = 0;
    if (a == 0 || n >= a) return 255;
    return ((a >> 1) + 255 * n) / a;
  }
  static Wide Quotient(Wide n, Wide a) {
    return Div(n, a);
  }  // the division of color dodge and color burn
  static Wide Luma(const Wide c[3]) {
    return (9798 * c[0] + 19235 * c[1] + 3735 * c[2] + 16384) >> 15;
  }
  static int64_t LumaAsByte(const Wide c[3]) { return Luma(c); }
  // DoubledLow maps a source below half to 0..full, DoubledHigh a source from half on.
  static Wide DoubledLow(Wide s) { return (255 * s + 64) >> 7; }
  static Wide DoubledHigh(Wide s) { return Div(s - 128, 127); }
  // The strength of soft light and hard light: the source doubled, minus full scale if it is at
  // least half. At 8 bits the subtraction is a wrap at 256.
  static Wide DoubledWrapped(Wide s) { return (2 * s) & 0xFF; }
  static Wide SoftLight(Curve curve, Wide m) { return SoftLight8(curve, m); }
  static bool DissolveTakes(Wide w, uint32_t random) { return w >= (random & 0xFF); }
};

struct Depth16 {
  using Wide = int64_t;
  static constexpr Wide full = 32768, half = 16384;
  static constexpr bool isFloat = false;

  static Wide Inv(Wide a) { return 32768 - a; }
  static Wide Mul(Wide a, Wide b) { return (a * b + 16383) >> 15; }
  static Wide Lerp(Wide x, Wide y, Wide t) { return (x + (((y - x) * t) >> 15)) & 0xFFFF; }
  static Wide Div(Wide n, Wide a) {
    if (n >= a) return 32768;
    return ((a >> 1) + (n << 15)) / a;
  }
  static Wide Quotient(Wide n, Wide a) { return Div(n, a); }
  static Wide Luma(const Wide c[3]) {
    return (9798 * c[0] + 19235 * c[1] + 3735 * c[2] + 16384) >> 15;
  }
  static int64_t LumaAsByte(const Wide c[3]) { return AlphaTo8(Luma(c)); }
  static Wide DoubledLow(Wide s) { return 2 * s; }
  static Wide DoubledHigh(Wide s) { return 2 * s - 32768; }
  static Wide DoubledWrapped(Wide s) { return s >= 16384 ? 2 * s - 32768 : 2 * s; }
  static Wide SoftLight(Curve curve, Wide m) { return SoftLight16(curve, m); }
  static bool DissolveTakes(Wide w, uint32_t random) { return w >= random; }
};

struct DepthFloat {
  using Wide = float;
  static constexpr Wide full = 1.0f, half = 0.5f;
  static constexpr bool isFloat = true;

  static Wide Inv(Wide a) { return 1.0f - a; }
  static Wide Mul(Wide a, Wide b) { return a * b; }
  static Wide Lerp(Wide x, Wide y, Wide t) { return x + (y - x) * t; }
  static Wide Div(Wide n, Wide a) {
    const Wide smallest_normal = 1.17549435e-38f;
    if (a < smallest_normal) return 1.0f;
    return n / a;
  }
  static Wide Quotient(Wide n, Wide a) {
    if (a <= 0.0f || a <= n) return 1.0f;
    return Div(n, a);
  }
  static Wide Luma(const Wide c[3]) { return 0.299f * c[0] + 0.587f * c[1] + 0.114f * c[2]; }
  static int64_t LumaAsByte(const Wide c[3]) { return UnitTo8(Luma(c)); }
  static Wide DoubledLow(Wide s) { return 2.0f * s; }
  static Wide DoubledHigh(Wide s) { return 2.0f * s - 1.0f; }
  static Wide DoubledWrapped(Wide s) { return s >= 0.5f ? 2.0f * s - 1.0f : 2.0f * s; }
  static Wide SoftLight(Curve curve, Wide m) { return SoftLightFloat(curve, m); }
  static bool DissolveTakes(Wide w, uint32_t random) {
    return w >= static_cast<float>(random) * 3.0518509447574615e-05f;
  }
};

// The alpha of a layer of alpha `a` over a layer of alpha `b`: 1 - (1 - a)(1 - b).
template <class D>
typename D::Wide Union(typename D::Wide a, typename D::Wide b) {
  return D::Inv(D::Mul(D::Inv(a), D::Inv(b)));
}

// --- a pixel with widened channels ---

template <class D>
struct WidePixel {
  typename D::Wide alpha;
  typename D::Wide c[3];
};

template <class Pixel>
struct DepthOf;
template <>
struct DepthOf<VX_Pixel8> {
  using D = Depth8;
};
template <>
struct DepthOf<VX_Pixel16> {
  using D = Depth16;
};
template <>
struct DepthOf<VX_PixelFloat> {
  using D = DepthFloat;
};

}  // namespace vxref
