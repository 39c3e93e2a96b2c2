// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The Gaussian pass over worlds.
//
// Each line is processed in segments. Scratch holds one segment and the positions on both sides
// that its windows reach, whatever the length of the line. It has a plane for each channel. In a
// plane, the values of all lines of a tile at one position are adjacent, followed by those at the
// next position; positions outside of the source are zero. With this layout, the same loop over
// blocks of values sums single rows and tiles of columns. Sums are computed for a few positions at
// a time and converted to pixels, one in each lane, while they are in the first-level cache.
//
//   premultiplied  each channel is the quotient of VXp_GaussianQuotient
//   straight       alpha is that quotient; colours are c_sum / alpha_sum, see VXp_StraightColors

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

#include "VX/VX_Blur.h"
#include "filters/VXp_BlurLanes.h"
#include "filters/VXp_GaussianSums.h"
#include "frame/VXp_Dispatch.h"

namespace {

// The values of one channel in scratch.
template <class Pixel>
struct Plane {
  using Value = VXp_WidenedSample<VX_ChannelOf<Pixel>>;
  using Work = typename VXp_LaneTraits<Pixel>::Work;
  static constexpr int32_t kBias = sizeof(Pixel) == sizeof(VX_Pixel16) ? 32768 : 0;
  static constexpr Value kZero = static_cast<Value>(-kBias);

  static void Put(Value* to, Work channel) {
    if constexpr (kVXp_FloatPixel<Pixel>) {
      VXp_StoreDoubles(to, VXp_Widened(channel));
    } else {
      VXp_Store(to, __builtin_convertvector(channel - kBias, Values));
    }
  }
  static Work Get(const Value* from) {
    if constexpr (kVXp_FloatPixel<Pixel>) {
      return VXp_Narrowed<Work>(VXp_LoadDoubles(from));
    } else {
      return __builtin_convertvector(VXp_Load<Values>(from), Work) + kBias;
    }
  }

 private:
  using Values = VXp_Lanes<Value, kVXp_TargetLanes>;
};

template <class Pixel>
class GaussianPass {
 public:
  explicit GaussianPass(VX_Blur1DState& state) : state_(state), weights_(state.radius) {
    // The largest distance between a window's centre and a source pixel, for windows that overlap
    // the source. Taps at larger distances are always zero.
    const int64_t last = state.offset + state.dst.length - 1;
    const int64_t reach = std::max(last, state.src.length - 1 - state.offset);
    taps_ = static_cast<int32_t>(std::clamp<int64_t>(reach, 0, weights_.radius()));
    margin_ = taps_ + taps_ % 2;
    sees_source_ = state.offset - taps_ < state.src.length && last + taps_ >= 0;
    // force_copy requires that the whole line is copied before it is written.
    const int32_t length = state.dst.length;
    segment_ = state.force_copy
                   ? length
                   : std::clamp(2 * margin_, std::min(kFewestPositions, length), length);
    if (!state.RowsOnly()) {
      VXp_ChooseTile(state, sizeof(Pixel), kTileBytes, Positions() * kPositionBytes);
    }
    plane_ = static_cast<ptrdiff_t>((Positions() * state.tile + 2 * kSlack - 1) / kSlack * kSlack);
    sums_are_wide_ = weights_.total() * std::numeric_limits<Sample>::max() >= kVXp_AlphaInDouble;
  }

  void Run() {
    const VXp_BlurScratch scratch(1, sees_source_ ? plane_ * kPositionBytes : 0);
    VXp_BlurLines<Pixel>(state_, [&](int32_t thread, int64_t line, int32_t to, int32_t lines) {
      auto* const planes = reinterpret_cast<Value*>(scratch.Row(thread, 0));
      if (!sees_source_) {
        VXp_ZeroBlurLines(state_, to, lines, sizeof(Pixel));
      } else if (state_.dst_premultiplied) {
        Lines<false>(planes, line, to, lines);
      } else {
        Lines<true>(planes, line, to, lines);
      }
    });
  }

