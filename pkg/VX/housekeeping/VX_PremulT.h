// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Premultiplication and its inverse, for any pixel type: one class per operation, and the loop.
//
//   forward   c' = c a,  with a matte colour m: c' = c a + m (1 - a)
//   inverse   c' = c / a, with a matte colour: c' = m + (c - m) / a; 0 if a is 0
//
// Integers are rounded to nearest, and clamped in the inverse. Floats are neither rounded nor
// clamped. Alpha is unchanged. L are traits of lanes: several pixels are processed at once.

#include <cstring>
#include <type_traits>

#include "frame/VXp_PixelGroup.h"
#include "housekeeping/VXp_Area.h"

template <class L>
struct VXp_Multiply {
  using Work = typename L::Work;
  static constexpr bool kNeedsWords = false;

  Work operator()(Work c, Work a, Work) const { return L::Mul(c, a); }
};

// 1 - a is negative for 16-bit alpha above full scale.
template <class L>
struct VXp_MultiplyMatte {
  using Work = typename L::Work;
  static constexpr bool kNeedsWords = false;

  Work operator()(Work c, Work a, Work m) const {
    return L::Mul(c, a) + L::SignedMul(m, L::Inv(a));
  }
};

template <class L>
struct VXp_Unmultiply {
  using Work = typename L::Work;
  static constexpr bool kNeedsWords = false;

  Work operator()(Work c, Work a, Work) const { return a == 0 ? Work{} : L::Div(c, a); }
};

template <class L>
struct VXp_UnmultiplyMatte {
  using Work = typename L::Work;
  static constexpr bool kNeedsWords = true;  // 8-bit quotients do not fit 16 bits

  Work operator()(Work c, Work a, Work m) const {
    if constexpr (L::kDepth == 32) {
      return a == 0 ? Work{} : m + (c - m) / a;
    } else {
      const Work quotient = Rounded(c - m, L::Max(a, Work{} + 1));
      return a == 0 ? Work{} : L::Min(L::Max(m + quotient, Work{}), L::Full());
    }
  }

  // Returns n / a rounded to nearest; halves are rounded away from 0. The exact sum of its absolute
  // value and 1/2 is an integer or at least 1 / (2 a) below the next integer. The increment, less
  // than this, compensates for the rounding of the products. No overflow: n is at most 65535 at 16
  // bits, so the result is below 2^31.
  static Work Rounded(Work n, Work a) {
    using Real = std::conditional_t<L::kDepth == 8, float, double>;
    using Reals = VXp_Lanes<Real, L::kLanes>;
    constexpr Real kUp = Real{0.5} + (L::kDepth == 8 ? Real{0x1p-10} : Real{0x1p-18});
    const Reals scale = Real{L::kFull} / __builtin_convertvector(a, Reals);
    const Reals quotient = __builtin_convertvector(L::Abs(n), Reals) * scale + kUp;
    const Work magnitude = __builtin_convertvector(quotient, Work);
    return n < 0 ? -magnitude : magnitude;
  }
};

// Applies an operation, one of the classes above, to the colours of a group of pixels. At 8 bits
// no operation changes an opaque pixel.
template <template <class> class Piece, class L>
void VXp_PremulGroup(typename L::Pixel* place, const VXp_Argb<L>& m) {
  constexpr Piece<L> piece;
  auto p = VXp_LoadAs<L>(place);
  if (L::kDepth == 8 && !L::Any(p.alpha != L::kFull)) return;
  p.red = piece(p.red, p.alpha, m.red);
  p.green = piece(p.green, p.alpha, m.green);
  p.blue = piece(p.blue, p.alpha, m.blue);
  VXp_StoreGroup(place, p);
}

// Applies the operation to the colours of a row.
template <template <class> class Piece, class Pixel>
void VXp_PremulRow(char* first, size_t count, const Pixel& matte) {
  using Words = VXp_LaneTraits<Pixel>;
  using L = std::conditional_t<Piece<Words>::kNeedsWords, Words, VXp_MostLanes<Pixel>>;
  using Work = typename L::Work;
  const auto lanes = [](VX_ChannelOf<Pixel> c) { return VXp_Splat<Work>(typename L::Element{c}); };
  const VXp_Argb<L> m{Work{}, lanes(matte.red), lanes(matte.green), lanes(matte.blue)};
  Pixel* const row = reinterpret_cast<Pixel*>(first);
  size_t x = 0;
  for (; x + L::kLanes <= count; x += L::kLanes) {
    VXp_PrefetchAhead<L::kLanes>(row + x);
    VXp_PremulGroup<Piece>(row + x, m);
  }
  if (x == count) return;
  Pixel rest[L::kLanes]{};
  const size_t bytes = (count - x) * sizeof(Pixel);
  std::memcpy(static_cast<void*>(rest), row + x, bytes);
  VXp_PremulGroup<Piece>(rest, m);
  std::memcpy(static_cast<void*>(row + x), rest, bytes);
}

// Applies the operation to the colours of each pixel of the area.
template <template <class> class Piece, class Pixel>
VX_Err VXp_PremulArea(const VX_LayerDef& world, const M_LRect& area, const Pixel& matte) {
  return VXp_ForRows<Pixel>(world, area, area.right - area.left, [&](char* first, size_t count) {
    VXp_PremulRow<Piece, Pixel>(first, count, matte);
  });
}
