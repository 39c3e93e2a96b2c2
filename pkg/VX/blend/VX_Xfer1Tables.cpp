// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The exported tables of one pixel by one mode: nine, made from the one list of modes.

#include "VX/VX_Blend.h"
#include "blend/VXp_LinearLight.h"
#include "blend/modes/VXp_AllModes.h"

namespace {

// Source alpha reduced by the opacities, each only when it is below full scale.
template <class T, class... Opacity>
typename T::Work Reduced(typename T::Work sa, Opacity... opacity) {
  ((void)(opacity < T::kFull && (sa = T::Mul(sa, opacity), true)), ...);
  return sa;
}

template <template <class> class Mode, class Pixel, class... Opacity>
struct Encoded {
  using T = VXp_PixelTraits<Pixel>;
  static void Blend(const Pixel& s, Opacity... opacity, Pixel& d) {
    const typename T::Work sa = Reduced<T>(s.alpha, opacity...);
    if (Mode<T>::kPixelSkipsZero && sa == typename T::Work{0}) return;
    Mode<T>::BlendPixel(s, sa, d);
  }
};

// An entry of a table with that many opacities.
template <template <class> class Mode, class Pixel, class... Opacity>
struct Xfer1 {
  static void Blend(const Pixel* src, const VX_LinearBlendingTables* tables, Opacity... opacity,
                    Pixel* dst) {
    if (tables == nullptr) {
      Encoded<Mode, Pixel, Opacity...>::Blend(*src, opacity..., *dst);
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
        Reduced<T>(Light::ToWorking(src.alpha), Light::ToWorking(opacity)...);
    if (Mode<T>::kPixelSkipsZero && sa == typename T::Work{0}) return;
    VXp_BlendLinear<Mode<T>::kWritesColor>(
        src, tables, dst, [=](const Working& s, Working& d) { Mode<T>::BlendPixel(s, sa, d); });
  }
};

// A copy is the same in any light.
template <class Pixel, class... Opacity>
struct Xfer1<VXp_ModeCopy, Pixel, Opacity...> {
  static void Blend(const Pixel* src, const VX_LinearBlendingTables*, Opacity... opacity,
                    Pixel* dst) {
    Encoded<VXp_ModeCopy, Pixel, Opacity...>::Blend(*src, opacity..., *dst);
  }
};

constexpr bool ListCountsFromZero() {
  int32_t next = 0;
#define VX_ROW_MODE(number, constant, name, piece)
#define VX_MODE(number, constant, name, piece) \
  if (number != next++) return false;
#include "VX/VX_TransferModes.def"
#undef VX_MODE
  return next == VX_Xfer1Count;
}
static_assert(ListCountsFromZero(), "the tables below are filled in the order of the list");

}  // namespace

const VX_Xfer1Func<VX_Pixel8> VXp_G_Xfer1_table8[] = {
#define VX_ROW_MODE(number, constant, name, piece)
#define VX_MODE(number, constant, name, piece) &Xfer1<piece, VX_Pixel8>::Blend,
#include "VX/VX_TransferModes.def"
#undef VX_MODE
};
const VX_Xfer1Func<VX_Pixel16> VXp_G_Xfer1_table16[] = {
#define VX_ROW_MODE(number, constant, name, piece)
#define VX_MODE(number, constant, name, piece) &Xfer1<piece, VX_Pixel16>::Blend,
#include "VX/VX_TransferModes.def"
#undef VX_MODE
};
const VX_Xfer1Func<VX_PixelFloat> VXp_G_Xfer1_tableF[] = {
#define VX_ROW_MODE(number, constant, name, piece)
#define VX_MODE(number, constant, name, piece) &Xfer1<piece, VX_PixelFloat>::Blend,
#include "VX/VX_TransferModes.def"
#undef VX_MODE
};

const VX_Xfer1OpacityFunc<VX_Pixel8> VXp_G_Xfer1_Opacity_table8[] = {
#define VX_ROW_MODE(number, constant, name, piece)
#define VX_MODE(number, constant, name, piece) &Xfer1<piece, VX_Pixel8, uint8_t>::Blend,
#include "VX/VX_TransferModes.def"
#undef VX_MODE
};
const VX_Xfer1OpacityFunc<VX_Pixel16> VXp_G_Xfer1_Opacity_table16[] = {
#define VX_ROW_MODE(number, constant, name, piece)
#define VX_MODE(number, constant, name, piece) &Xfer1<piece, VX_Pixel16, uint16_t>::Blend,
#include "VX/VX_TransferModes.def"
#undef VX_MODE
};
const VX_Xfer1OpacityFunc<VX_PixelFloat> VXp_G_Xfer1_Opacity_tableF[] = {
#define VX_ROW_MODE(number, constant, name, piece)
#define VX_MODE(number, constant, name, piece) &Xfer1<piece, VX_PixelFloat, float>::Blend,
#include "VX/VX_TransferModes.def"
#undef VX_MODE
};

const VX_Xfer1Opacity2Func<VX_Pixel8> VXp_G_Xfer1_Opacity2_table8[] = {
#define VX_ROW_MODE(number, constant, name, piece)
#define VX_MODE(number, constant, name, piece) &Xfer1<piece, VX_Pixel8, uint8_t, uint8_t>::Blend,
#include "VX/VX_TransferModes.def"
#undef VX_MODE
};
const VX_Xfer1Opacity2Func<VX_Pixel16> VXp_G_Xfer1_Opacity2_table16[] = {
#define VX_ROW_MODE(number, constant, name, piece)
#define VX_MODE(number, constant, name, piece) &Xfer1<piece, VX_Pixel16, uint16_t, uint16_t>::Blend,
#include "VX/VX_TransferModes.def"
#undef VX_MODE
};
const VX_Xfer1Opacity2Func<VX_PixelFloat> VXp_G_Xfer1_Opacity2_tableF[] = {
#define VX_ROW_MODE(number, constant, name, piece)
#define VX_MODE(number, constant, name, piece) &Xfer1<piece, VX_PixelFloat, float, float>::Blend,
#include "VX/VX_TransferModes.def"
#undef VX_MODE
};
