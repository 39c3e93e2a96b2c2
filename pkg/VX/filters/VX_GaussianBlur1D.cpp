// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The Gaussian pass over worlds.
//
// Each line is processed in segments. Scratch holds one segment and the positions on both sides
// that its windows reach, whatever the length of the line. The pixels of all lines of a tile at one
// position are adjacent in it, followed by those at the next position; their channels are widened
// and premultiplied. Positions outside of the source are zero. With this layout, the same code
// blurs single rows and tiles of columns (VXp_GaussianGroups.h).

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "VX/VX_Blur.h"
#include "filters/VXp_BlurLanes.h"
#include "filters/VXp_GaussianGroups.h"
#include "frame/VXp_Dispatch.h"

namespace {

template <class Pixel>
class GaussianPass {
 public:
  explicit GaussianPass(VX_Blur1DState& state)
      : state_(state),
        weights_(state.radius),
        taps_(Reach()),
        groups_(weights_, taps_, state.flags),
        margin_(taps_ + taps_ % 2) {
    if ((state.flags & VX_Blur_HoldLevel) != 0) {
      const auto limited = [&](int64_t first) {
        return static_cast<int32_t>(std::clamp<int64_t>(first, 0, state.dst.length));
      };
      whole_ = limited(weights_.radius() - state.offset);
      whole_end_ = limited(state.src.length - weights_.radius() - state.offset);
    }
    // force_copy requires that the whole line is copied before it is written.
    const int32_t length = state.dst.length;
    if (!state.RowsOnly()) {
      const int32_t longest = state.force_copy ? length : std::max(kFewestPositions, 2 * margin_);
      VXp_ChooseTile(state, sizeof(Pixel), TileBytes(),
                     (longest + 2 * int64_t{margin_}) * kPixelBytes);
    }
    const auto fitting = static_cast<int32_t>(kSegmentBytes / (state.tile * kPixelBytes));
    segment_ = state.force_copy ? length
                                : std::clamp(std::max(2 * margin_, fitting),
                                             std::min(kFewestPositions, length), length);
  }

  void Run() {
    const int64_t pixels = (int64_t{segment_} + 2 * margin_) * state_.tile + Groups::kSlack;
    const VXp_BlurScratch scratch(1, sees_source_ ? pixels * kPixelBytes : 0);
    VXp_BlurLines<Pixel>(state_, [&](int32_t thread, int64_t line, int32_t to, int32_t lines) {
      auto* const values = reinterpret_cast<Value*>(scratch.Row(thread, 0));
      if (!sees_source_) {
        VXp_ZeroBlurLines(state_, to, lines, sizeof(Pixel));
      } else if (state_.dst_premultiplied) {
        Lines<false>(values, line, to, lines);
      } else {
        Lines<true>(values, line, to, lines);
      }
    });
  }

 private:
  using Sample = VX_ChannelOf<Pixel>;
  using Groups = VXp_GaussianGroups<Pixel>;
  using Value = typename Groups::Value;
  static constexpr ptrdiff_t kChannels = 4;
  static constexpr ptrdiff_t kPixelBytes = kChannels * sizeof(Value);
  static constexpr int32_t kSegmentBytes = 24576;  // fits the first-level cache
  static constexpr int32_t kCacheBytes = 32768;
  static constexpr int32_t kFewestPositions = 32;
  // Pixels that are computed before they are stored; at least those of a position in the widest
  // tile.
  static constexpr int32_t kChunk = 1024 / sizeof(Pixel);

  // Returns the width of a tile in bytes of a row. Wide tiles access memory faster, but the
  // positions of a window should fit the first-level cache.
  int32_t TileBytes() const {
    constexpr ptrdiff_t kPositionBytes = kVXp_WidestTile / sizeof(Pixel) * kPixelBytes;
    return 2 * margin_ * kPositionBytes <= kCacheBytes ? kVXp_WidestTile : kVXp_WidestTile / 2;
  }

  // Returns the largest distance between a window's centre and a source pixel, for windows that
  // overlap the source. Taps at larger distances are always zero.
  int32_t Reach() {
    const int64_t last = state_.offset + state_.dst.length - 1;
    const int64_t reach = std::max(last, state_.src.length - 1 - state_.offset);
    const auto taps = static_cast<int32_t>(std::clamp<int64_t>(reach, 0, weights_.radius()));
    sees_source_ = state_.offset - taps < state_.src.length && last + taps >= 0;
    return taps;
  }

  // Blurs a tile. Scratch begins `margin_` positions before the centre of the first window. After
  // each segment, the positions that the next one needs too are moved to the front.
  template <bool kStraight>
  void Lines(Value* values, int64_t line, int32_t to, int32_t lines) const {
    const ptrdiff_t position = kChannels * lines, kept = 2 * margin_ * position;
    Copy(line, lines, state_.offset - margin_, 2 * int64_t{margin_}, values);
    for (int64_t next = 0; next < state_.dst.length; next += segment_) {
      const auto done = static_cast<int32_t>(next);
      const int32_t count = std::min(segment_, state_.dst.length - done);
      if (done > 0) std::copy_n(values + segment_ * position, kept, values);
      Copy(line, lines, state_.offset + done + margin_, count, values + kept);
      std::fill_n(values + kept + count * position, kChannels * Groups::kSlack, Groups::kZero);
      Blur<kStraight>(values + margin_ * position, to, lines, done, count);
    }
  }

