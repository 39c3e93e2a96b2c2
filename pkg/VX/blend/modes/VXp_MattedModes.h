// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The twelve matted modes. Full(s, m) is for a source alpha of F, Part(s, m, sa) for less. The
// comment of each mode is the formula of Full, with F full scale, s a source channel, and m a
// channel of the destination matted onto the neutral colour.

#include <type_traits>

#include "blend/modes/VXp_Matted.h"
#include "blend/modes/VXp_SoftLightCurves.h"

// Returns the quotient n / a of the dodge and burn modes, at most full scale. Float division does
// not clamp; for floats the result is full scale if a <= 0 or a <= n. In the form for one 16-bit
// pixel, the result for a = 0 is full scale even if n is negative.
template <class T>
typename T::Work VXp_QuotientToFull(typename T::Work n, typename T::Work a) {
  if constexpr (std::is_same_v<T, VXp_PixelTraits<VX_Pixel16>>) {
    if (a == 0) return T::Full();
  }
  const typename T::Work quotient = T::Div(n, a);
  if constexpr (VXp_IsFloat<T>) {
    return ((a <= 0.0f) | (a <= n)) ? T::Full() : quotient;
  }
  return quotient;
}

// Maps each half of the range to the whole range: 2 s if s is below half, else 2 s - F.
template <class T>
typename T::Work VXp_Doubled(typename T::Work s) {
  using Work = typename T::Work;
  if constexpr (T::kDepth == 8) {
    return (2 * s) & 0xFF;  // at 8 bits white becomes 254
  } else {
    return VXp_Twice(s) - (s >= T::kHalf ? T::Full() : Work{});
  }
}

// min(m + s, F)
template <class T>
struct VXp_ModeAdd : VXp_Matted<T, VXp_ModeAdd<T>, VXp_NeutralBlack> {
  using Work = typename T::Work;
  static Work Full(Work s, Work m) {
    if constexpr (VXp_IsFloat<T>) return m + s;  // float is not clamped
    return T::Min(m + s, T::Full());
  }
  static Work Part(Work s, Work m, Work sa) { return Full(T::Mul(s, sa), m); }
};

// s m, computed as m - (F - s) m
template <class T>
struct VXp_ModeMultiply : VXp_Matted<T, VXp_ModeMultiply<T>, VXp_NeutralWhite> {
  using Work = typename T::Work;
  static Work Full(Work s, Work m) { return m - T::Mul(T::Inv(s), m); }
  static Work Part(Work s, Work m, Work sa) { return m - T::Mul(T::Mul(T::Inv(s), m), sa); }
};

// F - (F - s)(F - m)
template <class T>
struct VXp_ModeScreen : VXp_Matted<T, VXp_ModeScreen<T>, VXp_NeutralBlack> {
  using Work = typename T::Work;
  static Work Full(Work s, Work m) { return T::Inv(T::Mul(T::Inv(s), T::Inv(m))); }
  static Work Part(Work s, Work m, Work sa) { return Full(T::Mul(s, sa), m); }
};

// 2 s m if m is below half, else F - 2 (F - s)(F - m)
template <class T>
struct VXp_ModeOverlay : VXp_Matted<T, VXp_ModeOverlay<T>, VXp_NeutralGray> {
  using Work = typename T::Work;
  static Work Full(Work s, Work m) {
    const Work dark = VXp_Twice(T::Mul(s, m));
    const Work light = Light(s, m);
    return m < T::kHalf ? dark : light;
  }
  static Work Part(Work s, Work m, Work sa) { return T::Lerp(m, Full(s, m), sa); }

  // The row form doubles before it multiplies, so it rounds differently from Full. Existing
  // projects depend on both results.
  static Work FullInRow(Work s, Work m) {
    const Work dark = T::Mul(VXp_Twice(m), s);
    const Work light = Light(s, m);
    return m < T::kHalf ? dark : light;
  }
  static Work PartInRow(Work s, Work m, Work w) { return T::Lerp(m, FullInRow(s, m), w); }

 private:
  static Work Light(Work s, Work m) { return T::Inv(T::Mul(T::Inv(s), VXp_Twice(T::Inv(m)))); }
};

