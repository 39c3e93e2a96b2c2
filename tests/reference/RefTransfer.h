// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of a complete composite of one image over another, and of the mask values of a
// matte.

#include <vector>

#include "RefPipeline.h"
#include "RefSpace.h"
#include "VX/VX_Transfer.h"

namespace vxref {

struct Placement {
  const M_Rect* rect;  // rectangle of the source; null: the whole source
  int32_t x, y;        // destination of its top left corner
  int32_t field;
};

struct Bounds {
  int64_t left, top, right, bottom;

  bool IsEmpty() const { return left >= right || top >= bottom; }
  Bounds Cut(const Bounds& b) const {
    return {Max(left, b.left), Max(top, b.top), Min(right, b.right), Min(bottom, b.bottom)};
  }
};

inline Bounds BoundsOf(const VX_LayerDef& world, int64_t left = 0, int64_t top = 0) {
  return {left, top, left + world.width, top + world.height};
}
inline Bounds BoundsOf(const VX_MaskSpec& mask) {
  return BoundsOf(*mask.world, mask.offsetH, mask.offsetV);
}

inline uint8_t Opacity(float opacity, const VX_Pixel8*) { return UnitTo8(opacity); }
inline uint16_t Opacity(float opacity, const VX_Pixel16*) { return UnitTo16(opacity); }
inline float Opacity(float opacity, const VX_PixelFloat*) { return opacity; }

template <class Pixel>
VX_ChannelOf<Pixel> MaskValue(const Pixel& p, int32_t what) {
  using D = typename DepthOf<Pixel>::D;
  const WidePixel<D> w = StoredSpace<Pixel>{}.In(p);
  const bool use_luma = what == VX_MaskUse_Luma || what == VX_MaskUse_InverseLuma;
  const typename D::Wide value = use_luma ? D::Mul(D::Luma(w.c), w.alpha) : w.alpha;
  return static_cast<VX_ChannelOf<Pixel>>((what & 1) != 0 ? D::Inv(value) : value);
}

template <class Pixel>
VX_ChannelOf<Pixel> OutsideValue(int32_t what) {
  return static_cast<VX_ChannelOf<Pixel>>((what & 1) != 0 ? DepthOf<Pixel>::D::full : 0);
}

template <class Pixel>
std::vector<Pixel> MaskRow(const VX_MaskSpec& mask, int64_t row, int64_t left, int64_t right,
                           VX_ChannelOf<Pixel> (*value)(const Pixel&, int32_t) = MaskValue) {
  const Bounds bounds = BoundsOf(mask);
  std::vector<Pixel> values;
  for (int64_t column = left; column < right; ++column) {
    Pixel p = {};
    p.alpha = OutsideValue<Pixel>(mask.what);
    if (row >= bounds.top && row < bounds.bottom && column >= bounds.left &&
        column < bounds.right) {
      p.alpha = value(At<Pixel>(*mask.world, column - bounds.left, row - bounds.top), mask.what);
    }
    values.push_back(p);
  }
  return values;
}

template <class Pixel>
void ClearAlphaOutside(const Bounds& inside, const VX_LayerDef& world) {
  for (int64_t row = 0; row < world.height; ++row) {
    for (int64_t column = 0; column < world.width; ++column) {
      const Bounds here = {column, row, column + 1, row + 1};
      if (here.Cut(inside).IsEmpty()) At<Pixel>(world, column, row).alpha = 0;
    }
  }
}

// Arguments must be valid; they are not checked. There is no progress callback. `mask` and `tables`
// may be null.
template <class Pixel>
VX_Err Transfer(const Placement& place, const VX_LayerDef& src, const VX_CompositeModePlus& mode,
                const VX_LinearBlendingTables* tables, const VX_MaskSpec* mask,
                const VX_LayerDef& dst) {
  Bounds wanted = BoundsOf(src);
  if (place.rect != nullptr) {
    wanted = {place.rect->left, place.rect->top, place.rect->right, place.rect->bottom};
  }
  const int64_t shift_h = int64_t{place.x} - wanted.left;
  const int64_t shift_v = int64_t{place.y} - wanted.top;
  Bounds drawn = wanted.Cut(BoundsOf(src));
  if (drawn.IsEmpty()) return VX_Ok;
  drawn = {drawn.left + shift_h, drawn.top + shift_v, drawn.right + shift_h,
           drawn.bottom + shift_v};
  drawn = drawn.Cut(BoundsOf(dst));
  if (mask != nullptr && (mask->what & 1) == 0) {
    drawn = drawn.Cut(BoundsOf(*mask));
  }
  if (drawn.IsEmpty()) return VX_Ok;

  if (mode.mode == VX_Xfer_StencilAlpha || mode.mode == VX_Xfer_StencilLuma) {
    ClearAlphaOutside<Pixel>(drawn, dst);
  }

  uint32_t seed = static_cast<uint32_t>(mode.seed) + static_cast<uint32_t>(drawn.left);
  for (int64_t y = drawn.top; y < drawn.bottom; ++y) {
    const bool odd = (y & 1) != 0;
    const bool skipped = place.field == VX_Field_EvenRows  ? odd
                         : place.field == VX_Field_OddRows ? !odd
                                                           : false;
    if (!skipped) {
      std::vector<Pixel> mask_row;
      if (mask != nullptr) mask_row = MaskRow<Pixel>(*mask, y, drawn.left, drawn.right);
      VX_BlendingMode<Pixel> blending{};
      blending.mode = mode.mode;
      blending.seed = static_cast<int32_t>(seed);
      blending.opacity = Opacity(mode.opacityF, static_cast<const Pixel*>(nullptr));
      blending.keepDstAlpha = mode.keepDstAlpha;
      const VX_Err err = Pipeline<Pixel>(
          blending, tables, static_cast<int32_t>(drawn.right - drawn.left),
          &At<Pixel>(src, drawn.left - shift_h, y - shift_v),
          mask != nullptr ? mask_row.data() : nullptr, &At<Pixel>(dst, drawn.left, y));
      if (err != VX_Ok) return err;
    }
    seed += 12281u * static_cast<uint32_t>(y);
  }
  return VX_Ok;
}

// The slow twin of VX_PrepTrackMatteUniv.
template <class Pixel>
void TrackMatte(int32_t count, const Pixel* mask_row, int32_t left, int32_t available, int32_t what,
                Pixel* out_row) {
  const VX_ChannelOf<Pixel> outside = OutsideValue<Pixel>(what);
  if (left < 0) {
    mask_row += -left;
    available = Max(available + left, 0);
    left = 0;
  }
  for (; left > 0 && count > 0; --left, --count) out_row++->alpha = outside;
  for (; available > 0 && count > 0; --available, --count) {
    if (what < 1 || what > 3) continue;
    out_row++->alpha = MaskValue(*mask_row++, what);
  }
  for (; count > 0; --count) out_row++->alpha = outside;
}

// The opacity 0..1 of a record of the older interface.
inline float OpacityOf(const VX_CompositeMode& older) {
  const float a = static_cast<float>(older.opacity) / 255.0f;
  const float b = static_cast<float>(older.opacity16) * (1.0f / 32768.0f);
  const float apart = a > b ? a - b : b - a;
  return apart < 1.0f / 255.0f ? b : a;
}

}  // namespace vxref
