// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The fixture and helpers of the clip tests.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string>

#include "ClipMaker.h"
#include "VX/VX.hpp"
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

struct Value {
  double alpha, red, green, blue;
};

// Returns the channels of a pixel.
inline Value At(vx::AnyConstView picture, int32_t x, int32_t y) {
  return vx::visit(picture, [&](auto view) {
    const auto& pixel = view.row(y)[static_cast<size_t>(x)];
    return Value{double(pixel.alpha), double(pixel.red), double(pixel.green), double(pixel.blue)};
  });
}

// Returns the largest difference of a channel.
inline double Largest(const Value& a, const Value& b) {
  return std::max({std::abs(a.alpha - b.alpha), std::abs(a.red - b.red),
                   std::abs(a.green - b.green), std::abs(a.blue - b.blue)});
}

// Returns the largest difference of a picture from expected(x, y), in steps of `step` rows and
// without a border of that many pixels.
template <class Expected>
double Worst(vx::AnyConstView picture, Expected expected, int32_t step = 1, int32_t border = 0) {
  double worst = 0;
  for (int32_t y = border; y < picture.height() - border; y += step) {
    for (int32_t x = border; x < picture.width() - border; ++x) {
      worst = std::max(worst, Largest(At(picture, x, y), expected(x, y)));
    }
  }
  return worst;
}
