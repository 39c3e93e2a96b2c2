// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The Gaussian pass over worlds.
//
// Each line is processed in segments. Scratch holds one segment and the positions on both sides
// that its windows reach, whatever the length of the line. In scratch, the pixels of all lines of a
// tile at one position are adjacent, followed by those at the next position; positions outside of
// the source are zero. With this layout, the same loop over blocks of channels sums single rows and
// tiles of columns. Sums are computed for a few positions at a time and converted to pixels while
// they are in the first-level cache.
//
//   premultiplied  each channel is the quotient of VXp_GaussianQuotient
//   straight       alpha is that quotient; colours are c_sum / alpha_sum, see VXp_Unmultiplied

#include <algorithm>
#include <cstdint>

#include "VX/VX_Blur.h"
#include "filters/VXp_BlurLanes.h"
#include "filters/VXp_GaussianSums.h"
#include "frame/VXp_Cpu.h"
#include "frame/VXp_Dispatch.h"

namespace {

// A pixel in scratch: four widened channels, alpha first.
template <class Pixel>
struct Widened {
  using Channel = VXp_WidenedSample<VX_ChannelOf<Pixel>>;
  using Raw = VXp_RawPixel<Pixel>;
  static constexpr uint64_t kBias = 0x8000800080008000u;
  static constexpr Channel kZero = sizeof(Pixel) == sizeof(VX_Pixel16) ? INT16_MIN : 0;

  static void Put(char* to, Raw pixel) {
    if constexpr (kVXp_FloatPixel<Pixel>) {
      const double channels[4] = {pixel[0], pixel[1], pixel[2], pixel[3]};
      VXp_Store(to, channels);
    } else if constexpr (sizeof(Pixel) == sizeof(VX_Pixel16)) {
      VXp_Store(to, pixel ^ kBias);
    } else {
#ifdef __SSE2__
      const __m128i bytes = _mm_cvtsi32_si128(static_cast<int32_t>(pixel));
      const __m128i words = _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
      VXp_Store(to, _mm_cvtsi128_si64(words));
#else
      VXp_Store(to, VXp_Packed16(VXp_Ints(pixel)));
#endif
    }
  }
  static Raw Get(const Channel* from) {
    if constexpr (kVXp_FloatPixel<Pixel>) {
      return VXp_Singles(
          VXp_DoubleLanes{VXp_Load<VXp_DoublePair>(from), VXp_Load<VXp_DoublePair>(from + 2)});
    } else if constexpr (sizeof(Pixel) == sizeof(VX_Pixel16)) {
      return VXp_Load<uint64_t>(from) ^ kBias;
    } else {
#ifdef __SSE2__
      const __m128i words = _mm_cvtsi64_si128(VXp_Load<int64_t>(from));
      return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(words, words)));
#else
      return VXp_Packed8(VXp_Ints(VXp_Load<uint64_t>(from)));
#endif
    }
  }
};

// Returns the blurred pixel for the sums of a window. `here` is the source pixel at its centre.
template <class Pixel, bool kStraight>
VXp_RawPixel<Pixel> BlurredPixel(const VXp_DoubleLanes& sums,
                                 const VXp_GaussianQuotient<VX_ChannelOf<Pixel>>& quotient,
                                 bool blurs_alpha, VXp_RawPixel<Pixel> here) {
  if (quotient.total == 0) return VXp_RawPixel<Pixel>{};
  if constexpr (!kStraight) {
    const VXp_DoubleLanes means = {quotient(sums.first), quotient(sums.second)};
    if constexpr (kVXp_FloatPixel<Pixel>) return VXp_Singles(means);
    if constexpr (!kVXp_FloatPixel<Pixel>) return VXp_Packed<Pixel>(VXp_Truncated(means));
  } else {
    const double alpha =
        blurs_alpha ? sums.Alpha() : static_cast<double>(VXp_AlphaOf(here)) * quotient.total;
    return VXp_StraightPixel<Pixel>(sums, alpha, quotient(sums.Alpha()));
  }
}

template <class Pixel>
class GaussianPass {
 public:
  explicit GaussianPass(VX_Blur1DState& state)
      : state_(state), weights_(state.radius), mask_(state.flags) {
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
    VXp_ChooseTile(state, sizeof(Pixel), kTileBytes, Positions() * kPositionBytes);
    if (sizeof(Pixel) == sizeof(VX_Pixel8) && !VXp_HasSSE2()) weights_.MakeProducts(taps_);
  }

  void Run() {
    constexpr int64_t slack = kBlock * static_cast<int64_t>(sizeof(Channel));
    const VXp_BlurScratch scratch(
        1, sees_source_ ? Positions() * state_.tile * kPositionBytes + slack : 0);
    VXp_BlurLines<Pixel>(state_, [&](int32_t thread, int64_t line, int32_t to, int32_t lines) {
      auto* const row = reinterpret_cast<Channel*>(scratch.Row(thread, 0));
      if (!sees_source_) {
        VXp_ZeroBlurLines(state_, to, lines, sizeof(Pixel));
      } else if (state_.dst_premultiplied) {
        Lines<false>(row, line, to, lines);
      } else {
        Lines<true>(row, line, to, lines);
      }
    });
  }

