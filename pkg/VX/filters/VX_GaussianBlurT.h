// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The Gaussian pass for any pixel type.
//
// Lines are copied into scratch stretch by stretch, not whole: it holds as many places as windows
// of a stretch reach, so that it need not be large. There the pixels of a bundle's lines lie side
// by side, place after place, with zero beyond the ends of the source, and the sum of a channel's
// window is the same walk for a row and for a bundle of columns, over whole blocks of channels.
// Sums are taken in chunks that stay in the fastest memory, and each becomes pixels of the
// destination at once.
//
// Bytes are multiplied in pairs by the vectors of SSE2; without it each product is looked up.
//
//   integers  mean (sum + total / 2) / total, truncated twice; straight colour (c_sum full +
//             alpha_sum / 2) / alpha_sum, at most full. All exact: sums are whole numbers below
//             2^40.
//   float     sum / total and c_sum / alpha_sum, divided in double and rounded once to single.

#include <algorithm>
#include <cstdint>

#include "filters/VXp_GaussianWindow.h"
#include "frame/VXp_Cpu.h"

// The divisor of a place.
template <class Pixel>
struct VXp_GaussianDivisor {
  // A whole quotient may come out short by as much as products are rounded; the half that is added
  // lifts it, and is less than what lacks below the next whole number.
  explicit VXp_GaussianDivisor(int64_t weights)
      : total(static_cast<double>(weights)),
        factor(weights == 0 ? 0.0 : 1.0 / total),
        added(static_cast<double>(weights / 2) + 0.5) {}

  double total;
  double factor;
  double added;
};

// Blurred channels out of a window's sums. `here` is the source's pixel in the middle.
template <class Pixel, bool kStraight>
VXp_RawPixel<Pixel> VXp_GaussianPixel(const VXp_DoubleLanes& sums,
                                      const VXp_GaussianDivisor<Pixel>& divisor, bool blurs_alpha,
                                      VXp_RawPixel<Pixel> here) {
  if (divisor.total == 0) return VXp_RawPixel<Pixel>{};
  if constexpr (kVXp_FloatPixel<Pixel>) {
    const auto mean = [&] {
      return VXp_Singles(VXp_DoubleLanes{sums.first / divisor.total, sums.second / divisor.total});
    };
    if constexpr (!kStraight) return mean();
    const double alpha = blurs_alpha ? sums.Alpha() : VXp_AlphaOf(here) * divisor.total;
    if (alpha == 0) return VXp_RawPixel<Pixel>{};
    VXp_FloatLanes pixel = VXp_UnmultipliedFloat(sums, alpha);
    pixel[0] = static_cast<float>(sums.Alpha() / divisor.total);
    return pixel;
  } else {
    const auto mean = [&](VXp_DoublePair sum) { return (sum + divisor.added) * divisor.factor; };
    if constexpr (!kStraight) {
      return VXp_Packed<Pixel>(VXp_Truncated(VXp_DoubleLanes{mean(sums.first), mean(sums.second)}));
    }
    const double alpha =
        blurs_alpha ? sums.Alpha() : static_cast<double>(VXp_AlphaOf(here)) * divisor.total;
    if (alpha == 0) return VXp_RawPixel<Pixel>{};
    VXp_IntLanes pixel = VXp_Unmultiplied<Pixel>(sums, alpha);
    pixel[0] = static_cast<int32_t>((sums.Alpha() + divisor.added) * divisor.factor);
    return VXp_Packed<Pixel>(pixel);
  }
}

template <class Pixel>
class VXp_GaussianPass {
 public:
  explicit VXp_GaussianPass(VX_Blur1DState& state)
      : state_(state), weights_(state.radius), mask_(state.flags) {
    // The farthest place of the source that any window has to reach.
    const int64_t last = state.offset + state.dst.length - 1;
    const int64_t reach = std::max(last, state.src.length - 1 - state.offset);
    taps_ = static_cast<int32_t>(std::clamp<int64_t>(reach, 0, weights_.radius()));
    margin_ = taps_ + taps_ % 2;
    sees_source_ = state.offset - taps_ < state.src.length && last + taps_ >= 0;
    // A forced copy is one of the whole line.
    const int32_t length = state.dst.length;
    stretch_ = state.force_copy ? length
                                : std::clamp(2 * margin_, std::min(kFewestPlaces, length), length);
    VXp_ChooseBundle(state, sizeof(Pixel), kWidth, Places() * kPlaceBytes);
    if (sizeof(Pixel) == sizeof(VX_Pixel8) && !VXp_HasSSE2()) weights_.MakeProducts(taps_);
  }

