// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The random data of a command: numbers, channels, rows of pixels, rectangles.

#include <cmath>
#include <cstring>
#include <limits>

#include "Command.h"

uint64_t Command::Word() { return MixBits(state_ += 0x9E3779B97F4A7C15u); }

int32_t Command::Below(int32_t bound) {
  return static_cast<int32_t>((Word() >> 32) * static_cast<uint64_t>(bound) >> 32);
}

int32_t Command::Between(int32_t low, int32_t high) {
  const auto count = static_cast<uint64_t>(int64_t{high} - low + 1);
  return static_cast<int32_t>(low + static_cast<int64_t>((Word() >> 32) * count >> 32));
}

double Command::Real(double low, double high) {
  return low + (high - low) * (static_cast<double>(Word() >> 12) * 0x1p-52);
}

namespace {

template <class Channel>
constexpr Channel kFullOf = sizeof(Channel) == 1   ? 255
                            : sizeof(Channel) == 2 ? 32768
                                                   : 1;

// Values where roundings and limits change.
template <class Channel>
Channel Corner(uint32_t i) {
  if constexpr (sizeof(Channel) == 1) {
    constexpr uint8_t values[] = {0, 1, 127, 128, 254, 255};
    return values[i % 6];
  } else if constexpr (sizeof(Channel) == 2) {
    constexpr uint16_t values[] = {0, 1, 128, 16383, 16384, 16385, 32767, 32768};
    return values[i % 8];
  } else {
    constexpr float values[] = {0.0f, -0.0f, 1.0f,   0.5f,      0x1p-24f, 1 - 0x1p-24f,
                                1.5f, -0.5f, 1e-40f, 1 / 255.f, 1e6f,     254 / 255.f};
    return values[i % 12];
  }
}

template <class Channel>
Channel ChannelOf(uint32_t bits16) {
  if (bits16 % 8 == 0) return Corner<Channel>(bits16 / 8);
  if constexpr (std::is_same_v<Channel, float>) {
    return static_cast<float>(bits16) * (1.5f / 65537) - 0.1f;
  } else {
    return static_cast<Channel>(bits16 * (uint32_t{kFullOf<Channel>} + 1) >> 16);
  }
}

template <class Channel>
Channel WildChannel(uint32_t bits16) {
  if constexpr (std::is_same_v<Channel, float>) {
    constexpr float inf = std::numeric_limits<float>::infinity();
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    constexpr float values[] = {inf, -inf, nan, 3e38f, -3e38f, 1e-45f};
    if (bits16 % 4 == 0) return values[bits16 / 4 % 6];
  }
  return ChannelOf<Channel>(bits16);
}

template <class Channel>
void Painted(Command* command, int32_t channels, int32_t count, Style style, uint8_t* to) {
  Channel pixel[4] = {};
  const bool wild = (command->traits & kFew) == 0, tame = (command->traits & kTame) != 0;
  const bool few = !wild && (command->traits & kFinite) == 0;
  for (int32_t x = 0; x < count; ++x) {
    const uint64_t r = command->Word();
    const Channel last[4] = {pixel[0], pixel[1], pixel[2], pixel[3]};
    for (int c = 0; c < channels; ++c) {
      const auto bits = static_cast<uint32_t>(r >> (16 * c) & 0xFFFF);
      pixel[c] = wild ? WildChannel<Channel>(bits) : ChannelOf<Channel>(bits);
    }
    if constexpr (std::is_same_v<Channel, float>) {
      if (tame && !wild) {
        for (Channel& channel : pixel) channel = std::min(channel, 2.0f);
        const float alpha = std::abs(pixel[0]);
        pixel[0] = alpha == 0 ? 0 : 0.25f + std::fmod(alpha, 0.75f);
      }
    }
    if (style == Style::kTransparent) pixel[0] = 0;
    if (style == Style::kOpaque) pixel[0] = kFullOf<Channel>;
    if (style == Style::kRuns && r % 6 != 0) pixel[0] = x == 0 ? Channel{0} : last[0];
    if (style == Style::kRuns && r % 6 == 0 && r / 6 % 3 != 0) {
      pixel[0] = r / 18 % 2 == 0 ? Channel{0} : kFullOf<Channel>;
    }
    if (style == Style::kPatches && x > 0 && r % 4 != 0) std::memcpy(pixel, last, sizeof pixel);
    if constexpr (std::is_same_v<Channel, float>) {
      constexpr float inf = std::numeric_limits<float>::infinity();
      constexpr float extremes[] = {inf, -inf, std::numeric_limits<float>::quiet_NaN(), 1e20f};
      if (few && r % 61 == 0)
        pixel[r / 61 % static_cast<uint64_t>(channels)] = extremes[r / 256 % 4];
    }
    std::memcpy(to, pixel, sizeof(Channel) * static_cast<size_t>(channels));
    to += sizeof(Channel) * static_cast<size_t>(channels);
  }
}

}  // namespace

void Command::PaintRow(Style style, size_t sample, int32_t channels, int32_t count, uint8_t* to) {
  if (sample == 1) Painted<uint8_t>(this, channels, count, style, to);
  if (sample == 2) Painted<uint16_t>(this, channels, count, style, to);
  if (sample == 4) Painted<float>(this, channels, count, style, to);
}

template <class Channel>
Channel Command::AnyChannel() {
  return ChannelOf<Channel>(static_cast<uint32_t>(Word() >> 48));
}
template uint8_t Command::AnyChannel();
template uint16_t Command::AnyChannel();
template float Command::AnyChannel();

template <class Channel>
Channel Command::Opacity() {
  constexpr Channel full = kFullOf<Channel>;
  Channel value;
  if constexpr (std::is_same_v<Channel, float>) {
    value = Pick(
        {0.0f, 1 / 255.f, 0.5f, 1 - 0x1p-24f, full, full, static_cast<float>(Below(1000)) / 999});
  } else {
    value = static_cast<Channel>(
        Pick<int32_t>({0, 1, full / 2 + full % 2, full - 1, full, full, Below(full + 1)}));
  }
  Log("opacity %g\n", static_cast<double>(value));
  return value;
}
template uint8_t Command::Opacity();
template uint16_t Command::Opacity();
template float Command::Opacity();

M_Rect Command::RectValue() {
  const auto edge = [this](int32_t low, int32_t high) {
    const int32_t far = OneIn(40) ? Pick({-32768, -1000, 1000, 32767}) : Between(low, high);
    return static_cast<int16_t>(far);
  };
  M_Rect rect{};
  rect.left = edge(-5, max_width / 2);
  rect.top = edge(-4, max_height / 2);
  rect.right = OneIn(3) ? edge(-5, max_width + 12) : edge(rect.left, rect.left + max_width);
  rect.bottom = OneIn(3) ? edge(-4, max_height + 5) : edge(rect.top, rect.top + max_height);
  Log("rectangle left %d, top %d, right %d, bottom %d\n", rect.left, rect.top, rect.right,
      rect.bottom);
  return rect;
}

const M_Rect* Command::Rect() {
  if (OneIn(4)) return Note("rectangle null\n", nullptr);
  rects_.push_back(RectValue());
  return &rects_.back();
}
