// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Converts buffers between depths.

#include <algorithm>
#include <type_traits>

#include "filters/uno/VXp_UnoBuffer.h"
#include "housekeeping/VXp_ConvertRow.h"

namespace {

// Number of samples that are converted before they are inverted, so that they are still in the
// cache.
constexpr int32_t kPart = 1024;

void HoldBelowFull(const char* from, uint16_t* to, int32_t count) {
  constexpr uint16_t kFull = 32768;
  for (int32_t i = 0; i < count; ++i) {
    to[i] = std::min(VXp_Load<uint16_t>(from + i * ptrdiff_t{2}), kFull);
  }
}

template <class To, class From>
void ConvertRow(int32_t count, const char* src, bool invert, char* dst) {
  using FromSample = VX_ChannelOf<From>;
  using ToSample = VX_ChannelOf<To>;
  for (int32_t done = 0; done < count; done += kPart) {
    const int32_t part = std::min(count - done, kPart);
    const char* from = src + done * static_cast<ptrdiff_t>(sizeof(FromSample));
    char* const to = dst + done * static_cast<ptrdiff_t>(sizeof(ToSample));
    uint16_t clamped[kPart];
    if constexpr (std::is_same_v<From, VX_Pixel16> && !std::is_same_v<To, VX_Pixel16>) {
      HoldBelowFull(from, clamped, part);
      from = reinterpret_cast<const char*>(clamped);
    }
    VXp_ConvertRow<To, From>(from, to, static_cast<size_t>(part));
    if (invert) VXp_UnoInvertRow(part, reinterpret_cast<ToSample*>(to));
  }
}

}  // namespace

VX_Err VXp_UnoConvertRow(int32_t count, int32_t src_depth, const void* src, int16_t flag,
                         int32_t dst_depth, void* dst) {
  return VXp_WithPixel(src_depth, kVXp_UnknownDepthText, [&](auto from) -> VX_Err {
    return VXp_WithPixel(dst_depth, kVXp_UnknownDepthText, [&](auto to) -> VX_Err {
      using From = typename decltype(from)::Pixel;
      using To = typename decltype(to)::Pixel;
      ConvertRow<To, From>(count, static_cast<const char*>(src), flag != 0,
                           static_cast<char*>(dst));
      return VX_Ok;
    });
  });
}

VX_Err VX_ConvertDeepUnoBuffer(VX_ProgressInfo* progress, const VX_UnoBuffer* src,
                               const M_Rect* rect, int16_t flag, VX_UnoBuffer* dst) {
  VX_Err error = VXp_CheckUno(src);
  if (error == VX_Ok) error = VXp_CheckUno(dst);
  if (error != VX_Ok) return error;
  const M_LRect area = VXp_Section(VXp_UnoArea(rect, *src), VXp_UnoWhole(*dst));
  return VXp_WithPixel(src->depth, kVXp_UnknownDepthText, [&](auto from) -> VX_Err {
    return VXp_WithPixel(dst->depth, kVXp_UnknownDepthText, [&](auto to) -> VX_Err {
      using From = VX_ChannelOf<typename decltype(from)::Pixel>;
      using To = VX_ChannelOf<typename decltype(to)::Pixel>;
      if (area.right <= area.left) return VX_Ok;
      const auto convert_row = VXp_G_OverFuncs.VX_UnoConvertRow;
      const int32_t width = area.right - area.left;
      const VXp_Bands bands = VXp_PlanItems(area.bottom - area.top, width);
      return VXp_ForBands(bands, progress, [&](int32_t, int32_t i) -> VX_Err {
        const int32_t y = area.top + i;
        return convert_row(width, src->depth, VXp_UnoAddress<From>(*src, area.left, y), flag,
                           dst->depth, VXp_UnoAddress<To>(*dst, area.left, y));
      });
    });
  });
}
