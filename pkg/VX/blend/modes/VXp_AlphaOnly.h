// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Modes that change only the alpha of the destination. The comment of each mode is the formula of
// the new alpha, with da the destination's alpha, sa the weighted source alpha, F full scale, and
// luma(s) the luminance of the source.

#include "blend/modes/VXp_Mode.h"

template <class T, class Mode>
struct VXp_AlphaOnly : VXp_CommonMode<T> {
  using Argb = VXp_Argb<T>;
  using Color = VXp_Color<T>;
  using Work = typename T::Work;
  static constexpr bool kWritesColor = false;
  static constexpr bool kTransferFlag = false;

  static void BlendPixel(const Argb& s, Work sa, Argb& d) {
    d.alpha = Mode::Alpha(d.alpha, sa, Color::Of(s));
  }
  static void BlendInRow(const Argb& s, Work w, bool /*keep*/, Argb& d) { BlendPixel(s, w, d); }

 protected:
  // Clamps float results of the luminance forms to 0..1; values up to 1e-30 become 0.
  static Work Held(Work a) {
    if constexpr (VXp_IsFloat<T>) {
      const Work swept = a <= 1e-30f ? Work{} : a;
      return a >= 1.0f ? T::Full() : swept;
    }
    return a;
  }
};

// A stencil sets alpha to 0 where the source is transparent and outside the rectangle.
template <class T, class Mode>
struct VXp_Stencil : VXp_AlphaOnly<T, Mode> {
  static constexpr bool kRowSkipsZero = false;
  static constexpr bool kClearsOutside = true;
  static constexpr bool kDrawsTransparentRows = true;
};

// da sa
template <class T>
struct VXp_ModeStencilAlpha : VXp_Stencil<T, VXp_ModeStencilAlpha<T>> {
  using Work = typename T::Work;
  static constexpr bool kUsesColor = false;
  static Work Alpha(Work da, Work sa, const VXp_Color<T>&) { return T::Mul(da, sa); }
};

// da sa luma(s)
template <class T>
struct VXp_ModeStencilLuma : VXp_Stencil<T, VXp_ModeStencilLuma<T>> {
  using Work = typename T::Work;
  static Work Alpha(Work da, Work sa, const VXp_Color<T>& s) {
    return VXp_ModeStencilLuma::Held(T::Mul(da, T::Mul(sa, s.Luma())));
  }
};

// da (F - sa)
template <class T>
struct VXp_ModeSilhouetteAlpha : VXp_AlphaOnly<T, VXp_ModeSilhouetteAlpha<T>> {
  using Work = typename T::Work;
  static constexpr bool kUsesColor = false;
  static Work Alpha(Work da, Work sa, const VXp_Color<T>&) { return T::Mul(da, T::Inv(sa)); }
};

// da (F - sa luma(s))
template <class T>
struct VXp_ModeSilhouetteLuma : VXp_AlphaOnly<T, VXp_ModeSilhouetteLuma<T>> {
  using Work = typename T::Work;
  static Work Alpha(Work da, Work sa, const VXp_Color<T>& s) {
    return VXp_ModeSilhouetteLuma::Held(T::Mul(da, T::Inv(T::Mul(sa, s.Luma()))));
  }
};
