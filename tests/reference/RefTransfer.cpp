// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "RefTransfer.h"

#include <vector>

#include "RefPipeline.h"
#include "RefSpace.h"

namespace vxref {
namespace {

struct Rect {
  int64_t left, top, right, bottom;
};

Rect Common(const Rect& a, const Rect& b) {
  return {Max(a.left, b.left), Max(a.top, b.top), Min(a.right, b.right), Min(a.bottom, b.bottom)};
}
bool IsEmpty(const Rect& r) { return r.left >= r.right || r.top >= r.bottom; }
Rect Bounds(const Image& image, int64_t left, int64_t top) {
  return {left, top, left + image.width, top + image.height};
}

template <class Pixel>
Pixel* At(const Image& image, int64_t column, int64_t row) {
  return reinterpret_cast<Pixel*>(image.data + row * image.rowbytes) + column;
}

uint8_t Opacity(float opacity, const VX_Pixel8*) { return UnitTo8(opacity); }
uint16_t Opacity(float opacity, const VX_Pixel16*) { return UnitTo16(opacity); }
float Opacity(float opacity, const VX_PixelFloat*) { return opacity; }

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
std::vector<Pixel> MaskRow(const MaskImage& mask, int64_t row, int64_t left, int64_t right) {
  const Rect bounds = Bounds(mask.image, mask.left, mask.top);
  std::vector<Pixel> values;
  for (int64_t column = left; column < right; ++column) {
    Pixel p = {};
    p.alpha = OutsideValue<Pixel>(mask.what);
    if (row >= bounds.top && row < bounds.bottom && column >= bounds.left &&
        column < bounds.right) {
      p.alpha = MaskValue(*At<Pixel>(mask.image, column - mask.left, row - mask.top), mask.what);
    }
    values.push_back(p);
  }
  return values;
}

template <class Pixel>
void ClearAlphaOutside(const Rect& inside, const Image& image) {
  for (int64_t row = 0; row < image.height; ++row) {
    for (int64_t column = 0; column < image.width; ++column) {
      const Rect here = {column, row, column + 1, row + 1};
      if (IsEmpty(Common(here, inside))) At<Pixel>(image, column, row)->alpha = 0;
    }
  }
}

}  // namespace

template <class Pixel>
VX_Err Transfer(const Placement& place, const Image& src, const VX_CompositeModePlus& mode,
                const VX_LinearBlendingTables* tables, const MaskImage* mask, const Image& dst) {
  Rect wanted = Bounds(src, 0, 0);
  if (place.rect != nullptr) {
    wanted = {place.rect->left, place.rect->top, place.rect->right, place.rect->bottom};
  }
  const int64_t shift_h = int64_t{place.x} - wanted.left;
  const int64_t shift_v = int64_t{place.y} - wanted.top;
  Rect drawn = Common(wanted, Bounds(src, 0, 0));
  if (IsEmpty(drawn)) return VX_Ok;
  drawn = {drawn.left + shift_h, drawn.top + shift_v, drawn.right + shift_h,
           drawn.bottom + shift_v};
  drawn = Common(drawn, Bounds(dst, 0, 0));
  if (mask != nullptr && (mask->what & 1) == 0) {
    drawn = Common(drawn, Bounds(mask->image, mask->left, mask->top));
  }
  if (IsEmpty(drawn)) return VX_Ok;

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
          At<Pixel>(src, drawn.left - shift_h, y - shift_v),
          mask != nullptr ? mask_row.data() : nullptr, At<Pixel>(dst, drawn.left, y));
      if (err != VX_Ok) return err;
    }
    seed += 12281u * static_cast<uint32_t>(y);
  }
  return VX_Ok;
}

template <class Pixel>
void TrackMatte(int32_t count, const Pixel* mask_row, int32_t left, int32_t available, int32_t what,
                Pixel* out_row) {
  const VX_ChannelOf<Pixel> outside = OutsideValue<Pixel>(what);
  if (left < 0) {
    mask_row += -left;
    available = Max(available + left, 0);
    left = 0;
  }
  int32_t at = 0;
  for (; left > 0 && count > 0; --left, --count) out_row[at++].alpha = outside;
  for (; available > 0 && count > 0; --available, --count) {
    if (what < 1 || what > 3) continue;
    out_row[at++].alpha = MaskValue(*mask_row++, what);
  }
  for (; count > 0; --count) out_row[at++].alpha = outside;
}

float OpacityOf(const VX_CompositeMode& older) {
  const float a = static_cast<float>(older.opacity) / 255.0f;
  const float b = static_cast<float>(older.opacity16) * (1.0f / 32768.0f);
  const float apart = a > b ? a - b : b - a;
  return apart < 1.0f / 255.0f ? b : a;
}

#define VXREF_PIXEL(Pixel)                                                                         \
  template VX_Err Transfer<Pixel>(const Placement&, const Image&, const VX_CompositeModePlus&,     \
                                  const VX_LinearBlendingTables*, const MaskImage*, const Image&); \
  template void TrackMatte<Pixel>(int32_t, const Pixel*, int32_t, int32_t, int32_t, Pixel*);
VXREF_PIXEL(VX_Pixel8)
VXREF_PIXEL(VX_Pixel16)
VXREF_PIXEL(VX_PixelFloat)
#undef VXREF_PIXEL

}  // namespace vxref
