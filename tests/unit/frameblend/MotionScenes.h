// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Scenes from formulas, for tests of motion.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <random>
#include <vector>

#include "unit/PixelTestKit.h"

using Picture = std::function<double(double x, double y)>;  // 0..1, at the centres of pixels

// Sines in random directions. The wavelengths are `period` pixels and more; the long ones allow
// large motions.
inline Picture Texture(uint32_t seed, double period) {
  std::mt19937 random(seed);
  const auto unit = [&random] { return static_cast<double>(random()) * 0x1p-32; };
  std::vector<std::array<double, 3>> waves;
  for (int i = 0; i < 16; ++i) {
    const double angle = unit() * 6.283, frequency = 6.283 / (period * std::pow(1.2, i));
    waves.push_back({std::cos(angle) * frequency, std::sin(angle) * frequency, unit() * 6.283});
  }
  return [waves](double x, double y) {
    double sum = 0;
    for (const auto& [fx, fy, phase] : waves) sum += std::sin(fx * x + fy * y + phase);
    return std::clamp(0.5 + sum / 16, 0.0, 1.0);
  };
}

inline Picture Moved(Picture picture, double dx, double dy) {
  return [=](double x, double y) { return picture(x - dx, y - dy); };
}

// Turned about (cx, cy), and enlarged.
inline Picture Turned(Picture picture, double cx, double cy, double angle, double zoom) {
  const double c = std::cos(angle) / zoom, s = std::sin(angle) / zoom;
  return [=](double x, double y) {
    return picture(cx + c * (x - cx) + s * (y - cy), cy - s * (x - cx) + c * (y - cy));
  };
}

// Without a picture of alpha all pixels are opaque.
template <class Pixel>
void Paint(GuardedWorld<Pixel>* world, const Picture& picture, const Picture& alpha = {}) {
  using Channel = VX_ChannelOf<Pixel>;
  for (int i = 0; i < world->world.width * world->world.height; ++i) {
    const int x = i % world->world.width, y = i / world->world.width;
    const double value = picture(x, y) * static_cast<double>(kFull<Pixel>);
    const auto part = [=](double f) { return static_cast<Channel>(value * f); };
    const double a = alpha ? alpha(x, y) * static_cast<double>(kFull<Pixel>) : 0;
    world->Set(x, y,
               {alpha ? static_cast<Channel>(a) : kFull<Pixel>, part(1), part(0.75), part(0.9)});
  }
}

template <class Pixel>
std::vector<Pixel> PixelsOf(const GuardedWorld<Pixel>& world) {
  std::vector<Pixel> pixels;
  for (int i = 0; i < world.world.width * world.world.height; ++i) {
    pixels.push_back(world.Get(i % world.world.width, i / world.world.width));
  }
  return pixels;
}

// The pixels that `draw` writes to a world of the size of `like`. The padding must not change.
template <class Pixel, class Draw>
std::vector<Pixel> Drawn(const VX_LayerDef& like, Draw draw) {
  GuardedWorld<Pixel> to(like.width, like.height, 3, 5);
  std::vector<uint8_t> expected = to.bytes;
  draw(&to.world);
  const std::vector<Pixel> pixels = PixelsOf(to);
  for (int i = 0; i < like.width * like.height; ++i) {
    to.Set(expected, i % like.width, i / like.width, pixels[static_cast<size_t>(i)]);
  }
  EXPECT_EQ(to.bytes, expected) << "padding";
  return pixels;
}

// In dB, of the channel red, away from the edges.
template <class Pixel>
double Psnr(const std::vector<Pixel>& a, const std::vector<Pixel>& b, int width, int margin) {
  double sum = 0;
  int count = 0;
  const int height = static_cast<int>(a.size()) / width;
  for (int y = margin; y < height - margin; ++y) {
    for (int x = margin; x < width - margin; ++x, ++count) {
      const auto i = static_cast<size_t>(y * width + x);
      const double d = (static_cast<double>(a[i].red) - static_cast<double>(b[i].red)) /
                       static_cast<double>(kFull<Pixel>);
      sum += d * d;
    }
  }
  return std::min(99.0, -10 * std::log10(sum / count));
}
