// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Parts of the slow twin of motion estimation: maps, interpolation, the luminance of a picture at
// reduced size, and its pyramid. RefMotion.h describes the arithmetic.

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "VX/VX_FrameBlending.h"
#include "VX/VX_Types.h"

namespace vxref::motion {

struct Vec {
  float x, y;
  bool operator==(const Vec&) const = default;
  bool Known() const { return x != FLT_MAX; }
};
inline Vec operator+(Vec a, Vec b) { return {a.x + b.x, a.y + b.y}; }
inline Vec operator-(Vec a, Vec b) { return {a.x - b.x, a.y - b.y}; }
inline Vec operator*(Vec a, float f) { return {a.x * f, a.y * f}; }
inline float Length1(Vec a) { return std::fabs(a.x) + std::fabs(a.y); }

constexpr Vec kUnknown = {FLT_MAX, FLT_MAX};

template <class T>
struct Map {
  int width = 0, height = 0;
  std::vector<T> cells;

  Map() = default;
  Map(int w, int h)
      : width(w), height(h), cells(static_cast<size_t>(w) * static_cast<size_t>(h), T{}) {}
  bool Inside(int x, int y) const { return x >= 0 && y >= 0 && x < width && y < height; }
  T& At(int x, int y) { return cells[static_cast<size_t>(y * width + x)]; }
  const T& At(int x, int y) const { return cells[static_cast<size_t>(y * width + x)]; }
  // Coordinates outside of the map read the nearest cell, NaN the first one.
  const T& Held(double x, double y) const {
    const auto index = [](double p, int size) {
      return p > 0 ? static_cast<int>(std::min(p, size - 1.0)) : 0;
    };
    return At(index(x, width), index(y, height));
  }
};

// Calls set(x, y) for all cells in row order and stores the results.
template <class T, class Set>
Map<T> MapOf(int width, int height, Set set) {
  Map<T> map(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) map.At(x, y) = set(x, y);
  }
  return map;
}

// --- interpolation -------------------------------------------------------------------------------

template <class T>
T Between(T a, T b, float fraction) {
  return fraction == 0 ? a : a + (b - a) * fraction;
}

// Returns the value to the right of and below cell (left, top) by fractions of a cell.
template <class T>
T Bilinear(const Map<T>& map, double left, double top, float fx, float fy) {
  return Between(Between(map.Held(left, top), map.Held(left + 1, top), fx),
                 Between(map.Held(left, top + 1), map.Held(left + 1, top + 1), fx), fy);
}

// Returns the value at a position, where (0.5, 0.5) is the centre of the first cell. Positions
// outside of the map, also infinite ones, read its edge; NaN gives NaN.
inline float Sample(const Map<float>& map, float x, float y) {
  const float u = std::clamp(x - 0.5f, -1.0f, static_cast<float>(map.width));
  const float v = std::clamp(y - 0.5f, -1.0f, static_cast<float>(map.height));
  const float left = std::floor(u), top = std::floor(v);
  return Bilinear(map, left, top, u - left, v - top);
}

// Index i of an axis is read at scale * i + offset; the values are multiplied by factor.
struct ZoomAxis {
  double scale, offset;
  float factor;
};

// The zoom of a map without unknown vectors.
inline Map<Vec> Zoom(const Map<Vec>& from, int width, int height, ZoomAxis h, ZoomAxis v) {
  return MapOf<Vec>(width, height, [&](int x, int y) -> Vec {
    const double px = std::clamp(h.scale * x + h.offset, 0.0, from.width - 1.0);
    const double py = std::clamp(v.scale * y + v.offset, 0.0, from.height - 1.0);
    const double left = std::floor(px), top = std::floor(py);
    const Vec z =
        Bilinear(from, left, top, static_cast<float>(px - left), static_cast<float>(py - top));
    return {z.x * h.factor, z.y * v.factor};
  });
}

// --- the analysis picture ------------------------------------------------------------------------

