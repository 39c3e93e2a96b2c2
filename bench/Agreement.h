// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Whether contestants of a row that claim the same thing deliver it: a loop that is fast because it
// is wrong would be no yardstick.

#include <algorithm>
#include <cmath>
#include <cstring>

#include "Content.h"
#include "Pixman.h"

// 0..1.
template <class Pixel>
VX_PixelFloat PlainUnit(const Pixel& p) {
  const float scale = 1.0f / static_cast<float>(kFullScaleOf<Pixel>);
  return {static_cast<float>(p.alpha) * scale, static_cast<float>(p.red) * scale,
          static_cast<float>(p.green) * scale, static_cast<float>(p.blue) * scale};
}

// Premultiplied, 0..1: where alpha is small, straight colours of two right answers lie far apart.
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

// A pixel that the source leaves alone. Row loops matte and unmatte it all the same in some modes
// and so may round it, which others do not.
template <class Pixel>
bool LeftAlone(const Scene<Pixel>& scene, bool masked, size_t i) {
  return scene.src.pixels[i].alpha == 0 || (masked && scene.mask.pixels[i].alpha == 0);
}

// 0 when equal bit for bit, else the greatest distance of premultiplied channels.
template <class Pixel>
float GreatestDistance(const Scene<Pixel>& scene, bool masked, const std::vector<Pixel>& a,
                       const std::vector<Pixel>& b) {
  float greatest = 0.0f;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::memcmp(&a[i], &b[i], sizeof(Pixel)) == 0 || LeftAlone(scene, masked, i)) continue;
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
