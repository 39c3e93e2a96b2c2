// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The pictures that contestants work on, and small facts of the three depths.

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "VX/VX_Types.h"

// Partly: source, destination and mask are partly transparent everywhere, so that nothing can be
//   skipped or copied whole.
// Sprite: soft-edged discs with nothing between them over an opaque background, under a mask that
// is
//   full inside and empty outside.
enum class Content { kPartly, kSprite };
const char* ContentName(Content content);

template <class Pixel>
inline constexpr int kDepthOf = sizeof(Pixel) == 4   ? 8
                                : sizeof(Pixel) == 8 ? 16
                                                     : 32;

template <class Pixel>
inline constexpr VX_ChannelOf<Pixel> kFullScaleOf = kDepthOf<Pixel> == 8    ? 255
                                                    : kDepthOf<Pixel> == 16 ? 32768
                                                                            : 1;

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
