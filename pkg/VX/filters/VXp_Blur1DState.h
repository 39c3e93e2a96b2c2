// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What both kinds of passes share: the worlds seen as lines, the checks, and the handing out of
// lines to the generic iterator's slot.
//
// A pass whose lines are rows on both sides takes a line at a time. Where columns are read or
// written, neighbouring lines are taken together in bundles of some hundred bytes, so that memory
// is not walked pixel by pixel with a stride. An item of the iteration is a bundle; progress is
// told by the line all the same.

#include <atomic>
#include <cstdint>

#include "VX/VX_OverrideTable.h"
#include "VX/VX_World.h"
#include "filters/VXp_BlurScratch.h"
#include "frame/VXp_Report.h"

// A world as lines along one direction.
struct VXp_BlurSide {
  char* data;
  int32_t direction;  // VX_Blur_AlongRows or VX_Blur_DownColumns
  // Distances in bytes, since rows may start at any byte.
  ptrdiff_t stride;       // from a pixel of a line to the next
  ptrdiff_t line_stride;  // from a line to the next
  int32_t length;         // pixels of a line
  int32_t lines;
  int32_t start;       // origin along the lines
  int32_t first_line;  // origin across them

  char* Address(int64_t line, int64_t place) const {
    return data + line * line_stride + place * stride;
  }
};

// What both passes are called with.
struct VXp_BlurArguments {
  const VX_ProgressInfo* progress;
  const VX_World* src;
  float radius;
  int32_t flags;
  int32_t src_direction;
  int32_t src_premultiplied;
  int32_t dst_direction;
  int32_t dst_premultiplied;
  uint8_t force_copy;
  VX_World* dst;
};

struct VX_Blur1DState {
  // The arguments must have been checked.
  explicit VX_Blur1DState(const VXp_BlurArguments& arguments);

  VXp_BlurSide src;
  VXp_BlurSide dst;
  bool src_premultiplied;
  bool dst_premultiplied;
  bool force_copy;
  const VX_ProgressInfo* progress;
  float radius;
  int32_t flags;
  int64_t line_offset;  // the source's line for line 0 of the destination
  int64_t offset;       // the source's place for place 0 of a line of the destination
  int32_t bundle = 1;   // lines an item

  // The first error of any thread. The others look at it after each bundle, and stop.
  std::atomic<VX_Err> saved_error{VX_Ok};
  std::atomic<int32_t> lines_done{0};

  // Colours are multiplied by alpha when the line is copied.
  bool Premultiplies() const;
  bool RowsOnly() const { return src.direction == 0 && dst.direction == 0; }
};

// The depth of both worlds, after everything is checked. Throws 3 after a report.
int32_t VXp_CheckBlur(const VXp_BlurArguments& arguments);

// How far a box of a good radius spreads when it is repeated.
int64_t VXp_BoxReach(float radius, int32_t iterations);

// 3 after a report for fewer iterations than 1, or more than the reach allows.
VX_Err VXp_CheckIterations(float radius, int32_t iterations);

// Sets `bundle`: up to `width` bytes of a row, with no more than 512 KiB of scratch for a row of
// it, of which one line takes `line_bytes`.
void VXp_ChooseBundle(VX_Blur1DState& state, int32_t pixel_size, int32_t width, int64_t line_bytes);

// The widest bundle, in bytes of a row.
inline constexpr int32_t kVXp_WidestBundle = 512;

// Down a column each row lies on a page of its own, and the processor foresees nothing: asks it for
// `bytes` of the row eight rows ahead, at most the widest bundle. Any address will do.
//
// Always inlined: a function that only asks has no effect that the compiler knows of, and it drops
// calls to it. Unrolled: the end of a loop as short as this is guessed wrong in each row.
inline constexpr ptrdiff_t kVXp_FarStride = 2048;
inline bool VXp_IsFar(ptrdiff_t stride) {
  return stride >= kVXp_FarStride || stride <= -kVXp_FarStride;
}
[[gnu::always_inline]] inline void VXp_Foresee(const char* at, ptrdiff_t stride, int32_t bytes) {
  constexpr int32_t kCacheLine = 64;
  const uintptr_t ahead = reinterpret_cast<uintptr_t>(at) + static_cast<uintptr_t>(8 * stride);
#pragma GCC unroll 8
  for (int32_t i = 0; i < kVXp_WidestBundle; i += kCacheLine) {
    if (i >= bytes) break;
    __builtin_prefetch(reinterpret_cast<const char*>(ahead + static_cast<uintptr_t>(i)));
  }
}

// After lines are finished: tells progress, on thread 0 only. Gives what progress gave.
VX_Err VXp_BlurLinesDone(VX_Blur1DState& state, int32_t thread, int32_t lines);

// Zero pixels into `count` lines of the destination.
void VXp_ZeroBlurLines(const VX_Blur1DState& state, int32_t first, int32_t count, int32_t size);

// The lines first..first + count of the destination that have a line of the source.
struct VXp_BlurLineRange {
  int32_t first, count;
};
VXp_BlurLineRange VXp_LinesWithSource(const VX_Blur1DState& state, int32_t first, int32_t count);

// Runs `blur(thread, source_line, destination_line, lines)` for bundles of lines that have a
// source line; the others become zero. Throws what a line or progress failed with.
template <class Pixel, class Blur>
void VXp_BlurLines(VX_Blur1DState& state, const VXp_BlurScratch& scratch, const Blur& blur) {
  struct Work {
    VX_Blur1DState& state;
    const VXp_BlurScratch& scratch;
    const Blur& blur;

    void Bundle(int32_t thread, int32_t first, int32_t count) const {
      constexpr int32_t size = sizeof(Pixel);
      if (thread < 0 || thread >= scratch.threads()) VXp_Throw(VX_ErrBadParameter);
      const auto [inner, lines] = VXp_LinesWithSource(state, first, count);
      VXp_ZeroBlurLines(state, first, inner - first, size);
      if (lines > 0) blur(thread, state.line_offset + inner, inner, lines);
      VXp_ZeroBlurLines(state, inner + lines, first + count - inner - lines, size);
    }

    // Nothing is thrown through the iterator, which may run us on a thread of its own.
    VX_Err Item(int32_t thread, int32_t i) const {
      const VX_Err stopped = state.saved_error.load(std::memory_order_relaxed);
      if (stopped != VX_Ok) return stopped;
      const VX_Err error = VXp_Guarded([&]() -> VX_Err {
        const int32_t first = i * state.bundle;
        const int32_t left = state.dst.lines - first;
        const int32_t count = left < state.bundle ? left : state.bundle;
        Bundle(thread, first, count);
        return VXp_BlurLinesDone(state, thread, count);
      });
      VX_Err none = VX_Ok;
      if (error != VX_Ok) state.saved_error.compare_exchange_strong(none, error);
      return state.saved_error.load(std::memory_order_relaxed);
    }
  };
  Work work{state, scratch, blur};
  const auto items =
      static_cast<int32_t>((int64_t{state.dst.lines} + state.bundle - 1) / state.bundle);
  const VX_GenericFunc item = [](void* refcon, int32_t thread, int32_t i, int32_t) -> VX_Err {
    return static_cast<const Work*>(refcon)->Item(thread, i);
  };
  VXp_ThrowIf(VXp_G_OverFuncs.VX_IterateGeneric_Static(items, &work, item));
  VXp_ThrowIf(state.saved_error.load());
}
