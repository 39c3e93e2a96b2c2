// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Premultiplication and its inverse, for any pixel type: one class per operation, and the loop.
//
//   forward   c' = c a,  with a matte colour m: c' = c a + m (1 - a)
//   inverse   c' = c / a, with a matte colour: c' = m + (c - m) / a; 0 if a is 0
//
// Integers are rounded to nearest, and clamped in the inverse. Floats are neither rounded nor
// clamped. Alpha is unchanged.

#include <algorithm>
#include <type_traits>

#include "frame/VXp_PixelTraits.h"
#include "housekeeping/VXp_Area.h"

template <class Pixel>
struct VXp_Multiply {
  using Traits = VXp_PixelTraits<Pixel>;
  using Work = typename Traits::Work;

  Work operator()(Work c, Work a, Work) const { return Traits::Mul(c, a); }
};

template <class Pixel>
struct VXp_MultiplyMatte {
  using Traits = VXp_PixelTraits<Pixel>;
  using Work = typename Traits::Work;

  Work operator()(Work c, Work a, Work m) const {
    return Traits::Mul(c, a) + Traits::Mul(m, Traits::Inv(a));
  }
};

template <class Pixel>
struct VXp_Unmultiply {
  using Traits = VXp_PixelTraits<Pixel>;
  using Work = typename Traits::Work;

  Work operator()(Work c, Work a, Work) const { return a == 0 ? Work{0} : Traits::Div(c, a); }
};

template <class Pixel>
struct VXp_UnmultiplyMatte {
  using Traits = VXp_PixelTraits<Pixel>;
  using Work = typename Traits::Work;

  Work operator()(Work c, Work a, Work m) const {
    if (a == 0) return 0;
    if constexpr (std::is_same_v<Pixel, VX_PixelFloat>) {
      return m + (c - m) / a;
    } else {
      // No overflow: at most 65535 * 32768 + 32767, which is 2^31 - 1.
      const Work scaled = (c - m) * Traits::kFull;
      const Work half = a >> 1;
      return std::clamp(m + (scaled < 0 ? scaled - half : scaled + half) / a, Work{0},
                        Traits::kFull);
    }
  }
};

// Applies an operation, one of the classes above, to the colours of a row.
template <template <class> class Piece, class Pixel>
void VXp_PremulRow(char* first, size_t count, const Pixel m) {
  using Work = typename VXp_PixelTraits<Pixel>::Work;
  using Channel = VX_ChannelOf<Pixel>;
  constexpr Piece<Pixel> piece;
  for (size_t x = 0; x < count; ++x) {
    char* const place = first + x * sizeof(Pixel);
    Pixel p = VXp_Load<Pixel>(place);
    const Work alpha = p.alpha;
    p.red = static_cast<Channel>(piece(p.red, alpha, m.red));
    p.green = static_cast<Channel>(piece(p.green, alpha, m.green));
    p.blue = static_cast<Channel>(piece(p.blue, alpha, m.blue));
    VXp_Store(place, p);
  }
}

// Applies the operation to the colours of each pixel of the area.
template <template <class> class Piece, class Pixel>
VX_Err VXp_PremulArea(const VX_LayerDef& world, const M_LRect& area, const Pixel& matte) {
  return VXp_ForRows<Pixel>(world, area, area.right - area.left, [&](char* first, size_t count) {
    VXp_PremulRow<Piece, Pixel>(first, count, matte);
  });
}
