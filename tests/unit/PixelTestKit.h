// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Random operands, comparison and printing for tests of pixel arithmetic.

#include <gtest/gtest.h>

#include <cstring>
#include <iomanip>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "BornEnvironment.h"
#include "GuardedWorld.h"
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
class Operands {
 public:
  explicit Operands(uint32_t salt) : random_(TestSeed() ^ (salt * 2654435761u)) {}

  int Below(int n) { return static_cast<int>(random_() % static_cast<uint32_t>(n)); }
  int Between(int low, int high) { return low + Below(high - low + 1); }
  uint32_t Word() { return static_cast<uint32_t>(random_()); }
  std::vector<Pixel> Row(int count) {
    std::vector<Pixel> row(static_cast<size_t>(count));
    for (Pixel& p : row) p = GuardedWorld<Pixel>::RandomPixel(random_);
    return row;
  }

 private:
  std::mt19937 random_;
};

// --- comparison ----------------------------------------------------------------------------------

// Which NaN a sum of two gives depends on the order of the operands, so that all NaN are equal
// here.
template <class Pixel>
bool SamePixel(const Pixel& a, const Pixel& b) {
  const auto same = [](auto x, auto y) {
    return std::memcmp(&x, &y, sizeof x) == 0 || (x != x && y != y);
  };
  return same(a.alpha, b.alpha) && same(a.red, b.red) && same(a.green, b.green) &&
         same(a.blue, b.blue);
}

template <class Pixel>
std::string Text(const Pixel& p) {
  std::ostringstream text;
  text << std::setprecision(9) << "{" << +p.alpha << ", " << +p.red << ", " << +p.green << ", "
       << +p.blue << "}";
  return text.str();
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
  for (const auto& [check, text] : Reports()) texts.push_back(text);
  return texts;
}
