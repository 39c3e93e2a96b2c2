// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Modes that work on a destination matted onto their neutral colour, which is the colour that the
// mode leaves unchanged when the source is transparent. Per pixel: matte, formula, unmatte by A. In
// a row the stages around it do the matting and the alpha, so the row form is the formula alone.
//
// A mode of this family gives Full(s, m) for a source that covers, and Part(s, m, sa) below that.

#include "blend/modes/VXp_Mode.h"

template <class T>
struct VXp_NeutralBlack {
  using Work = typename T::Work;
  static Work Matte(Work c, Work a) { return T::Mul(c, a); }
  static Work Unmatte(Work c, Work a) { return T::Div(c, a); }
};

template <class T>
struct VXp_NeutralWhite {
  using Work = typename T::Work;
  static Work Matte(Work c, Work a) { return T::Inv(T::Mul(T::Inv(c), a)); }
  static Work Unmatte(Work c, Work a) { return T::Inv(T::Div(T::Inv(c), a)); }
};

template <class T>
struct VXp_NeutralGray {
  using Work = typename T::Work;
  static Work Matte(Work c, Work a) {
    if (c < T::kHalf) return c + T::Mul(T::kHalf - c, T::Inv(a));
    return T::Mul(c - T::kHalf, a) + T::kHalf;
  }
  // A quotient of half or more lies outside the range: hold it at the end.
  static Work Unmatte(Work c, Work a) {
    if (c < T::kHalf) {
      const Work t = T::Div(T::kHalf - c, a);
      return t < T::kHalf ? T::kHalf - t : Work{0};
    }
    const Work t = T::Div(c - T::kHalf, a);
    return t < T::kHalf ? t + T::kHalf : T::kFull;
  }
};

template <class T, class Mode, class Neutral>
struct VXp_Matted {
  using Pixel = typename T::Pixel;
  using Work = typename T::Work;
  static constexpr bool kPixelSkipsZero = true;
  static constexpr bool kRowSkipsZero = true;
  static constexpr bool kWritesColor = true;

  static void BlendPixel(const Pixel& s, Work sa, Pixel& d) {
    const Work da = d.alpha;
    const VXp_Color<T> cs = VXp_Color<T>::Of(s);
    VXp_Color<T> m = VXp_Color<T>::Of(d);
    if (da < T::kFull) m = VXp_Each(m, [=](Work c) { return Neutral::Matte(c, da); });
    if (sa == T::kFull) {
      VXp_Each(cs, m, [](Work x, Work y) { return Mode::Full(x, y); }).StoreTo(d);
      VXp_StoreAlpha<T>(T::kFull, d);
      return;
    }
    VXp_Color<T> r = VXp_Each(cs, m, [=](Work x, Work y) { return Mode::Part(x, y, sa); });
    const Work a = T::Union(sa, da);
    if (a < T::kFull) r = VXp_Each(r, [=](Work c) { return Neutral::Unmatte(c, a); });
    r.StoreTo(d);
    VXp_StoreAlpha<T>(a, d);
  }

  static void BlendInRow(const Pixel& s, Work w, bool /*keep*/, Pixel& d) {
    const VXp_Color<T> cs = VXp_Color<T>::Of(s);
    const VXp_Color<T> m = VXp_Color<T>::Of(d);
    if (w == T::kFull) {
      VXp_Each(cs, m, [](Work x, Work y) { return Mode::FullInRow(x, y); }).StoreTo(d);
    } else {
      VXp_Each(cs, m, [=](Work x, Work y) { return Mode::PartInRow(x, y, w); }).StoreTo(d);
    }
  }

  // All but one mode round alike in both forms.
  static Work FullInRow(Work s, Work m) { return Mode::Full(s, m); }
  static Work PartInRow(Work s, Work m, Work w) { return Mode::Part(s, m, w); }
};
