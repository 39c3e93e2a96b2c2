// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "NaiveSampler.h"

#include <algorithm>

#include "Content.h"

namespace {

template <class Pixel>
Pixel At(const VX_LayerDef& src, int32_t x, int32_t y) {
  if (x < 0 || y < 0 || x >= src.width || y >= src.height) return {};
  const char* const row = static_cast<const char*>(src.data) + ptrdiff_t{y} * src.rowbytes;
  return reinterpret_cast<const Pixel*>(row)[x];
}

template <class Pixel>
VX_ChannelOf<Pixel> Rounded(float v) {
  if constexpr (kDepthOf<Pixel> == 32) return v;
  return static_cast<VX_ChannelOf<Pixel>>(static_cast<int32_t>(v + 0.5f));
}

// The four neighbours of a position and their weights.
template <class Pixel>
struct Four {
  Pixel p[4];
  float w[4];

  Four(const VX_LayerDef& src, VX_Fixed x, VX_Fixed y) {
    const int32_t ix = x >> 16, iy = y >> 16;
    const float a = static_cast<float>(x & 0xFFFF) / 65536.0f;
    const float b = static_cast<float>(y & 0xFFFF) / 65536.0f;
    p[0] = At<Pixel>(src, ix, iy);
    p[1] = At<Pixel>(src, ix + 1, iy);
    p[2] = At<Pixel>(src, ix, iy + 1);
    p[3] = At<Pixel>(src, ix + 1, iy + 1);
    w[0] = (1.0f - a) * (1.0f - b);
    w[1] = a * (1.0f - b);
    w[2] = (1.0f - a) * b;
    w[3] = a * b;
  }
  float Mix(VX_ChannelOf<Pixel> Pixel::*channel) const {
    float sum = 0.0f;
    for (int i = 0; i < 4; ++i) sum += w[i] * static_cast<float>(p[i].*channel);
    return sum;
  }
  void WeighByAlpha() {
    for (int i = 0; i < 4; ++i) w[i] *= static_cast<float>(p[i].alpha);
  }
};

template <class Pixel>
Pixel Straight(const VX_LayerDef& src, VX_Fixed x, VX_Fixed y) {
  Four<Pixel> four(src, x, y);
  const float alpha = four.Mix(&Pixel::alpha);
  if (alpha == 0.0f) return {};
  four.WeighByAlpha();
  const float scale = 1.0f / alpha;
  return {Rounded<Pixel>(alpha), Rounded<Pixel>(four.Mix(&Pixel::red) * scale),
          Rounded<Pixel>(four.Mix(&Pixel::green) * scale),
          Rounded<Pixel>(four.Mix(&Pixel::blue) * scale)};
}

template <class Pixel>
Pixel Premultiplied(const VX_LayerDef& src, VX_Fixed x, VX_Fixed y) {
  const Four<Pixel> four(src, x, y);
  return {Rounded<Pixel>(four.Mix(&Pixel::alpha)), Rounded<Pixel>(four.Mix(&Pixel::red)),
          Rounded<Pixel>(four.Mix(&Pixel::green)), Rounded<Pixel>(four.Mix(&Pixel::blue))};
}

// The part of pixel i that the interval from..to covers.
float Covered(VX_Fixed from, VX_Fixed to, int32_t i) {
  return static_cast<float>(std::min(to, (i + 1) << 16) - std::max(from, i << 16)) / 65536.0f;
}

template <class Pixel>
Pixel Box(const VX_LayerDef& src, const SampleGrid& grid, VX_Fixed x, VX_Fixed y, bool by_alpha) {
  const VX_Fixed left = x + 32768 - grid.x_radius, right = x + 32768 + grid.x_radius;
  const VX_Fixed top = y + 32768 - grid.y_radius, bottom = y + 32768 + grid.y_radius;
  float alpha = 0.0f, red = 0.0f, green = 0.0f, blue = 0.0f, colors = 0.0f;
  for (int32_t row = top >> 16; row << 16 < bottom; ++row) {
    const float height = Covered(top, bottom, row);
    for (int32_t column = left >> 16; column << 16 < right; ++column) {
      const Pixel p = At<Pixel>(src, column, row);
      const float w = height * Covered(left, right, column);
      const float a = static_cast<float>(p.alpha);
      const float color = by_alpha ? w * a : w;
      alpha += w * a;
      red += color * static_cast<float>(p.red);
      green += color * static_cast<float>(p.green);
      blue += color * static_cast<float>(p.blue);
      colors += color;
    }
  }
  const float area = 4.0f * static_cast<float>(grid.x_radius) / 65536.0f *
                     static_cast<float>(grid.y_radius) / 65536.0f;
  if (!by_alpha) colors = area;
  if (colors == 0.0f) return {};
  return {Rounded<Pixel>(alpha / area), Rounded<Pixel>(red / colors),
          Rounded<Pixel>(green / colors), Rounded<Pixel>(blue / colors)};
}

template <class Pixel, class Sample>
void Walk(const SampleGrid& grid, Pixel* dst, Sample sample) {
  for (int32_t j = 0; j < grid.height; ++j) {
    for (int32_t i = 0; i < grid.width; ++i) {
      *dst++ = sample(grid.x + i * grid.x_step, grid.y + j * grid.y_step);
    }
  }
}

}  // namespace

template <class Pixel>
void NaiveNearest(const VX_LayerDef& src, const SampleGrid& grid, Pixel* dst) {
  Walk(grid, dst, [&](VX_Fixed x, VX_Fixed y) {
    return At<Pixel>(src, (x + 32768) >> 16, (y + 32768) >> 16);
  });
}

template <class Pixel>
void NaiveStraight(const VX_LayerDef& src, const SampleGrid& grid, Pixel* dst) {
  Walk(grid, dst, [&](VX_Fixed x, VX_Fixed y) { return Straight<Pixel>(src, x, y); });
}

template <class Pixel>
void NaivePremultiplied(const VX_LayerDef& src, const SampleGrid& grid, Pixel* dst) {
  Walk(grid, dst, [&](VX_Fixed x, VX_Fixed y) { return Premultiplied<Pixel>(src, x, y); });
}

template <class Pixel>
void NaiveBox(const VX_LayerDef& src, const SampleGrid& grid, Pixel* dst) {
  Walk(grid, dst, [&](VX_Fixed x, VX_Fixed y) { return Box<Pixel>(src, grid, x, y, true); });
}

template <class Pixel>
void NaiveBoxPremultiplied(const VX_LayerDef& src, const SampleGrid& grid, Pixel* dst) {
  Walk(grid, dst, [&](VX_Fixed x, VX_Fixed y) { return Box<Pixel>(src, grid, x, y, false); });
}

#define VX_INSTANTIATE(Pixel)                                                      \
  template void NaiveNearest(const VX_LayerDef&, const SampleGrid&, Pixel*);       \
  template void NaiveStraight(const VX_LayerDef&, const SampleGrid&, Pixel*);      \
  template void NaivePremultiplied(const VX_LayerDef&, const SampleGrid&, Pixel*); \
  template void NaiveBox(const VX_LayerDef&, const SampleGrid&, Pixel*);           \
  template void NaiveBoxPremultiplied(const VX_LayerDef&, const SampleGrid&, Pixel*);
VX_INSTANTIATE(VX_Pixel8)
VX_INSTANTIATE(VX_Pixel16)
VX_INSTANTIATE(VX_PixelFloat)
#undef VX_INSTANTIATE
