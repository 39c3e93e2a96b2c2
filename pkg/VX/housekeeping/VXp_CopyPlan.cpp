// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "housekeeping/VXp_CopyPlan.h"

#include <algorithm>

#include "housekeeping/VXp_Area.h"

namespace {

constexpr int64_t kOne = 65536;

// The edges of a rectangle on one axis, and the size of its world.
struct Side {
  int64_t low, high, world;
  int64_t Size() const { return high - low; }
};

// Returns how many steps from `position` are needed to reach at least `bound`, at most `most`.
int64_t StepsUntil(int64_t bound, int64_t position, int64_t step, int64_t most) {
  if (position >= bound) return 0;
  if (step == 0) return most;
  return std::min((bound - position + step - 1) / step, most);
}

// Plans one axis. If the destination is clipped, a proportional part of the source is clipped. The
// step from one destination pixel to the next in the source is computed from the unclipped sizes,
// so clipping does not change the scale.
VXp_ScaledAxis PlanAxis(const Side& src, const Side& dst) {
  const int64_t cut = std::max(int64_t{0}, -dst.low);
  const int64_t wanted = std::max(int64_t{0}, std::min(dst.high, dst.world) - (dst.low + cut));
  const int64_t step = src.Size() * kOne / dst.Size();
  const int64_t position = (src.low + cut * src.Size() / dst.Size()) * kOne;
  const int64_t skipped = StepsUntil(0, position, step, wanted);
  const int64_t end = StepsUntil(src.world * kOne, position, step, wanted);
  return {src.low,
          src.Size(),
          dst.low,
          dst.Size(),
          dst.low + cut + skipped,
          std::max(int64_t{0}, end - skipped),
          position + skipped * step,
          step};
}

}  // namespace

VXp_CopyPlan VXp_PlanCopy(const VX_LayerDef& src, const M_Rect* src_rect, const VX_LayerDef& dst,
                          const M_Rect* dst_rect) {
  const M_LRect from = src_rect != nullptr ? VXp_LRectOf(*src_rect) : VXp_WholeArea(src);
  const M_LRect to = dst_rect != nullptr ? VXp_LRectOf(*dst_rect) : VXp_WholeArea(dst);
  VXp_CopyPlan plan{};
  if (VXp_IsEmpty(from) || VXp_IsEmpty(to)) return plan;
  const Side src_x{from.left, from.right, src.width}, dst_x{to.left, to.right, dst.width};
  const Side src_y{from.top, from.bottom, src.height}, dst_y{to.top, to.bottom, dst.height};
  if (src_x.Size() == dst_x.Size() && src_y.Size() == dst_y.Size()) {
    plan.area = VXp_ClipCopy(src, from, dst, to.left, to.top);
    if (!plan.area.Empty()) plan.kind = VXp_CopyKind::Equal;
    return plan;
  }
  plan.x = PlanAxis(src_x, dst_x);
  plan.y = PlanAxis(src_y, dst_y);
  if (plan.x.count > 0 && plan.y.count > 0) plan.kind = VXp_CopyKind::Scaled;
  return plan;
}
