// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Compares the results of the contestants of a row: the speed of a wrong result is worthless.

#include <algorithm>
#include <cmath>
#include <cstring>

#include "Content.h"
#include "Pixman.h"

// Channels as 0..1, straight.
template <class Pixel>
VX_PixelFloat PlainUnit(const Pixel& p) {
  const float scale = 1.0f / static_cast<float>(kFullScaleOf<Pixel>);
  return {static_cast<float>(p.alpha) * scale, static_cast<float>(p.red) * scale,
          static_cast<float>(p.green) * scale, static_cast<float>(p.blue) * scale};
}

// Channels as 0..1, premultiplied. Results are compared in this form, because where alpha is small,
// correct straight colours can differ much by rounding.
template <class Pixel>
VX_PixelFloat PremultipliedUnit(const Pixel& p) {
  const float scale = 1.0f / static_cast<float>(kFullScaleOf<Pixel>);
  const float a = static_cast<float>(p.alpha) * scale;
  return {a, static_cast<float>(p.red) * scale * a, static_cast<float>(p.green) * scale * a,
          static_cast<float>(p.blue) * scale * a};
}

template <class Pixel>
Frame<Pixel> PremultipliedPicture(const Frame<Pixel>& straight) {
  Frame<Pixel> picture = straight;
  for (Pixel& p : picture.pixels) {
    const VX_PixelFloat unit = PremultipliedUnit(p);
    p = {p.alpha, ToChannel<Pixel>(double{unit.red}), ToChannel<Pixel>(double{unit.green}),
         ToChannel<Pixel>(double{unit.blue})};
  }
  return picture;
}

inline float Distance(const VX_PixelFloat& a, const VX_PixelFloat& b) {
  return std::max(std::max(std::fabs(a.alpha - b.alpha), std::fabs(a.red - b.red)),
                  std::max(std::fabs(a.green - b.green), std::fabs(a.blue - b.blue)));
}

// True for a pixel that the source does not change. Such pixels are not compared: in some modes the
// library's row loops multiply and divide them by alpha, which rounds them, and other loops skip
// them.
template <class Pixel>
bool IsUntouched(const Scene<Pixel>& scene, bool masked, size_t i) {
  return scene.src.pixels[i].alpha == 0 || (masked && scene.mask.pixels[i].alpha == 0);
}

// 0 if all pixels are equal bit for bit, otherwise the largest difference of premultiplied
// channels.
template <class Pixel>
float GreatestDistance(const Scene<Pixel>& scene, bool masked, const std::vector<Pixel>& a,
                       const std::vector<Pixel>& b) {
  float greatest = 0.0f;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::memcmp(&a[i], &b[i], sizeof(Pixel)) == 0 || IsUntouched(scene, masked, i)) continue;
    const float distance = Distance(PremultipliedUnit(a[i]), PremultipliedUnit(b[i]));
    greatest = std::max({greatest, distance, 1e-9f});
  }
  return greatest;
}

template <class Pixel>
float GreatestDistance(const PixmanScene& pixman, const std::vector<Pixel>& pixels) {
  float greatest = 0.0f;
  for (size_t i = 0; i < pixels.size(); ++i) {
    greatest = std::max(greatest, Distance(pixman.ResultAt(i), PremultipliedUnit(pixels[i])));
  }
  return greatest;
}
