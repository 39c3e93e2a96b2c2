// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Blurs both axes in bands of rows: first along the rows into a premultiplied intermediate world,
// then down its columns. Also defines the built-in routines of the VX_FastBlur slots, which return
// VX_ErrUnsupported.

#include <algorithm>
#include <cstring>
#include <memory>

#include "VX/VX_Blur.h"
#include "VX/VX_World.h"
#include "filters/VXp_Blur1DState.h"
#include "frame/VXp_Bands.h"
#include "frame/VXp_Convert.h"
#include "frame/VXp_Dispatch.h"
#include "frame/VXp_Report.h"
#include "frame/VXp_RowMemory.h"

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
  if (spec->kind != VX_BlurKind_Box) return VX_Ok;
  return VXp_CheckIterations(std::max(spec->radius_x, spec->radius_y), spec->iterations);
}

int64_t Reach(const VX_BlurSpec& spec, float radius) {
  return VXp_BoxReach(radius, spec.kind == VX_BlurKind_Box ? spec.iterations : 1);
}

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

// Copies the pixels of the source to their positions in the destination and sets the others to
// zero.
template <class Pixel>
void Copy(VX_ProgressInfo* progress, const VX_WorldX<Pixel>& src, VX_WorldX<Pixel>& dst) {
  constexpr auto kSize = static_cast<ptrdiff_t>(sizeof(Pixel));
  const int64_t left = int64_t{src.origin_x} - dst.origin_x;
  const int64_t top = int64_t{src.origin_y} - dst.origin_y;
  const int64_t from = std::clamp<int64_t>(left, 0, dst.width);
  const int64_t to = std::clamp<int64_t>(left + src.width, from, dst.width);
  const VXp_RowMemory memory = VXp_MemoryOf(dst, sizeof(Pixel));
  const bool independent =
      VXp_RowsAreIndependent(memory) && !VXp_ShareMemory(memory, VXp_MemoryOf(src, sizeof(Pixel)));
  const VXp_Bands bands = VXp_PlanBands(dst.height, VXp_MoveWork(dst.width), independent);
  VXp_ThrowIf(VXp_ForBands(bands, progress, [&](int32_t, int32_t y) -> VX_Err {
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
    return VX_Ok;
  }));
}

// Rows top..bottom - 1, in coordinates that include the origin of a world.
struct Rows {
  int64_t top, bottom;

  int64_t Count() const { return bottom - top; }
  Rows Grown(int64_t by) const { return {top - by, bottom + by}; }
  Rows Within(const Rows& r) const {
    const int64_t first = std::clamp(top, r.top, r.bottom);
    return {first, std::clamp(bottom, first, r.bottom)};
  }
};

Rows RowsOf(const VX_LayerDef& world) {
  return {world.origin_y, int64_t{world.origin_y} + world.height};
}

template <class Pixel>
VX_WorldX<Pixel> PartOf(const VX_LayerDef& world, const Rows& rows) {
  VX_LayerDef part = world;
  part.data = static_cast<char*>(world.data) + (rows.top - world.origin_y) * world.rowbytes;
  part.origin_y = static_cast<int32_t>(rows.top);
  part.height = static_cast<int32_t>(rows.Count());
  return VX_WorldX<Pixel>(&part, true);
}

// Blurs both axes, band by band of the destination. The intermediate world has the columns of the
// destination and the rows of the source that one band reads. Each source row is blurred once; rows
// that the next band also reads are moved to the top of the intermediate world. This keeps the
// intermediate world small enough for the cache. It is also smaller than the size from which the
// allocator requests new pages from the system for each call, which would take as long as a pass.
template <class Pixel>
class BandedBlur {
 public:
  BandedBlur(const VX_ProgressInfo* progress, const VX_WorldX<Pixel>& src, const VX_BlurSpec& spec,
             VX_WorldX<Pixel>& dst)
      : src_(src),
        spec_(spec),
        dst_(dst),
        source_(RowsOf(src)),
        reach_(Reach(spec, spec.radius_y)),
        reached_(src.height == 0 || dst.width == 0 ? Rows{dst.origin_y, dst.origin_y}
                                                   : source_.Grown(reach_).Within(RowsOf(dst))),
        band_(std::max(BetweenBytes(spec) / RowBytes() - 2 * reach_, 2 * reach_)),
        joined_(progress, Steps()) {}

  void Run() {
    Clear({dst_.origin_y, reached_.top});
    if (reached_.Count() > 0) Bands();
    Clear({reached_.bottom, RowsOf(dst_).bottom});
  }

