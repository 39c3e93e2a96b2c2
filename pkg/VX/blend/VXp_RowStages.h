// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The stages around a scan: matting a row onto a neutral colour and taking it off again by each
// pixel's own alpha, and the union of alphas.

#include "VX/VX_Blend.h"
#include "blend/modes/VXp_Matted.h"
#include "frame/VXp_Rows.h"

enum class VXp_MatteWay { kOn, kOff };

template <class Pixel, template <class> class Neutral, VXp_MatteWay way>
VX_Err VXp_MatteRow(int32_t count, const Pixel* src, Pixel* dst) {
  using T = VXp_PixelTraits<Pixel>;
  using Work = typename T::Work;
  if (src == nullptr) src = dst;
  for (ptrdiff_t i = 0; i < count; ++i) {
    Pixel p = VXp_Load<Pixel>(src + i);
    const Work a = p.alpha;
    if (a < T::kFull) {
      VXp_Each(VXp_Color<T>::Of(p), [=](Work c) {
        return way == VXp_MatteWay::kOn ? Neutral<T>::Matte(c, a) : Neutral<T>::Unmatte(c, a);
      }).StoreTo(p);
    } else if (src == dst) {
      continue;
    }
    VXp_Store(dst + i, p);
  }
  return VX_Ok;
}

// The opacity comes before the mask here.
template <class Pixel>
VX_Err VXp_AlphaUnionRow(int32_t count, const Pixel* src, VX_ChannelOf<Pixel> opacity,
                         const Pixel* mask, Pixel* dst) {
  using T = VXp_PixelTraits<Pixel>;
  using Work = typename T::Work;
  using Channel = VX_ChannelOf<Pixel>;
  if (opacity == Channel{0}) return VX_Ok;
  const bool faded = opacity < T::kFull;
  for (ptrdiff_t i = 0; i < count; ++i) {
    Work w = VXp_Load<Channel>(src + i);
    if (faded) w = T::Mul(w, opacity);
    if (mask != nullptr) w = T::Mul(w, VXp_Load<Channel>(mask + i));
    const Work a = T::Union(w, VXp_Load<Channel>(dst + i));
    VXp_Store(dst + i, static_cast<Channel>(a));
  }
  return VX_Ok;
}