  void Run() {
    constexpr int64_t slack = Work::kBlock * static_cast<int64_t>(sizeof(Channel));
    const VXp_BlurScratch scratch(
        1, sees_source_ ? Places() * state_.bundle * kPlaceBytes + slack : 0);
    VXp_BlurLines<Pixel>(state_, scratch,
                         [&](int32_t thread, int64_t line, int32_t to, int32_t lines) {
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
  using Work = VXp_WindowWork<Pixel>;
  using Channel = typename Work::Channel;
  using Raw = VXp_RawPixel<Pixel>;
  static constexpr ptrdiff_t kPlaceBytes = 4 * sizeof(Channel);
  static constexpr int32_t kWidth = 256;  // of a bundle, in bytes
  static constexpr int32_t kFewestPlaces = 128;
  static constexpr int32_t kChunk = kWidth;  // channels: a place of the widest bundle of bytes

  int64_t Places() const { return int64_t{stretch_} + 2 * margin_; }

  // Scratch holds the places from `margin_` before the windows' middles on; from stretch to stretch
  // those that are needed again move to its front.
  template <bool kStraight>
  void Lines(Channel* row, int64_t line, int32_t to, int32_t lines) const {
    const ptrdiff_t step = 4 * static_cast<ptrdiff_t>(lines);
    const ptrdiff_t kept = 2 * ptrdiff_t{margin_} * step;
    Copy(line, lines, state_.offset - margin_, 2 * int64_t{margin_}, row);
    for (int64_t next = 0; next < state_.dst.length; next += stretch_) {
      const auto done = static_cast<int32_t>(next);
      const int32_t count = std::min(stretch_, state_.dst.length - done);
      if (done > 0) std::copy_n(row + stretch_ * step, kept, row);
      Copy(line, lines, state_.offset + done + margin_, count, row + kept);
      std::fill_n(row + kept + count * step, Work::kBlock, Work::kZero);
      Blur<kStraight>(row + margin_ * step, to, lines, done, count);
    }
  }

  // `count` places of the source from `start` on, zero where there are none.
  void Copy(int64_t line, int32_t lines, int64_t start, int64_t count, Channel* out) const {
    const ptrdiff_t step = 4 * static_cast<ptrdiff_t>(lines);
    const int64_t end = start + count;
    const int64_t from = std::clamp<int64_t>(0, start, end);
    const int64_t to = std::clamp<int64_t>(state_.src.length, from, end);
    std::fill(out, out + (from - start) * step, Work::kZero);
    VXp_CopyLines<Pixel>(state_, line, lines, from, to,
                         reinterpret_cast<char*>(out + (from - start) * step), kPlaceBytes,
                         [](char* at, Raw pixel) { Work::Put(at, pixel); });
    std::fill(out + (to - start) * step, out + count * step, Work::kZero);
  }

  // `count` places of the destination from `place` on.
  template <bool kStraight>
  void Blur(const Channel* here, int64_t to, int32_t lines, int32_t place, int32_t count) const {
    alignas(16) double sums[kChunk + Work::kBlock];
    const int32_t step = 4 * lines;
    const int32_t most = kChunk / step;
    for (int32_t done = 0; done < count; done += most, here += most * step) {
      const int32_t now = std::min(most, count - done);
      for (int32_t j = 0; j < now * step; j += Work::kBlock) {
        VXp_WindowSums<Pixel>(here + j, step, weights_, taps_, sums + j);
      }
      const int32_t first = place + done;
      if ((state_.flags & VX_Blur_HoldLevel) == 0) {
        Write<kStraight>(here, sums, Divisor(weights_.total()), to, lines, first, now);
        continue;
      }
      for (int32_t i = 0; i < now; ++i) {
        const Divisor divisor(weights_.Inside(state_.offset + first + i, state_.src.length));
        Write<kStraight>(here + i * step, sums + i * step, divisor, to, lines, first + i, 1);
      }
    }
  }

  // `count` places from `place` on.
  using Divisor = VXp_GaussianDivisor<Pixel>;
  template <bool kStraight>
  void Write(const Channel* here, const double* sums, const Divisor& divisor, int64_t to,
             int32_t lines, int32_t place, int32_t count) const {
    const bool blurs_alpha = (state_.flags & VX_Blur_Alpha) != 0;
    char* out = state_.dst.Address(to, place);
    const bool far = VXp_IsFar(state_.dst.stride);
    for (int32_t i = 0; i < count; ++i, out += state_.dst.stride) {
      char* pixel = out;
      if (far) VXp_Foresee(out, state_.dst.stride, lines * int32_t{sizeof(Pixel)});
      for (int32_t l = 0; l < lines; ++l, here += 4, sums += 4) {
        const Raw kept = Work::Get(here);
        const VXp_DoubleLanes window = {VXp_Load<VXp_DoublePair>(sums),
                                        VXp_Load<VXp_DoublePair>(sums + 2)};
        const Raw blurred = VXp_GaussianPixel<Pixel, kStraight>(window, divisor, blurs_alpha, kept);
        VXp_Store(pixel, mask_.Merge(blurred, kept));
        pixel += state_.dst.line_stride;
      }
    }
  }

  VX_Blur1DState& state_;
  VXp_GaussianWeights weights_;
  VXp_ChannelMask<Pixel> mask_;
  int32_t taps_;     // no more than can reach the source
  int32_t margin_;   // places in front of a stretch and behind it; even
  int32_t stretch_;  // places of the destination
  bool sees_source_;
};
