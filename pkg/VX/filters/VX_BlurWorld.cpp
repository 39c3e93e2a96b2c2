// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The blur of both axes: along the rows into a premultiplied world, and down its columns.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>

#include "VX/VX_Blur.h"
#include "VX/VX_World.h"
#include "frame/VXp_Convert.h"
#include "frame/VXp_Dispatch.h"
#include "frame/VXp_Report.h"

namespace {

VX_Err Refuse(const char* text, int32_t line = __builtin_LINE()) {
  return VXp_FailVerification(text, line);
}

bool IsRadius(float radius) { return radius >= 0 && radius <= VX_Blur_MaxRadius; }

VX_Err CheckSpec(const VX_BlurSpec* spec) {
  if (spec == nullptr) return Refuse("VX_BlurWorld without a VX_BlurSpec");
  if (spec->kind != VX_BlurKind_Gaussian && spec->kind != VX_BlurKind_Box) {
    return Refuse("unknown kind of blur");
  }
  if (!IsRadius(spec->radius_x) || !IsRadius(spec->radius_y)) {
    return Refuse("blur radius out of range");
  }
  if (spec->kind == VX_BlurKind_Box && spec->iterations < 1) {
    return Refuse("blur iterations below 1");
  }
  return VX_Ok;
}

int64_t Reach(const VX_BlurSpec& spec, float radius) {
  const auto once = static_cast<int64_t>(std::ceil(radius));
  return spec.kind == VX_BlurKind_Box ? once * spec.iterations : once;
}

// One progress for several passes: each counts its lines, on top of those before it.
class JoinedProgress {
 public:
  JoinedProgress(const VX_ProgressInfo* caller, int64_t steps)
      : caller_(caller),
        final_step_(
            static_cast<int32_t>(std::min<int64_t>(steps, std::numeric_limits<int32_t>::max()))) {
    info_.progress_func = [](void* refcon, int32_t step, int32_t) -> VX_Err {
      return static_cast<JoinedProgress*>(refcon)->Step(step);
    };
    info_.progress_refcon = this;
  }
  JoinedProgress(const JoinedProgress&) = delete;
  JoinedProgress& operator=(const JoinedProgress&) = delete;

  VX_ProgressInfo* info() {
    return caller_ != nullptr && caller_->progress_func != nullptr ? &info_ : nullptr;
  }
  void PassDone(int32_t steps) { before_ += steps; }
  VX_Err Step(int32_t step) const {
    const int64_t all = std::min<int64_t>(before_ + step, final_step_);
    return caller_->progress_func(caller_->progress_refcon, static_cast<int32_t>(all), final_step_);
  }

