// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Members of a world that write all pixels of an area. Worlds without pixels are unchanged.

#include "VX/VX_World.h"
#include "frame/VXp_PixelTraits.h"
#include "frame/VXp_Report.h"
#include "housekeeping/VX_FillT.h"

template <class Pixel>
void VX_WorldX<Pixel>::Clear(const M_Rect* area) {
  VXp_ThrowIf(VXp_ClearArea<Pixel>(*this, VXp_ClippedArea(area, *this)));
}

template <class Pixel>
void VX_WorldX<Pixel>::ClearExceptRect(const M_Rect& area) {
  const M_LRect kept = VXp_ClippedArea(&area, *this);
  if (VXp_IsEmpty(kept)) {
    Clear(nullptr);
    return;
  }
  VXp_ThrowIf(VXp_ForOutside(*this, kept, [this](const M_LRect& part) -> VX_Err {
    return VXp_ClearArea<Pixel>(*this, part);
  }));
}

template <class Pixel>
void VX_WorldX<Pixel>::Fill(const VX_PixelFloat& color, const M_Rect* area) {
  VXp_ThrowIf(VXp_FillArea(*this, VXp_ClippedArea(area, *this), VXp_FillColor<Pixel>(color)));
}

template <class Pixel>
void VX_WorldX<Pixel>::Fill(const VX_Pixel16& color, const M_Rect* area) {
  VXp_ThrowIf(VXp_FillArea(*this, VXp_ClippedArea(area, *this), VXp_FillColor<Pixel>(color)));
}

template <class Pixel>
void VX_WorldX<Pixel>::FillAlpha() {
  VXp_ThrowIf(VXp_SetAlpha<Pixel>(*this, VXp_WholeArea(*this),
                                  static_cast<VX_ChannelOf<Pixel>>(VXp_PixelTraits<Pixel>::kFull)));
}

template <class Pixel>
void VX_WorldX<Pixel>::InvertAlpha() {
  using Channel = VX_ChannelOf<Pixel>;
  VXp_ThrowIf(VXp_ForRows<Pixel>(
      *this, VXp_WholeArea(*this), VXp_MoveWork(this->width), [](char* first, size_t count) {
        for (size_t x = 0; x < count; ++x) {
          char* const alpha = first + x * sizeof(Pixel);
          VXp_Store(alpha,
                    static_cast<Channel>(VXp_PixelTraits<Pixel>::Inv(VXp_Load<Channel>(alpha))));
        }
      }));
}

// The class itself is instantiated in frame; the members with pixel arithmetic are instantiated
// here.
#define VX_INSTANTIATE(Pixel)                                                \
  template void VX_WorldX<Pixel>::Clear(const M_Rect*);                      \
  template void VX_WorldX<Pixel>::ClearExceptRect(const M_Rect&);            \
  template void VX_WorldX<Pixel>::Fill(const VX_PixelFloat&, const M_Rect*); \
  template void VX_WorldX<Pixel>::Fill(const VX_Pixel16&, const M_Rect*);    \
  template void VX_WorldX<Pixel>::FillAlpha();                               \
  template void VX_WorldX<Pixel>::InvertAlpha()

VX_INSTANTIATE(VX_Pixel8);
VX_INSTANTIATE(VX_Pixel16);
VX_INSTANTIATE(VX_PixelFloat);
