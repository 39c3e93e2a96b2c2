// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Random operands, comparison and printing for tests of pixel arithmetic.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "BornEnvironment.h"
#include "VX/VX_Types.h"
#include "host/VXHost.h"

// --- depths --------------------------------------------------------------------------------------

using PixelTypes = testing::Types<VX_Pixel8, VX_Pixel16, VX_PixelFloat>;

template <class Pixel>
inline constexpr int kDepth = sizeof(Pixel) * 2;
template <class Pixel>
inline constexpr VX_ChannelOf<Pixel> kFull = 1;
template <>
inline constexpr uint8_t kFull<VX_Pixel8> = 255;
template <>
inline constexpr uint16_t kFull<VX_Pixel16> = 32768;

struct DepthNames {
  template <class Pixel>
  static std::string GetName(int) {
    return "Depth" + std::to_string(kDepth<Pixel>);
  }
};

// --- operands ------------------------------------------------------------------------------------

template <class Pixel>
std::vector<VX_ChannelOf<Pixel>> Corners() {
  using Channel = VX_ChannelOf<Pixel>;
  constexpr Channel full = kFull<Pixel>;
  if constexpr (kDepth<Pixel> == 32) {
    const float up = 2.0f, tiny = 1e-30f;
    return {0.0f,
            -0.0f,
            1e-40f,
            std::nextafter(tiny, 0.0f),
            tiny,
            std::nextafter(tiny, up),
            -0.25f,
            std::nextafter(0.5f, 0.0f),
            0.5f,
            std::nextafter(0.5f, up),
            std::nextafter(1.0f, 0.0f),
            1.0f,
            std::nextafter(1.0f, up),
            1.75f};
  } else {
    constexpr Channel half = full / 2 + full % 2;
    return {0, 1, half - 1, half, half + 1, full - 1, full};
  }
}

// Random operands, a good part of them corner values.
template <class Pixel>
class Operands {
 public:
  using Channel = VX_ChannelOf<Pixel>;

  explicit Operands(uint32_t salt) : random_(TestSeed() ^ (salt * 2654435761u)) {}

  int Below(int n) { return static_cast<int>(random_() % static_cast<uint32_t>(n)); }
  int Between(int low, int high) { return low + Below(high - low + 1); }
  uint32_t Word() { return static_cast<uint32_t>(random_()); }

  Channel Any() {
    if (Below(4) == 0)
      return corners_[static_cast<size_t>(Below(static_cast<int>(corners_.size())))];
    if constexpr (kDepth<Pixel> == 32) {
      const float unit = static_cast<float>(random_() >> 8) / 16777216.0f;
      switch (Below(4)) {
        case 0: return unit * 3.0f - 1.0f;
        case 1: return static_cast<float>(Below(256)) / 255.0f;
        default: return unit;
      }
    } else {
      return static_cast<Channel>(Below(kFull<Pixel> + 1));
    }
  }
  Channel Opacity() { return Below(3) == 0 ? kFull<Pixel> : Any(); }

  // One in four is transparent, opaque or grey.
  Pixel AnyPixel() {
    Pixel p = {Any(), Any(), Any(), Any()};
    switch (Below(12)) {
      case 0: p.alpha = 0; break;
      case 1: p.alpha = kFull<Pixel>; break;
      case 2: p.green = p.blue = p.red; break;
    }
    return p;
  }
  std::vector<Pixel> Row(int count) {
    std::vector<Pixel> row(static_cast<size_t>(count));
    for (Pixel& p : row) p = AnyPixel();
    return row;
  }

 private:
  std::mt19937 random_;
  std::vector<Channel> corners_ = Corners<Pixel>();
};

// --- comparison ----------------------------------------------------------------------------------

inline bool SameBits(uint8_t a, uint8_t b) { return a == b; }
inline bool SameBits(uint16_t a, uint16_t b) { return a == b; }
// Which NaN comes out of a sum of two depends on the order in which the compiler puts the operands,
// so any NaN is as good as any other.
inline bool SameBits(float a, float b) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  return std::bit_cast<uint32_t>(a) == std::bit_cast<uint32_t>(b);
}
template <class Pixel>
bool SamePixel(const Pixel& a, const Pixel& b) {
  return SameBits(a.alpha, b.alpha) && SameBits(a.red, b.red) && SameBits(a.green, b.green) &&
         SameBits(a.blue, b.blue);
}

inline std::string Text(float v) {
  char text[48];
  std::snprintf(text, sizeof text, "%.9g", static_cast<double>(v));
  return text;
}
inline std::string Text(uint16_t v) { return std::to_string(v); }
inline std::string Text(uint8_t v) { return std::to_string(v); }
template <class Pixel>
std::string Text(const Pixel& p) {
  return "{" + Text(p.alpha) + ", " + Text(p.red) + ", " + Text(p.green) + ", " + Text(p.blue) +
         "}";
}

// Index of the first pixel that differs, or -1.
template <class Pixel>
int FirstDifference(const std::vector<Pixel>& a, const std::vector<Pixel>& b) {
  for (size_t i = 0; i < a.size(); ++i) {
    if (!SamePixel(a[i], b[i])) return static_cast<int>(i);
  }
  return -1;
}

// The texts of the reports since the last call.
inline std::vector<std::string> TakeReportTexts() {
  std::vector<std::string> texts;
  for (const VXHost_Report& report : VXHost_TakeReports()) texts.push_back(report.text);
  return texts;
}
