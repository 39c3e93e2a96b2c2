// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Slow twins of fills and iterators: one pixel at a time.

#include <algorithm>
#include <cmath>
#include <cstring>

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
      Pixel pixel;
      std::memcpy(&pixel, PixelAt(world, x, y), sizeof pixel);
      change(x, y, pixel);
      std::memcpy(PixelAt(world, x, y), &pixel, sizeof pixel);
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
// The exported fills turn an area over.
template <class Color>
VX_Err FillTwin(void*, const Color* color, const M_Rect* area, VX_LayerDef* world) {
  M_Rect turned{};
  if (area != nullptr) {
    turned = {std::min(area->top, area->bottom), std::min(area->left, area->right),
              std::max(area->top, area->bottom), std::max(area->left, area->right)};
  }
  Color value{};
  if (color != nullptr) std::memcpy(&value, color, sizeof value);
  FillWith(value, area != nullptr ? &turned : nullptr, *world);
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
    VX_Pixel8 in;
    std::memcpy(&in, PixelAt(*src, x, y), sizeof in);
    pixel = {through(alpha, in.alpha), through(red, in.red), through(green, in.green),
             through(blue, in.blue)};
  });
  return VX_Ok;
}
