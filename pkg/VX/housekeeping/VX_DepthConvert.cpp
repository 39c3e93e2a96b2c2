// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_DepthConvert.h"

#include <algorithm>
#include <type_traits>

#include "VX/VX_OverrideTable.h"
#include "frame/VXp_Dispatch.h"
#include "frame/VXp_Rects.h"
#include "frame/VXp_Report.h"
#include "housekeeping/VXp_CopyRows.h"
#include "housekeeping/VXp_DitherNoise.h"
#include "housekeeping/VXp_HousekeepingBirth.h"

namespace {

// Converts rows with dither. Each row continues in the noise where the row before it ends, so the
// noise of all rows is reserved before the first.
template <class From>
VX_Err CopyDithered(VX_ProgressInfo* progress, const VX_LayerDef& source, const VX_LayerDef& dest,
                    const VXp_CopyArea& area) {
  const VXp_Noise noise = VXp_NoiseTable();
  const size_t row_size = static_cast<size_t>(area.width) * 4;
  const size_t reserved = row_size * static_cast<size_t>(area.height);
  const size_t first = VXp_ReserveNoise(reserved);
  const auto convert = [&](int32_t row, const char* from, char* to, size_t channels) {
    size_t position = (first + static_cast<size_t>(row) * row_size) % noise.size;
    for (size_t done = 0; done < channels; position = 0) {
      const size_t run = std::min(channels - done, noise.size - position);
      VXp_DitherRow<From>(from + done * sizeof(VX_ChannelOf<From>), to + done, run,
                          noise.words + position);
      done += run;
    }
  };
  VXp_RowProgress polling(progress, 0, area.height);
  const VX_Err error = VXp_CopyRows<VX_Pixel8, From>(polling, source, dest, area, convert);
  if (polling.Polls()) {  // rows after a stop do not use noise
    VXp_ReturnNoise(first, reserved, static_cast<size_t>(polling.Rows()) * row_size);
  }
  return error;
}

}  // namespace

VX_Err VX_DepthConvertWorld_S(VX_ProgressInfo* progress, const VX_LayerDef* source,
                              const M_Rect* rect, int32_t dither, int32_t h, int32_t v,
                              VX_LayerDef* dest) {
  if (source == nullptr || dest == nullptr) return VXp_BadParameter(kVXp_NoCheckNumber);
  const auto between = [&]<class To, class From>(VXp_PixelTag<To>, VXp_PixelTag<From>) -> VX_Err {
    if (source->data == nullptr || dest->data == nullptr) {
      return VXp_BadParameter(kVXp_NoCheckNumber);
    }
    if (dither != 0 && VXp_NoiseTable().words == nullptr) {
      return VXp_FailVerification("dither noise asked for before VX_Birth");
    }
    const M_LRect wanted =
        rect != nullptr ? VXp_LRectOf(*rect) : M_LRect{0, 0, source->width, source->height};
    const VXp_CopyArea area = VXp_ClipCopy(*source, wanted, *dest, h, v);
    if (area.Empty()) return VX_Ok;
    if constexpr (std::is_same_v<To, VX_Pixel8> && !std::is_same_v<From, VX_Pixel8>) {
      if (dither != 0) return CopyDithered<From>(progress, *source, *dest, area);
    }
    return VXp_CopyRows<To, From>(progress, *source, *dest, area);
  };
  return VXp_Guarded([&] {
    return VXp_WithPixel(VXp_WorldDepth(source), kVXp_UnknownDepthText, [&](auto from) {
      return VXp_WithPixel(VXp_WorldDepth(dest), kVXp_UnknownDepthText,
                           [&](auto to) { return between(to, from); });
    });
  });
}

VX_Err VX_DepthConvertWorld(VX_ProgressInfo* progress, const VX_LayerDef* source,
                            const M_Rect* rect, int32_t dither, int32_t h, int32_t v,
                            VX_LayerDef* dest) {
  return VXp_G_OverFuncs.VX_DepthConvertWorld_S(progress, source, rect, dither, h, v, dest);
}

template <class Pixel>
void VX_WorldX<Pixel>::CopyRectPossiblyDifferentBitdepth(const VX_World* source, const M_Rect& rect,
                                                         bool dither, int16_t h, int16_t v,
                                                         VX_ProgressInfo* progress) {
  VXp_ThrowIf(VX_DepthConvertWorld(progress, source, &rect, dither ? 1 : 0, h, v, this));
}

#define VX_INSTANTIATE(Pixel)                                        \
  template void VX_WorldX<Pixel>::CopyRectPossiblyDifferentBitdepth( \
      const VX_World*, const M_Rect&, bool, int16_t, int16_t, VX_ProgressInfo*)

VX_INSTANTIATE(VX_Pixel8);
VX_INSTANTIATE(VX_Pixel16);
VX_INSTANTIATE(VX_PixelFloat);
