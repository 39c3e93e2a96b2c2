// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_Iterate.h"

#include <algorithm>

#include "VX/VX_OverrideTable.h"
#include "frame/VXp_Dispatch.h"
#include "frame/VXp_Report.h"
#include "frame/VXp_Rows.h"
#include "housekeeping/VXp_Area.h"
#include "housekeeping/VXp_HousekeepingBirth.h"
#include "housekeeping/VXp_RowProgress.h"

namespace {

// Treatment of destination pixels that the source does not cover.
enum class Uncovered { kSkipped, kVisited };

struct Iteration {
  const VX_LayerDef* src;  // may be null
  VX_LayerDef* dst;
  const M_Rect* wanted;
  M_Point origin;  // position of the source in the destination
  void* refcon;
  VX_PixelFunc function;
  Uncovered uncovered;

  M_LRect area{};     // in the destination
  M_LRect covered{};  // the part of `area` that the source covers; zero if there is none
};

// Returns the part of `area` that the source covers. `area` must be within the destination.
// Computed in 64 bits because sizes and origin are arbitrary.
M_LRect CoveredPart(const Iteration& iteration, const M_LRect& area) {
  const int64_t h = iteration.origin.h;
  const int64_t v = iteration.origin.v;
  const int64_t left = std::max<int64_t>(area.left, h);
  const int64_t top = std::max<int64_t>(area.top, v);
  const int64_t right = std::min(int64_t{area.right}, h + iteration.src->width);
  const int64_t bottom = std::min(int64_t{area.bottom}, v + iteration.src->height);
  if (right <= left || bottom <= top) return {};
  return {static_cast<int32_t>(left), static_cast<int32_t>(top), static_cast<int32_t>(right),
          static_cast<int32_t>(bottom)};
}

// Visits columns left..right - 1 of row y. `step` is the byte distance between input pixels, or 0
// if all output pixels get the same input pixel.
template <class Pixel>
VX_Err VisitSpan(const Iteration& iteration, int32_t y, int32_t left, int32_t right, char* in,
                 ptrdiff_t step) {
  const VX_PixelFunc function = iteration.function;
  void* const refcon = iteration.refcon;
  char* out = VXp_PixelAddress<Pixel>(*iteration.dst, left, y);
  for (int32_t x = left; x < right; ++x) {
    const VX_Err error = function(refcon, x, y, in, out);
    if (error != VX_Ok) return error;
    in += step;
    out += sizeof(Pixel);
  }
  return VX_Ok;
}

template <class Pixel>
VX_Err VisitUncovered(const Iteration& iteration, int32_t y, int32_t left, int32_t right) {
  Pixel zero{};
  return VisitSpan<Pixel>(iteration, y, left, right, reinterpret_cast<char*>(&zero), 0);
}

template <class Pixel>
VX_Err VisitRow(const Iteration& iteration, int32_t y) {
  const auto& [left, top, right, bottom] = iteration.area;
  if (iteration.src == nullptr) return VisitSpan<Pixel>(iteration, y, left, right, nullptr, 0);
  const M_LRect& covered = iteration.covered;
  if (y < covered.top || y >= covered.bottom)
    return VisitUncovered<Pixel>(iteration, y, left, right);
  VX_Err error = VisitUncovered<Pixel>(iteration, y, left, covered.left);
  if (error != VX_Ok) return error;
  char* const in = VXp_PixelAddress<Pixel>(*iteration.src, covered.left - iteration.origin.h,
                                           y - iteration.origin.v);
  error = VisitSpan<Pixel>(iteration, y, covered.left, covered.right, in, sizeof(Pixel));
  if (error != VX_Ok) return error;
  return VisitUncovered<Pixel>(iteration, y, covered.right, right);
}

template <class Pixel>
VX_Err VisitRows(const Iteration& iteration, VXp_RowProgress& progress) {
  for (int32_t y = iteration.area.top; y < iteration.area.bottom; ++y) {
    VX_Err error = VisitRow<Pixel>(iteration, y);
    if (error == VX_Ok) error = progress.RowDone();
    if (error != VX_Ok) return error;
  }
  return progress.LastError();
}

VX_Err Visit(Iteration& iteration, VXp_RowProgress progress) {
  const VX_LayerDef* const src = iteration.src;
  if (iteration.dst == nullptr || iteration.dst->data == nullptr || iteration.function == nullptr ||
      (src != nullptr && src->data == nullptr)) {
    return VXp_BadParameter(kVXp_IteratorNumber);
  }
  const int32_t depth = VXp_WorldDepth(src != nullptr ? src : iteration.dst);
  if (src != nullptr && VXp_WorldDepth(iteration.dst) != depth) {
    return VXp_FailVerification("worlds must be same bitdepth in VX_Iterate()");
  }
  return VXp_WithPixel(depth, kVXp_UnknownDepthText, [&](auto tag) -> VX_Err {
    using Pixel = typename decltype(tag)::Pixel;
    iteration.area = VXp_ClippedArea(iteration.wanted, *iteration.dst);
    if (VXp_IsEmpty(iteration.area)) return VX_Ok;
    if (src != nullptr) iteration.covered = CoveredPart(iteration, iteration.area);
    if (src != nullptr && iteration.uncovered == Uncovered::kSkipped)
      iteration.area = iteration.covered;
    return VisitRows<Pixel>(iteration, progress);
  });
}

VX_Err GuardedVisit(Iteration iteration, const VXp_RowProgress& progress) {
  return VXp_Guarded([&] { return Visit(iteration, progress); });
}

M_Point OriginOrZero(const M_Point* origin) { return origin != nullptr ? *origin : M_Point{}; }

}  // namespace

