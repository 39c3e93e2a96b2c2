// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Neighbouring pixels of a picture of 8 or 16 bits in lanes: bilinear samples of both frames,
// mixed. The results are those of FnTexture::sampleAt and FnToWorld.

#include <array>

#include "frameblend/imgproc/FnLanes.h"
#include "frameblend/tween/FnTween.h"

template <class Pixel>
class FnPictureLanes {
 public:
  using Color = typename FnColorOfPixel<Pixel>::Type;
  static constexpr int32_t kLanes = kFnLanes;
  static constexpr bool kServes = Color::kInteger;

  FnPictureLanes(const FnMap<Color>& first, const FnMap<Color>& second, float position)
      : first_(first), second_(second), position_(position) {}

  // Returns whether the pixels of both frames can be addressed by lanes.
  bool CanRead() const { return FnHasLaneOffsets(first_) && FnHasLaneOffsets(second_); }

  // Computes the pixels x..x + kLanes - 1 of row y, of which the arrays hold the vectors and
  // states. Does nothing and returns false if a position is near an edge of its frame.
  bool Store(int32_t x, int32_t y, const HvVec2* a, const HvVec2* b, const int32_t* states,
             Color* out) const {
    const FnFloats row = FnFloats{} + (static_cast<float>(y) + 0.5f), columns = FnCentres(x);
    const float rest = 1 - position_;
    const auto va = FnVectorLanes::Load(a), vb = FnVectorLanes::Load(b);
    Channels from, to;
    if (!Sample(first_, columns - vb.x * position_, row + vb.y * position_, &from)) return false;
    if (!Sample(second_, columns - va.x * rest, row + va.y * rest, &to)) return false;

    FnInts state;
    std::memcpy(&state, states, sizeof state);
    const FnInts only_first = state == int32_t{FnOcclusion_First};
    const FnInts only_second = state == int32_t{FnOcclusion_Second};
    const FnInts equal =
        (from[0] == to[0]) & (from[1] == to[1]) & (from[2] == to[2]) & (from[3] == to[3]);
    Channels mixed;
    for (size_t c = 0; c < 4; ++c) {
      const FnFloats both = from[c] * rest + to[c] * position_;
      mixed[c] = only_second ? to[c] : (only_first | equal) ? from[c] : both;
    }
    StoreRounded(mixed, out);
    return true;
  }

 private:
  using Channels = std::array<FnFloats, 4>;  // alpha, red, green, blue

  static bool Sample(const FnMap<Color>& frame, FnFloats px, FnFloats py, Channels* out) {
    const FnPairLanes at(px, py);
    if (VXp_AnyLane(FnInts(~at.Inside(frame)))) return false;
    const FnInts upper = at.line * frame.rowBytes + at.column * static_cast<int32_t>(sizeof(Color));
    const FnInts lower = upper + frame.rowBytes;
    constexpr int32_t kWords = sizeof(Color) / 4;
    for (int32_t w = 0; w < kWords; ++w) {
      const auto word = [&](FnInts offset, int32_t pixel) {
        const char* const base = reinterpret_cast<const char*>(frame.pixels) +
                                 pixel * static_cast<int32_t>(sizeof(Color)) + 4 * w;
        return reinterpret_cast<FnWords>(VXp_Gathered<1>(base, offset));
      };
      const FnWords a = word(upper, 0), b = word(upper, 1), c = word(lower, 0), d = word(lower, 1);
      constexpr int32_t kBits = 8 * sizeof(typename Color::Channel), kChannels = 32 / kBits;
      for (int32_t k = 0; k < kChannels; ++k) {
        const auto channel = [k](FnWords v) {
          constexpr uint32_t kMask = (1u << kBits) - 1;
          return VXp_AsFloat(reinterpret_cast<FnInts>((v >> (k * kBits)) & kMask));
        };
        const auto mix = [](FnFloats from, FnFloats to, FnFloats part) {
          return from + (to - from) * part;
        };
        (*out)[static_cast<size_t>(w * kChannels + k)] =
            mix(mix(channel(a), channel(b), at.fx), mix(channel(c), channel(d), at.fx), at.fy);
      }
    }
    return true;
  }

  static void StoreRounded(const Channels& channels, Color* out) {
    constexpr auto kFull = static_cast<float>(FnColorOfPixel<Pixel>::kFull);
    constexpr int32_t kBits = 8 * sizeof(typename Color::Channel), kChannels = 32 / kBits;
    constexpr int32_t kWords = sizeof(Color) / 4;
    std::array<FnWords, kWords> words{};
    for (int32_t c = 0; c < 4; ++c) {
      const FnFloats zero{}, full = zero + kFull;
      const FnFloats value = channels[static_cast<size_t>(c)];
      const FnFloats most = value < full ? value : full;
      const FnFloats limited = most > zero ? most : zero;
      const auto rounded = reinterpret_cast<FnWords>(VXp_Truncated(limited + 0.5f));
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
