// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The arithmetic of the transfer modes. A mode is one small stateless class template over the
// traits T of a pixel type, called its piece. All properties of the mode that the library uses are
// members of this class:
//
//   kPixelSkipsZero  the per-pixel form does not change a pixel of source alpha 0
//   kRowSkipsZero    the row form does not change a pixel of weight 0
//   kWritesColor     false if only alpha changes
//   kUsesColor       false if colours are copied or not used: the mode does not compute with them
//   kStages          the stages of a row around the scan
//   kClearsOutside   a composite sets alpha to 0 outside its rectangle
//   kDrawsTransparentRows  a transform also draws rows in which the source is transparent
//   kNeedsMask       the mask is an operand of the mode
//   kTransferFlag    the result of VX_GetTransferFlags
//   kDividesBySource the per-pixel form divides by the colours of the source, see
//                    VXp_LimitDestination
//   kChoosesPixels   the mode changes the colours of an opaque destination d only if ActsOn(s, d)
//                    in the row form, ActsOnPixel(s, d) in the per-pixel form
//   Acts(w, da)      with kRowSkipsZero: whether the row form changes a pixel of weight w over
//                    destination alpha da
//   ActsAnywhere(w, da)  whether Acts is true in any lane, if w is not 0 in all lanes
//   Replaces(w)      whether the row form copies the source's colours, and the alpha becomes w
//   Covers(w, da)    whether the row form ignores the destination's colours
//   BlendPixel(s, sa, d)       the per-pixel form; sa is the source alpha times the opacities
//   BlendInRow(s, w, keep, d)  the row form; w is the weight, keep is keepDstAlpha. Matted modes
//                              compute only colours here; stages of the row do the rest.
//
// Symbols in formulas: s and d are the source and destination colours, sa and da their alphas, F is
// full scale, A is the union of the alphas, sa + da - sa da, and lerp(x, y, t) is x + (y - x) t.
// Products and quotients are relative to full scale: x y means x y / F, and x / y means F x / y.
//
// A row form processes one pixel (T is a VXp_PixelTraits) or several in lanes (a VXp_LaneTraits).
// Therefore it selects between values instead of branching, combines conditions with & and |, and
// skips an expensive computation if T::Any(condition) is false, that is, if the condition is false
// in all lanes. The per-pixel forms of the matted modes and of the modes that use a whole colour
// process one pixel only.

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "frame/VXp_Argb.h"
#include "frame/VXp_PixelTraits.h"

// The stages of a row. All kinds except kScan restore the destination's alpha if keepDstAlpha is
// set.
enum class VXp_Stages {
  kScan,        // only the scan, which implements keepDstAlpha itself
  kKeepAlpha,   // only the scan, which changes alpha
  kBehind,      // a scan of VX_Xfer_Behind, then the scan of the mode
  kMatteBlack,  // matte onto the neutral colour, scan, union of the alphas, unmatte
  kMatteWhite,
  kMatteGray
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

// Applies f to each channel of one colour, or to each pair of channels of two colours.
template <class T, class F>
VXp_Color<T> VXp_Each(const VXp_Color<T>& x, F&& f) {
  return {f(x.r), f(x.g), f(x.b)};
}
template <class T, class F>
VXp_Color<T> VXp_Each(const VXp_Color<T>& x, const VXp_Color<T>& y, F&& f) {
  return {f(x.r, y.r), f(x.g, y.g), f(x.b, y.b)};
}

// The default properties: a pixel of weight 0 is not changed, and colours are written.
template <class T>
struct VXp_CommonMode {
  using Argb = VXp_Argb<T>;
  using Color = VXp_Color<T>;
  using Work = typename T::Work;
  static constexpr bool kPixelSkipsZero = true;
  static constexpr bool kRowSkipsZero = true;
  static constexpr bool kWritesColor = true;
  static constexpr bool kUsesColor = true;
  static constexpr VXp_Stages kStages = VXp_Stages::kScan;
  static constexpr bool kClearsOutside = false;
  static constexpr bool kDrawsTransparentRows = false;
  static constexpr bool kNeedsMask = false;
  static constexpr bool kTransferFlag = true;
  static constexpr bool kDividesBySource = false;
  static constexpr bool kChoosesPixels = false;
  static auto Acts(Work w, Work /*da*/) { return w != Work{}; }
  static constexpr bool ActsAnywhere(Work /*w*/, Work /*da*/) { return true; }
  static constexpr bool Replaces(Work /*w*/) { return false; }
  static constexpr bool Covers(Work /*w*/, Work /*da*/) { return false; }
};

// Limits destination channels to full scale if the source channel is 0. Used by the 16-bit
// per-pixel forms of modes that divide by the source, because the quotient is not defined then.
template <class Mode, class T>
void VXp_LimitDestination(const VXp_Argb<T>& s, VXp_Argb<T>& d) {
  if constexpr (Mode::kDividesBySource && T::kDepth == 16) {
    VXp_Each(VXp_Color<T>::Of(s), VXp_Color<T>::Of(d), [](auto x, auto y) {
      return x == 0 ? T::Min(y, T::kFull) : y;
    }).StoreTo(d);
  }
}

template <class Work>
Work VXp_Twice(Work x) {
  return x + x;
}

template <class T>
inline constexpr bool VXp_IsFloat = T::kDepth == 32;
