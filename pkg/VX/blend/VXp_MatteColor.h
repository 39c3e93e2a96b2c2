// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The arithmetic of the stages before and after the scan, for a group of pixels: matting onto a
// neutral colour, unmatting, and the weights of the union of alphas.

#include <algorithm>

#include "blend/modes/VXp_Matted.h"
#include "frame/VXp_PixelGroup.h"

enum class VXp_Direction { kMatte, kUnmatte };

// Composites the colours c with alpha a onto the mode's neutral colour (matte), or undoes this
// (unmatte). The colours of opaque pixels are not changed.
template <class L, class Neutral, VXp_Direction direction>
VXp_Color<L> VXp_MatteColor(const VXp_Color<L>& c, typename L::Work a) {
  using Work = typename L::Work;
  const auto partial = a < L::kFull;
  if (!L::Any(partial)) return c;
  return VXp_Each(c, [=](Work x) {
    const Work matted =
        direction == VXp_Direction::kMatte ? Neutral::Matte(x, a) : Neutral::Unmatte(x, a);
    return L::kDepth == 8 ? matted : partial ? matted : x;  // 8-bit products with F are exact
  });
}

// The factors of the weights of the union of alphas. Opacity is multiplied before the mask, unlike
// in a scan; each product is rounded, so the order is part of the result.
template <class L, class Pixel>
struct VXp_UnionFactors {
  using Lanes = typename L::Work;
  using Element = typename L::Element;
  const Pixel* mask;
  Lanes opacity;
  bool faded;

  VXp_UnionFactors(VX_ChannelOf<Pixel> row_opacity, const Pixel* row_mask)
      : mask(row_mask),
        opacity(VXp_Splat<Lanes>(std::min<Element>(row_opacity, L::kFull))),
        faded(std::min<Element>(row_opacity, L::kFull) != L::kFull) {}

  // Returns the weights of the group that starts at x. `sa` contains the source alphas.
  Lanes Apply(Lanes sa, ptrdiff_t x) const {
    if (faded) sa = L::Mul(sa, opacity);
    return mask != nullptr ? L::Mul(sa, VXp_LoadAs<L>(mask + x).alpha) : sa;
  }
};