template <class Pixel>
Map<float> Luminance(const VX_LayerDef& world, const VX_Veltor_AlgoParams& p) {
  const float full = sizeof(Pixel) == 4 ? 255.0f : sizeof(Pixel) == 8 ? 32768.0f : 1.0f;
  const float r = static_cast<float>(p.LumaR), g = static_cast<float>(p.LumaG);
  const float b = static_cast<float>(p.LumaB), sum = r + g + b;
  const auto weight = [&](float w) { return w / sum * (1.0f / full); };
  return MapOf<float>(world.width, world.height, [&](int x, int y) {
    Pixel c;
    std::memcpy(&c,
                static_cast<const uint8_t*>(world.data) + ptrdiff_t{y} * world.rowbytes +
                    ptrdiff_t{x} * ptrdiff_t{sizeof c},
                sizeof c);
    const float value = weight(r) * static_cast<float>(c.red) +
                        weight(g) * static_cast<float>(c.green) +
                        weight(b) * static_cast<float>(c.blue);
    return std::isfinite(value) ? value : 0.0f;
  });
}

// Filters the columns, then the rows. filter(at) is the value of a cell, at(i) the cell i further.
template <class Filter>
Map<float> Separable(const Map<float>& from, Filter filter) {
  const auto pass = [&](const Map<float>& in, int dx, int dy) {
    return MapOf<float>(in.width, in.height, [&](int x, int y) {
      return filter([&](int i) { return in.Held(x + i * dx, y + i * dy); });
    });
  };
  return pass(pass(from, 0, 1), 1, 0);
}

// A Gaussian of three standard deviations on each side.
inline Map<float> Blur(const Map<float>& from, double sigma) {
  const int radius = static_cast<int>(std::ceil(3 * sigma));
  const auto weight = [=](int i) { return std::exp(-i * i / (2 * sigma * sigma)); };
  double total = 0;
  for (int i = -radius; i <= radius; ++i) total += weight(i);
  return Separable(from, [&](auto at) {
    float sum = 0;
    for (int i = -radius; i <= radius; ++i) sum += at(i) * static_cast<float>(weight(i) / total);
    return sum;
  });
}

inline int AnalysisSide(int side, float resolution) {
  return std::max(static_cast<int>(static_cast<float>(side) * resolution), 1);
}

// Pixels of the picture per pixel of its analysis picture, on both axes.
inline float Ratio(int width, float resolution) {
  return static_cast<float>(width) / static_cast<float>(AnalysisSide(width, resolution));
}

template <class Pixel>
Map<float> AnalysisPicture(const VX_LayerDef& world, const VX_Veltor_AlgoParams& p) {
  const float ratio = Ratio(world.width, p.Resolution);
  const Map<float> blurred = Blur(Luminance<Pixel>(world, p), ratio / 3.0f);
  const float step = 1.0f / (1.0f / ratio);
  return MapOf<float>(AnalysisSide(world.width, p.Resolution),
                      AnalysisSide(world.height, p.Resolution), [&](int x, int y) {
                        return Sample(blurred, (static_cast<float>(x) + 0.5f) * step,
                                      (static_cast<float>(y) + 0.5f) * step);
                      });
}

// --- pyramid -------------------------------------------------------------------------------------

inline int LevelCount(int width, int height) {
  int levels = 1;
  for (width /= 2, height /= 2; width / 4 > 1 && height / 4 > 1; width /= 2, height /= 2) ++levels;
  return levels;
}

// Filters with 1-4-6-4-1 on both axes, columns first, and takes the mean of two by two pixels.
inline Map<float> HalfSize(const Map<float>& from) {
  const Map<float> smooth = Separable(from, [](auto at) {
    return (at(-2) + at(2) + 4.0f * (at(-1) + at(1)) + 6.0f * at(0)) * 0.0625f;
  });
  return MapOf<float>(from.width / 2, from.height / 2, [&](int x, int y) {
    const int u = 2 * x, v = 2 * y;
    return (smooth.At(u, v) + smooth.At(u + 1, v) + smooth.At(u, v + 1) + smooth.At(u + 1, v + 1)) *
           0.25f;
  });
}

inline std::vector<Map<float>> Pyramid(const Map<float>& picture) {
  std::vector<Map<float>> levels = {picture};
  const size_t count = static_cast<size_t>(LevelCount(picture.width, picture.height));
  while (levels.size() < count) levels.push_back(HalfSize(levels.back()));
  return levels;
}

}  // namespace vxref::motion
