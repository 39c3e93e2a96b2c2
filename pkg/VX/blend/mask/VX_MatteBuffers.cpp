// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Converts worlds to mask buffers and mask buffers to worlds.

#include "VX/VX_Mask.h"
#include "blend/mask/VXp_TrackMatteRow.h"
#include "filters/uno/VXp_UnoBuffer.h"
#include "frame/VXp_Dispatch.h"

namespace {

// Returns the matte value of one pixel. `what` is a VX_Matte_... constant.
template <class T, int32_t what>
typename T::Work MatteValue(const VXp_Argb<T>& p) {
  if constexpr (what == VX_Matte_Alpha) return p.alpha;
  if constexpr (what == VX_Matte_InverseAlpha) return VXp_MaskValue<T, VX_MaskUse_InverseAlpha>(p);
  if constexpr (what == VX_Matte_Luma) return VXp_MaskValue<T, VX_MaskUse_Luma>(p);
  if constexpr (what == VX_Matte_InverseLuma) return VXp_MaskValue<T, VX_MaskUse_InverseLuma>(p);
  if constexpr (what == VX_Matte_Red) return p.red;
  if constexpr (what == VX_Matte_Green) return p.green;
  if constexpr (what == VX_Matte_Blue) return p.blue;
}

template <class Pixel, int32_t what>
[[gnu::flatten]] void MatteRow(int32_t count, const char* row, VX_ChannelOf<Pixel>* out) {
  using T = VXp_PixelTraits<Pixel>;
  for (ptrdiff_t i = 0; i < count; ++i) {
    const auto p = VXp_Load<Pixel>(row + i * static_cast<ptrdiff_t>(sizeof(Pixel)));
    const auto value = MatteValue<T, what>(VXp_Argb<T>::Of(p));
    VXp_Store(out + i, static_cast<VX_ChannelOf<Pixel>>(value));
  }
}

template <class Pixel>
constexpr void (*kMatteRows[])(int32_t, const char*, VX_ChannelOf<Pixel>*) = {
    &MatteRow<Pixel, VX_Matte_Alpha>, &MatteRow<Pixel, VX_Matte_InverseAlpha>,
    &MatteRow<Pixel, VX_Matte_Luma>,  &MatteRow<Pixel, VX_Matte_InverseLuma>,
    &MatteRow<Pixel, VX_Matte_Red>,   &MatteRow<Pixel, VX_Matte_Green>,
    &MatteRow<Pixel, VX_Matte_Blue>};

template <class Pixel>
[[gnu::flatten]] void GreyRow(int32_t count, const VX_ChannelOf<Pixel>* samples, char* row) {
  for (ptrdiff_t i = 0; i < count; ++i) {
    const auto v = VXp_Load<VX_ChannelOf<Pixel>>(samples + i);
    VXp_Store(row + i * static_cast<ptrdiff_t>(sizeof(Pixel)),
              Pixel{VXp_PixelTraits<Pixel>::kFull, v, v, v});
  }
}

// Checks a buffer and a world, then calls `rows` with the tag (VXp_PixelTag) of their pixel type.
template <class Rows>
VX_Err WithPair(const VX_UnoBuffer* buffer, const VX_LayerDef* world, Rows&& rows) {
  return VXp_Guarded([&]() -> VX_Err {
    const VX_Err error = VXp_CheckUno(buffer);
    if (error != VX_Ok) return error;
    if (world == nullptr || world->data == nullptr) {
      return VXp_FailVerification("matte of a world without pixels");
    }
    const int32_t depth = VXp_WorldDepth(world);
    return VXp_WithPixel(depth, kVXp_UnknownDepthText, [&](auto tag) -> VX_Err {
      if (buffer->depth != depth) {
        return VXp_FailVerification("matte needs world and buffer of the same bitdepth");
      }
      if (buffer->width != world->width || buffer->height != world->height) {
        return VXp_FailVerification("matte needs world and buffer of the same size");
      }
      return rows(tag);
    });
  });
}

}  // namespace

VX_Err VX_MatteFromWorld(VX_ProgressInfo* progress, const VX_LayerDef* world, int32_t what,
                         VX_UnoBuffer* buffer) {
  if (what < VX_Matte_Alpha || what > VX_Matte_Blue) {
    return VXp_FailVerification("unknown use of a matte");
  }
  return WithPair(buffer, world, [&](auto tag) {
    using Pixel = typename decltype(tag)::Pixel;
    const auto matte_row = kMatteRows<Pixel>[what];
    const VXp_Bands bands = VXp_PlanItems(world->height, world->width);
    return VXp_ForBands(bands, progress, [&](int32_t, int32_t y) -> VX_Err {
      matte_row(world->width, VXp_PixelAddress<Pixel>(*world, 0, y),
                VXp_UnoRow<VX_ChannelOf<Pixel>>(*buffer, 0, y));
      return VX_Ok;
    });
  });
}

VX_Err VX_WorldFromMatte(VX_ProgressInfo* progress, const VX_UnoBuffer* buffer,
                         VX_LayerDef* world) {
  return WithPair(buffer, world, [&](auto tag) {
    using Pixel = typename decltype(tag)::Pixel;
    const VXp_Bands bands = VXp_PlanItems(world->height, world->width);
    return VXp_ForBands(bands, progress, [&](int32_t, int32_t y) -> VX_Err {
      GreyRow<Pixel>(world->width, VXp_UnoRow<VX_ChannelOf<Pixel>>(*buffer, 0, y),
                     VXp_PixelAddress<Pixel>(*world, 0, y));
      return VX_Ok;
    });
  });
}