 private:
  // For a Gaussian, a size that remains in a cache, while the threads seldom wait for each other
  // at the end of a band. Sums of a float box depend on the first row of the band, because they run
  // down the columns: the bands of boxes must remain as they are.
  static int64_t BetweenBytes(const VX_BlurSpec& spec) {
    return spec.kind == VX_BlurKind_Gaussian ? 8 << 20 : 16 << 20;
  }

  int64_t RowBytes() const { return std::max(dst_.width, 1) * int64_t{sizeof(Pixel)}; }
  Rows Seen(const Rows& rows) const { return rows.Grown(reach_).Within(source_); }
  int64_t Steps() const {
    const int64_t bands = (reached_.Count() + band_ - 1) / band_;
    return dst_.height - reached_.Count() + Seen(reached_).Count() + bands * dst_.width;
  }

  void Clear(const Rows& rows) {
    VX_LayerDef none = src_;
    none.width = none.height = 0;
    auto part = PartOf<Pixel>(dst_, rows);
    Copy(joined_.info(), VX_WorldX<Pixel>(&none, true), part);
    joined_.PassDone(part.height);
  }

  void Bands() {
    const auto most = static_cast<int32_t>(
        std::min(Seen(reached_).Count(), std::min(band_, reached_.Count()) + 2 * reach_));
    const std::unique_ptr<VX_World> between(
        VX_World::New(dst_.width, most, kVXp_DepthOf<Pixel>, 0));
    if (between == nullptr) VXp_Throw(VX_ErrOutOfMemory);
    between->origin_x = dst_.origin_x;
    int64_t made = Seen(reached_).top;  // source rows above this one have been blurred along rows
    between->origin_y = static_cast<int32_t>(made);
    for (Rows band = reached_; band.top < reached_.bottom; band.top = band.bottom) {
      band.bottom = std::min(band.top + band_, reached_.bottom);
      const Rows seen = Seen(band);
      MoveUp(between.get(), {seen.top, made});
      AlongRows(*between, {made, seen.bottom});
      made = seen.bottom;
      const auto from = PartOf<Pixel>(*between, seen);
      auto to = PartOf<Pixel>(dst_, band);
      Pass(spec_, VX_Blur_DownColumns, joined_.info(), &from, Form::kPremultiplied, &to,
           Form::kStraight);
      joined_.PassDone(to.width);
    }
  }

  // Moves the rows to the top of the intermediate world.
  static void MoveUp(VX_World* between, const Rows& rows) {
    char* const first = static_cast<char*>(between->data);
    std::memmove(first, first + (rows.top - between->origin_y) * between->rowbytes,
                 static_cast<size_t>(rows.Count() * between->rowbytes));
    between->origin_y = static_cast<int32_t>(rows.top);
  }

  void AlongRows(const VX_World& between, const Rows& rows) {
    auto to = PartOf<Pixel>(between, rows);
    Pass(spec_, VX_Blur_AlongRows, joined_.info(), &src_, Form::kStraight, &to,
         Form::kPremultiplied);
    joined_.PassDone(to.height);
  }

  const VX_WorldX<Pixel>& src_;
  const VX_BlurSpec& spec_;
  VX_WorldX<Pixel>& dst_;
  const Rows source_;
  const int64_t reach_;
  const Rows reached_;  // rows of the destination within the reach of the source
  const int64_t band_;  // number of destination rows in a band
  VXp_JoinedProgress joined_;
};

template <class Pixel>
VX_Err Blur(const VX_ProgressInfo* progress, const VX_WorldX<Pixel>& src, const VX_BlurSpec& spec,
            VX_WorldX<Pixel>& dst) {
  if (spec.radius_x > 0 && spec.radius_y > 0) {
    BandedBlur<Pixel>(progress, src, spec, dst).Run();
    return VX_Ok;
  }
  const bool across = spec.radius_x > 0;
  VXp_JoinedProgress joined(progress, spec.radius_y > 0 ? dst.width : dst.height);
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
  *reach_x = static_cast<int32_t>(Reach(*spec, spec->radius_x));
  *reach_y = static_cast<int32_t>(Reach(*spec, spec->radius_y));
  return VX_Ok;
}

// Modules may replace these two routines in the override table; see VX_Blur.h.

VX_Err VX_FastBlur_Straight(VX_ProgressInfo*, const VX_LayerDef*, float, int32_t, VX_LayerDef*) {
  return VX_ErrUnsupported;
}

VX_Err VX_FastBlur_Premul(VX_ProgressInfo*, const VX_LayerDef*, float, int32_t, VX_LayerDef*) {
  return VX_ErrUnsupported;
}
