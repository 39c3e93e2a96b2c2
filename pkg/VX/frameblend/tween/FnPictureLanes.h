// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Neighbouring pixels of a picture of 8 or 16 bits in lanes: bilinear samples of both frames,
// mixed. The results are those of FnTexture::sampleAt and FnToWorld.

#include <array>
#include <limits>

#include "frame/VXp_Lanes.h"
#include "frameblend/tween/FnTween.h"

template <class Pixel>
class FnPictureLanes {
 public:
  using Color = typename FnColorOfPixel<Pixel>::Type;
  static constexpr int32_t kLanes = kVXp_TargetLanes;
  static constexpr bool kServes = Color::kInteger;
  using Ints = VXp_Lanes<int32_t, kLanes>;
  using Words = VXp_Lanes<uint32_t, kLanes>;
  using Floats = VXp_Lanes<float, kLanes>;

  FnPictureLanes(const FnMap<Color>& first, const FnMap<Color>& second, float position)
      : first_(first), second_(second), position_(position) {}

  // Returns whether the pixels of both frames can be addressed by lanes.
  bool CanRead() const { return CanRead(first_) && CanRead(second_); }

  // Computes the pixels x..x + kLanes - 1 of row y, of which the arrays hold the vectors and
  // states. Does nothing and returns false if a position is near an edge of its frame.
  bool Store(int32_t x, int32_t y, const HvVec2* a, const HvVec2* b, const int32_t* states,
             Color* out) const {
    const Floats row = Floats{} + (static_cast<float>(y) + 0.5f), columns = Columns(x);
    Floats vx, vy;
    Channels from, to;
    Split(b, &vx, &vy);
    if (!Sample(first_, columns - vx * position_, row + vy * position_, &from)) return false;
    Split(a, &vx, &vy);
    const float rest = 1 - position_;
    if (!Sample(second_, columns - vx * rest, row + vy * rest, &to)) return false;

    Ints state;
    std::memcpy(&state, states, sizeof state);
    const Ints only_first = state == int32_t{FnOcclusion_First};
    const Ints only_second = state == int32_t{FnOcclusion_Second};
    const Ints equal =
        (from[0] == to[0]) & (from[1] == to[1]) & (from[2] == to[2]) & (from[3] == to[3]);
    Channels mixed;
    for (size_t c = 0; c < 4; ++c) {
      const Floats both = from[c] * rest + to[c] * position_;
      mixed[c] = only_second ? to[c] : (only_first | equal) ? from[c] : both;
    }
    StoreRounded(mixed, out);
    return true;
  }

 private:
  using Channels = std::array<Floats, 4>;  // alpha, red, green, blue

  static bool CanRead(const FnMap<Color>& frame) {
    const int64_t bytes = int64_t{frame.rowBytes} * frame.height();
    constexpr int64_t kMost = std::numeric_limits<int32_t>::max();
    return bytes > -kMost && bytes < kMost && !frame.isEmpty() && frame.x.origin == 0 &&
           frame.y.origin == 0;
  }
  // The centres of the pixels.
  static Floats Columns(int32_t x) {
    Floats columns;
    for (int32_t i = 0; i < kLanes; ++i) columns[i] = static_cast<float>(x + i) + 0.5f;
    return columns;
  }
  static void Split(const HvVec2* vectors, Floats* x, Floats* y) {
    for (int32_t i = 0; i < kLanes; ++i) {
      (*x)[i] = vectors[i].x;
      (*y)[i] = vectors[i].y;
    }
  }

  // As FnSplit.
  static void SplitPosition(Floats position, Ints* whole, Floats* fraction) {
    constexpr float kLimit = 0x1p30f;
    const Floats zero{}, least = zero - kLimit, most = zero + kLimit;
    const Floats low = position > least ? position : position < zero ? least : zero;
    const Floats limited = low < most ? low : most;
    Ints below = VXp_Truncated(limited);
    below += VXp_AsFloat(below) > limited;
    *whole = below;
    *fraction = limited - VXp_AsFloat(below);
  }

  static bool Sample(const FnMap<Color>& frame, Floats px, Floats py, Channels* out) {
    Ints i, j;
    Floats fx, fy;
    SplitPosition(px - 0.5f, &i, &fx);
    SplitPosition(py - 0.5f, &j, &fy);
    // As unsigned numbers, coordinates before the first one are above the last one.
    const auto has_pair = [](const FnTexAxis& axis, Ints at) {
      return reinterpret_cast<Words>(at - axis.lo) < static_cast<uint32_t>(axis.count - 1);
    };
    if (VXp_AnyLane(Ints(~(has_pair(frame.x, i) & has_pair(frame.y, j))))) return false;
    const Ints upper = j * frame.rowBytes + i * static_cast<int32_t>(sizeof(Color));
    const Ints lower = upper + frame.rowBytes;
    constexpr int32_t kWords = sizeof(Color) / 4;
    for (int32_t w = 0; w < kWords; ++w) {
      const auto word = [&](Ints at, int32_t pixel) {
        const char* const base = reinterpret_cast<const char*>(frame.pixels) +
                                 pixel * static_cast<int32_t>(sizeof(Color)) + 4 * w;
        return reinterpret_cast<Words>(VXp_Gathered<1>(base, at));
      };
      const Words a = word(upper, 0), b = word(upper, 1), c = word(lower, 0), d = word(lower, 1);
      constexpr int32_t kBits = 8 * sizeof(typename Color::Channel), kChannels = 32 / kBits;
      for (int32_t k = 0; k < kChannels; ++k) {
        const auto channel = [k](Words v) {
          constexpr uint32_t kMask = (1u << kBits) - 1;
          return VXp_AsFloat(reinterpret_cast<Ints>((v >> (k * kBits)) & kMask));
        };
        const auto mix = [](Floats from, Floats to, Floats part) {
          return from + (to - from) * part;
        };
        (*out)[static_cast<size_t>(w * kChannels + k)] =
            mix(mix(channel(a), channel(b), fx), mix(channel(c), channel(d), fx), fy);
      }
    }
    return true;
  }

  static void StoreRounded(const Channels& channels, Color* out) {
    constexpr auto kFull = static_cast<float>(FnColorOfPixel<Pixel>::kFull);
    constexpr int32_t kBits = 8 * sizeof(typename Color::Channel), kChannels = 32 / kBits;
    constexpr int32_t kWords = sizeof(Color) / 4;
    std::array<Words, kWords> words{};
    for (int32_t c = 0; c < 4; ++c) {
      const Floats zero{}, full = zero + kFull;
      const Floats value = channels[static_cast<size_t>(c)];
      const Floats most = value < full ? value : full;
      const Floats limited = most > zero ? most : zero;
      const auto rounded = reinterpret_cast<Words>(VXp_Truncated(limited + 0.5f));
      words[static_cast<size_t>(c / kChannels)] |= rounded << (c % kChannels * kBits);
    }
    if constexpr (kWords == 1) {
      std::memcpy(static_cast<void*>(out), &words[0], sizeof words[0]);
    } else {
      for (int32_t i = 0; i < kLanes; ++i) {
        const uint64_t pixel = words[0][i] | uint64_t{words[1][i]} << 32;
        std::memcpy(static_cast<void*>(out + i), &pixel, sizeof pixel);
      }
    }
  }

  const FnMap<Color>& first_;
  const FnMap<Color>& second_;
  float position_;
};
