// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Members of a world that multiply colour by alpha. For float worlds they throw VX_ErrBadParameter;
// the exported calls support every depth.

#include <type_traits>

#include "VX/VX_Premul.h"
#include "VX/VX_World.h"
#include "frame/VXp_Convert.h"
#include "frame/VXp_Report.h"

namespace {

template <class Pixel>
void PremulWorld(bool forward, VX_WorldX<Pixel>& world) {
  if constexpr (std::is_same_v<Pixel, VX_PixelFloat>) {
    VXp_Throw(VX_ErrBadParameter);
  } else {
    VXp_ThrowIf(VX_Premul(nullptr, forward ? 1 : 0, &world));
  }
}

template <class Pixel>
void PremulWorldColor(bool forward, const VX_Pixel16& color, VX_WorldX<Pixel>& world) {
  if constexpr (std::is_same_v<Pixel, VX_PixelFloat>) {
    VXp_Throw(VX_ErrBadParameter);
  } else if constexpr (std::is_same_v<Pixel, VX_Pixel16>) {
    VXp_ThrowIf(VX_PremulColor16(nullptr, forward ? 1 : 0, &color, &world));
  } else {
    const VX_Pixel8 narrow = VXp_ConvertPixel<VX_Pixel8>(color);
    VXp_ThrowIf(VX_PremulColor(nullptr, forward ? 1 : 0, &narrow, &world));
  }
}

}  // namespace

template <class Pixel>
void VX_WorldX<Pixel>::Premultiply() {
  PremulWorld(true, *this);
}

template <class Pixel>
void VX_WorldX<Pixel>::Unmultiply() {
  PremulWorld(false, *this);
}

template <class Pixel>
void VX_WorldX<Pixel>::PremulColor(const VX_Pixel16& color) {
  PremulWorldColor(true, color, *this);
}

template <class Pixel>
void VX_WorldX<Pixel>::UnmulColor(const VX_Pixel16& color) {
  PremulWorldColor(false, color, *this);
}

#define VX_INSTANTIATE(Pixel)                                     \
  template void VX_WorldX<Pixel>::Premultiply();                  \
  template void VX_WorldX<Pixel>::Unmultiply();                   \
  template void VX_WorldX<Pixel>::PremulColor(const VX_Pixel16&); \
  template void VX_WorldX<Pixel>::UnmulColor(const VX_Pixel16&)

VX_INSTANTIATE(VX_Pixel8);
VX_INSTANTIATE(VX_Pixel16);
VX_INSTANTIATE(VX_PixelFloat);
