// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Matted modes. They blend the source with a destination that was composited onto the neutral
// colour of the mode (matted), and then remove that colour (unmatted, by the alpha A). A
// transparent source leaves the neutral colour unchanged. The per-pixel form mattes, blends and
// unmattes. For rows, matting and unmatting are separate stages, and the row form only blends.
//
// A mode of this family defines Full(s, m) for a source alpha of F, and Part(s, m, sa) for less.

#include "blend/modes/VXp_Mode.h"

template <class T>
struct VXp_NeutralBlack {
  using Work = typename T::Work;
  static constexpr VXp_Stages kStages = VXp_Stages::kMatteBlack;
  static Work Matte(Work c, Work a) { return T::Mul(c, a); }
  static Work Unmatte(Work c, Work a) { return T::Div(c, a); }
};

template <class T>
struct VXp_NeutralWhite {
  using Work = typename T::Work;
  static constexpr VXp_Stages kStages = VXp_Stages::kMatteWhite;
  static Work Matte(Work c, Work a) { return T::Inv(T::Mul(T::Inv(c), a)); }
  static Work Unmatte(Work c, Work a) { return T::Inv(T::Div(T::Inv(c), a)); }
};

template <class T>
struct VXp_NeutralGray {
  using Work = typename T::Work;
  static constexpr VXp_Stages kStages = VXp_Stages::kMatteGray;
  static Work Matte(Work c, Work a) {
    const Work dark = c + T::Mul(T::kHalf - c, T::Inv(a));
    const Work light = T::Mul(c - T::kHalf, a) + T::kHalf;
    return c < T::kHalf ? dark : light;
  }
  // A quotient of half of the range or more would give a colour out of range, so it is clamped.
  static Work Unmatte(Work c, Work a) {
    const auto is_dark = c < T::kHalf;
    const Work t = T::Div(is_dark ? T::kHalf - c : c - T::kHalf, a);
    const auto within = t < T::kHalf;
    const Work dark = within ? T::kHalf - t : Work{};
    const Work light = within ? t + T::kHalf : T::Full();
    return is_dark ? dark : light;
  }
};

template <class T, class Mode, template <class> class NeutralColor>
struct VXp_Matted : VXp_CommonMode<T> {
  using Neutral = NeutralColor<T>;
  using Argb = VXp_Argb<T>;
  using Color = VXp_Color<T>;
  using Work = typename T::Work;
  static constexpr VXp_Stages kStages = Neutral::kStages;

  static void BlendPixel(const Argb& s, Work sa, Argb& d) {
    const Work da = d.alpha;
    const Color cs = Color::Of(s);
    Color m = Color::Of(d);
    if (da < T::kFull) m = VXp_Each(m, [=](Work c) { return Neutral::Matte(c, da); });
    if (sa == T::kFull) {
      VXp_Each(cs, m, [](Work x, Work y) { return Mode::Full(x, y); }).StoreTo(d);
      d.alpha = T::kFull;
      return;
    }
    Color r = VXp_Each(cs, m, [=](Work x, Work y) { return Mode::Part(x, y, sa); });
    const Work a = T::Union(sa, da);
    if (a < T::kFull) r = VXp_Each(r, [=](Work c) { return Neutral::Unmatte(c, a); });
    r.StoreTo(d);
    d.alpha = a;
  }

  // At the integer depths, Part is used for all weights: it equals Full for a weight of F, because
  // products with F are exact.
  static void BlendInRow(const Argb& s, Work w, bool /*keep*/, Argb& d) {
    VXp_Each(Color::Of(s), Color::Of(d), [=](Work x, Work y) {
      if constexpr (!VXp_IsFloat<T>) return Mode::PartInRow(x, y, w);
      const auto covers = w == T::kFull;
      if (!T::Any(covers)) return Mode::PartInRow(x, y, w);
      const Work full = Mode::FullInRow(x, y);
      if (!T::Any(w != T::kFull)) return full;
      const Work part = Mode::PartInRow(x, y, w);
      return covers ? full : part;
    }).StoreTo(d);
  }

  // Overlay replaces these two functions, because its row form rounds differently.
  static Work FullInRow(Work s, Work m) { return Mode::Full(s, m); }
  static Work PartInRow(Work s, Work m, Work w) { return Mode::Part(s, m, w); }
};
