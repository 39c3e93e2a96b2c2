// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Slow twins of fills and iterators: one pixel at a time.

#include <algorithm>
#include <cmath>

#include "WorldCalls.h"
#include "reference/RefCopy.h"

inline char* PixelAt(const VX_LayerDef& world, int32_t x, int32_t y) {
  return static_cast<char*>(world.data) + int64_t{y} * world.rowbytes +
         int64_t{x} * (VXp_WorldDepth(&world) / 2);
}
inline bool IsInside(const M_Rect* area, int32_t x, int32_t y) {
  return area == nullptr ||
         (x >= area->left && x < area->right && y >= area->top && y < area->bottom);
}
inline bool IsInside(const VX_LayerDef& world, int32_t x, int32_t y) {
  return x >= 0 && y >= 0 && x < world.width && y < world.height;
}

// `change(x, y, pixel)` for all pixels; none where the world has no memory.
template <class Pixel, class Change>
void ForPixels(const VX_LayerDef& world, Change change) {
  if (world.data == nullptr) return;
  for (int32_t y = 0; y < world.height; ++y) {
    for (int32_t x = 0; x < world.width; ++x) {
      change(x, y, vxref::At<Pixel>(world, x, y));
    }
  }
}

// A colour at a world's depth. Alpha of a float colour is rounded, but not clamped at integer
// depths. A colour of zeros, also of negative ones, is stored as zero bits.
template <class Pixel, class Color>
Pixel ColorAs(const Color& color) {
  if (color.alpha == 0 && color.red == 0 && color.green == 0 && color.blue == 0) return {};
  Pixel pixel = vxref::Converted<Pixel>(color);
  if constexpr (sizeof(Color) == 16 && sizeof(Pixel) != 16) {
    const double full = sizeof(Pixel) == 4 ? 255 : 32768;
    pixel.alpha = static_cast<VX_ChannelOf<Pixel>>(
        std::llround(std::trunc(static_cast<double>(color.alpha) * full + 0.5)));
  }
  return pixel;
}

template <class Color>
void FillWith(const Color& color, const M_Rect* area, const VX_LayerDef& world) {
  ByDepth(VXp_WorldDepth(&world), [&]<class Pixel>() {
    const Pixel want = ColorAs<Pixel>(color);
    ForPixels<Pixel>(world, [&](int32_t x, int32_t y, Pixel& pixel) {
      if (IsInside(area, x, y)) pixel = want;
    });
  });
}
// Fills and premultiplication turn an area over; null is the whole world.
inline M_Rect TurnedOver(const M_Rect* area, const VX_LayerDef& world) {
  if (area == nullptr) {
    return {0, 0, static_cast<int16_t>(world.height), static_cast<int16_t>(world.width)};
  }
  return {std::min(area->top, area->bottom), std::min(area->left, area->right),
          std::max(area->top, area->bottom), std::max(area->left, area->right)};
}
template <class Color>
VX_Err FillTwin(void*, const Color* color, const M_Rect* area, VX_LayerDef* world) {
  const M_Rect turned = TurnedOver(area, *world);
  const Color value = color != nullptr ? *color : Color{};
  FillWith(value, &turned, *world);
  return VX_Ok;
}

// `change(pixel)` where the place is, or is not, in the area.
template <class Change>
void ChangePixels(const VX_LayerDef& world, const M_Rect* area, bool inside, Change change) {
  ByDepth(VXp_WorldDepth(&world), [&]<class Pixel>() {
    ForPixels<Pixel>(world, [&](int32_t x, int32_t y, Pixel& pixel) {
      if (IsInside(area, x, y) == inside) change(pixel);
    });
  });
}
inline VX_Err ClearExceptTwin(void*, const M_Rect* area, VX_LayerDef* world) {
  ChangePixels(*world, area, /*inside=*/false, [](auto& pixel) { pixel.alpha = 0; });
  return VX_Ok;
}
template <class Pixel>
constexpr VX_ChannelOf<Pixel> kFullAlpha = sizeof(Pixel) == 4   ? 255
                                           : sizeof(Pixel) == 8 ? 32768
                                                                : 1;

// --- premultiplication ---------------------------------------------------------------------------

