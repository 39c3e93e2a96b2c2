// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What the pieces of arithmetic share. A transfer mode is one small stateless template over the
// depth's traits T. It knows nothing of rows, masks, opacity or dissolve, and offers:
//
//   kPixelSkipsZero  the per-pixel form leaves a pixel of source alpha 0 alone
//   kRowSkipsZero    the row form leaves a pixel of weight 0 alone
//   kWritesColor     false when only alpha changes
//   BlendPixel(s, sa, d)       the complete rule; sa is the source alpha after the opacities
//   BlendInRow(s, w, keep, d)  what a row loop does with weight w; matted modes leave alpha and the
//                              matte to the stages around the row; keep is keepDstAlpha
//
// Formulas name s and d for source and destination colours, sa and da for their alphas, F for full
// scale and A for the union of the alphas.

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "frame/VXp_PixelTraits.h"

template <class T>
struct VXp_Color {
  using Work = typename T::Work;
  Work r, g, b;

  static VXp_Color Of(const typename T::Pixel& p) { return {p.red, p.green, p.blue}; }
  void StoreTo(typename T::Pixel& p) const {
    p.red = static_cast<typename T::Channel>(r);
    p.green = static_cast<typename T::Channel>(g);
    p.blue = static_cast<typename T::Channel>(b);
  }
  Work Luma() const { return T::Luma(r, g, b); }
  Work Min() const { return std::min(std::min(r, g), b); }
  Work Max() const { return std::max(std::max(r, g), b); }
};

// Applies f to the channels of one colour, or of two in step.
template <class T, class F>
VXp_Color<T> VXp_Each(const VXp_Color<T>& x, F&& f) {
  return {f(x.r), f(x.g), f(x.b)};
}
template <class T, class F>
VXp_Color<T> VXp_Each(const VXp_Color<T>& x, const VXp_Color<T>& y, F&& f) {
  return {f(x.r, y.r), f(x.g, y.g), f(x.b, y.b)};
}

template <class T>
void VXp_StoreAlpha(typename T::Work a, typename T::Pixel& p) {
  p.alpha = static_cast<typename T::Channel>(a);
}

// A family of modes whose per-pixel rule and row rule are the same.
template <class T, class Mode>
struct VXp_SameInRow {
  static constexpr bool kPixelSkipsZero = true;
  static constexpr bool kRowSkipsZero = true;
  static constexpr bool kWritesColor = true;
  static void BlendInRow(const typename T::Pixel& s, typename T::Work w, bool /*keep*/,
                         typename T::Pixel& d) {
    Mode::BlendPixel(s, w, d);
  }
};

template <class T>
inline constexpr bool VXp_IsFloat = T::kDepth == 32;