VX_Err VX_Iterate_S(VX_ProgressInfo* progress, int32_t progress_base, int32_t progress_final,
                    const VX_LayerDef* src, const M_Rect* area, void* refcon, VX_PixelFunc function,
                    VX_LayerDef* dst) {
  return GuardedVisit({src, dst, area, M_Point{}, refcon, function, Uncovered::kSkipped},
                      {progress, progress_base, progress_final});
}

VX_Err VX_IterateOrigin_S(VX_ProgressInfo* progress, int32_t progress_base, int32_t progress_final,
                          const VX_LayerDef* src, const M_Rect* area, const M_Point* origin,
                          void* refcon, VX_PixelFunc function, VX_LayerDef* dst) {
  return GuardedVisit({src, dst, area, OriginOrZero(origin), refcon, function, Uncovered::kSkipped},
                      {progress, progress_base, progress_final});
}

VX_Err VX_IterateOriginAll_S(VX_ProgressInfo* progress, int32_t progress_base,
                             int32_t progress_final, const VX_LayerDef* src, const M_Rect* area,
                             const M_Point* origin, void* refcon, VX_PixelFunc function,
                             VX_LayerDef* dst) {
  return GuardedVisit({src, dst, area, OriginOrZero(origin), refcon, function, Uncovered::kVisited},
                      {progress, progress_base, progress_final});
}

VX_Err VX_Iterate(VX_ProgressInfo* progress, int32_t progress_base, int32_t progress_final,
                  const VX_LayerDef* src, const M_Rect* area, void* refcon, VX_PixelFunc function,
                  VX_LayerDef* dst) {
  return VXp_G_OverFuncs.VX_Iterate_S(progress, progress_base, progress_final, src, area, refcon,
                                      function, dst);
}

VX_Err VX_IterateOrigin(VX_ProgressInfo* progress, int32_t progress_base, int32_t progress_final,
                        const VX_LayerDef* src, const M_Rect* area, const M_Point* origin,
                        void* refcon, VX_PixelFunc function, VX_LayerDef* dst) {
  return VXp_G_OverFuncs.VX_IterateOrigin_S(progress, progress_base, progress_final, src, area,
                                            origin, refcon, function, dst);
}

VX_Err VX_IterateOriginAll(VX_ProgressInfo* progress, int32_t progress_base, int32_t progress_final,
                           const VX_LayerDef* src, const M_Rect* area, const M_Point* origin,
                           void* refcon, VX_PixelFunc function, VX_LayerDef* dst) {
  return VXp_G_OverFuncs.VX_IterateOriginAll_S(progress, progress_base, progress_final, src, area,
                                               origin, refcon, function, dst);
}
