// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The functions in the exported per-pixel tables. Each blends one pixel in one mode.

#include "VX/VX_Blend.h"
#include "blend/VXp_LinearLight.h"
#include "blend/modes/VXp_AllModes.h"

// Returns source alpha times the opacities. An opacity of full scale is skipped.
template <class T, class... Opacity>
typename T::Work VXp_Reduced(typename T::Work sa, Opacity... opacity) {
  ((void)(opacity < T::kFull && (sa = T::Mul(sa, opacity), true)), ...);
  return sa;
}

template <template <class> class Mode, class Pixel, class... Opacity>
struct VXp_Xfer1Encoded {
  using T = VXp_PixelTraits<Pixel>;
  using Argb = VXp_Argb<T>;
  static void Blend(const Pixel& src, Opacity... opacity, Pixel& dst) {
    const typename T::Work sa = VXp_Reduced<T>(src.alpha, opacity...);
    if (Mode<T>::kPixelSkipsZero && sa == typename T::Work{0}) return;
    const Argb s = Argb::Of(src);
    Argb d = Argb::Of(dst);
    VXp_LimitDestination<Mode<T>, T>(s, d);
    Mode<T>::BlendPixel(s, sa, d);
    d.StoreTo(dst);
  }
};

// The function of a mode in the table for this number of opacities.
template <template <class> class Mode, class Pixel, class... Opacity>
struct VXp_Xfer1 {
  static void Blend(const Pixel* src, const VX_LinearBlendingTables* tables, Opacity... opacity,
                    Pixel* dst) {
    if (tables == nullptr) {
      VXp_Xfer1Encoded<Mode, Pixel, Opacity...>::Blend(*src, opacity..., *dst);
    } else {
      BlendInLight(*src, *tables, opacity..., *dst);
    }
  }

 private:
  using Light = VXp_LinearLight<Pixel>;
  using Working = typename Light::Working;
  using T = VXp_PixelTraits<Working>;

  static void BlendInLight(const Pixel& src, const VX_LinearBlendingTables& tables,
                           Opacity... opacity, Pixel& dst) {
    const typename T::Work sa =
        VXp_Reduced<T>(Light::ToWorking(src.alpha), Light::ToWorking(opacity)...);
    if (Mode<T>::kPixelSkipsZero && sa == typename T::Work{0}) return;
    VXp_BlendLinear<Mode<T>::kWritesColor>(
        src, tables, dst, [=](const VXp_Argb<T>& s, VXp_Argb<T>& d) {
          if constexpr (Mode<T>::kChoosesPixels) {
            if (d.alpha == T::kFull && !Mode<T>::ActsOnPixel(s, d)) return false;
          }
          VXp_LimitDestination<Mode<T>, T>(s, d);
          Mode<T>::BlendPixel(s, sa, d);
          return true;
        });
  }
};

// Copy does not convert to linear light, so it ignores the tables.
template <class Pixel, class... Opacity>
struct VXp_Xfer1<VXp_ModeCopy, Pixel, Opacity...> {
  static void Blend(const Pixel* src, const VX_LinearBlendingTables*, Opacity... opacity,
                    Pixel* dst) {
    VXp_Xfer1Encoded<VXp_ModeCopy, Pixel, Opacity...>::Blend(*src, opacity..., *dst);
  }
};

constexpr bool VXp_ListCountsFromZero() {
  int32_t next = 0;
#define VX_ROW_MODE(number, constant, name, piece, ...)
#define VX_MODE(number, constant, name, piece, ...) \
  if (number != next++) return false;
#include "VX/VX_TransferModes.def"
#undef VX_MODE
  return next == VX_Xfer1Count;
}
static_assert(VXp_ListCountsFromZero(), "the tables below are filled in the order of the list");
