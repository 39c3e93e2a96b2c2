// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The copy to 8 bits with a lookup of each channel.

#include <algorithm>

#include "VX/VX_Copy.h"
#include "frame/VXp_Bands.h"
#include "frame/VXp_Dispatch.h"
#include "frame/VXp_LaneTraits.h"
#include "frame/VXp_Rects.h"
#include "frame/VXp_Report.h"
#include "frame/VXp_Rows.h"
#include "housekeeping/VXp_ConvertRow.h"
#include "housekeeping/VXp_CopyPlan.h"

namespace {

// Data shared by all rows.
struct Blit {
  const VX_LayerDef* src;
  const VX_LayerDef* dst;
  VXp_CopyArea area;
  bool lookup, invert_alpha;
  VXp_FloatLanes low, high;  // one lane per channel
};

// Maps low..high to 0..1. If they are equal, values below become 0 and others 1.
void LookUp(const Blit& blit, char* pixels, size_t count) {
  const VXp_FloatLanes low = blit.low;
  const VXp_FloatLanes range = blit.high - low;
  const VXp_IntLanes empty_range = low == blit.high;
  const auto one = VXp_Splat<VXp_FloatLanes>(1.0f);
  for (size_t x = 0; x < count; ++x) {
    char* const pixel = pixels + x * sizeof(VX_PixelFloat);
    const auto c = VXp_Load<VXp_FloatLanes>(pixel);
    const VXp_FloatLanes stepped = c < low ? VXp_FloatLanes{} : one;
    VXp_Store(pixel, empty_range ? stepped : (c - low) / range);
  }
}

// Converts a row to float, applies the lookup and converts the result to 8 bits, in blocks of a
// small buffer.
template <class Pixel>
void LookUpRow(const Blit& blit, const char* from, char* to, size_t count) {
  constexpr size_t kRun = 256;
  alignas(16) char units[kRun * sizeof(VX_PixelFloat)];
  for (size_t done = 0; done < count; done += kRun) {
    const size_t run = std::min(kRun, count - done);
    VXp_ConvertRow<VX_PixelFloat, Pixel>(from + done * sizeof(Pixel), units, run * 4);
    LookUp(blit, units, run);
    VXp_ConvertRow<VX_Pixel8, VX_PixelFloat>(units, to + done * sizeof(VX_Pixel8), run * 4);
  }
}

template <class Pixel>
VX_Err BlitRow(const Blit& blit, int32_t i) {
  const VXp_CopyArea& area = blit.area;
  const char* const from = VXp_PixelAddress<Pixel>(*blit.src, area.source_x, area.source_y + i);
  char* const to = VXp_PixelAddress<VX_Pixel8>(*blit.dst, area.dest_x, area.dest_y + i);
  const auto count = static_cast<size_t>(area.width);
  if (blit.lookup) {
    LookUpRow<Pixel>(blit, from, to, count);
  } else {
    VXp_ConvertRow<VX_Pixel8, Pixel>(from, to, count * 4);
  }
  if (blit.invert_alpha) {
    for (size_t x = 0; x < count; ++x) to[x * 4] = static_cast<char>(~to[x * 4]);
  }
  return VX_Ok;
}

}  // namespace

VX_Err VX_SpecialCasePixelBlit(const VX_World* src, const M_LPoint& at, bool lookup,
                               bool invert_alpha, const VX_PixelFloat& low,
                               const VX_PixelFloat& high, const M_Rect& rect,
                               VX_WorldX<VX_Pixel8>* dst) {
  if (src == nullptr || dst == nullptr) return VXp_BadParameter(kVXp_CopyNumber);
  const auto run = [&]<class Pixel>(VXp_PixelTag<Pixel>) -> VX_Err {
    if (src->data == nullptr || dst->data == nullptr) return VXp_BadParameter(kVXp_CopyNumber);
    const Blit blit{src,
                    dst,
                    VXp_ClipCopy(*src, VXp_LRectOf(rect), *dst, at.h, at.v),
                    lookup,
                    invert_alpha,
                    VXp_Load<VXp_FloatLanes>(&low),
                    VXp_Load<VXp_FloatLanes>(&high)};
    if (blit.area.Empty()) return VX_Ok;
    return VXp_ForBands(VXp_PlanItems(blit.area.height, blit.area.width),
                        [&](int32_t, int32_t i) -> VX_Err { return BlitRow<Pixel>(blit, i); });
  };
  return VXp_WithPixel(VXp_WorldDepth(src), "Unknown world bitdepth in SpecialCasePixelBlit", run);
}