 private:
  using Sample = VX_ChannelOf<Pixel>;
  using Channel = Plane<Pixel>;
  using Value = typename Channel::Value;
  using Sum = VXp_GaussianSum<Sample>;
  using Group = VXp_GroupOf<Pixel>;
  using Work = typename Channel::Work;
  using Quotient = VXp_GaussianQuotient<Sample>;
  static constexpr int32_t kLanes = kVXp_TargetLanes;
  static constexpr int32_t kChannels = 4;
  static constexpr ptrdiff_t kPositionBytes = kChannels * sizeof(Value);
  static constexpr int32_t kBlock = kVXp_SumBlock<Value>;
  static constexpr int32_t kTileBytes = 256;  // width of a tile: bytes of a row
  static constexpr int32_t kFewestPositions = 128;
  static constexpr int32_t kChunk = 64;  // pixels, at least those of a position in the widest tile
  // Values after the last one of a plane: full blocks are read and whole groups written. The size
  // of a plane is a multiple, so that all planes are aligned in the same way.
  static constexpr int32_t kSlack = std::max(kBlock, kLanes);

  int64_t Positions() const { return int64_t{segment_} + 2 * margin_; }

  // Blurs a tile. Scratch begins `margin_` positions before the centre of the first window. After
  // each segment, the positions that the next one needs too are moved to the front.
  template <bool kStraight>
  void Lines(Value* planes, int64_t line, int32_t to, int32_t lines) const {
    const ptrdiff_t kept = 2 * ptrdiff_t{margin_} * lines;
    Copy(line, lines, state_.offset - margin_, 2 * int64_t{margin_}, planes);
    for (int64_t next = 0; next < state_.dst.length; next += segment_) {
      const auto done = static_cast<int32_t>(next);
      const int32_t count = std::min(segment_, state_.dst.length - done);
      for (int32_t c = 0; c < kChannels && done > 0; ++c) {
        Value* const plane = planes + c * plane_;
        std::copy_n(plane + segment_ * ptrdiff_t{lines}, kept, plane);
      }
      Copy(line, lines, state_.offset + done + margin_, count, planes + kept);
      Fill(planes + kept + count * ptrdiff_t{lines}, kBlock);
      Blur<kStraight>(planes + margin_ * ptrdiff_t{lines}, to, lines, done, count);
    }
  }

  // Sets `count` values of each plane to zero.
  void Fill(Value* planes, ptrdiff_t count) const {
    for (int32_t c = 0; c < kChannels; ++c) std::fill_n(planes + c * plane_, count, Channel::kZero);
  }

  // Copies `count` positions of the source from `start` on, with zeros outside of the source.
  void Copy(int64_t line, int32_t lines, int64_t start, int64_t count, Value* planes) const {
    const int64_t end = start + count;
    const int64_t from = std::clamp<int64_t>(0, start, end);
    const int64_t to = std::clamp<int64_t>(state_.src.length, from, end);
    Value* const first = planes + (from - start) * lines;
    Fill(planes, (from - start) * lines);
    VXp_ForRuns<Pixel>(state_, line, lines, from, to,
                       [&](const char* pixels, ptrdiff_t run, ptrdiff_t index) {
                         for (ptrdiff_t i = 0; i < run; i += kLanes) {
                           CopyGroup(pixels + i * ptrdiff_t{sizeof(Pixel)},
                                     std::min<ptrdiff_t>(run - i, kLanes), first + index + i);
                         }
                       });
    Fill(planes + (to - start) * lines, (end - to) * lines);
  }

  // Copies up to kLanes pixels; always stores kLanes values.
  void CopyGroup(const char* pixels, ptrdiff_t count, Value* planes) const {
    Group group;
    if (count == kLanes) {
      group = VXp_LoadOrdered(reinterpret_cast<const Pixel*>(pixels));
    } else {
      Pixel some[kLanes]{};
      std::memcpy(static_cast<void*>(some), pixels, static_cast<size_t>(count) * sizeof(Pixel));
      group = VXp_LoadOrdered(some);
    }
    if (state_.Premultiplies()) VXp_PremultiplyGroup<Pixel>(state_.flags, group);
    Channel::Put(planes, group.alpha);
    Channel::Put(planes + plane_, group.red);
    Channel::Put(planes + 2 * plane_, group.green);
    Channel::Put(planes + 3 * plane_, group.blue);
  }

