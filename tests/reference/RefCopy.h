// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of the copies, one destination pixel at a time.
//
// Arguments must be valid; they are not checked: worlds with pixels of the depths of the template
// arguments. A null rectangle is the whole world; a rectangle with exchanged edges is empty.
// Results are written to `dst`.

#include <vector>

#include "RefArithmetic.h"
#include "RefSample.h"
#include "VX/VX_Types.h"

namespace vxref {

// --- positions ---

// A destination index of one axis, and the source position that it reads.
struct AxisPosition {
  int64_t to;
  int64_t from;      // source index in draft quality
  int64_t position;  // source position at high quality, 16.16
};

struct Side {
  int64_t low, high, size;  // the rectangle's two edges, and the world's size

  int64_t Length() const { return high - low; }
};

inline Side Horizontal(const M_Rect* rect, const VX_LayerDef& world) {
  if (rect == nullptr) return {0, world.width, world.width};
  return {rect->left, rect->right, world.width};
}
inline Side Vertical(const M_Rect* rect, const VX_LayerDef& world) {
  if (rect == nullptr) return {0, world.height, world.height};
  return {rect->top, rect->bottom, world.height};
}

// Returns the destination indices of an axis that are written. They are inside the destination
// world, and their draft source index is inside the source world.
//
// If the destination rectangle begins before index 0, draft positions are stepped from index 0,
// which rounds differently from stepping from the rectangle's edge. High-quality positions are
// always computed from the rectangle's edge.
inline std::vector<AxisPosition> PositionsOf(const Side& src, const Side& dst) {
  std::vector<AxisPosition> positions;
  if (src.Length() <= 0 || dst.Length() <= 0) return positions;
  const int64_t cut = dst.low < 0 ? -dst.low : 0;
  const int64_t start = (src.low + cut * src.Length() / dst.Length()) * 65536;
  const int64_t step = src.Length() * 65536 / dst.Length();
  for (int64_t to = dst.low + cut; to < dst.high && to < dst.size; ++to) {
    const int64_t i = to - dst.low;
    const int64_t from = (start + (i - cut) * step) >> 16;
    const int64_t middle = (2 * i + 1) * src.Length() * 32768 / dst.Length();
    if (from >= 0 && from < src.size)
      positions.push_back({to, from, src.low * 65536 + middle - 32768});
  }
  return positions;
}

// Half of the source length that one destination pixel covers, but at least half a source pixel.
inline VX_Fixed Radius(const Side& src, const Side& dst) {
  const int64_t radius = src.Length() * 32768 / dst.Length();
  return static_cast<VX_Fixed>(Max(radius, int64_t{32768}));
}

// --- channels ---

template <class To, class From>
To Channel(From c) {
  if constexpr (sizeof(To) == sizeof(From)) {
    return c;
  } else if constexpr (sizeof(To) == 4) {
    return static_cast<float>(c) * (sizeof(From) == 1 ? 1.0f / 255.0f : 1.0f / 32768.0f);
  } else if constexpr (sizeof(From) == 4) {
    if constexpr (sizeof(To) == 1) return UnitTo8(c);
    if constexpr (sizeof(To) == 2) return UnitTo16(c);
  } else if constexpr (sizeof(To) == 2) {
    return static_cast<To>((int64_t{c} * 32768 + 128) / 255);
  } else {
    return static_cast<To>((int64_t{c} * 255 + 16384) >> 15);
  }
}

// Maps low..high to 0..255, clamped.
inline uint8_t LookedUp(float c, float low, float high) {
  if (low == high) return c < low ? 0 : 255;
  return UnitTo8((c - low) / (high - low));
}

// --- scaling at high quality ---

// If `held` is set, positions are clamped to the centres of the first and the last pixel.
template <class Pixel>
void Scale(bool premultiplied, bool held, const VX_LayerDef& src, const VX_LayerDef& dst,
           const M_Rect* src_rect, const M_Rect* dst_rect) {
  const Side src_x = Horizontal(src_rect, src), dst_x = Horizontal(dst_rect, dst);
  const Side src_y = Vertical(src_rect, src), dst_y = Vertical(dst_rect, dst);
  const bool box = src_x.Length() > dst_x.Length() || src_y.Length() > dst_y.Length();
  const auto position = [held](int64_t p, int64_t size) {
    return static_cast<VX_Fixed>(held ? Min(Max(p, int64_t{0}), (size - 1) * 65536) : p);
  };
  VX_LayerDef source = src;
  VX_SampPB record = {};
  record.src = &source;
  VX_SampleFunc<Pixel> sample = premultiplied ? Premultiplied<Pixel> : Scalar<Pixel>;
  if (box) sample = premultiplied ? BoxPremultiplied<Pixel> : BoxStraight<Pixel>;
  for (const AxisPosition& row : PositionsOf(src_y, dst_y)) {
    for (const AxisPosition& column : PositionsOf(src_x, dst_x)) {
      record.x_radius = Radius(src_x, dst_x);
      record.y_radius = Radius(src_y, dst_y);
      Pixel p;
      sample(nullptr, position(column.position, src.width), position(row.position, src.height),
             &record, &p);
      At<Pixel>(dst, column.to, row.to) = p;
    }
  }
}

inline bool EqualSizes(const VX_LayerDef& src, const VX_LayerDef& dst, const M_Rect* src_rect,
                       const M_Rect* dst_rect) {
  return Horizontal(src_rect, src).Length() == Horizontal(dst_rect, dst).Length() &&
         Vertical(src_rect, src).Length() == Vertical(dst_rect, dst).Length();
}

// Converts a pixel to another depth.
template <class To, class From>
To Converted(const From& p) {
  using C = VX_ChannelOf<To>;
  return {Channel<C>(p.alpha), Channel<C>(p.red), Channel<C>(p.green), Channel<C>(p.blue)};
}

template <class From, class To>
void CopyDraft(const VX_LayerDef& src, const VX_LayerDef& dst, const M_Rect* src_rect,
               const M_Rect* dst_rect) {
  const auto columns = PositionsOf(Horizontal(src_rect, src), Horizontal(dst_rect, dst));
  for (const AxisPosition& row : PositionsOf(Vertical(src_rect, src), Vertical(dst_rect, dst))) {
    for (const AxisPosition& column : columns) {
      At<To>(dst, column.to, row.to) = Converted<To>(PixelAt<From>(src, column.from, row.from));
    }
  }
}

template <class Pixel>
void CopyHigh(bool premultiplied, const VX_LayerDef& src, const VX_LayerDef& dst,
              const M_Rect* src_rect, const M_Rect* dst_rect) {
  if (EqualSizes(src, dst, src_rect, dst_rect)) {
    CopyDraft<Pixel, Pixel>(src, dst, src_rect, dst_rect);
  } else {
    Scale<Pixel>(premultiplied, false, src, dst, src_rect, dst_rect);
  }
}

// VX_ResizeWorld at high quality, for straight alpha.
template <class Pixel>
void Resize(const VX_LayerDef& src, const VX_LayerDef& dst) {
  if (EqualSizes(src, dst, nullptr, nullptr)) {
    CopyDraft<Pixel, Pixel>(src, dst, nullptr, nullptr);
  } else {
    Scale<Pixel>(false, true, src, dst, nullptr, nullptr);
  }
}

template <class From>
void SpecialBlit(const VX_LayerDef& src, const M_LPoint& at, bool lookup, bool invert_alpha,
                 const VX_PixelFloat& low, const VX_PixelFloat& high, const M_Rect& rect,
                 const VX_LayerDef& dst) {
  for (int64_t y = 0; y < dst.height; ++y) {
    for (int64_t x = 0; x < dst.width; ++x) {
      const int64_t column = x - at.h + rect.left, row = y - at.v + rect.top;
      const bool inside =
          column >= Max<int64_t>(rect.left, 0) && column < Min<int64_t>(rect.right, src.width) &&
          row >= Max<int64_t>(rect.top, 0) && row < Min<int64_t>(rect.bottom, src.height);
      if (!inside) continue;
      const From source = PixelAt<From>(src, column, row);
      VX_Pixel8 p = Converted<VX_Pixel8>(source);
      if (lookup) {
        const VX_PixelFloat unit = Converted<VX_PixelFloat>(source);
        p = {LookedUp(unit.alpha, low.alpha, high.alpha), LookedUp(unit.red, low.red, high.red),
             LookedUp(unit.green, low.green, high.green), LookedUp(unit.blue, low.blue, high.blue)};
      }
      if (invert_alpha) p.alpha = static_cast<uint8_t>(255 - p.alpha);
      At<VX_Pixel8>(dst, x, y) = p;
    }
  }
}

}  // namespace vxref
