// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The pieces of arithmetic. A transfer mode is one small stateless template over the traits T of a
// pixel type, and everything that the library has to know about the mode is a member of it:
//
//   kPixelSkipsZero  the per-pixel form does not change a pixel of source alpha 0
//   kRowSkipsZero    the row form does not change a pixel of weight 0
//   kWritesColor     false if only alpha changes
//   kStages          the stages of a row around the scan
//   kClearsOutside   a composite sets alpha to 0 outside its rectangle
//   kDrawsTransparentRows  a transform draws rows whose source is transparent throughout
//   kNeedsMask       the mask is an operand of the mode
//   kTransferFlag    the result of VX_GetTransferFlags
//   Acts(w, da)      with kRowSkipsZero: whether the row form changes a pixel of weight w over
//                    destination alpha da
//   Covers(w, da)    whether the row form does not read the destination's colours
//   BlendPixel(s, sa, d)       the complete rule; sa is the source alpha times the opacities
//   BlendInRow(s, w, keep, d)  the rule of a row loop for weight w; keep is keepDstAlpha. In matted
//                              modes, stages of the row compute matte and alpha.
//
// Names in formulas: s and d are the source and destination colours, sa and da their alphas, F is
// full scale, A the union of the alphas.
//
// A row form processes one pixel (T is a VXp_PixelTraits) or several in lanes (a VXp_LaneTraits).
// Therefore it selects between values instead of branching, combines conditions with & and |, and
// tests T::Any before a computation that may not be needed. The per-pixel forms of the matted modes
// and of the modes that use a whole colour process one pixel only.

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "frame/VXp_PixelTraits.h"

// The stages of a row. Every kind but kScan restores the destination's alpha if keepDstAlpha is
// set.
enum class VXp_Stages {
  kScan,        // the scan alone, which handles keepDstAlpha itself
  kKeepAlpha,   // the scan
  kBehind,      // a scan of VX_Xfer_Behind, then that of the mode
  kMatteBlack,  // matte onto the neutral colour, scan, union of the alphas, unmatte
  kMatteWhite,
  kMatteGray
};

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
  // Compilers generate better code for single fields than for a whole pixel.
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

// The defaults: a weight of 0 changes nothing, and colours are written.
template <class T>
struct VXp_CommonMode {
  using Argb = VXp_Argb<T>;
  using Color = VXp_Color<T>;
  using Work = typename T::Work;
  static constexpr bool kPixelSkipsZero = true;
  static constexpr bool kRowSkipsZero = true;
  static constexpr bool kWritesColor = true;
  static constexpr VXp_Stages kStages = VXp_Stages::kScan;
  static constexpr bool kClearsOutside = false;
  static constexpr bool kDrawsTransparentRows = false;
  static constexpr bool kNeedsMask = false;
  static constexpr bool kTransferFlag = true;
  static auto Acts(Work w, Work /*da*/) { return w != Work{}; }
  static constexpr bool Covers(Work /*w*/, Work /*da*/) { return false; }
};

template <class Work>
Work VXp_Twice(Work x) {
  return x + x;
}

template <class T>
inline constexpr bool VXp_IsFloat = T::kDepth == 32;
