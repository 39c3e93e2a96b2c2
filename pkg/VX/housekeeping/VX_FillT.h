// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Filling, for any pixel type.

#include <cstring>
#include <type_traits>

#include "frame/VXp_Convert.h"
#include "frame/VXp_PixelTraits.h"
#include "housekeeping/VXp_Area.h"
#include "housekeeping/VXp_Repeat.h"

// Converts the alpha of a float colour for an integer pixel: scaled, rounded, and reduced to its
// low bits. So alpha wraps, unlike colours, which are clamped. Values outside 64-bit integers give
// 0.
template <class To>
VX_ChannelOf<To> VXp_WrappedAlpha(float alpha) {
  const double value = double{alpha} * VXp_PixelTraits<To>::kFull + 0.5;
  if (!(value >= -0x1p63 && value < 0x1p63)) return 0;
  return static_cast<VX_ChannelOf<To>>(static_cast<int64_t>(value));
}

// Converts a colour to a pixel of the world.
template <class To, class From>
To VXp_FillColor(const From& color) {
  To pixel = VXp_ConvertPixel<To, From>(color);
  if constexpr (std::is_same_v<From, VX_PixelFloat> && !std::is_same_v<To, VX_PixelFloat>) {
    pixel.alpha = VXp_WrappedAlpha<To>(color.alpha);
  }
  return pixel;
}

// Returns true if all channels are zero; negative zero counts as zero.
template <class Pixel>
bool VXp_IsZero(const Pixel& color) {
  return color.alpha == 0 && color.red == 0 && color.green == 0 && color.blue == 0;
}

template <class Pixel>
VX_Err VXp_ClearArea(const VX_LayerDef& world, const M_LRect& area) {
  return VXp_ForRows<Pixel>(
      world, area, VXp_MoveWork(area.right - area.left),
      [](char* first, size_t count) { std::memset(first, 0, count * sizeof(Pixel)); });
}

template <class Pixel>
VX_Err VXp_FillArea(const VX_LayerDef& world, const M_LRect& area, const Pixel& color) {
  alignas(64) char pattern[VXp_PatternBytes(sizeof(Pixel))];
  for (size_t i = 0; i < sizeof pattern; i += sizeof(Pixel)) VXp_Store(pattern + i, color);
  return VXp_ForRows<Pixel>(
      world, area, VXp_MoveWork(area.right - area.left), [&pattern](char* first, size_t count) {
        VXp_Repeat(pattern, sizeof pattern, sizeof(Pixel), first, count * sizeof(Pixel));
      });
}

// Sets only the alpha channel.
template <class Pixel>
VX_Err VXp_SetAlpha(const VX_LayerDef& world, const M_LRect& area, VX_ChannelOf<Pixel> alpha) {
  return VXp_ForRows<Pixel>(world, area, VXp_MoveWork(area.right - area.left),
                            [alpha](char* first, size_t count) {
                              const auto value = alpha;
                              for (size_t x = 0; x < count; ++x)
                                VXp_Store(first + x * sizeof(Pixel), value);
                            });
}

// Calls `work(part)` for the areas above, left of, right of and below `keep`, which must be within
// the world. Returns VX_Ok or the first error.
template <class Work>
VX_Err VXp_ForOutside(const VX_LayerDef& world, const M_LRect& keep, const Work& work) {
  for (const M_LRect& part :
       {M_LRect{0, 0, world.width, keep.top}, M_LRect{0, keep.top, keep.left, keep.bottom},
        M_LRect{keep.right, keep.top, world.width, keep.bottom},
        M_LRect{0, keep.bottom, world.width, world.height}}) {
    if (const VX_Err error = work(part)) return error;
  }
  return VX_Ok;
}
