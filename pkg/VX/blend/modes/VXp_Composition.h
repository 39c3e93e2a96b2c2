// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Plain composition: one image in front of, behind or joined to another. The symbols of the
// formulas are defined in VXp_Mode.h.

#include "blend/modes/VXp_Mode.h"

// Draws the source behind the destination. If da is F, the destination is unchanged; else, with k =
// s sa, the colour is lerp(k, d, da) / A and the alpha is A.
template <class T>
struct VXp_ModeBehind : VXp_CommonMode<T> {
  using Argb = VXp_Argb<T>;
  using Color = VXp_Color<T>;
  using Work = typename T::Work;
  static auto Acts(Work w, Work da) { return (w != Work{}) & (da != T::kFull); }
  static bool ActsAnywhere(Work w, Work da) { return T::Any(Acts(w, da)); }

  static void BlendPixel(const Argb& s, Work sa, Argb& d) {
    const Work da = d.alpha;
    if (da == T::kFull) return;
    const Work a = T::Union(sa, da);
    // The numerator is at most A: it is greatest for colours of F, and then equals A.
    VXp_Each(Color::Of(s), Color::Of(d), [=](Work cs, Work cd) {
      return T::DivWithin(T::Lerp(T::Mul(cs, sa), cd, da), a);
    }).StoreTo(d);
    d.alpha = a;
  }

  // If the destination's alpha is 0, the source's colours are copied without rounding.
  static void BlendInRow(const Argb& s, Work w, bool keep, Argb& d) {
    const Work da = d.alpha;
    const auto alone = da == Work{};
    const Work a = T::Union(w, da);
    VXp_Each(Color::Of(s), Color::Of(d), [=](Work cs, Work cd) {
      const Work under = T::DivWithin(T::Lerp(T::Mul(cs, w), cd, da), a);
      return alone ? cs : under;
    }).StoreTo(d);
    const Work kept = alone ? Work{} : da;
    const Work joined = alone ? w : a;
    d.alpha = keep ? kept : joined;
  }
};

// Draws the source over the destination. If sa is F, the result is the source; if da is 0, it has
// the source's colours; else, with k = d da, the colour is lerp(k, s, sa) / A. The alpha is A.
template <class T>
struct VXp_ModeInFront : VXp_CommonMode<T> {
  using Argb = VXp_Argb<T>;
  using Color = VXp_Color<T>;
  using Work = typename T::Work;
  static constexpr VXp_Stages kStages = VXp_Stages::kKeepAlpha;
  static bool Replaces(Work w) { return !T::AnyNonzero(T::Inv(w)); }
  static bool Covers(Work w, Work da) { return !T::Any((w != T::kFull) & (da != Work{})); }

  static void BlendPixel(const Argb& s, Work sa, Argb& d) {
    const Work da = d.alpha;
    const auto copied = (sa == T::kFull) | (da == Work{});
    const bool any_copied = T::AnyZero(T::Inv(sa)) || T::AnyZero(da);
    const Color cs = Color::Of(s);
    if (any_copied && !T::Any(!copied)) {
      cs.StoreTo(d);
      d.alpha = sa;
      return;
    }
    // If the destination is opaque, the product with da and the quotient by A can be omitted.
    const bool opaque = !VXp_IsFloat<T> && !T::AnyNonzero(T::Inv(da));
    Color r;
    if (!opaque) [[likely]] {  // else the compiler loads constants for it in each iteration
      r = OverAny(cs, Color::Of(d), sa, &d.alpha);
    } else {
      r = OverOpaque(cs, Color::Of(d), sa);
    }
    if (any_copied) {
      r = VXp_Each(r, cs, [=](Work over, Work source) { return copied ? source : over; });
      d.alpha = copied ? sa : d.alpha;
    }
    r.StoreTo(d);
  }
  static void BlendInRow(const Argb& s, Work w, bool /*keep*/, Argb& d) { BlendPixel(s, w, d); }

 private:
  static Color OverOpaque(const Color& s, const Color& d, Work sa) {
    return VXp_Each(s, d, [=](Work cs, Work cd) {
      const Work over = T::Lerp(cd, cs, sa);
      return T::kDepth == 8 ? over : T::Min(over, T::Full());
    });
  }
  // The numerator is at most A, as in VXp_ModeBehind.
  static Color OverAny(const Color& s, const Color& d, Work sa, Work* alpha) {
    const Work da = *alpha;
    const Work a = T::Union(sa, da);
    *alpha = a;
    return VXp_Each(
        s, d, [=](Work cs, Work cd) { return T::DivWithin(T::Lerp(T::Mul(cd, da), cs, sa), a); });
  }
};

// Draws a premultiplied source over the destination: with k = da (F - sa), the colour is min(s + d
// k, F) / A. A source pixel of alpha 0 may have colour, so no pixel is skipped.
template <class T>
struct VXp_ModePremulOver : VXp_CommonMode<T> {
  using Argb = VXp_Argb<T>;
  using Color = VXp_Color<T>;
  using Work = typename T::Work;
  static constexpr bool kPixelSkipsZero = false;
  static constexpr bool kRowSkipsZero = false;
  static constexpr VXp_Stages kStages = VXp_Stages::kKeepAlpha;
  static constexpr bool kDrawsTransparentRows = true;
  static constexpr bool kTransferFlag = false;

  static void BlendPixel(const Argb& s, Work sa, Argb& d) {
    const Work k = T::Mul(d.alpha, T::Inv(sa));
    const Work a = T::Union(sa, d.alpha);
    VXp_Each(Color::Of(s), Color::Of(d), [=](Work cs, Work cd) {
      return T::Div(T::Min(cs + T::Mul(cd, k), T::Full()), a);
    }).StoreTo(d);
    d.alpha = a;
  }
  static void BlendInRow(const Argb& s, Work w, bool /*keep*/, Argb& d) { BlendPixel(s, w, d); }
};

// Adds the alphas, at most F, so that complementary mattes join without a visible edge. With A2 =
// da + sa: if sa is F, the result is the source. If A2 < F, the colour is (d da + s sa) / A2 and
// the alpha A2. Otherwise the colour is s sa + d (F - sa) and the alpha F.
template <class T>
struct VXp_ModeAlphaAdd : VXp_CommonMode<T> {
  using Argb = VXp_Argb<T>;
  using Color = VXp_Color<T>;
  using Work = typename T::Work;
  static constexpr VXp_Stages kStages = VXp_Stages::kKeepAlpha;

  static void BlendPixel(const Argb& s, Work sa, Argb& d) {
    const Work da = d.alpha;
    const Work sum = da + sa;
    const auto covers = (sum >= T::kFull) | (sa == T::kFull);
    VXp_Each(Color::Of(s), Color::Of(d), [=](Work cs, Work cd) {
      const Work light = T::Mul(cs, sa);
      Work joined = light + T::Mul(cd, T::Inv(sa));
      joined = sa == T::kFull ? cs : joined;
      if (!T::Any(!covers)) return joined;  // false if the sum is not a number
      const Work mean = T::Div(T::Mul(cd, da) + light, sum);
      return covers ? joined : mean;
    }).StoreTo(d);
    d.alpha = covers ? T::Full() : sum;
  }
  static void BlendInRow(const Argb& s, Work w, bool /*keep*/, Argb& d) { BlendPixel(s, w, d); }
};