  // Copies `count` positions of the source from `start` on, with zeros outside of the source.
  void Copy(int64_t line, int32_t lines, int64_t start, int64_t count, Value* values) const {
    const int64_t end = start + count;
    const int64_t from = std::clamp<int64_t>(0, start, end);
    const int64_t to = std::clamp<int64_t>(state_.src.length, from, end);
    const ptrdiff_t position = kChannels * lines;
    Value* const first = std::fill_n(values, (from - start) * position, Groups::kZero);
    VXp_ForRuns<Pixel>(state_, line, lines, from, to,
                       [&](const char* pixels, ptrdiff_t run, ptrdiff_t index) {
                         CopyPixels(pixels, run, first + kChannels * index);
                       });
    std::fill_n(first + (to - from) * position, (end - to) * position, Groups::kZero);
  }

  void CopyPixels(const char* pixels, ptrdiff_t count, Value* to) const {
    const auto widen = [](const char* from, ptrdiff_t some, Value* out) {
      for (ptrdiff_t i = 0; i < kChannels * some; ++i) {
        out[i] = Groups::Widened(VXp_Load<Sample>(from + i * ptrdiff_t{sizeof(Sample)}));
      }
    };
    if (!state_.Premultiplies()) return widen(pixels, count, to);
    for (ptrdiff_t i = 0; i < count; i += kChunk) {
      char premultiplied[kChunk * sizeof(Pixel)];
      const ptrdiff_t some = std::min<ptrdiff_t>(count - i, kChunk);
      VXp_CopyPremultiplied<Pixel>(state_, pixels + i * ptrdiff_t{sizeof(Pixel)}, some,
                                   premultiplied);
      widen(premultiplied, some, to + kChannels * i);
    }
  }

  // Blurs `count` positions of the destination, starting at `position`. Windows of the positions
  // from whole_ to whole_end_ - 1 have all weights.
  template <bool kStraight>
  void Blur(const Value* here, int64_t to, int32_t lines, int32_t position, int32_t count) const {
    const ptrdiff_t step = kChannels * lines;
    const int32_t end = position + count;
    for (int32_t now = 0; position < end; position += now, here += now * step) {
      Pixel pixels[kChunk + Groups::kSlack];
      const auto weight = [&](int32_t i) {
        return static_cast<int32_t>(
            weights_.Inside(state_.offset + position + i, state_.src.length));
      };
      if (position >= whole_ && position < whole_end_) {
        now = std::min({kChunk / lines, whole_end_ - position, end - position});
        groups_.template Blur<kStraight>(here, step, now * lines, weights_.total(), pixels);
      } else if (lines > 1) {
        now = 1;
        groups_.template Blur<kStraight>(here, step, lines, weight(0), pixels);
      } else {
        now = std::min(Groups::kEdge, end - position);
        int32_t totals[Groups::kEdge]{};
        for (int32_t i = 0; i < now; ++i) totals[i] = weight(i);
        groups_.template BlurEdge<kStraight>(here, step, now, totals, pixels);
      }
      Store(pixels, to, lines, position, now);
    }
  }

  // Stores the pixels of `count` positions of the destination.
  void Store(const Pixel* pixels, int64_t to, int32_t lines, int32_t position,
             int32_t count) const {
    const VXp_BlurSide& dst = state_.dst;
    char* out = dst.Address(to, position);
    if (lines == 1 && dst.stride == ptrdiff_t{sizeof(Pixel)}) {
      std::memcpy(out, pixels, static_cast<size_t>(count) * sizeof(Pixel));
      return;
    }
    const bool far = VXp_IsFar(dst.stride);
    const auto bytes = static_cast<size_t>(lines) * sizeof(Pixel);
    for (int32_t i = 0; i < count; ++i, out += dst.stride, pixels += lines) {
      if (far) VXp_Prefetch(out, dst.stride, static_cast<int32_t>(bytes));
      if (dst.line_stride == ptrdiff_t{sizeof(Pixel)}) {
        std::memcpy(out, pixels, bytes);
        continue;
      }
      for (int32_t l = 0; l < lines; ++l) VXp_Store(out + l * dst.line_stride, pixels[l]);
    }
  }

  VX_Blur1DState& state_;
  VXp_GaussianWeights weights_;
  bool sees_source_;
  int32_t taps_;  // the largest distance that is summed: the radius, or less if no window overlaps
                  // the source at that distance
  Groups groups_;
  int32_t whole_ = 0, whole_end_ = state_.dst.length;
  int32_t margin_;   // positions before and after a segment; even, see VXp_Products
  int32_t segment_;  // number of destination positions in a segment
};

}  // namespace

void VX_GaussianBlur1D(VX_ProgressInfo* progress, const VX_World* src, float radius, int32_t flags,
                       int32_t src_direction, int32_t src_premultiplied, int32_t dst_direction,
                       int32_t dst_premultiplied, uint8_t force_copy, VX_World* dst) {
  VXp_ThrowIf(VXp_Guarded([&] {
    const VXp_BlurArguments arguments{progress,      src,
                                      radius,        flags,
                                      src_direction, src_premultiplied,
                                      dst_direction, dst_premultiplied,
                                      force_copy,    dst};
    const int32_t depth = VXp_CheckBlur(arguments);
    VX_Blur1DState state(arguments);
    VXp_ThrowIf(VXp_WithPixel(depth, kVXp_UnknownDepthText, [&](auto tag) -> VX_Err {
      GaussianPass<typename decltype(tag)::Pixel>(state).Run();
      return VX_Ok;
    }));
  }));
}
