// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The colour space in which a blend is computed: StoredSpace (the stored values) or LinearSpace
// (linear light).
//
// In reads a pixel into the space; OutColor and OutAlpha write it back. LinearSpace computes 8 and
// 16 bits at 16 bits. Alpha and weights are never converted to linear light.

#include "RefArithmetic.h"
#include "RefTables.h"

namespace vxref {

template <class Pixel>
struct StoredSpace {
  using D = typename DepthOf<Pixel>::D;
  using Channel = decltype(Pixel::alpha);

  WidePixel<D> In(const Pixel& p) const { return {p.alpha, {p.red, p.green, p.blue}}; }
  typename D::Wide InAlpha(Channel a) const { return a; }

  void OutColor(const WidePixel<D>& w, Pixel* p) const {
    p->red = static_cast<Channel>(w.c[0]);
    p->green = static_cast<Channel>(w.c[1]);
    p->blue = static_cast<Channel>(w.c[2]);
  }
  void OutAlpha(typename D::Wide a, Pixel* p) const { p->alpha = static_cast<Channel>(a); }
};

template <class Pixel>
struct LinearSpace {
  using Channel = decltype(Pixel::alpha);
  using D = std::conditional_t<DepthOf<Pixel>::D::isFloat, DepthFloat, Depth16>;
  using Wide = typename D::Wide;
  const VX_LinearBlendingTables* tables;

  WidePixel<D> In(const Pixel& p) const {
    return {InAlpha(p.alpha), {Light(p.red), Light(p.green), Light(p.blue)}};
  }
  Wide InAlpha(Channel a) const {
    if constexpr (sizeof(Channel) == 1) return AlphaTo16(a);
    return a;
  }
  void OutColor(const WidePixel<D>& w, Pixel* p) const {
    p->red = Stored(w.c[0]);
    p->green = Stored(w.c[1]);
    p->blue = Stored(w.c[2]);
  }
  void OutAlpha(Wide a, Pixel* p) const {
    if constexpr (sizeof(Channel) == 1) a = AlphaTo8(a);
    p->alpha = static_cast<Channel>(a);
  }

 private:
  Wide Light(Channel c) const {
    if constexpr (D::isFloat) return SignedPower(c, tables->gamma);
    if constexpr (sizeof(Channel) == 1) return ByteToLinear(*tables, c);
    if constexpr (sizeof(Channel) == 2) return WordToLinear(*tables, c);
  }
  Channel Stored(Wide c) const {
    if constexpr (D::isFloat) return SignedPower(c, tables->invGamma);
    if constexpr (sizeof(Channel) == 1) return static_cast<Channel>(LinearToByte(*tables, c));
    if constexpr (sizeof(Channel) == 2) return static_cast<Channel>(LinearToWord(*tables, c));
  }
};

}  // namespace vxref
