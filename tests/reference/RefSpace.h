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
struct LinearSpace;

template <>
struct LinearSpace<VX_Pixel8> {
  using D = Depth16;
  const VX_LinearBlendingTables* tables;

  WidePixel<D> In(const VX_Pixel8& p) const {
    return {AlphaTo16(p.alpha),
            {ByteToLinear(*tables, p.red), ByteToLinear(*tables, p.green),
             ByteToLinear(*tables, p.blue)}};
  }
  int64_t InAlpha(uint8_t a) const { return AlphaTo16(a); }

  void OutColor(const WidePixel<D>& w, VX_Pixel8* p) const {
    p->red = static_cast<uint8_t>(LinearToByte(*tables, w.c[0]));
    p->green = static_cast<uint8_t>(LinearToByte(*tables, w.c[1]));
    p->blue = static_cast<uint8_t>(LinearToByte(*tables, w.c[2]));
  }
  void OutAlpha(int64_t a, VX_Pixel8* p) const { p->alpha = static_cast<uint8_t>(AlphaTo8(a)); }
};

template <>
struct LinearSpace<VX_Pixel16> {
  using D = Depth16;
  const VX_LinearBlendingTables* tables;

  WidePixel<D> In(const VX_Pixel16& p) const {
    return {p.alpha,
            {WordToLinear(*tables, p.red), WordToLinear(*tables, p.green),
             WordToLinear(*tables, p.blue)}};
  }
  int64_t InAlpha(uint16_t a) const { return a; }

  void OutColor(const WidePixel<D>& w, VX_Pixel16* p) const {
    p->red = static_cast<uint16_t>(LinearToWord(*tables, w.c[0]));
    p->green = static_cast<uint16_t>(LinearToWord(*tables, w.c[1]));
    p->blue = static_cast<uint16_t>(LinearToWord(*tables, w.c[2]));
  }
  void OutAlpha(int64_t a, VX_Pixel16* p) const { p->alpha = static_cast<uint16_t>(a); }
};

template <>
struct LinearSpace<VX_PixelFloat> {
  using D = DepthFloat;
  const VX_LinearBlendingTables* tables;

  WidePixel<D> In(const VX_PixelFloat& p) const {
    const float g = tables->gamma;
    return {p.alpha, {SignedPower(p.red, g), SignedPower(p.green, g), SignedPower(p.blue, g)}};
  }
  float InAlpha(float a) const { return a; }

  void OutColor(const WidePixel<D>& w, VX_PixelFloat* p) const {
    p->red = SignedPower(w.c[0], tables->invGamma);
    p->green = SignedPower(w.c[1], tables->invGamma);
    p->blue = SignedPower(w.c[2], tables->invGamma);
  }
  void OutAlpha(float a, VX_PixelFloat* p) const { p->alpha = a; }
};

}  // namespace vxref
