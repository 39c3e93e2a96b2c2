// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What the pieces of arithmetic share. A transfer mode is one small stateless template over the
// depth's traits T. It knows nothing of rows, masks, opacity or dissolve, and offers:
//
//   kPixelSkipsZero  the per-pixel form leaves a pixel of source alpha 0 alone
//   kRowSkipsZero    the row form leaves a pixel of weight 0 alone
//   kWritesColor     false when only alpha changes
//   Acts(w, da)      where it skips: whether the row form touches a pixel of weight w over alpha da
//   Covers(w, da)    the row form looks at the destination's colours nowhere
//   BlendPixel(s, sa, d)       the complete rule; sa is the source alpha after the opacities
//   BlendInRow(s, w, keep, d)  what a row loop does with weight w; matted modes leave alpha and the
//                              matte to the stages around the row; keep is keepDstAlpha
//
// Formulas name s and d for source and destination colours, sa and da for their alphas, F for full
// scale and A for the union of the alphas.
//
// The row forms take one pixel (T is a VXp_PixelTraits) or several in lanes (a VXp_LaneTraits). So
// they choose between values where a single pixel would branch, join conditions with & and |, and
// ask T::Any before they compute what no pixel needs. The per-pixel forms of the modes that matte
// or look at a whole colour are for one pixel only.

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "frame/VXp_PixelTraits.h"

// The channels of one pixel in the type in which they are computed.
template <class T>
struct VXp_Argb {
  using Work = typename T::Work;
  Work alpha, red, green, blue;

  static VXp_Argb Of(const typename T::Pixel& p) { return {p.alpha, p.red, p.green, p.blue}; }
  typename T::Pixel Pixel() const {
    using Channel = typename T::Channel;
    return {static_cast<Channel>(alpha), static_cast<Channel>(red), static_cast<Channel>(green),
            static_cast<Channel>(blue)};
  }
  // Field by field, which compilers do better than putting a pixel together first.
  void StoreTo(typename T::Pixel& p) const {
    using Channel = typename T::Channel;
    p.alpha = static_cast<Channel>(alpha);
    p.red = static_cast<Channel>(red);
    p.green = static_cast<Channel>(green);
    p.blue = static_cast<Channel>(blue);
  }
};

template <class T>
struct VXp_Color {
  using Work = typename T::Work;
  Work r, g, b;

  static VXp_Color Of(const VXp_Argb<T>& p) { return {p.red, p.green, p.blue}; }
  void StoreTo(VXp_Argb<T>& p) const {
    p.red = r;
    p.green = g;
    p.blue = b;
  }
  Work Luma() const { return T::Luma(r, g, b); }
  Work Min() const { return T::Min(T::Min(r, g), b); }
  Work Max() const { return T::Max(T::Max(r, g), b); }
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

// What holds for most modes: a weight of 0 changes nothing, and colours are written.
template <class T>
struct VXp_CommonMode {
  using Argb = VXp_Argb<T>;
  using Color = VXp_Color<T>;
  using Work = typename T::Work;
  static constexpr bool kPixelSkipsZero = true;
  static constexpr bool kRowSkipsZero = true;
  static constexpr bool kWritesColor = true;
  static auto Acts(Work w, Work /*da*/) { return w != Work{}; }
  static constexpr bool Covers(Work /*w*/, Work /*da*/) { return false; }
};

// A mode that touches pixels of any weight.
template <class T>
struct VXp_NeverSkips : VXp_CommonMode<T> {
  static constexpr bool kPixelSkipsZero = false;
  static constexpr bool kRowSkipsZero = false;
};

template <class Work>
Work VXp_Twice(Work x) {
  return x + x;
}

template <class T>
inline constexpr bool VXp_IsFloat = T::kDepth == 32;
