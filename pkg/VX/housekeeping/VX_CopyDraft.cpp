// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The draft copy: no interpolation, any two depths.

#include <algorithm>
#include <type_traits>

#include "VX/VX_Copy.h"
#include "frame/VXp_Dispatch.h"
#include "frame/VXp_Report.h"
#include "housekeeping/VXp_CopyPlan.h"
#include "housekeeping/VXp_CopyRows.h"

namespace {

// Copies the source pixels for a run of destination pixels. Returns the position after the run.
template <class Pixel>
int64_t GatherRow(const char* row, int64_t position, int64_t step, int64_t count, char* to) {
  constexpr auto kSize = static_cast<ptrdiff_t>(sizeof(Pixel));
  for (int64_t i = 0; i < count; ++i) {
    VXp_Store(to + i * kSize, VXp_Load<Pixel>(row + (position >> 16) * kSize));
    position += step;
  }
  return position;
}

// Scales a row. Between different depths, pixels are gathered in a small buffer and then converted,
// so that both loops are simple.
template <class To, class From>
void ScaleRow(const char* row, const VXp_ScaledAxis& x, char* to) {
  if constexpr (std::is_same_v<To, From>) {
    GatherRow<From>(row, x.position, x.step, x.count, to);
  } else {
    constexpr int64_t kRun = 256;
    alignas(16) char gathered[kRun * sizeof(From)];
    int64_t position = x.position;
    for (int64_t done = 0; done < x.count; done += kRun) {
      const int64_t run = std::min(kRun, x.count - done);
      position = GatherRow<From>(row, position, x.step, run, gathered);
      VXp_ConvertRow<To, From>(gathered, to + done * static_cast<ptrdiff_t>(sizeof(To)),
                               static_cast<size_t>(run) * 4);
    }
  }
}

template <class To, class From>
VX_Err ScaleRows(const VX_LayerDef& src, const VX_LayerDef& dst, const VXp_CopyPlan& plan) {
  const VXp_Bands bands = VXp_PlanScaled<To, From>(src, dst, plan);
  return VXp_ForBands(bands, [&](int32_t, int32_t row) -> VX_Err {
    const auto y = static_cast<int32_t>((plan.y.position + row * plan.y.step) >> 16);
    ScaleRow<To, From>(VXp_PixelAddress<From>(src, 0, y), plan.x,
                       VXp_PixelAddress<To>(dst, static_cast<int32_t>(plan.x.first),
                                            static_cast<int32_t>(plan.y.first) + row));
    return VX_Ok;
  });
}

template <class To, class From>
VX_Err CopyDraft(const VX_LayerDef& src, const VX_LayerDef& dst, const M_Rect* src_rect,
                 const M_Rect* dst_rect) {
  if (src.data == nullptr || dst.data == nullptr) return VXp_BadParameter(kVXp_CopyNumber);
  const VXp_CopyPlan plan = VXp_PlanCopy(src, src_rect, dst, dst_rect);
  switch (plan.kind) {
    case VXp_CopyKind::Nothing: break;
    case VXp_CopyKind::Equal: return VXp_CopyRows<To, From>(nullptr, src, dst, plan.area);
    case VXp_CopyKind::Scaled: return ScaleRows<To, From>(src, dst, plan);
  }
  return VX_Ok;
}

}  // namespace

VX_Err VX_CopyBits_Draft_Static(void*, const VX_LayerDef* src, VX_LayerDef* dst,
                                const M_Rect* src_rect, const M_Rect* dst_rect) {
  if (src == nullptr || dst == nullptr) return VXp_BadParameter(kVXp_CopyNumber);
  return VXp_WithPixel(
      VXp_WorldDepth(src), kVXp_UnknownDepthText, [&]<class From>(VXp_PixelTag<From>) -> VX_Err {
        return VXp_WithPixel(VXp_WorldDepth(dst), kVXp_UnknownDepthText,
                             [&]<class To>(VXp_PixelTag<To>) -> VX_Err {
                               return CopyDraft<To, From>(*src, *dst, src_rect, dst_rect);
                             });
      });
}