 private:
  const VX_ProgressInfo* caller_;
  const int32_t final_step_;
  int64_t before_ = 0;
  VX_ProgressInfo info_{};
};

enum class Form { kStraight, kPremultiplied };

void Pass(const VX_BlurSpec& spec, int32_t direction, VX_ProgressInfo* progress,
          const VX_World* src, Form src_form, VX_World* dst, Form dst_form) {
  const float radius = direction == VX_Blur_AlongRows ? spec.radius_x : spec.radius_y;
  const int32_t src_premultiplied = src_form == Form::kPremultiplied;
  const int32_t dst_premultiplied = dst_form == Form::kPremultiplied;
  if (spec.kind == VX_BlurKind_Box) {
    VX_BoxBlur1D(progress, src, radius, spec.iterations, spec.flags, direction, src_premultiplied,
                 direction, dst_premultiplied, /*force_copy=*/0, dst);
  } else {
    VX_GaussianBlur1D(progress, src, radius, spec.flags, direction, src_premultiplied, direction,
                      dst_premultiplied, /*force_copy=*/0, dst);
  }
}

// Rows of the destination with the source's pixels at their places and zero around them.
template <class Pixel>
void Copy(VX_ProgressInfo* progress, const VX_WorldX<Pixel>& src, VX_WorldX<Pixel>& dst) {
  constexpr auto kSize = static_cast<ptrdiff_t>(sizeof(Pixel));
  const int64_t left = int64_t{src.origin_x} - dst.origin_x;
  const int64_t top = int64_t{src.origin_y} - dst.origin_y;
  const int64_t from = std::clamp<int64_t>(left, 0, dst.width);
  const int64_t to = std::clamp<int64_t>(left + src.width, from, dst.width);
  for (int32_t y = 0; y < dst.height; ++y) {
    char* const row = reinterpret_cast<char*>(dst.Row(y));
    const bool has_row = y >= top && y < top + src.height;
    const int64_t end = has_row ? to : from;
    std::memset(row, 0, static_cast<size_t>(from * kSize));
    if (end > from) {
      const char* const line =
          reinterpret_cast<const char*>(src.Row(static_cast<int32_t>(y - top)));
      std::memcpy(row + from * kSize, line + (from - left) * kSize,
                  static_cast<size_t>((end - from) * kSize));
    }
    std::memset(row + end * kSize, 0, static_cast<size_t>((dst.width - end) * kSize));
    if (progress == nullptr) continue;
    VXp_ThrowIf(progress->progress_func(progress->progress_refcon, y + 1, dst.height));
  }
}

// Both axes. The world between has the destination's columns, and those rows of the source that the
// destination can see.
template <class Pixel>
void BlurBoth(const VX_ProgressInfo* progress, const VX_WorldX<Pixel>& src, const VX_BlurSpec& spec,
              VX_WorldX<Pixel>& dst) {
  const int64_t reach = Reach(spec, spec.radius_y);
  const int64_t src_top = src.origin_y, dst_top = dst.origin_y;
  const int64_t top = std::max(src_top, dst_top - reach);
  const int64_t bottom = std::min(src_top + src.height, dst_top + dst.height + reach);
  if (bottom <= top || dst.width <= 0) {
    // Nothing of the source is seen: a row of nothing in its place.
    JoinedProgress joined(progress, dst.height);
    VX_LayerDef none = src;
    none.width = none.height = 0;
    Copy(joined.info(), VX_WorldX<Pixel>(&none, true), dst);
    return;
  }
  const auto rows = static_cast<int32_t>(bottom - top);
  std::unique_ptr<VX_World> between(VX_World::New(dst.width, rows, kVXp_DepthOf<Pixel>, 0));
  if (between == nullptr) VXp_Throw(VX_ErrOutOfMemory);
  between->origin_x = dst.origin_x;
  between->origin_y = static_cast<int32_t>(top);
  JoinedProgress joined(progress, int64_t{rows} + dst.width);
  Pass(spec, VX_Blur_AlongRows, joined.info(), &src, Form::kStraight, between.get(),
       Form::kPremultiplied);
  joined.PassDone(rows);
  Pass(spec, VX_Blur_DownColumns, joined.info(), between.get(), Form::kPremultiplied, &dst,
       Form::kStraight);
}

template <class Pixel>
VX_Err Blur(const VX_ProgressInfo* progress, const VX_WorldX<Pixel>& src, const VX_BlurSpec& spec,
            VX_WorldX<Pixel>& dst) {
  if (spec.radius_x > 0 && spec.radius_y > 0) {
    BlurBoth(progress, src, spec, dst);
    return VX_Ok;
  }
  const bool across = spec.radius_x > 0;
  JoinedProgress joined(progress, spec.radius_y > 0 ? dst.width : dst.height);
  if (!across && spec.radius_y == 0) {
    Copy(joined.info(), src, dst);
  } else {
    Pass(spec, across ? VX_Blur_AlongRows : VX_Blur_DownColumns, joined.info(), &src,
         Form::kStraight, &dst, Form::kStraight);
  }
  return VX_Ok;
}

}  // namespace

VX_Err VX_BlurWorld(VX_ProgressInfo* progress, const VX_LayerDef* src, const VX_BlurSpec* spec,
                    VX_LayerDef* dst) {
  return VXp_Guarded([&]() -> VX_Err {
    if (const VX_Err error = CheckSpec(spec)) return error;
    if (src == nullptr || dst == nullptr || src->data == nullptr || dst->data == nullptr) {
      return Refuse("VX_BlurWorld without a world");
    }
    if (src->data == dst->data) return Refuse("blur of a world into itself");
    if (src->width < 0 || src->height < 0 || dst->width < 0 || dst->height < 0) {
      return Refuse("blur of a world of negative size");
    }
    const int32_t depth = VXp_WorldDepth(src);
    if (VXp_WorldDepth(dst) != depth) return Refuse("blur needs worlds of the same bitdepth");
    return VXp_WithWorldsOfDepth(
        depth, kVXp_UnknownDepthText,
        [&](const auto& from, auto& to) { return Blur(progress, from, *spec, to); }, src, dst);
  });
}

VX_Err VX_BlurReach(const VX_BlurSpec* spec, int32_t* reach_x, int32_t* reach_y) {
  if (const VX_Err error = CheckSpec(spec)) return error;
  if (reach_x == nullptr || reach_y == nullptr) return Refuse("VX_BlurReach without a place");
  const int64_t x = Reach(*spec, spec->radius_x), y = Reach(*spec, spec->radius_y);
  if (std::max(x, y) > std::numeric_limits<int32_t>::max()) {
    return Refuse("blur reach out of range");
  }
  *reach_x = static_cast<int32_t>(x);
  *reach_y = static_cast<int32_t>(y);
  return VX_Ok;
}
