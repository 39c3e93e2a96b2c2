// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// One-channel buffers beside the planes of the slow twins.

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <random>
#include <type_traits>

#include "reference/RefUno.h"
#include "unit/GuardedWorld.h"
#include "unit/PixelTestKit.h"

using UnoSamples = testing::Types<uint8_t, uint16_t, float>;

template <class Sample>
using PixelOfSample =
    std::conditional_t<sizeof(Sample) == 1, VX_Pixel8,
                       std::conditional_t<sizeof(Sample) == 2, VX_Pixel16, VX_PixelFloat>>;
template <class Sample>
inline constexpr Sample kTop = kFull<PixelOfSample<Sample>>;

// A buffer with the samples of a plane.
template <class Sample>
class UnoOf {
 public:
  explicit UnoOf(const vxref::Plane<Sample>& plane) {
    EXPECT_EQ(VX_NewUnoBufferOfDepth(plane.width, plane.height, 8 * sizeof(Sample), &buffer_), 0);
    std::memcpy(*buffer_->data, plane.samples.data(), plane.samples.size() * sizeof(Sample));
  }
  UnoOf(const UnoOf&) = delete;
  ~UnoOf() { EXPECT_EQ(VX_DisposeUnoBuffer(buffer_), 0); }

  VX_UnoBuffer* get() const { return buffer_; }
  vxref::Plane<Sample> Read() const {
    vxref::Plane<Sample> plane = {buffer_->width, buffer_->height, {}};
    plane.samples.resize(static_cast<size_t>(plane.width) * static_cast<size_t>(plane.height));
    std::memcpy(plane.samples.data(), *buffer_->data, plane.samples.size() * sizeof(Sample));
    return plane;
  }

 private:
  VX_UnoBuffer* buffer_ = nullptr;
};

// Full scale, nothing, and values between; floats also beyond.
template <class Sample>
vxref::Plane<Sample> RandomPlane(int32_t width, int32_t height, std::mt19937& random) {
  vxref::Plane<Sample> plane = {width, height, {}};
  for (int32_t i = 0; i < width * height; ++i) {
    plane.samples.push_back(GuardedWorld<PixelOfSample<Sample>>::RandomPixel(random).red);
  }
  return plane;
}

// Each value of an integer depth, words above full scale too; floats around and beyond.
template <class Sample>
vxref::Plane<Sample> EveryValue() {
  vxref::Plane<Sample> plane = {1, 1, {}};
  if constexpr (std::is_same_v<Sample, float>) {
    for (int i = -70000; i < 140000; i += 5) {
      plane.samples.push_back(static_cast<float>(i) / 65536.0f);
      plane.samples.push_back(static_cast<float>(i) / 510.0f);
    }
    for (const float corner : Corners<VX_PixelFloat>()) plane.samples.push_back(corner);
  } else {
    for (int i = 0; i <= std::numeric_limits<Sample>::max(); ++i) {
      plane.samples.push_back(static_cast<Sample>(i));
    }
  }
  plane.width = static_cast<int32_t>(plane.samples.size());
  return plane;
}

// Equal samples; floats by their bits, or within a tolerance.
template <class Sample>
testing::AssertionResult SamePlane(const vxref::Plane<Sample>& got,
                                   const vxref::Plane<Sample>& want, double tolerance = 0) {
  if (got.width != want.width || got.height != want.height) {
    return testing::AssertionFailure() << "sizes differ";
  }
  for (size_t i = 0; i < want.samples.size(); ++i) {
    const Sample a = got.samples[i], b = want.samples[i];
    if (SameBits(a, b) || std::abs(double(a) - double(b)) <= tolerance) continue;
    const auto width = static_cast<size_t>(want.width);
    return testing::AssertionFailure() << "sample " << i % width << ", " << i / width << " is "
                                       << Text(a) << ", not " << Text(b);
  }
  return testing::AssertionSuccess();
}

// A rectangle, place or mask of a trial: often none, small numbers on all sides.
class UnoTrial {
 public:
  explicit UnoTrial(uint32_t salt) : random(TestSeed() ^ (salt * 2654435761u)) {}

  int32_t Between(int32_t low, int32_t high) {
    return low + static_cast<int32_t>(random() % static_cast<uint32_t>(high - low + 1));
  }
  template <class Sample>
  vxref::Plane<Sample> Plane(int32_t most = 24) {
    const int32_t width = Between(1, most), height = Between(1, most);
    return RandomPlane<Sample>(width, height, random);
  }
  const M_Rect* Rect() {
    for (int16_t* side : {&rect_.top, &rect_.left}) *side = Short(-6, 12);
    rect_.bottom = static_cast<int16_t>(rect_.top + Short(-2, 20));
    rect_.right = static_cast<int16_t>(rect_.left + Short(-2, 20));
    return Between(0, 3) == 0 ? nullptr : &rect_;
  }
  const M_Point* Point() {
    point_ = {Short(-20, 24), Short(-20, 24)};
    return Between(0, 3) == 0 ? nullptr : &point_;
  }
  std::string Tell() const {
    return (testing::Message() << "rectangle (if any) left " << rect_.left << ", top " << rect_.top
                               << ", right " << rect_.right << ", bottom " << rect_.bottom
                               << "; point (if any) " << point_.h << ", " << point_.v)
        .GetString();
  }

  std::mt19937 random;

 private:
  int16_t Short(int32_t low, int32_t high) { return static_cast<int16_t>(Between(low, high)); }

  M_Rect rect_{};
  M_Point point_{};
};
