// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Blurs of worlds and of one-channel buffers. The files of the component:
//
//   VX_BlurWorld.cpp         both axes of a world, in bands of rows; uses the two passes below
//   VX_GaussianBlur1D.cpp    the Gaussian pass over lines of a world
//   VX_BoxBlur1D.cpp         the box pass over lines of a world, repeated
//   VXp_Blur1DState          arguments of a pass, worlds as lines, tiles (this file)
//   VXp_GaussianGroups.h     windows in scratch to blurred pixels
//   VXp_BlurLanes.h          groups of pixels: memory to scratch, sums to memory
//   uno/VX_UnoScans.cpp      box and Gaussian scans over one line of samples
//   uno/VX_FeatherUnoBuffer  scans over all lines of a one-channel buffer
//
// and the shared algorithms of worlds and one-channel buffers:
//
//   VXp_BoxEngine            the positions of a running window along lines
//   VXp_RunningSums.h        the sums of a running window, of pixels and of samples
//   VXp_GaussianSums         weighted sums over a symmetric window
//   VXp_GaussianProducts.h   the products of integer samples with the weights
//   VXp_JoinedProgress.h     progress of both passes
//   VXp_BlurScratch          scratch for each thread
//
// Convolution does not use these files. It is in VX_Convolve.cpp and VXp_ConvolveLanes.h.
//
// A Gaussian pass that reads and writes rows processes a line at a time. If columns are read or
// written, neighbouring columns are processed together as a tile of some hundred bytes of each row,
// because processing a single column would read a cache line for each pixel. A box pass also
// processes rows in tiles, because each lane has the running sums of one line. Each item of the
// iteration is a tile.

#include <cstdint>

#include "VX/VX_OverrideTable.h"
#include "VX/VX_World.h"
#include "filters/VXp_BlurScratch.h"
#include "filters/VXp_JoinedProgress.h"
#include "frame/VXp_Bands.h"

// A world as lines along one direction: rows or columns.
struct VXp_BlurSide {
  char* data;
  int32_t direction;  // VX_Blur_AlongRows or VX_Blur_DownColumns
  // Distances in bytes, since rows may start at any byte.
  ptrdiff_t stride;       // from a pixel of a line to the next
  ptrdiff_t line_stride;  // from a line to the next
  int32_t length;         // pixels of a line
  int32_t lines;
  int32_t start;       // origin of the world along the lines
  int32_t first_line;  // origin of the world across the lines

  char* Address(int64_t line, int64_t position) const {
    return data + line * line_stride + position * stride;
  }
};

// The arguments of both passes.
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
  int64_t line_offset;  // the source line that corresponds to line 0 of the destination
  int64_t offset;       // the source position that corresponds to position 0 of a destination line
  int32_t tile = 1;     // number of lines in an item of the iteration

  // Returns whether colours are multiplied by alpha when a line is copied.
  bool Premultiplies() const;
  bool RowsOnly() const { return src.direction == 0 && dst.direction == 0; }
};

// Checks all arguments and returns the depth of both worlds. Throws VX_ErrBadParameter after a
// report.
int32_t VXp_CheckBlur(const VXp_BlurArguments& arguments);

// Returns the distance in pixels that a repeated box of a valid radius reaches.
int64_t VXp_BoxReach(float radius, int32_t iterations);

// Returns VX_ErrBadParameter after a report if `iterations` is below 1 or the reach is too large.
VX_Err VXp_CheckIterations(float radius, int32_t iterations);

// Sets `state.tile`, the number of lines: up to `width` bytes of a row, and at most as many as fit
// 512 KiB of scratch if each line takes `line_bytes`.
void VXp_ChooseTile(VX_Blur1DState& state, int32_t pixel_size, int32_t width, int64_t line_bytes);

// The widest tile, in bytes of a row.
inline constexpr int32_t kVXp_WidestTile = 512;

// Software prefetch is used for strides of at least this many bytes. Hardware prefetch does not
// follow columns of such worlds, because their rows are on different pages.
inline constexpr ptrdiff_t kVXp_FarStride = 2048;
inline bool VXp_IsFar(ptrdiff_t stride) {
  return stride >= kVXp_FarStride || stride <= -kVXp_FarStride;
}

// Prefetches `bytes` bytes, at most the widest tile, eight rows ahead. Any address is allowed.
// Always inlined, because the compiler removes calls of a function without effects. Unrolled,
// because the processor mispredicts the end of such a short loop for each row.
[[gnu::always_inline]] inline void VXp_Prefetch(const char* at, ptrdiff_t stride, int32_t bytes) {
  constexpr int32_t kCacheLine = 64;
  const uintptr_t ahead = reinterpret_cast<uintptr_t>(at) + static_cast<uintptr_t>(8 * stride);
#pragma GCC unroll 8
  for (int32_t i = 0; i < kVXp_WidestTile; i += kCacheLine) {
    if (i >= bytes) break;
    __builtin_prefetch(reinterpret_cast<const char*>(ahead + static_cast<uintptr_t>(i)));
  }
}

// Sets `count` lines of the destination, from line `first` on, to zero.
void VXp_ZeroBlurLines(const VX_Blur1DState& state, int32_t first, int32_t count, int32_t size);

// The lines among first..first + count - 1 of the destination for which the source has a line.
struct VXp_BlurLineRange {
  int32_t first, count;
};
VXp_BlurLineRange VXp_LinesWithSource(const VX_Blur1DState& state, int32_t first, int32_t count);

// Calls `blur(thread, source_line, destination_line, lines)` for tiles of lines that have a source
// line, and sets the other lines to zero. Throws the error of a line, of progress or of the
// iterator.
template <class Pixel, class Blur>
void VXp_BlurLines(VX_Blur1DState& state, const Blur& blur) {
  constexpr int32_t kSize = sizeof(Pixel);
  constexpr int64_t kWork = 4;  // of a pixel, see VXp_PlanBands
  const VXp_Bands bands = VXp_PlanItems(state.dst.lines, kWork * state.dst.length, state.tile);
  VXp_ThrowIf(VXp_ForBands(
      bands, state.progress, [&](int32_t thread, int32_t first, int32_t count) -> VX_Err {
        const auto [inner, lines] = VXp_LinesWithSource(state, first, count);
        VXp_ZeroBlurLines(state, first, inner - first, kSize);
        if (lines > 0) blur(thread, state.line_offset + inner, inner, lines);
        VXp_ZeroBlurLines(state, inner + lines, first + count - inner - lines, kSize);
        return VX_Ok;
      }));
}
