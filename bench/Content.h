// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The pictures that contestants process, and helpers for the three depths.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "VX/cpp/View.hpp"

// kPartly: source, destination and mask have alpha between 0 and full scale everywhere, so that no
// pixel can be skipped or copied.
//
// kSprite: discs with soft edges and nothing between them, over an opaque background. The mask is
// full inside an ellipse and 0 outside.
enum class Content { kPartly, kSprite };
const char* ContentName(Content content);

template <class Pixel>
inline constexpr int kDepthOf = vx::PixelTraits<Pixel>::depth;

template <class Pixel>
inline constexpr VX_ChannelOf<Pixel> kFullScaleOf = vx::PixelTraits<Pixel>::full_scale;

// Pixels without padding between rows.
template <class Pixel>
struct Frame {
  int32_t width;
  int32_t height;
  std::vector<Pixel> pixels;

  Frame(int32_t frame_width, int32_t frame_height)
      : width(frame_width),
        height(frame_height),
        pixels(static_cast<size_t>(frame_width) * static_cast<size_t>(frame_height)) {}

  size_t Bytes() const { return pixels.size() * sizeof(Pixel); }

  // Describes the pixels; valid as long as the frame exists.
  VX_LayerDef Layer() {
    VX_LayerDef layer{};
    layer.data = pixels.data();
    layer.width = width;
    layer.height = height;
    layer.rowbytes = width * static_cast<int32_t>(sizeof(Pixel));
    VXp_SetWorldDepth(&layer, kDepthOf<Pixel>);
    return layer;
  }
};

// The pictures of a composite.
template <class Pixel>
struct Scene {
  Frame<Pixel> src, mask, background;
  Frame<Pixel> dst;  // contestants write here

  Scene(Content content, int32_t width, int32_t height);
  void ResetDestination();
};

// kFlat: one opaque colour. kOpaque: colours vary, alpha is full scale. kVaried: alpha varies too,
// but is nowhere 0 or full scale.
enum class Picture { kFlat, kOpaque, kVaried };
inline constexpr Picture kPictures[] = {Picture::kFlat, Picture::kOpaque, Picture::kVaried};
template <class Pixel>
Frame<Pixel> MakePicture(Picture picture, int32_t width, int32_t height);

// Converts 0..1 to the scale of the depth, rounded to nearest.
template <class Pixel>
VX_ChannelOf<Pixel> ToChannel(double v) {
  if constexpr (kDepthOf<Pixel> == 32) return static_cast<float>(v);
  return static_cast<VX_ChannelOf<Pixel>>(v * kFullScaleOf<Pixel> + 0.5);
}

// The largest difference between two channels, in units of the depth.
template <class Pixel>
double GreatestStep(const std::vector<Pixel>& a, const std::vector<Pixel>& b) {
  double greatest = 0.0;
  for (size_t i = 0; i < a.size(); ++i) {
    for (const auto channel : {&Pixel::alpha, &Pixel::red, &Pixel::green, &Pixel::blue}) {
      const double step = static_cast<double>(a[i].*channel) - static_cast<double>(b[i].*channel);
      greatest = std::max(greatest, std::fabs(step));
    }
  }
  return greatest;
}
