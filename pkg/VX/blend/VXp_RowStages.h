// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The stages around a scan: matting a row onto a neutral colour and taking it off again by each
// pixel's own alpha, and the union of alphas.

#include "VX/VX_Blend.h"
#include "blend/VXp_FourPixels.h"
#include "blend/modes/VXp_Matted.h"

enum class VXp_MatteWay { kOn, kOff };

// A pixel that covers is its own matte.
template <class L, class Neutral, VXp_MatteWay way>
VXp_Color<L> VXp_MatteColor(const VXp_Color<L>& c, typename L::Work a) {
  using Work = typename L::Work;
  const auto partial = a < L::kFull;
  if (!L::Any(partial)) return c;
  return VXp_Each(c, [=](Work x) {
    const Work matted = way == VXp_MatteWay::kOn ? Neutral::Matte(x, a) : Neutral::Unmatte(x, a);
    return partial ? matted : x;
  });
}

template <class Pixel, template <class> class Neutral, VXp_MatteWay way>
[[gnu::flatten]] VX_Err VXp_MatteRow(int32_t count, const Pixel* src, Pixel* dst) {
  using L = VXp_LaneTraits<Pixel>;
  VXp_ForFours(count, src != nullptr ? src : dst, static_cast<const Pixel*>(nullptr), dst,
               [](const Pixel* from, const Pixel*, Pixel* to) {
                 VXp_Argb<L> p = VXp_LoadFour(from);
                 if (from == to && !L::Any(p.alpha < L::kFull)) return;
                 VXp_MatteColor<L, Neutral<L>, way>(VXp_Color<L>::Of(p), p.alpha).StoreTo(p);
                 VXp_StoreFour(to, p);
               });
  return VX_Ok;
}

// The weight of the union: the opacity comes before the mask here.
template <class L, class Pixel>
typename L::Work VXp_UnionWeight(typename L::Work sa, typename L::Work opacity, const Pixel* mask) {
  const typename L::Work w = L::Mul(sa, opacity);
  return mask != nullptr ? L::Mul(w, VXp_LoadFour(mask).alpha) : w;
}

template <class Pixel>
[[gnu::flatten]] VX_Err VXp_AlphaUnionRow(int32_t count, const Pixel* src,
                                          VX_ChannelOf<Pixel> opacity, const Pixel* mask,
                                          Pixel* dst) {
  using L = VXp_LaneTraits<Pixel>;
  using Work = typename L::Work;
  using Element = typename L::Element;
  if (opacity == VX_ChannelOf<Pixel>{0}) return VX_Ok;
  const Work factor = VXp_Splat<Work>(std::min<Element>(opacity, L::kFull));
  VXp_ForFours(count, src, mask, dst, [=](const Pixel* s, const Pixel* m, Pixel* d) {
    VXp_Argb<L> p = VXp_LoadFour(d);
    p.alpha = L::Union(VXp_UnionWeight<L>(VXp_LoadFour(s).alpha, factor, m), p.alpha);
    VXp_StoreFour(d, p);
  });
  return VX_Ok;
}
