// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The box blur over lines of a world, made of repeated passes of VX_BoxBlurT.h.

#include <algorithm>
#include <cstring>

#include "VX/VX_Blur.h"
#include "filters/VX_BoxBlurT.h"
#include "frame/VXp_Cpu.h"
#include "frame/VXp_Dispatch.h"

namespace {

// A part of a line: positions start..end - 1 of the source.
struct Extent {
  int64_t Size() const { return end - start; }

  int64_t start, end;
};

// Computes the part of a line that each of `times` passes writes: the positions that later passes
// read, limited to the positions that values of the source can reach in that many passes. Pass 0
// copies the source to scratch.
class Extents {
 public:
  Extents(const VX_Blur1DState& state, int64_t radius, int32_t times)
      : src_{0, state.src.length},
        dst_{state.offset, state.offset + state.dst.length},
        n_(radius),
        times_(times) {}

  Extent Of(int64_t i) const {
    if (i == times_) return dst_;
    const int64_t before = i * n_, after = (times_ - i) * n_;
    const int64_t start = std::max(src_.start - before, dst_.start - after);
    const int64_t end = std::min(src_.end + before, dst_.end + after);
    return {start, std::max(start, end)};
  }
  Extent Source() const { return src_; }

  // Returns the size of the largest part that is stored in scratch; that of the last pass is not.
  // At each end, the parts of successive passes first extend by the radius, and then shrink by it
  // to the end of the destination. So only the first part, the last part and those at the change
  // are compared.
  int64_t Largest() const {
    int64_t largest = std::max(Of(0).Size(), times_ > 1 ? Of(times_ - 1).Size() : 0);
    if (n_ == 0) return largest;
    for (const int64_t distance : {src_.start - dst_.start, dst_.end - src_.end}) {
      const int64_t meeting = (distance + times_ * n_) / (2 * n_);
      for (const int64_t i : {meeting, meeting + 1}) {
        largest = std::max(largest, Of(std::clamp<int64_t>(i, 0, times_ - 1)).Size());
      }
    }
    return largest;
  }

 private:
  Extent src_, dst_;
  int64_t n_;
  int64_t times_;
};

void RunPass(const VXp_BoxPass& pass, VXp_PixelTag<VX_Pixel8>) {
  const int32_t done = VXp_BoxBlurShort8(pass);
  if (done == pass.lines) return;
  const VXp_BoxPass rest = VXp_LinesAfter(pass, done, sizeof(VX_Pixel8));
  if (pass.premultiplied && VXp_HasSSE2()) {
    VXp_BoxBlurPass8_SSE2(rest);
  } else {
    VXp_RunBoxPass<VX_Pixel8>(rest);
  }
}
void RunPass(const VXp_BoxPass& pass, VXp_PixelTag<VX_Pixel16>) {
  VXp_RunBoxPass<VX_Pixel16>(pass);
}

// Computes a line of a pass again if it contains extreme values (VXp_RestartedSums.h).
void RepeatLine(const VXp_BoxPass& pass, int32_t line) {
  VXp_RestartedWindow<4> window(pass, line);
  if (!window.HasExtremes()) return;
  window.Run([&](const VXp_BoxPosition& at, int32_t divisor) {
    float pixel[4];  // the source, whose other channels are kept
    std::memcpy(pixel, at.here + line * ptrdiff_t{sizeof pixel}, sizeof pixel);
    double alpha = static_cast<double>(pixel[0]) * divisor;
    if ((pass.flags & VX_Blur_Alpha) != 0) alpha = window.Numerator(at, 0);
    const bool empty = !pass.premultiplied && alpha == 0;
    for (int32_t c = 0; c < 4; ++c) {
      if ((pass.flags >> c & 1) == 0) continue;
      const double sum = window.Numerator(at, c);
      const bool mean = pass.premultiplied || c == 0;
      pixel[c] = mean ? static_cast<float>(sum) / static_cast<float>(divisor)
                      : static_cast<float>(sum / alpha);
      if (empty) pixel[c] = 0;
    }
    VXp_Store(at.out + line * pass.out.line_stride, pixel);
  });
}

void RunPass(const VXp_BoxPass& pass, VXp_PixelTag<VX_PixelFloat>) {
  if (!VXp_RunBoxPass<VX_PixelFloat>(pass)) return;
  for (int32_t line = 0; line < pass.lines; ++line) RepeatLine(pass, line);
}

// Passes alternate between two rows of scratch; the last one writes the destination.
template <class Pixel>
class BoxBlur {
 public:
  BoxBlur(VX_Blur1DState& state, int32_t iterations)
      : state_(state),
        window_(VXp_BoxWindowOf(state.radius)),
        // A window of one pixel changes nothing, so one pass is enough.
        iterations_(window_.reach == 0 ? 1 : iterations),
        extents_(state, window_.reach, iterations_) {
    // A tile of columns is read in place, because its pixels are adjacent. Rows are copied first.
    const bool rows = state.src.direction == VX_Blur_AlongRows;
    copies_ = state.force_copy || state.Premultiplies() || rows;
    VXp_ChooseTile(state, kSize, rows ? kRowTile * int32_t{kSize} : kVXp_WidestTile,
                   Rows() > 0 ? extents_.Largest() * kSize : 0);
    // Whole groups are faster.
    if (state.tile > kVXp_TargetLanes) state.tile -= state.tile % kVXp_TargetLanes;
  }

