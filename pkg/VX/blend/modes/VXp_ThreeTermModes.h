// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Modes that mix source, destination and B, the blend of the unmatted values, in three terms:
// with sa = F, r = lerp(s, B, da) and alpha F; else with p = sa da,
// r = (da d - p d + sa s - p s + p B) / A and alpha A. A mode of this family gives B(s, d).

#include "blend/modes/VXp_MattedModes.h"

template <class T, class Mode>
struct VXp_ThreeTerm : VXp_SameInRow<T, Mode> {
  using Pixel = typename T::Pixel;
  using Work = typename T::Work;

  static void BlendPixel(const Pixel& s, Work sa, Pixel& d) {
    const Work da = d.alpha;
    const VXp_Color<T> cs = VXp_Color<T>::Of(s);
    const VXp_Color<T> cd = VXp_Color<T>::Of(d);
    if (sa == T::kFull) {
      VXp_Each(cs, cd, [=](Work x, Work y) { return T::Lerp(x, Mode::B(x, y), da); }).StoreTo(d);
      VXp_StoreAlpha<T>(T::kFull, d);
      return;
    }
    const Work p = T::Mul(sa, da);
    const Work a = T::Union(sa, da);
    VXp_Each(cs, cd, [=](Work x, Work y) {
      const Work sum =
          T::Mul(da, y) - T::Mul(p, y) + T::Mul(sa, x) - T::Mul(p, x) + T::Mul(p, Mode::B(x, y));
      return T::Div(sum, a);
    }).StoreTo(d);
    VXp_StoreAlpha<T>(a, d);
  }
};

// Where a mode is chosen by the source, its lower half reaches to kHalf and is doubled: twice s,
// and twice s less F above. At 8 bits the doubling goes over the scale 0..127.
template <class T>
struct VXp_Halves {
  using Work = typename T::Work;
  static Work Lower(Work s) {
    if constexpr (T::kDepth == 8) return (255 * s + 64) >> 7;
    return Work{2} * s;
  }
  static Work Upper(Work s) {
    if constexpr (T::kDepth == 8) return T::Div(s - 128, 127);
    return Work{2} * s - T::kFull;
  }
};

// |s - d|
template <class T>
struct VXp_ModeDifference2 : VXp_ThreeTerm<T, VXp_ModeDifference2<T>> {
  using Work = typename T::Work;
  static Work B(Work s, Work d) { return std::abs(s - d); }
};

// d / (F - s), 0 for a black destination
template <class T>
struct VXp_ModeDodge2 : VXp_ThreeTerm<T, VXp_ModeDodge2<T>> {
  using Work = typename T::Work;
  static Work B(Work s, Work d) {
    return d == Work{0} ? Work{0} : VXp_QuotientToFull<T>(d, T::Inv(s));
  }
};

// F - (F - d) / s, white stays white under black
template <class T>
struct VXp_ModeBurn2 : VXp_ThreeTerm<T, VXp_ModeBurn2<T>> {
  using Work = typename T::Work;
  static Work B(Work s, Work d) {
    if (s == Work{0} && d == T::kFull) return d;
    return T::Inv(VXp_QuotientToFull<T>(T::Inv(d), s));
  }
};

// min(s + d, F); float has no ceiling
template <class T>
struct VXp_ModeLinearDodge : VXp_ThreeTerm<T, VXp_ModeLinearDodge<T>> {
  using Work = typename T::Work;
  static Work B(Work s, Work d) {
    if constexpr (VXp_IsFloat<T>) return s + d;
    return std::min(s + d, T::kFull);
  }
};

// max(s + d - F, 0)
template <class T>
struct VXp_ModeLinearBurn : VXp_ThreeTerm<T, VXp_ModeLinearBurn<T>> {
  using Work = typename T::Work;
  static Work B(Work s, Work d) { return std::max(s + d - T::kFull, Work{0}); }
};

// d + 2 s - F held in range; 8 bits subtract one more than full scale; float is not held
template <class T>
struct VXp_ModeLinearLight : VXp_ThreeTerm<T, VXp_ModeLinearLight<T>> {
  using Work = typename T::Work;
  static Work B(Work s, Work d) {
    if constexpr (VXp_IsFloat<T>) {
      return d + 2.0f * s - 1.0f;
    } else {
      const Work away = T::kDepth == 8 ? 256 : T::kFull;
      return std::clamp(d + 2 * s - away, Work{0}, T::kFull);
    }
  }
};

// burn by a dark source, dodge by a light one, each with the source doubled; d at the half
template <class T>
struct VXp_ModeVividLight : VXp_ThreeTerm<T, VXp_ModeVividLight<T>> {
  using Work = typename T::Work;
  using Halves = VXp_Halves<T>;
  static Work B(Work s, Work d) {
    if (s < T::kHalf) {
      if (s == Work{0}) return Work{0};
      return T::Inv(VXp_QuotientToFull<T>(T::Inv(d), Halves::Lower(s)));
    }
    if (s > T::kHalf) {
      if (s == T::kFull) return T::kFull;
      return VXp_QuotientToFull<T>(d, T::Inv(Halves::Upper(s)));
    }
    return d;
  }
};

// min(d, 2 s) by a dark source, max(d, 2 s - F) by a light one; d at the half
template <class T>
struct VXp_ModePinLight : VXp_ThreeTerm<T, VXp_ModePinLight<T>> {
  using Work = typename T::Work;
  using Halves = VXp_Halves<T>;
  static Work B(Work s, Work d) {
    if (s < T::kHalf) return std::min(d, Halves::Lower(s));
    if (s > T::kHalf) return std::max(d, Halves::Upper(s));
    return d;
  }
};

// 0 up to the threshold F - s, F above. Float has a narrow ramp instead of a step.
template <class T>
struct VXp_ModeHardMix : VXp_ThreeTerm<T, VXp_ModeHardMix<T>> {
  using Work = typename T::Work;
  static Work B(Work s, Work d) {
    if constexpr (VXp_IsFloat<T>) {
      constexpr float kRamp = 1.0013580322265625e-05f;
      const float t = (1.0f - s) * 0.99999f;
      if (d <= t) return 0.0f;
      const float e = d - t;
      return kRamp > e ? e / kRamp : 1.0f;
    } else {
      const Work t = T::kDepth == 8 ? T::Mul(T::Inv(s), 254) : (T::Inv(s) * 32767 + 16384) >> 15;
      return d > t ? T::kFull : Work{0};
    }
  }
};
