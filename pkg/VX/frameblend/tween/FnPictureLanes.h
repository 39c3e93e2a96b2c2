// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Neighbouring pixels of opaque pictures of 8 or 16 bits in lanes: bilinear samples of both frames,
// mixed. The results are those of FnTexture::sampleAt and FnToWorld.

#include <array>

#include "frameblend/tween/FnFieldRows.h"
#include "frameblend/tween/FnTween.h"

template <class Pixel>
class FnPictureLanes {
 public:
  using Color = typename FnColorOfPixel<Pixel>::Type;
  static constexpr bool kServes = Color::kInteger;

  FnPictureLanes(const FnMap<Color>& first, const FnMap<Color>& second, float position)
      : first_(first), second_(second), position_(position) {}

  // Returns whether the pixels of both frames can be addressed by lanes.
  bool CanRead() const { return CanRead(first_) && CanRead(second_); }

  // Computes the pixels x..x + kFnLanes - 1 of row y. `a` and `b` contain the vectors of the row,
  // and `states` begins at pixel x.
  void Store(int32_t x, int32_t y, const FnFieldRows& a, const FnFieldRows& b,
             const int32_t* states, Color* out) const {
    const FnFloats row = FnFloats{} + (static_cast<float>(y) + 0.5f), columns = FnCentres(x);
    const float rest = 1 - position_;
    const FnVectorLanes va = a.Lanes(x), vb = b.Lanes(x);
    const Channels from = Sample(first_, columns - vb.x * position_, row + vb.y * position_);
    const Channels to = Sample(second_, columns - va.x * rest, row + va.y * rest);

    FnInts state;
    std::memcpy(&state, states, sizeof state);
    const FnInts only_second = state == int32_t{FnOcclusion_Second};
    FnInts first = from[3] == to[3];  // equal colours are not mixed
    for (size_t c = 1; c < 3; ++c) first &= from[c] == to[c];
    first |= state == int32_t{FnOcclusion_First};
    Channels mixed;
    mixed[0] = FnFloats{} + kFull;
    for (size_t c = 1; c < 4; ++c) {
      const FnFloats both = from[c] * rest + to[c] * position_;
      mixed[c] = only_second ? to[c] : first ? from[c] : both;
    }
    StoreRounded(mixed, out);
  }

 private:
  using Channels = std::array<FnFloats, 4>;  // alpha, red, green, blue
  static constexpr auto kFull = static_cast<float>(FnColorOfPixel<Pixel>::kFull);

  static bool CanRead(const FnMap<Color>& frame) {
    return FnHasLaneOffsets(frame) && frame.width() > 1 && frame.x.edgeMode == FnEdge_Hold &&
           frame.y.edgeMode == FnEdge_Hold;
  }
  // Samples the colours with the ends held.
  static Channels Sample(const FnMap<Color>& frame, FnFloats px, FnFloats py) {
    const FnPairLanes at(px, py);
    const FnInts zero{};
    const int32_t last_pair = frame.width() - 2, last_line = frame.height() - 1;
    // Before the first pair, the sample is its first pixel; after the last pair, its second pixel.
    const FnInts before = at.column < zero;
    const FnInts after = at.column > last_pair;
    const FnInts column = before ? zero : after ? zero + last_pair : at.column;
    const FnFloats fx = before ? FnFloats{} : after ? FnFloats{} + 1.0f : at.fx;
    // Beyond the first and the last line, both lines are the same.
    const FnInts above = at.line < zero, below = at.line >= last_line;
    const FnInts line = above ? zero : below ? zero + last_line : at.line;
    const FnInts step = (above | below) ? zero : zero + frame.rowBytes;
    const FnInts upper = line * frame.rowBytes + column * static_cast<int32_t>(sizeof(Color));
    Channels out;
    constexpr size_t kWords = sizeof(Color) / 4;
    std::array<std::array<FnWords, 2 * kWords>, 2> words;  // of two pixels, in both rows
    for (size_t row = 0; row < 2; ++row) {
      for (size_t w = 0; w < 2 * kWords; w += 2) {
        const auto pairs = FnGatheredPairs(reinterpret_cast<const char*>(frame.pixels) + 4 * w,
                                           row == 0 ? upper : upper + step);
        words[row][w] = reinterpret_cast<FnWords>(FnEveryOther<0>(pairs));
        words[row][w + 1] = reinterpret_cast<FnWords>(FnEveryOther<1>(pairs));
      }
    }
    for (size_t w = 0; w < kWords; ++w) {
      const FnWords a = words[0][w], b = words[0][kWords + w], c = words[1][w],
                    d = words[1][kWords + w];
      constexpr size_t kBits = 8 * sizeof(typename Color::Channel), kChannels = 32 / kBits;
      for (size_t k = w == 0 ? 1 : 0; k < kChannels; ++k) {  // without alpha
        const auto channel = [k](FnWords v) {
          constexpr uint32_t kMask = (1u << kBits) - 1;
          return VXp_AsFloat(reinterpret_cast<FnInts>((v >> (k * kBits)) & kMask));
        };
        const auto mix = [](FnFloats from, FnFloats to, FnFloats part) {
          return from + (to - from) * part;
        };
        out[w * kChannels + k] =
            mix(mix(channel(a), channel(b), fx), mix(channel(c), channel(d), fx), at.fy);
      }
    }
    return out;
  }

  static void StoreRounded(const Channels& channels, Color* out) {
    constexpr int32_t kBits = 8 * sizeof(typename Color::Channel), kChannels = 32 / kBits;
    constexpr int32_t kWords = sizeof(Color) / 4;
    std::array<FnWords, kWords> words{};
    for (int32_t c = 0; c < 4; ++c) {
      const FnFloats zero{}, full = zero + kFull;
      const FnFloats value = channels[static_cast<size_t>(c)];
      // Mixtures of bytes are in range; 16-bit colours may exceed the full scale.
      const FnFloats most = VXp_MinFloats(value, full);
      const FnFloats limited = kWords == 1 ? value : VXp_MaxFloats(most, zero);
      const auto rounded = reinterpret_cast<FnWords>(VXp_Truncated(limited + 0.5f));
      words[static_cast<size_t>(c / kChannels)] |= rounded << (c % kChannels * kBits);
    }
    if constexpr (kWords == 1) {
      std::memcpy(static_cast<void*>(out), &words[0], sizeof words[0]);
    } else {
      for (int32_t i = 0; i < kFnLanes; ++i) {
        const uint64_t pixel = words[0][i] | uint64_t{words[1][i]} << 32;
        std::memcpy(static_cast<void*>(out + i), &pixel, sizeof pixel);
      }
    }
  }

  const FnMap<Color>& first_;
  const FnMap<Color>& second_;
  float position_;
};
