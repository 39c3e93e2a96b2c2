// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The fixture and helpers of the clip tests.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <string>

#include "ClipMaker.h"
#include "VXIO/VXIO_Clip.h"

// Each test has an empty folder. Nothing may be written to the standard error.
class Clip : public testing::Test {
 protected:
  void SetUp() override {
    folder_ = std::filesystem::temp_directory_path() / ("vx-clips-" + std::to_string(getpid()));
    std::filesystem::create_directory(folder_);
    testing::internal::CaptureStderr();
  }
  void TearDown() override {
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    std::filesystem::remove_all(folder_);
  }
  std::string Path(const std::string& name) const { return folder_ / name; }
  static VXIO_ClipReader Make(const ClipPlan& plan) {
    MakeClip(plan);
    return VXIO_ClipReader(plan.path);
  }

 private:
  std::filesystem::path folder_;
};

inline int Noise(int frame, int component, int x, int y) {
  uint32_t n = uint32_t(frame) * 7919 + uint32_t(component) * 104729 + uint32_t(x) * 1299709 +
               uint32_t(y) * 15485863;
  n = (n ^ n >> 13) * 0x5bd1e995u;
  return static_cast<int>((n ^ n >> 15) & 0xFFFF);
}

struct Value {
  double alpha, red, green, blue;
};

// Returns the channels of a pixel.
inline Value At(const VX_LayerDef& world, int32_t x, int32_t y) {
  const char* row = static_cast<const char*>(world.data) + ptrdiff_t{y} * world.rowbytes;
  auto given = [&](auto pixel) {
    std::memcpy(&pixel, row + static_cast<size_t>(x) * sizeof pixel, sizeof pixel);
    return Value{double(pixel.alpha), double(pixel.red), double(pixel.green), double(pixel.blue)};
  };
  switch (VXp_WorldDepth(&world)) {
    case 8: return given(VX_Pixel8{});
    case 16: return given(VX_Pixel16{});
    default: return given(VX_PixelFloat{});
  }
}

// Returns the largest difference of a channel.
inline double Largest(const Value& a, const Value& b) {
  return std::max({std::abs(a.alpha - b.alpha), std::abs(a.red - b.red),
                   std::abs(a.green - b.green), std::abs(a.blue - b.blue)});
}

// Returns the largest difference of a world from expected(x, y), in steps of `step` pixels.
template <class Expected>
double Worst(const VX_LayerDef& world, Expected expected, int32_t step = 1) {
  double worst = 0;
  for (int32_t y = 0; y < world.height; y += step) {
    for (int32_t x = 0; x < world.width; ++x) {
      worst = std::max(worst, Largest(At(world, x, y), expected(x, y)));
    }
  }
  return worst;
}
