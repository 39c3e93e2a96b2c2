// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "filters/VXp_Blur1DState.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "VX/VX_Blur.h"
#include "frame/VXp_Report.h"

namespace {

constexpr int32_t kColors = VX_Blur_Red | VX_Blur_Green | VX_Blur_Blue;

[[noreturn]] void Refuse(const char* text, int32_t line = __builtin_LINE()) {
  VXp_Throw(VXp_FailVerification(text, line));
}

int32_t DepthOf(const VX_World& world) { return static_cast<int16_t>(world.Depth()); }

VXp_BlurSide SideOf(const VX_LayerDef& world, int32_t direction) {
  const auto pixel = static_cast<ptrdiff_t>(VXp_WorldDepth(&world) / 2);
  char* const data = static_cast<char*>(world.data);
  if (direction == VX_Blur_DownColumns) {
    return {data,         direction,   world.rowbytes, pixel,
            world.height, world.width, world.origin_y, world.origin_x};
  }
  return {data,        VX_Blur_AlongRows, pixel,          world.rowbytes,
          world.width, world.height,      world.origin_x, world.origin_y};
}

// Returns whether source and destination may be the same pixels: each line must be copied before it
// is overwritten.
bool MayShare(const VXp_BlurArguments& a) {
  const VXp_BlurSide src = SideOf(*a.src, a.src_direction);
  const VXp_BlurSide dst = SideOf(*a.dst, a.dst_direction);
  return a.src != a.dst && a.force_copy != 0 && src.direction == dst.direction &&
         src.stride == dst.stride && src.line_stride == dst.line_stride &&
         src.first_line == dst.first_line;
}

}  // namespace

VX_Blur1DState::VX_Blur1DState(const VXp_BlurArguments& a)
    : src(SideOf(*a.src, a.src_direction)),
      dst(SideOf(*a.dst, a.dst_direction)),
      src_premultiplied(a.src_premultiplied != 0),
      dst_premultiplied(a.dst_premultiplied != 0),
      force_copy(a.force_copy != 0),
      progress(a.progress),
      radius(a.radius),
      flags(a.flags),
      line_offset(int64_t{dst.first_line} - src.first_line),
      offset(int64_t{dst.start} - src.start) {}

bool VX_Blur1DState::Premultiplies() const { return !src_premultiplied && (flags & kColors) != 0; }

int32_t VXp_CheckBlur(const VXp_BlurArguments& a) {
  if (a.src == nullptr || a.dst == nullptr) Refuse("blur without a world");
  const int32_t depth = DepthOf(*a.dst);
  if (depth != 8 && depth != 16 && depth != 32) Refuse("Unknown world bitdepth in blur");
  if (DepthOf(*a.src) != depth) Refuse("blur needs worlds of the same bitdepth");
  if (a.src->data == nullptr || a.dst->data == nullptr) Refuse("blur of a world without pixels");
  if (a.src->width < 0 || a.src->height < 0 || a.dst->width < 0 || a.dst->height < 0) {
    Refuse("blur of a world of negative size");
  }
  if (a.src->data == a.dst->data && !MayShare(a)) Refuse("blur of a world into itself");
  if (!(a.radius >= 0 && a.radius <= VX_Blur_MaxRadius)) Refuse("blur radius out of range");
  return depth;
}

int64_t VXp_BoxReach(float radius, int32_t iterations) {
  return static_cast<int64_t>(std::ceil(radius)) * iterations;
}

VX_Err VXp_CheckIterations(float radius, int32_t iterations) {
  if (iterations < 1) return VXp_FailVerification("blur iterations below 1");
  if (VXp_BoxReach(radius, iterations) > VX_Blur_MaxReach) {
    return VXp_FailVerification("blur iterations times radius out of range");
  }
  return VX_Ok;
}

void VXp_ChooseTile(VX_Blur1DState& state, int32_t pixel_size, int32_t width, int64_t line_bytes) {
  constexpr int64_t kMostBytes = 1 << 19;
  // A narrow world is divided into at least this many tiles, so that each thread has work.
  const int32_t fewest_items = std::max(4, 2 * std::min(U_GetNumThreads(), 1 << 16));
  const int64_t fitting = kMostBytes / std::max<int64_t>(line_bytes, 1);
  const int64_t most =
      std::min<int64_t>({width / pixel_size, fitting, state.dst.lines / fewest_items});
  state.tile = static_cast<int32_t>(std::max<int64_t>(most, 1));
}

void VXp_ZeroBlurLines(const VX_Blur1DState& state, int32_t first, int32_t count, int32_t size) {
  const VXp_BlurSide& dst = state.dst;
  if (count <= 0 || dst.length == 0) return;
  const bool columns = dst.direction == VX_Blur_DownColumns;
  const int32_t rows = columns ? dst.length : count;
  const auto bytes = static_cast<size_t>(columns ? count : dst.length) * static_cast<size_t>(size);
  char* row = dst.Address(first, 0);
  for (int32_t y = 0; y < rows; ++y) {
    std::memset(row, 0, bytes);
    row += columns ? dst.stride : dst.line_stride;
  }
}

VXp_BlurLineRange VXp_LinesWithSource(const VX_Blur1DState& state, int32_t first, int32_t count) {
  const int64_t low = std::max<int64_t>(first, -state.line_offset);
  const int64_t high =
      std::min<int64_t>(int64_t{first} + count, state.src.lines - state.line_offset);
  if (high <= low) return {first + count, 0};
  return {static_cast<int32_t>(low), static_cast<int32_t>(high - low)};
}
