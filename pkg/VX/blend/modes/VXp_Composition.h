// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Plain composition: one image in front of, behind or joined to another.

#include "blend/modes/VXp_Mode.h"

// Destination behind: nothing where da is F; else k = s sa, r = lerp(k, d, da) / A, alpha A.
template <class T>
struct VXp_ModeBehind {
  using Pixel = typename T::Pixel;
  using Work = typename T::Work;
  static constexpr bool kPixelSkipsZero = true;
  static constexpr bool kRowSkipsZero = true;
  static constexpr bool kWritesColor = true;

  static void BlendPixel(const Pixel& s, Work sa, Pixel& d) {
    const Work da = d.alpha;
    if (da == T::kFull) return;
    const Work a = T::Union(sa, da);
    PutBehind(s, sa, da, a, d);
    VXp_StoreAlpha<T>(a, d);
  }

  // Under nothing at all the source is taken whole, so its colours are not rounded.
  static void BlendInRow(const Pixel& s, Work w, bool keep, Pixel& d) {
    const Work da = d.alpha;
    if (da == T::kFull) return;
    if (da == Work{0}) {
      d = s;
      VXp_StoreAlpha<T>(keep ? Work{0} : w, d);
      return;
    }
    const Work a = T::Union(w, da);
    PutBehind(s, w, da, a, d);
    if (!keep) VXp_StoreAlpha<T>(a, d);
  }

 private:
  static void PutBehind(const Pixel& s, Work sa, Work da, Work a, Pixel& d) {
    VXp_Each(VXp_Color<T>::Of(s), VXp_Color<T>::Of(d), [=](Work cs, Work cd) {
      return T::Div(T::Lerp(T::Mul(cs, sa), cd, da), a);
    }).StoreTo(d);
  }
};

// Ordinary over: the source where sa is F; its colours where da is 0; else k = d da,
// r = lerp(k, s, sa) / A, alpha A.
template <class T>
struct VXp_ModeInFront : VXp_SameInRow<T, VXp_ModeInFront<T>> {
  using Pixel = typename T::Pixel;
  using Work = typename T::Work;

  static void BlendPixel(const Pixel& s, Work sa, Pixel& d) {
    const Work da = d.alpha;
    if (sa == T::kFull || da == Work{0}) {
      d = s;
      VXp_StoreAlpha<T>(sa, d);
      return;
    }
    const Work a = T::Union(sa, da);
    VXp_Each(VXp_Color<T>::Of(s), VXp_Color<T>::Of(d), [=](Work cs, Work cd) {
      return T::Div(T::Lerp(T::Mul(cd, da), cs, sa), a);
    }).StoreTo(d);
    VXp_StoreAlpha<T>(a, d);
  }
};

// Over with a source that is already multiplied by its alpha: k = da (F - sa), r = min(s + d k, F)
// / A. A source of alpha 0 still adds light, so nothing is skipped.
template <class T>
struct VXp_ModePremulOver : VXp_SameInRow<T, VXp_ModePremulOver<T>> {
  using Pixel = typename T::Pixel;
  using Work = typename T::Work;
  static constexpr bool kPixelSkipsZero = false;
  static constexpr bool kRowSkipsZero = false;

  static void BlendPixel(const Pixel& s, Work sa, Pixel& d) {
    const Work da = d.alpha;
    const Work k = T::Mul(da, T::Inv(sa));
    const Work a = T::Union(sa, da);
    VXp_Each(VXp_Color<T>::Of(s), VXp_Color<T>::Of(d), [=](Work cs, Work cd) {
      return T::Div(std::min(cs + T::Mul(cd, k), T::kFull), a);
    }).StoreTo(d);
    VXp_StoreAlpha<T>(a, d);
  }
};

// Alphas add up to full, so that complementary mattes join without a seam. Below full with
// A2 = da + sa: r = (d da + s sa) / A2, alpha A2; else r = s sa + d (F - sa), alpha F.
template <class T>
struct VXp_ModeAlphaAdd : VXp_SameInRow<T, VXp_ModeAlphaAdd<T>> {
  using Pixel = typename T::Pixel;
  using Work = typename T::Work;

  static void BlendPixel(const Pixel& s, Work sa, Pixel& d) {
    const Work da = d.alpha;
    const VXp_Color<T> cs = VXp_Color<T>::Of(s);
    const VXp_Color<T> cd = VXp_Color<T>::Of(d);
    if (sa == T::kFull) {
      d = s;
      VXp_StoreAlpha<T>(T::kFull, d);
    } else if (da + sa >= T::kFull) {
      VXp_Each(cs, cd, [=](Work x, Work y) {
        return T::Mul(x, sa) + T::Mul(y, T::Inv(sa));
      }).StoreTo(d);
      VXp_StoreAlpha<T>(T::kFull, d);
    } else {
      const Work a2 = da + sa;
      VXp_Each(cs, cd, [=](Work x, Work y) {
        return T::Div(T::Mul(y, da) + T::Mul(x, sa), a2);
      }).StoreTo(d);
      VXp_StoreAlpha<T>(a2, d);
    }
  }
};