  // Blurs `count` positions of the destination, starting at `position`.
  template <bool kStraight>
  void Blur(const Value* here, int64_t to, int32_t lines, int32_t position, int32_t count) const {
    const bool holds = (state_.flags & VX_Blur_HoldLevel) != 0;
    const Quotient whole(weights_.total());
    const int32_t most = kChunk / lines;
    for (int32_t done = 0; done < count;) {
      int32_t now = std::min(most, count - done);
      Quotient quotient = whole;
      if (holds) {
        const int64_t first = state_.offset + position + done;
        const int64_t inside = weights_.Inside(first, state_.src.length);
        const int64_t last = weights_.Inside(first + now - 1, state_.src.length);
        if (std::min(inside, last) < weights_.total()) now = 1;
        quotient = Quotient(inside);
      }
      Pixel pixels[kChunk + kLanes];
      const Value* const first = here + ptrdiff_t{done} * lines;
      if (quotient.total == 0) {
        std::fill_n(pixels, now * lines, Pixel{});
      } else if (sizeof(Pixel) == sizeof(VX_Pixel8) && weights_.total() < Quotient::kSmall) {
        Convert<kStraight, sizeof(Pixel) == sizeof(VX_Pixel8)>(first, lines, now * lines, quotient,
                                                               pixels);
      } else {
        Convert<kStraight, false>(first, lines, now * lines, quotient, pixels);
      }
      Store(pixels, to, lines, position + done, now);
      done += now;
    }
  }

  // Computes `count` blurred pixels whose windows have the same weights inside of the source.
  template <bool kStraight, bool kSmall>
  void Convert(const Value* here, int32_t step, int32_t count, const Quotient& quotient,
               Pixel* pixels) const {
    alignas(64) Sum sums[kChannels][kChunk + kBlock];
    const VXp_Taps taps = weights_.Taps(taps_);
    for (int32_t c = 0; c < kChannels; ++c) {
      for (int32_t j = 0; j < count; j += kBlock) {
        VXp_GaussianSums<Sample>(here + c * plane_ + j, step, taps, kBlock, sums[c] + j);
      }
    }
    for (int32_t i = 0; i < count; i += kLanes) {
      const auto sum = [&](int32_t c) { return SumsAt<kSmall>(sums[c] + i); };
      const auto mean = [&](int32_t c) { return Mean<kSmall>(sums[c] + i, quotient); };
      const auto kept = [&](int32_t c) { return Channel::Get(here + c * plane_ + i); };
      Group group;
      if constexpr (kStraight) {
        const VXp_GroupDoubles alphas = Blurs(0) ? sum(0) : Alphas(kept(0), quotient.total);
        const VXp_StraightColors<Pixel> color(alphas, sums_are_wide_);
        group = {mean(0), color(sum(1)), color(sum(2)), color(sum(3))};
        if constexpr (kVXp_FloatPixel<Pixel>) group.alpha = color.Alpha(group.alpha);
      } else {
        group = {mean(0), mean(1), mean(2), mean(3)};
      }
      if (!Blurs(0)) group.alpha = kept(0);
      if (!Blurs(1)) group.red = kept(1);
      if (!Blurs(2)) group.green = kept(2);
      if (!Blurs(3)) group.blue = kept(3);
      VXp_StoreOrdered(pixels + i, group);
    }
  }

  template <bool kSmall>
  static VXp_GroupDoubles SumsAt(const Sum* sums) {
    if constexpr (std::is_same_v<Sum, double>) {
      return VXp_LoadDoubles(sums);
    } else {
      using Sums = std::conditional_t<kSmall, int32_t, Sum>;  // signed numbers convert faster
      return VXp_Widened(VXp_Load<VXp_Lanes<Sums, kLanes>>(sums));
    }
  }

  // Returns the means for premultiplied output and for alpha.
  template <bool kSmall>
  static Work Mean(const Sum* sums, const Quotient& quotient) {
    if constexpr (kSmall) {
      return VXp_Truncated((VXp_AsFloat(VXp_Load<Work>(sums)) + quotient.single_added) *
                           quotient.single_factor);
    } else {
      return VXp_Narrowed<Work>(VXp_ForHalves(quotient, SumsAt<false>(sums)));
    }
  }

  // Returns the sums of windows with the alpha of their centres everywhere.
  static VXp_GroupDoubles Alphas(Work centres, double total) {
    return VXp_ForHalves([total](auto alphas) { return alphas * total; }, VXp_Widened(centres));
  }

  bool Blurs(int32_t channel) const { return (state_.flags >> channel & 1) != 0; }

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
  int32_t taps_;     // the largest distance that is summed: the radius, or less if no
                     // window overlaps the source at that distance
  int32_t margin_;   // positions before and after a segment; even, see VXp_GaussianSums
  int32_t segment_;  // number of destination positions in a segment
  ptrdiff_t plane_;  // values from a plane of scratch to the next
  bool sees_source_;
  bool sums_are_wide_;  // see VXp_StraightColors
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