  void Run() {
    const VXp_BlurScratch scratch(Rows(), extents_.Largest() * state_.tile * kSize);
    VXp_BlurLines<Pixel>(state_, [&](int32_t thread, int64_t line, int32_t to, int32_t lines) {
      Lines(scratch, thread, line, to, lines);
    });
  }

 private:
  static constexpr ptrdiff_t kSize = sizeof(Pixel);
  static constexpr int32_t kRowTile = 16;  // rows that are processed together

  int32_t Rows() const { return iterations_ > 1 ? 2 : copies_ ? 1 : 0; }

  void Lines(const VXp_BlurScratch& scratch, int32_t thread, int64_t line, int32_t to,
             int32_t lines) const {
    int32_t row = 1;
    const auto next_row = [&] { return scratch.Row(thread, row = 1 - row); };
    const ptrdiff_t stride = lines * kSize;
    const bool holds = (state_.flags & VX_Blur_HoldLevel) != 0;
    const VXp_BoxOutside outside = {holds ? VXp_BoxEdge::kNothing : VXp_BoxEdge::kZero, nullptr};
    VXp_BoxPass pass{window_, outside, outside, lines, {}, {}, state_.flags, true};
    if (copies_) {
      const Extent extent = extents_.Of(0);
      char* const copy = next_row();
      VXp_ForRuns<Pixel>(state_, line, lines, extent.start, extent.end,
                         [&](const char* pixels, ptrdiff_t count, ptrdiff_t index) {
                           VXp_CopyPremultiplied<Pixel>(state_, pixels, count,
                                                        copy + index * kSize);
                         });
      pass.in = {copy, stride, extent.start, extent.end};
    } else {
      const Extent extent = extents_.Source();
      pass.in = {state_.src.Address(line, 0), state_.src.stride, extent.start, extent.end};
    }
    for (int64_t i = 1; i <= iterations_; ++i) {
      const Extent extent = extents_.Of(i);
      if (i < iterations_) {
        pass.out = {next_row(), stride, kSize, extent.start, extent.end};
      } else {
        const VXp_BlurSide& dst = state_.dst;
        pass.out = {dst.Address(to, 0), dst.stride, dst.line_stride, extent.start, extent.end};
        pass.premultiplied = state_.dst_premultiplied;
      }
      RunPass(pass, VXp_PixelTag<Pixel>{});
      pass.in = {pass.out.data, stride, extent.start, extent.end};
    }
  }

  VX_Blur1DState& state_;
  const VXp_BoxWindow window_;
  const int32_t iterations_;
  const Extents extents_;
  bool copies_;
};

}  // namespace

void VX_BoxBlur1D(VX_ProgressInfo* progress, const VX_World* src, float radius, int32_t iterations,
                  int32_t flags, int32_t src_direction, int32_t src_premultiplied,
                  int32_t dst_direction, int32_t dst_premultiplied, uint8_t force_copy,
                  VX_World* dst) {
  VXp_ThrowIf(VXp_Guarded([&] {
    const VXp_BlurArguments arguments{progress,      src,
                                      radius,        flags,
                                      src_direction, src_premultiplied,
                                      dst_direction, dst_premultiplied,
                                      force_copy,    dst};
    const int32_t depth = VXp_CheckBlur(arguments);
    VXp_ThrowIf(VXp_CheckIterations(radius, iterations));
    VX_Blur1DState state(arguments);
    VXp_ThrowIf(VXp_WithPixel(depth, kVXp_UnknownDepthText, [&](auto tag) -> VX_Err {
      BoxBlur<typename decltype(tag)::Pixel>(state, iterations).Run();
      return VX_Ok;
    }));
  }));
}