// A channel times alpha, over a matte, in exact arithmetic; floats round each step. The matte null
// is black.
template <class Pixel>
double Multiplied(double c, double a, const double* m) {
  if (sizeof(Pixel) == 16) {
    const float product = static_cast<float>(c) * static_cast<float>(a);
    if (m == nullptr) return product;
    return product + static_cast<float>(*m) * (1.0f - static_cast<float>(a));
  }
  const auto mul = [](double x, double y) {
    return sizeof(Pixel) == 4 ? std::floor(x * y / 255.0 + 0.5)
                              : std::floor((x * y + 16383) / 32768);
  };
  return mul(c, a) + (m != nullptr ? mul(*m, kFullAlpha<Pixel> - a) : 0);
}
// The inverse: m + (c - m) / a, to the nearest, halves away from the matte, within the scale.
template <class Pixel>
double Divided(double c, double a, const double* m) {
  if (a == 0) return 0;
  if (sizeof(Pixel) == 16) {
    if (m != nullptr) {
      const auto mf = static_cast<float>(*m);
      return mf + (static_cast<float>(c) - mf) / static_cast<float>(a);
    }
    return a < 1.17549435e-38 ? 1.0f : static_cast<float>(c) / static_cast<float>(a);
  }
  const auto full = static_cast<int64_t>(kFullAlpha<Pixel>);
  const auto alpha = static_cast<int64_t>(a), matte = m != nullptr ? static_cast<int64_t>(*m) : 0;
  const int64_t scaled = (static_cast<int64_t>(c) - matte) * full;
  const int64_t quotient = (std::abs(scaled) + alpha / 2) / alpha;
  return static_cast<double>(
      std::clamp<int64_t>(matte + (scaled < 0 ? -quotient : quotient), 0, full));
}

template <class Color>
VX_Err PremulAreaTwin(void*, int32_t forward, const Color* color, const M_Rect* area,
                      VX_LayerDef* world) {
  const M_Rect turned = TurnedOver(area, *world);
  const Color value = color != nullptr ? *color : Color{};
  ByDepth(VXp_WorldDepth(world), [&]<class Pixel>() {
    const Pixel matte = vxref::Converted<Pixel>(value);
    ForPixels<Pixel>(*world, [&](int32_t x, int32_t y, Pixel& p) {
      if (!IsInside(&turned, x, y)) return;
      const double alpha = p.alpha;
      const auto one = [&](double c, double m) {
        const double* const used = color != nullptr ? &m : nullptr;
        return static_cast<VX_ChannelOf<Pixel>>(forward != 0 ? Multiplied<Pixel>(c, alpha, used)
                                                             : Divided<Pixel>(c, alpha, used));
      };
      p = {p.alpha, one(p.red, matte.red), one(p.green, matte.green), one(p.blue, matte.blue)};
    });
  });
  return VX_Ok;
}
template <class Color>
VX_Err PremulColorTwin(void*, int32_t forward, const Color* color, VX_LayerDef* world) {
  return PremulAreaTwin(nullptr, forward, color, nullptr, world);
}
inline VX_Err PremulRectTwin(void*, int32_t forward, const M_Rect* area, VX_LayerDef* world) {
  return PremulAreaTwin<VX_Pixel8>(nullptr, forward, nullptr, area, world);
}
inline VX_Err PremulTwin(void*, int32_t forward, VX_LayerDef* world) {
  return PremulRectTwin(nullptr, forward, nullptr, world);
}

// --- iterators -----------------------------------------------------------------------------------

// Pixels without a source pixel are visited with a zero pixel if `all`.
template <bool all>
VX_Err OriginTwin(VX_ProgressInfo*, int32_t, int32_t, const VX_LayerDef* src, const M_Rect* area,
                  const M_Point* origin, void* refcon, VX_PixelFunc function, VX_LayerDef* dst) {
  const int32_t h = origin != nullptr ? origin->h : 0, v = origin != nullptr ? origin->v : 0;
  VX_PixelFloat zero{};
  for (int32_t y = 0; y < dst->height; ++y) {
    for (int32_t x = 0; x < dst->width; ++x) {
      if (!IsInside(area, x, y)) continue;
      const bool covered = src != nullptr && IsInside(*src, x - h, y - v);
      if (src != nullptr && !covered && !all) continue;
      void* in = nullptr;
      if (src != nullptr) in = covered ? static_cast<void*>(PixelAt(*src, x - h, y - v)) : &zero;
      if (const VX_Err error = function(refcon, x, y, in, PixelAt(*dst, x, y))) return error;
    }
  }
  return VX_Ok;
}
inline VX_Err IterateTwin(VX_ProgressInfo*, int32_t, int32_t, const VX_LayerDef* src,
                          const M_Rect* area, void* refcon, VX_PixelFunc function,
                          VX_LayerDef* dst) {
  return OriginTwin<false>(nullptr, 0, 0, src, area, nullptr, refcon, function, dst);
}
inline VX_Err TablesTwin(VX_ProgressInfo*, int32_t, int32_t, const VX_LayerDef* src,
                         const M_Rect* area, const uint8_t* alpha, const uint8_t* red,
                         const uint8_t* green, const uint8_t* blue, VX_LayerDef* dst) {
  const auto through = [](const uint8_t* table, uint8_t c) { return table ? table[c] : c; };
  ForPixels<VX_Pixel8>(*dst, [&](int32_t x, int32_t y, VX_Pixel8& pixel) {
    if (!IsInside(area, x, y) || !IsInside(*src, x, y)) return;
    const auto in = vxref::At<VX_Pixel8>(*src, x, y);
    pixel = {through(alpha, in.alpha), through(red, in.red), through(green, in.green),
             through(blue, in.blue)};
  });
  return VX_Ok;
}
