// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The arithmetic of the slow twins: one struct per depth.
//
// Integers are widened to 64 bits, so that a result wraps only where a rule of the product says so.
// Float is computed in single precision, because the rule includes the rounding of each step.

#include <cmath>
#include <cstdint>
#include <type_traits>

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

// A pixel of a world whose rows start at multiples of the sample size.
template <class Pixel>
Pixel& At(const VX_LayerDef& world, int64_t column, int64_t row) {
  return reinterpret_cast<Pixel*>(static_cast<char*>(world.data) + row * world.rowbytes)[column];
}

// The type of sums: double at float, otherwise 64-bit integers, which hold all sums exactly.
template <class Number>
using SumOf = std::conditional_t<std::is_floating_point_v<Number>, double, int64_t>;

// Converts alpha and weights between 8 bits (0..255) and 16 bits (0..32768).
inline int64_t AlphaTo16(int64_t a8) { return (a8 * 8421504 + 33200) >> 16; }

inline int64_t AlphaTo8(int64_t a16) { return (a16 * 255 + 16384) >> 15; }

// The two curves of soft light. A source of at least one half adds Up(m) to the destination m,
// scaled by the source's strength; a darker source subtracts Down(m).
enum class Curve { Up, Down };

// Curve::Up is W3C soft light's D(x) - x, Curve::Down is x (1 - x); x is 0..1.
inline double CurveAt(Curve curve, double x) {
  if (curve == Curve::Down) return x * (1 - x);
  return (x <= 0.25 ? ((16 * x - 12) * x + 4) * x : std::sqrt(x)) - x;
}

inline int64_t Entry16(Curve curve, int64_t i) {
  return static_cast<int64_t>(CurveAt(curve, static_cast<double>(i) / 4096) * 32768 + 0.5);
}

inline float EntryFloat(Curve curve, int64_t i) {
  return static_cast<float>(CurveAt(curve, static_cast<double>(i) / 4096));
}

inline int64_t Scaled(float v, double full) {
  if (!(v > 0.0f)) return 0;  // 0 for NaN too
  if (v > 1.0f) return static_cast<int64_t>(full);
  return static_cast<int64_t>(static_cast<double>(v) * full + 0.5);
}

// Converts 0..1 to an integer depth. Values outside are clamped; NaN gives 0.
inline uint8_t UnitTo8(float v) { return static_cast<uint8_t>(Scaled(v, 255.0)); }
inline uint16_t UnitTo16(float v) { return static_cast<uint16_t>(Scaled(v, 32768.0)); }

// Advances a pseudo-random generator and returns its next value, 0..32767.
inline uint32_t Random(uint32_t* state) {
  const uint32_t q = *state / 44488u;
  const uint32_t r = *state % 44488u;
  const uint32_t next = 48271u * r + 3399u * q;
  *state = next == 0 ? 0x7FFFFFFFu : next;
  return (*state >> 7) & 0x7FFFu;
}

inline int64_t SoftLight8(Curve curve, int64_t m) {
  const double v = 255 * CurveAt(curve, static_cast<double>(m) / 255);
  return static_cast<int64_t>(std::floor(v + 0.5));
}

inline int64_t SoftLight16(Curve curve, int64_t m) {
  const int64_t position = Min(m, int64_t{32768});
  const int64_t i = position >> 3;
  const int64_t rest = position & 7;
  int64_t v = Entry16(curve, i);
  if (rest != 0) v += (rest * (Entry16(curve, i + 1) - v) + 4) >> 3;
  return v;
}

inline float SoftLightFloat(Curve curve, float m) {
  float position = 4096.0f * m;
  if (!(position > 0.0f)) position = 0.0f;
  if (position > 4096.0f) position = 4096.0f;
  const int64_t i = static_cast<int64_t>(position);
  const float rest = position - static_cast<float>(i);
  float v = EntryFloat(curve, i);
  if (rest != 0.0f) v += rest * (EntryFloat(curve, i + 1) - v);
  return v;
}

// --- depths ---

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

template <class D>
struct WidePixel {
  typename D::Wide alpha;
  typename D::Wide c[3];
};

template <class Pixel>
struct DepthOf {
  using Integers = std::conditional_t<sizeof(Pixel) == 4, Depth8, Depth16>;
  using D = std::conditional_t<sizeof(Pixel) == 16, DepthFloat, Integers>;
};

}  // namespace vxref
