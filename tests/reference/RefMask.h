// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of masks, one pixel at a time. Arguments must be valid; they are not checked. The
// product must give equal bits at each depth.

#include "RefArithmetic.h"
#include "RefUno.h"
#include "VX/VX_Mask.h"

namespace vxref {

inline bool Inside(const M_Rect& rect, int64_t x, int64_t y) {
  return x >= rect.left && x < rect.right && y >= rect.top && y < rect.bottom;
}
inline bool Within(int64_t width, int64_t height, int64_t x, int64_t y) {
  return x >= 0 && x < width && y >= 0 && y < height;
}

inline uint8_t Toward(uint8_t c, uint8_t target, uint8_t value, uint8_t opacity) {
  const int64_t w = Depth8::Mul(value, opacity);
  const int64_t t = w * (int64_t{target} - c) - (target < c ? 1 : 0) + 128;
  return static_cast<uint8_t>(c + ((t + (t >> 8)) >> 8));
}
inline uint16_t Toward(uint16_t c, uint16_t target, uint16_t value, uint16_t opacity) {
  const int64_t w = Depth16::Mul(value, opacity);
  if (target > c) return static_cast<uint16_t>(c + Depth16::Mul(w, target - c));
  return static_cast<uint16_t>(c - Depth16::Mul(w, c - target));
}
inline float Toward(float c, float target, float value, float opacity) {
  return c + value * opacity * (target - c);
}

// `second` is the size of a second buffer, or null if there is none.
template <class Pixel, class Sample>
void MergeMaskAlpha(int32_t h, int32_t v, const M_Rect* rect, const Plane<Sample>& buffer,
                    const M_LPoint* second, const VX_LayerDef& world) {
  using D = typename DepthOf<Pixel>::D;
  using Channel = VX_ChannelOf<Pixel>;
  for (int64_t y = 0; y < world.height; ++y) {
    for (int64_t x = 0; x < world.width; ++x) {
      Channel m = 0;
      if ((rect == nullptr || Inside(*rect, x, y)) &&
          Within(buffer.width, buffer.height, x - h, y - v) &&
          (second == nullptr || Within(second->h, second->v, x - h, y - v))) {
        m = SampleAs<Channel>(buffer.At(x - h, y - v));
      }
      Pixel& p = At<Pixel>(world, x, y);
      if (m == 0) {
        p.alpha = 0;
      } else if (m != static_cast<Channel>(D::full)) {
        p.alpha = static_cast<Channel>(D::Mul(m, p.alpha));
      }
    }
  }
}

template <class Pixel>
void BlendSingleChannel(int32_t count, VX_ChannelOf<Pixel> opacity, VX_ChannelOf<Pixel> target,
                        const VX_ChannelOf<Pixel>* values, Pixel* row) {
  for (int32_t i = 0; i < count; ++i) {
    row[i].alpha = Toward(row[i].alpha, target, values[i], opacity);
  }
}

// The mask value that VX_MatteFromWorld computes from a pixel.
template <class Pixel>
VX_ChannelOf<Pixel> MatteValue(const Pixel& p, int32_t what) {
  using D = typename DepthOf<Pixel>::D;
  const typename D::Wide colors[3] = {p.red, p.green, p.blue};
  if (what >= VX_Matte_Red) return static_cast<VX_ChannelOf<Pixel>>(colors[what - VX_Matte_Red]);
  const bool luma = what == VX_Matte_Luma || what == VX_Matte_InverseLuma;
  const typename D::Wide value = luma ? D::Mul(D::Luma(colors), p.alpha) : p.alpha;
  const bool inverse = what == VX_Matte_InverseAlpha || what == VX_Matte_InverseLuma;
  return static_cast<VX_ChannelOf<Pixel>>(inverse ? D::Inv(value) : value);
}

}  // namespace vxref