 private:
  using Sample = VX_ChannelOf<Pixel>;
  using Work = Widened<Pixel>;
  using Channel = typename Work::Channel;
  using Raw = VXp_RawPixel<Pixel>;
  using Quotient = VXp_GaussianQuotient<Sample>;
  static constexpr ptrdiff_t kPositionBytes = 4 * sizeof(Channel);
  static constexpr int32_t kBlock = kVXp_SumBlock<Channel>;
  static constexpr int32_t kTileBytes = 256;  // width of a tile: bytes of a row
  static constexpr int32_t kFewestPositions = 128;
  static constexpr int32_t kChunk = kTileBytes;  // channels per position in the widest 8-bit tile

  int64_t Positions() const { return int64_t{segment_} + 2 * margin_; }

  // Blurs a tile. Scratch begins `margin_` positions before the centre of the first window. After
  // each segment, the positions that the next one needs too are moved to the front.
  template <bool kStraight>
  void Lines(Channel* row, int64_t line, int32_t to, int32_t lines) const {
    const ptrdiff_t step = 4 * static_cast<ptrdiff_t>(lines);
    const ptrdiff_t kept = 2 * ptrdiff_t{margin_} * step;
    Copy(line, lines, state_.offset - margin_, 2 * int64_t{margin_}, row);
    for (int64_t next = 0; next < state_.dst.length; next += segment_) {
      const auto done = static_cast<int32_t>(next);
      const int32_t count = std::min(segment_, state_.dst.length - done);
      if (done > 0) std::copy_n(row + segment_ * step, kept, row);
      Copy(line, lines, state_.offset + done + margin_, count, row + kept);
      std::fill_n(row + kept + count * step, kBlock, Work::kZero);
      Blur<kStraight>(row + margin_ * step, to, lines, done, count);
    }
  }

  // Copies `count` positions of the source from `start` on, with zeros outside of the source.
  void Copy(int64_t line, int32_t lines, int64_t start, int64_t count, Channel* out) const {
    const ptrdiff_t step = 4 * static_cast<ptrdiff_t>(lines);
    const int64_t end = start + count;
    const int64_t from = std::clamp<int64_t>(0, start, end);
    const int64_t to = std::clamp<int64_t>(state_.src.length, from, end);
    std::fill(out, out + (from - start) * step, Work::kZero);
    VXp_CopyLines<Pixel>(state_, line, lines, from, to,
                         reinterpret_cast<char*>(out + (from - start) * step), kPositionBytes,
                         [](char* at, Raw pixel) { Work::Put(at, pixel); });
    std::fill(out + (to - start) * step, out + count * step, Work::kZero);
  }

  // Blurs `count` positions of the destination, starting at `position`.
  template <bool kStraight>
  void Blur(const Channel* here, int64_t to, int32_t lines, int32_t position, int32_t count) const {
    alignas(16) double sums[kChunk + kBlock];
    const VXp_Taps taps = weights_.Taps(taps_);
    const int32_t step = 4 * lines;
    const int32_t most = kChunk / step;
    for (int32_t done = 0; done < count; done += most, here += most * step) {
      const int32_t now = std::min(most, count - done);
      for (int32_t j = 0; j < now * step; j += kBlock) {
        VXp_GaussianSums<Sample>(here + j, step, taps, kBlock, sums + j);
      }
      const int32_t first = position + done;
      if ((state_.flags & VX_Blur_HoldLevel) == 0) {
        Write<kStraight>(here, sums, Quotient(weights_.total()), to, lines, first, now);
        continue;
      }
      for (int32_t i = 0; i < now; ++i) {
        const Quotient quotient(weights_.Inside(state_.offset + first + i, state_.src.length));
        Write<kStraight>(here + i * step, sums + i * step, quotient, to, lines, first + i, 1);
      }
    }
  }

  // Converts the sums of `count` positions, starting at `position`, to pixels.
  template <bool kStraight>
  void Write(const Channel* here, const double* sums, const Quotient quotient, int64_t to,
             int32_t lines, int32_t position, int32_t count) const {
    const bool blurs_alpha = (state_.flags & VX_Blur_Alpha) != 0;
    char* out = state_.dst.Address(to, position);
    const bool far = VXp_IsFar(state_.dst.stride);
    for (int32_t i = 0; i < count; ++i, out += state_.dst.stride) {
      char* pixel = out;
      if (far) VXp_Prefetch(out, state_.dst.stride, lines * int32_t{sizeof(Pixel)});
      for (int32_t l = 0; l < lines; ++l, here += 4, sums += 4) {
        const Raw kept = Work::Get(here);
        const VXp_DoubleLanes window = {VXp_Load<VXp_DoublePair>(sums),
                                        VXp_Load<VXp_DoublePair>(sums + 2)};
        const Raw blurred = BlurredPixel<Pixel, kStraight>(window, quotient, blurs_alpha, kept);
        VXp_Store(pixel, mask_.Merge(blurred, kept));
        pixel += state_.dst.line_stride;
      }
    }
  }

  VX_Blur1DState& state_;
  VXp_GaussianWeights weights_;
  VXp_ChannelMask<Pixel> mask_;
  int32_t taps_;     // the largest distance that is summed: the radius, or less if no
                     // window overlaps the source at that distance
  int32_t margin_;   // positions before and after a segment; even, see VXp_GaussianSums
  int32_t segment_;  // number of destination positions in a segment
  bool sees_source_;
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
