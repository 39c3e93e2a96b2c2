// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Modes that change destination alpha only; colours are never touched.

#include "blend/modes/VXp_Mode.h"

template <class T, class Mode>
struct VXp_AlphaOnly {
  using Work = typename T::Work;
  static constexpr bool kPixelSkipsZero = true;
  static constexpr bool kRowSkipsZero = true;
  static constexpr bool kWritesColor = false;

  static void BlendPixel(const typename T::Pixel& s, Work sa, typename T::Pixel& d) {
    VXp_StoreAlpha<T>(Mode::Alpha(d.alpha, sa, VXp_Color<T>::Of(s)), d);
  }
  static void BlendInRow(const typename T::Pixel& s, Work w, bool /*keep*/, typename T::Pixel& d) {
    BlendPixel(s, w, d);
  }

 protected:
  // Float results of the luminance forms are held in 0..1, with dust swept to 0.
  static Work Held(Work a) {
    if constexpr (VXp_IsFloat<T>) {
      if (a >= 1.0f) return 1.0f;
      if (a <= 1e-30f) return 0.0f;
    }
    return a;
  }
};

// da sa. In a row, a hole in the stencil cuts a hole.
template <class T>
struct VXp_ModeStencilAlpha : VXp_AlphaOnly<T, VXp_ModeStencilAlpha<T>> {
  using Work = typename T::Work;
  static constexpr bool kRowSkipsZero = false;
  static Work Alpha(Work da, Work sa, const VXp_Color<T>&) { return T::Mul(da, sa); }
};

// da sa luma(s)
template <class T>
struct VXp_ModeStencilLuma : VXp_AlphaOnly<T, VXp_ModeStencilLuma<T>> {
  using Work = typename T::Work;
  static constexpr bool kRowSkipsZero = false;
  static Work Alpha(Work da, Work sa, const VXp_Color<T>& s) {
    return VXp_ModeStencilLuma::Held(T::Mul(da, T::Mul(sa, s.Luma())));
  }
};

// da (F - sa)
template <class T>
struct VXp_ModeSilhouetteAlpha : VXp_AlphaOnly<T, VXp_ModeSilhouetteAlpha<T>> {
  using Work = typename T::Work;
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
