// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Three-term modes: they mix the source, the destination and B(s, d), a blend of the two colours. A
// mode of this family defines B, and its comment is the formula of B. If sa = F, the colour is
// lerp(s, B, da) and the alpha F. Otherwise, with p = sa da, the colour is (da d - p d + sa s - p s
// + p B) / A and the alpha A. The symbols are those of VXp_Mode.h.

#include "blend/modes/VXp_MattedModes.h"

template <class T, class Mode>
struct VXp_ThreeTerm : VXp_CommonMode<T> {
  using Argb = VXp_Argb<T>;
  using Color = VXp_Color<T>;
  using Work = typename T::Work;
  static constexpr VXp_Stages kStages = VXp_Stages::kKeepAlpha;
  static constexpr bool kTransferFlag = false;

  static void BlendPixel(const Argb& s, Work sa, Argb& d) {
    const Work da = d.alpha;
    const Work p = T::Mul(sa, da);
    const Work a = T::Union(sa, da);
    VXp_Each(Color::Of(s), Color::Of(d), [=](Work x, Work y) {
      const Work b = Mode::B(x, y);
      const Work whole = T::Lerp(x, b, da);
      const Work sum = T::Mul(da, y) - T::Mul(p, y) + T::Mul(sa, x) - T::Mul(p, x) + T::Mul(p, b);
      const Work mixed = T::Div(sum, a);
      return sa == T::kFull ? whole : mixed;
    }).StoreTo(d);
    d.alpha = sa == T::kFull ? T::Full() : a;
  }
  static void BlendInRow(const Argb& s, Work w, bool /*keep*/, Argb& d) { BlendPixel(s, w, d); }
};

// Doubles the source for modes with different formulas below and above half: 2 s below, 2 s - F
// above. At 8 bits, 0..127 and 128..255 are each scaled to 0..255; Lower limits s, so that the
// product fits 16 bits in lanes whose result is not used.
template <class T>
struct VXp_Halves {
  using Work = typename T::Work;
  static Work Lower(Work s) {
    if constexpr (T::kDepth == 8) return (255 * T::Min(s, Work{} + 127) + 64) >> 7;
    return VXp_Twice(s);
  }
  static Work Upper(Work s) {
    if constexpr (T::kDepth == 8) return T::Div(s - 128, Work{} + 127);
    return VXp_Twice(s) - T::kFull;
  }
};

// |s - d|
template <class T>
struct VXp_ModeDifference2 : VXp_ThreeTerm<T, VXp_ModeDifference2<T>> {
  using Work = typename T::Work;
  static Work B(Work s, Work d) { return T::Abs(s - d); }
};

// d / (F - s), or 0 if d is 0
template <class T>
struct VXp_ModeDodge2 : VXp_ThreeTerm<T, VXp_ModeDodge2<T>> {
  using Work = typename T::Work;
  static Work B(Work s, Work d) {
    const Work quotient = VXp_QuotientToFull<T>(d, T::Inv(s));
    return d == Work{} ? Work{} : quotient;
  }
};

// F - (F - d) / s; if d is F, the result is F also for s = 0
template <class T>
struct VXp_ModeBurn2 : VXp_ThreeTerm<T, VXp_ModeBurn2<T>> {
  using Work = typename T::Work;
  static constexpr bool kDividesBySource = true;
  static Work B(Work s, Work d) {
    const Work burnt = T::Inv(VXp_QuotientToFull<T>(T::Inv(d), s));
    return ((s == Work{}) & (d == T::kFull)) ? d : burnt;
  }
};

// min(s + d, F); float is not clamped: s + d
template <class T>
struct VXp_ModeLinearDodge : VXp_ThreeTerm<T, VXp_ModeLinearDodge<T>> {
  using Work = typename T::Work;
  static Work B(Work s, Work d) {
    if constexpr (VXp_IsFloat<T>) return s + d;
    return T::Min(s + d, T::Full());
  }
};

// max(s + d - F, 0)
template <class T>
struct VXp_ModeLinearBurn : VXp_ThreeTerm<T, VXp_ModeLinearBurn<T>> {
  using Work = typename T::Work;
  static Work B(Work s, Work d) { return T::Max(s + d - T::kFull, Work{}); }
};

// d + 2 s - F, clamped to 0..F; at 8 bits d + 2 s - 256, clamped; float is not clamped
template <class T>
struct VXp_ModeLinearLight : VXp_ThreeTerm<T, VXp_ModeLinearLight<T>> {
  using Work = typename T::Work;
  static Work B(Work s, Work d) {
    if constexpr (VXp_IsFloat<T>) {
      return d + VXp_Twice(s) - 1.0f;
    } else {
      constexpr int32_t kAway = T::kDepth == 8 ? 256 : T::kFull;
      const Work sum = d + VXp_Twice(s) - kAway;
      return T::Min(T::Max(sum, Work{}), T::Full());
    }
  }
};

// burn with 2 s if s is below half, dodge with 2 s - F if it is above; d if s is half
template <class T>
struct VXp_ModeVividLight : VXp_ThreeTerm<T, VXp_ModeVividLight<T>> {
  using Work = typename T::Work;
  static constexpr bool kDividesBySource = true;
  using Halves = VXp_Halves<T>;
  static Work B(Work s, Work d) {
    Work r = d;
    if (T::Any(s < T::kHalf)) {
      const Work burnt = T::Inv(VXp_QuotientToFull<T>(T::Inv(d), Halves::Lower(s)));
      const Work dark = s == Work{} ? Work{} : burnt;
      r = s < T::kHalf ? dark : r;
    }
    if (T::Any(s > T::kHalf)) {
      const Work dodged = VXp_QuotientToFull<T>(d, T::Inv(Halves::Upper(s)));
      const Work light = s == T::kFull ? T::Full() : dodged;
      r = s > T::kHalf ? light : r;
    }
    return r;
  }
};

// min(d, 2 s) if s is below half, max(d, 2 s - F) if it is above; d if s is half
template <class T>
struct VXp_ModePinLight : VXp_ThreeTerm<T, VXp_ModePinLight<T>> {
  using Work = typename T::Work;
  using Halves = VXp_Halves<T>;
  static Work B(Work s, Work d) {
    const Work dark = T::Min(d, Halves::Lower(s));
    const Work light = T::Max(d, Halves::Upper(s));
    const Work upper = s > T::kHalf ? light : d;
    return s < T::kHalf ? dark : upper;
  }
};

// 0 if d <= t, else F, with t = (F - s) * 254 / 255 at 8 bits, (F - s) * 32767 / 32768 at 16 bits
// and (F - s) * 0.99999 for floats. For floats the result rises linearly from 0 to F
// between t and t + 0.00001.
template <class T>
struct VXp_ModeHardMix : VXp_ThreeTerm<T, VXp_ModeHardMix<T>> {
  using Work = typename T::Work;
  static Work B(Work s, Work d) {
    if constexpr (VXp_IsFloat<T>) {
      constexpr float kRamp = 1.0013580322265625e-05f;
      const Work t = (1.0f - s) * 0.99999f;
      const Work e = d - t;
      const Work ramp = e / kRamp;
      const Work on = kRamp > e ? ramp : T::Full();
      return d <= t ? Work{} : on;
    } else {
      Work t;
      if constexpr (T::kDepth == 8) {
        t = T::Mul(T::Inv(s), Work{} + 254);
      } else {
        t = (T::Inv(s) * 32767 + 16384) >> 15;
      }
      return d > t ? T::Full() : Work{};
    }
  }
};
