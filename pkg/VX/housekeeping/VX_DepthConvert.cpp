// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_DepthConvert.h"

#include <algorithm>
#include <cstring>

#include "VX/VX_OverrideTable.h"
#include "frame/VXp_Convert.h"
#include "frame/VXp_Dispatch.h"
#include "frame/VXp_Rects.h"
#include "frame/VXp_Report.h"
#include "frame/VXp_Rows.h"
#include "housekeeping/VXp_DitherNoise.h"
#include "housekeeping/VXp_HousekeepingBirth.h"

namespace {

// All four channels convert alike, so a row is a line of channels.
using RowFunc = void (*)(const char* from, char* to, size_t channels);

template <class To, class From>
void ConvertRow(const char* from, char* to, size_t channels) {
  using ToChannel = VX_ChannelOf<To>;
  using FromChannel = VX_ChannelOf<From>;
  if constexpr (std::is_same_v<To, From>) {
    std::memmove(to, from, channels * sizeof(ToChannel));
  } else {
    for (size_t i = 0; i < channels; ++i) {
      const auto channel = VXp_Load<FromChannel>(from + i * sizeof(FromChannel));
      VXp_Store(to + i * sizeof(ToChannel), VXp_ConvertChannel<To, From>(channel));
    }
  }
}

// To 8 bits from the scale of 16; 15 bits of noise stand in for the half that rounds.
template <class From>
void DitherRow(const char* from, char* to, size_t channels) {
  using FromChannel = VX_ChannelOf<From>;
  const VXp_Noise noise = VXp_NoiseTable();
  size_t position = VXp_ClaimNoise(channels);
  for (size_t done = 0; done < channels; position = 0) {
    const size_t run = std::min(channels - done, noise.size - position);
    for (size_t i = 0; i < run; ++i) {
      const auto channel = VXp_Load<FromChannel>(from + (done + i) * sizeof(FromChannel));
      const uint32_t deep = VXp_ConvertChannel<VX_Pixel16, From>(channel);
      const uint32_t random = noise.words[position + i] & 0x7FFF;
      to[done + i] = static_cast<char>((deep * 255u + random) >> 15);
    }
    done += run;
  }
}

template <class To, class From>
RowFunc ChooseRow(bool dither) {
  if constexpr (std::is_same_v<To, VX_Pixel8> && !std::is_same_v<From, VX_Pixel8>) {
    if (dither) return DitherRow<From>;
  }
  return ConvertRow<To, From>;
}

// Rows from top to bottom. A stop ends the work at once; another answer of the progress function is
// kept and given back at the end.
template <class To, class From>
VX_Err ConvertArea(VX_ProgressInfo* progress, const VX_LayerDef& source, const VX_LayerDef& dest,
                   const VXp_CopyArea& area, bool dither) {
  const RowFunc convert = ChooseRow<To, From>(dither);
  const size_t channels = static_cast<size_t>(area.width) * 4;
  const bool polls = progress != nullptr && progress->progress_func != nullptr;
  VX_Err kept = VX_Ok;
  for (int32_t y = 0; y < area.height; ++y) {
    convert(VXp_PixelAddress<From>(source, area.source_x, area.source_y + y),
            VXp_PixelAddress<To>(dest, area.dest_x, area.dest_y + y), channels);
    if (!polls) continue;
    const VX_Err answer = progress->progress_func(progress->progress_refcon, y + 1, area.height);
    if (answer == VX_ErrStopped) return answer;
    if (answer != VX_Ok) kept = answer;
  }
  return kept;
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
    return ConvertArea<To, From>(progress, *source, *dest, area, dither != 0);
  };
  return VXp_WithPixel(VXp_WorldDepth(source), kVXp_UnknownDepthText, [&](auto from) {
    return VXp_WithPixel(VXp_WorldDepth(dest), kVXp_UnknownDepthText,
                         [&](auto to) { return between(to, from); });
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