// m + (D(m) - m)(2 s - F) if s is at least half, else m - m (F - m)(F - 2 s). D(x) is
// ((16 x - 12) x + 4) x for x up to a quarter, else the square root of x.
template <class T>
struct VXp_ModeSoftLight : VXp_Matted<T, VXp_ModeSoftLight<T>, VXp_NeutralGray> {
  using Work = typename T::Work;
  static constexpr bool kTransferFlag = false;
  // Returns the value of the curve at m: Up for a light source, Down for a dark one.
  static Work Curve(Work s, Work m) { return VXp_SoftLightCurves<T>::UpOrDown(s >= T::kHalf, m); }
  static Work FullAlong(Work curve, Work s, Work m) {
    const Work by = Step(curve, s);
    return s >= T::kHalf ? m + by : m - by;
  }
  static Work PartAlong(Work curve, Work s, Work m, Work sa) {
    const Work by = T::Mul(Step(curve, s), sa);
    return s >= T::kHalf ? m + by : m - by;
  }
  static Work Full(Work s, Work m) { return FullAlong(Curve(s, m), s, m); }
  static Work Part(Work s, Work m, Work sa) { return PartAlong(Curve(s, m), s, m, sa); }

 private:
  static Work Step(Work curve, Work s) {
    const Work u = VXp_Doubled<T>(s);
    return T::Mul(s >= T::kHalf ? u : T::Inv(u), curve);
  }
};

// screen with 2 s - F if s is at least half, else multiply with 2 s
template <class T>
struct VXp_ModeHardLight : VXp_Matted<T, VXp_ModeHardLight<T>, VXp_NeutralGray> {
  using Work = typename T::Work;
  static Work Full(Work s, Work m) {
    const Work by = Step(s, m);
    return s >= T::kHalf ? m + by : m - by;
  }
  static Work Part(Work s, Work m, Work sa) {
    const Work by = T::Mul(Step(s, m), sa);
    return s >= T::kHalf ? m + by : m - by;
  }

 private:
  static Work Step(Work s, Work m) {
    const Work u = VXp_Doubled<T>(s);
    return T::Mul(s >= T::kHalf ? T::Inv(m) : T::Inv(u), s >= T::kHalf ? u : m);
  }
};

// min(s, m)
template <class T>
struct VXp_ModeDarken : VXp_Matted<T, VXp_ModeDarken<T>, VXp_NeutralWhite> {
  using Work = typename T::Work;
  static Work Full(Work s, Work m) { return s < m ? s : m; }
  static Work Part(Work s, Work m, Work sa) {
    const Work less = m - T::Mul(m - s, sa);
    return s < m ? less : m;
  }
};

// max(s, m)
template <class T>
struct VXp_ModeLighten : VXp_Matted<T, VXp_ModeLighten<T>, VXp_NeutralBlack> {
  using Work = typename T::Work;
  static Work Full(Work s, Work m) { return s > m ? s : m; }
  static Work Part(Work s, Work m, Work sa) {
    const Work more = m + T::Mul(s - m, sa);
    return s > m ? more : m;
  }
};

// |s - m|
template <class T>
struct VXp_ModeDifference : VXp_Matted<T, VXp_ModeDifference<T>, VXp_NeutralBlack> {
  using Work = typename T::Work;
  static Work Full(Work s, Work m) { return T::Abs(s - m); }
  static Work Part(Work s, Work m, Work sa) { return Full(T::Mul(s, sa), m); }
};

// m / (F - s)
template <class T>
struct VXp_ModeDodge : VXp_Matted<T, VXp_ModeDodge<T>, VXp_NeutralBlack> {
  using Work = typename T::Work;
  static constexpr bool kTransferFlag = false;
  static Work Full(Work s, Work m) { return VXp_QuotientToFull<T>(m, T::Inv(s)); }
  static Work Part(Work s, Work m, Work sa) { return Full(T::Mul(s, sa), m); }
};

// F - (F - m) / s
template <class T>
struct VXp_ModeBurn : VXp_Matted<T, VXp_ModeBurn<T>, VXp_NeutralWhite> {
  using Work = typename T::Work;
  static constexpr bool kTransferFlag = false;
  static constexpr bool kDividesBySource = true;
  static Work Full(Work s, Work m) { return T::Inv(VXp_QuotientToFull<T>(T::Inv(m), s)); }
  static Work Part(Work s, Work m, Work sa) { return Full(T::Inv(T::Mul(T::Inv(s), sa)), m); }
};

// s + m - 2 s m
template <class T>
struct VXp_ModeExclusion : VXp_Matted<T, VXp_ModeExclusion<T>, VXp_NeutralBlack> {
  using Work = typename T::Work;
  static Work Full(Work s, Work m) { return s + m - VXp_Twice(T::Mul(s, m)); }
  static Work Part(Work s, Work m, Work sa) {
    const Work t = T::Mul(s, m);
    return m + T::SignedMul(s - t - t, sa);
  }
};
