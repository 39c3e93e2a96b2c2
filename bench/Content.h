// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The pictures that contestants work on, and small facts of the three depths.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "VX/cpp/View.hpp"

// Partly: source, destination and mask are partly transparent everywhere, so that nothing can be
//   skipped or copied whole.
// Sprite: soft-edged discs with nothing between them over an opaque background, under a mask that
// is
//   full inside and empty outside.
enum class Content { kPartly, kSprite };
const char* ContentName(Content content);

template <class Pixel>
inline constexpr int kDepthOf = vx::PixelTraits<Pixel>::depth;

template <class Pixel>
inline constexpr VX_ChannelOf<Pixel> kFullScaleOf = vx::PixelTraits<Pixel>::full_scale;

// Pixels without gaps between the rows.
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

  // Describes this memory; good while the frame lives.
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

// Everything that a composite works on.
template <class Pixel>
struct Scene {
  Frame<Pixel> src, mask, background;
  Frame<Pixel> dst;  // where contestants write

  Scene(Content content, int32_t width, int32_t height);
  void ResetDestination();
};

// One picture. Flat: one opaque colour. Opaque: colours vary, alpha is full. Varied: alpha varies
// as well, and is nowhere 0 or full.
enum class Picture { kFlat, kOpaque, kVaried };
inline constexpr Picture kPictures[] = {Picture::kFlat, Picture::kOpaque, Picture::kVaried};
template <class Pixel>
Frame<Pixel> MakePicture(Picture picture, int32_t width, int32_t height);

// A number of 0..1 at the scale of the depth, to the nearest.
template <class Pixel>
VX_ChannelOf<Pixel> ToChannel(double v) {
  if constexpr (kDepthOf<Pixel> == 32) return static_cast<float>(v);
  return static_cast<VX_ChannelOf<Pixel>>(v * kFullScaleOf<Pixel> + 0.5);
}

// The greatest difference of two channels, in their own units.
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
