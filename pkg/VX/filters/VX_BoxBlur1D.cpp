// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The box blur over lines of a world, made of repeated passes of VX_BoxBlurT.h.

#include <algorithm>

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

void RunPass(const VXp_BoxPass& whole, VXp_PixelTag<VX_Pixel8>) {
  const int32_t done = VXp_HasSSE2() ? VXp_BoxBlurShort8(whole) : 0;
  if (done == whole.lines) return;
  VXp_BoxPass pass = whole;
  pass.lines -= done;
  pass.in.data += done * ptrdiff_t{sizeof(VX_Pixel8)};
  pass.out.data += done * pass.out.line_stride;
  if (pass.premultiplied && VXp_HasSSE2()) {
    VXp_BoxBlurPass8_SSE2(pass);
  } else {
    VXp_RunBoxPass<VXp_PixelSums<VX_Pixel8>, /*kStraightToo=*/true>(pass);
  }
}
void RunPass(const VXp_BoxPass& pass, VXp_PixelTag<VX_Pixel16>) {
  VXp_RunBoxPass<VXp_PixelSums<VX_Pixel16>, /*kStraightToo=*/true>(pass);
}

// Computes a line of a pass again if it contains extreme values (VXp_RestartedSums.h).
void RepeatLine(const VXp_BoxPass& pass, int32_t line) {
  using Pixel = VX_PixelFloat;
  VXp_RestartedWindow<4> window(pass, line);
  if (!window.HasExtremes()) return;
  const VXp_ChannelMask<Pixel> mask(pass.flags);
  window.Run([&](const VXp_BoxPosition& at, int32_t divisor) {
    const auto sum = [&](int32_t c) { return window.Numerator(at, c); };
    const VXp_DoubleLanes sums = {VXp_DoublePair{sum(0), sum(1)}, VXp_DoublePair{sum(2), sum(3)}};
    const auto kept = VXp_Load<VXp_FloatLanes>(at.here + line * ptrdiff_t{sizeof(Pixel)});
    const auto total = static_cast<float>(divisor);
    VXp_FloatLanes pixel;
    if (pass.premultiplied) {
      pixel = VXp_BoxMean<Pixel>(VXp_Singles(sums), VXp_Splat<VXp_FloatLanes>(total));
    } else {
      const bool blurs_alpha = (pass.flags & VX_Blur_Alpha) != 0;
      const double alpha =
          blurs_alpha ? sums.Alpha() : static_cast<double>(VXp_AlphaOf(kept)) * divisor;
      pixel = VXp_BoxStraight<Pixel>(sums, alpha, total);
    }
    VXp_Store(at.out + line * pass.out.line_stride, mask.Merge(pixel, kept));
  });
}

void RunPass(const VXp_BoxPass& pass, VXp_PixelTag<VX_PixelFloat>) {
  if (!VXp_RunBoxPass<VXp_PixelSums<VX_PixelFloat>, /*kStraightToo=*/true>(pass)) return;
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
    // A tile of columns is read in place, because its pixels are adjacent. Rows that form a tile
    // are copied first.
    const bool rows_in_tiles = state.src.direction == VX_Blur_AlongRows && !state.RowsOnly();
    copies_ = state.force_copy || state.Premultiplies() || rows_in_tiles;
    VXp_ChooseTile(state, kSize, kVXp_WidestTile, Rows() > 0 ? extents_.Largest() * kSize : 0);
  }

  void Run() {
    const VXp_BlurScratch scratch(Rows(), extents_.Largest() * state_.tile * kSize);
    VXp_BlurLines<Pixel>(state_, [&](int32_t thread, int64_t line, int32_t to, int32_t lines) {
      Lines(scratch, thread, line, to, lines);
    });
  }

 private:
  static constexpr ptrdiff_t kSize = sizeof(Pixel);

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
      VXp_CopyLines<Pixel>(state_, line, lines, extent.start, extent.end, copy, kSize,
                           [](char* at, VXp_RawPixel<Pixel> p) { VXp_Store(at, p); });
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
