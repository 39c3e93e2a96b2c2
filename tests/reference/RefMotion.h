// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twin of VX_EstimateMotion: one pixel, one block, one candidate at a time.
//
// Arguments must be valid; they are not checked. Arithmetic is single precision, in the order in
// which it is written, unless a value is a double: the product must give equal bits. Masks, the
// activity gate and the outputs of a block other than its vector are not here, because
// VX_EstimateMotion does not use them.
//
// A vector v of a pixel (x, y) of frame 1 refers to (x - v.x, y + v.y) in frame 0. Below is larger
// y.

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "RefMotionPicture.h"
#include "VX/VX_FrameBlending.h"
#include "VX/VX_Types.h"

namespace vxref::motion {

// --- one block -----------------------------------------------------------------------------------

constexpr int kOverlap = 2;  // of neighbouring blocks, in pixels

inline int BlockCount(int frame, int block) {
  return std::max((frame - kOverlap) / (block - kOverlap), 0);
}

// The square block of a vector, and frame 0 displaced by a vector. Both frames have one size.
struct Block {
  const Map<float>&frame0, &frame1;
  int x0, y0, size;
  float dx = 0, fx = 0, dy = 0, fy = 0;  // whole and fractional parts of the displacement

  Block(const Map<float>& f0, const Map<float>& f1, int side, int i, int j)
      : frame0(f0), frame1(f1), x0((side - kOverlap) * i), y0((side - kOverlap) * j), size(side) {}
  void Displace(Vec v) {
    dx = std::floor(-v.x), fx = -v.x - dx;
    dy = std::floor(v.y), fy = v.y - dy;
  }
  // Returns true if the displaced pixel, and the neighbours that it is interpolated from, exist.
  bool Inside(int x, int y) const {
    const auto inside = [](double p, float fraction, int side) {
      return 0 <= p && p + (fraction > 0 ? 1 : 0) <= side - 1;
    };
    return inside(static_cast<double>(dx) + x, fx, frame0.width) &&
           inside(static_cast<double>(dy) + y, fy, frame0.height);
  }
  float Displaced(int x, int y) const {
    return Bilinear(frame0, static_cast<double>(dx) + x, static_cast<double>(dy) + y, fx, fy);
  }
};

// The means of a block's products, and the correction that follows from them.
struct Sums {
  float gxx = 0, gxy = 0, gyy = 0, bx = 0, by = 0, e2 = 0;

  // Returns false if there is no gradient.
  bool Correction(Vec* d) const {
    const float t = gxx + gyy;
    const float root = std::sqrt(std::max(t * t - 4.0f * (gxx * gyy - gxy * gxy), 0.0f));
    const float l1 = (t + root) * 0.5f, l2 = (t - root) * 0.5f;
    const float largest = std::max(std::fabs(l1), std::fabs(l2));
    const float smallest = std::min(std::fabs(l1), std::fabs(l2));
    const float condition = smallest == 0 ? FLT_MAX : largest / smallest;
    if (condition <= 10.0f) {
      const float k = condition * 0.1f * e2, a = gxx + k, b = gyy + k;
      const float m = 1.0f / (a * b - gxy * gxy);
      *d = {(bx * b - by * gxy) * m, (by * a - bx * gxy) * m};
      return true;
    }
    // Aperture: the correction is along the eigenvector of the larger eigenvalue.
    if (!(largest > 0)) return false;
    Vec e = gxx >= gyy ? Vec{1, 0} : Vec{0, 1};
    if (gxy != 0) {
      const float slope = ((std::fabs(l1) >= std::fabs(l2) ? l1 : l2) - gxx) / gxy;
      const float length = std::sqrt(1.0f + slope * slope);
      e = {1.0f / length, slope / length};
    }
    const float q = (e.x * bx + e.y * by) / largest;
    *d = e * q;
    return true;
  }
};

// One round. Changes the vector and returns the mean difference before, 0 if it was below the
// threshold. Returns nothing if the block is done; the vector is then lost.
inline std::optional<float> Solve(Block block, float threshold, Vec* v) {
  if (!v->Known()) return std::nullopt;
  block.Displace(*v);
  Sums s;
  float e1 = 0;
  int n = 0;
  for (int y = block.y0 + block.size - 2; y >= block.y0; --y) {
    for (int x = block.x0 + 1; x < block.x0 + block.size; ++x) {
      if (!block.Inside(x, y) || !block.Inside(x - 1, y) || !block.Inside(x, y + 1)) continue;
      const float cur = block.Displaced(x, y), d = block.frame1.At(x, y) - cur;
      const float gx = cur - block.Displaced(x - 1, y), gy = cur - block.Displaced(x, y + 1);
      ++n;
      s.gxx += gx * gx, s.gxy += gx * gy, s.gyy += gy * gy;
      s.bx += d * gx, s.by += d * gy;
      s.e2 += d * d, e1 += std::fabs(d);
    }
  }
  if (n == 0) return std::nullopt;  // without masks n is the total of the one-sixth rule
  const float count = static_cast<float>(n), error = e1 / count;
  if (error < threshold) return 0;
  for (float* sum : {&s.gxx, &s.gxy, &s.gyy, &s.bx, &s.by, &s.e2}) *sum /= count;
  Vec d;
  if (!s.Correction(&d) || !std::isfinite(d.x) || !std::isfinite(d.y)) return std::nullopt;
  *v = *v - d;
  return error;
}

// Returns the vector of the last round that was not done.
inline Vec Estimate(const Block& block, float threshold, Vec v) {
  Vec kept = kUnknown;
  for (int i = 0; i < 10; ++i) {
    const std::optional<float> error = Solve(block, threshold, &v);
    if (!error) break;
    kept = v;
    if (!(*error > 0)) break;
  }
  return kept;
}

inline float Quantised(float c, float step) {
  const float s = (c + step / 2) / step;
  if (c == FLT_MAX || !(std::fabs(s) < 0x1p31f)) return c;
  return static_cast<float>(static_cast<int>(s)) * step;
}

// The mean difference of the frames; FLT_MAX if too few pixels are inside.
inline float BlockError(Block block, Vec v) {
  block.Displace(v);
  float sum = 0;
  int n = 0;
  for (int y = block.y0; y < block.y0 + block.size; ++y) {
    for (int x = block.x0; x < block.x0 + block.size; ++x) {
      if (!block.Inside(x, y)) continue;
      sum += std::fabs(block.frame1.At(x, y) - block.Displaced(x, y));
      ++n;
    }
  }
  return 4 * n <= block.size * block.size ? FLT_MAX : sum / static_cast<float>(n);
}

// --- smoothing -----------------------------------------------------------------------------------

// Records which vectors changed between two calls of Look. Before the first call all count as
// changed.
struct Monitor {
  Map<Vec> previous;
  std::vector<bool> changed;
  bool unknown = false;  // the last call found an unknown vector

  explicit Monitor(const Map<Vec>& map) : previous(map), changed(map.cells.size(), true) {}
  void Look(const Map<Vec>& map) {
    unknown = false;
    for (size_t i = 0; i < map.cells.size(); ++i) {
      const Vec v = map.cells[i];
      unknown = unknown || v.x == FLT_MAX || v.y == FLT_MAX;
      changed[i] = !(v == previous.cells[i]);
    }
    previous = map;
  }
};

// Calls use(x, y) for the neighbours inside the map, which are `spacing` away on each axis.
template <class T, class Use>
void ForNeighbours(const Map<T>& map, int x, int y, int spacing, Use use) {
  for (int dy : {spacing, 0, -spacing}) {
    for (int dx : {-spacing, 0, spacing}) {
      if ((dx != 0 || dy != 0) && map.Inside(x + dx, y + dy)) use(x + dx, y + dy);
    }
  }
}

inline void AddOnce(std::vector<Vec>* list, Vec v) {
  if (std::find(list->begin(), list->end(), v) == list->end()) list->push_back(v);
}

inline uint32_t Random(uint32_t* state) {
  const uint32_t a = *state * 0x41C64E6Du + 0x3039u, b = a * 0x41C64E6Du + 0x3039u;
  *state = b;
  return ((b >> 16) & 0xFF) ^ (((a >> 16) & 0xFF) << 7);
}

inline void Shuffle(std::vector<Vec>* list, uint32_t state) {
  const size_t n = list->size();
  if (n < 2) return;
  for (size_t i = 0; i < (n - 1) / 2 + 1; ++i) {
    const size_t a = Random(&state) % n, b = Random(&state) % n;
    std::swap((*list)[a], (*list)[b]);
  }
}

inline Vec NeighbourMean(const Map<Vec>& map, int x, int y) {
  Vec sum = {0, 0};
  int n = 0;
  ForNeighbours(map, x, y, 1, [&](int u, int v) {
    if (map.At(u, v).Known()) sum = sum + map.At(u, v), ++n;
  });
  const float count = static_cast<float>(n);
  return n == 0 ? sum : Vec{sum.x / count, sum.y / count};
}

// The choice if no candidate has a finite cost: the own vector of the cell, or the first candidate.
enum class Start { kOwn, kFirst };

// Chooses from the candidates and the own vector of cell (x, y), in shuffled order: the first one
// with the lowest cost.
template <class Cost>
Vec Cheapest(const Map<Vec>& map, int x, int y, std::vector<Vec> list, Start start, Cost cost) {
  AddOnce(&list, map.At(x, y));
  Shuffle(&list, static_cast<uint32_t>(y * map.width + x));
  if (list.size() == 1) return list[0];
  Vec chosen = map.At(x, y);
  float best = FLT_MAX;
  bool first = start == Start::kFirst;
  for (Vec c : list) {
    if (!c.Known()) continue;
    const float total = cost(c);
    if (first || total < best) best = total, chosen = c;
    first = false;
  }
  return chosen;
}

// Replaces the vectors that have changed neighbours. cost(c, mean, x, y) is that of a candidate.
template <class Cost>
Map<Vec> SmoothPass(const Map<Vec>& map, const Monitor& monitor, Cost cost) {
  return MapOf<Vec>(map.width, map.height, [&](int x, int y) {
    std::vector<Vec> list;
    ForNeighbours(map, x, y, 1, [&](int u, int v) {
      if (monitor.changed[static_cast<size_t>(v * map.width + u)]) AddOnce(&list, map.At(u, v));
    });
    if (list.empty()) return map.At(x, y);
    const Vec mean = NeighbourMean(map, x, y);
    return Cheapest(map, x, y, list, Start::kOwn, [&](Vec c) { return cost(c, mean, x, y); });
  });
}

struct Weights {
  float match, distance;

  explicit Weights(float p) : match(p < 0 ? 1 - p : 1), distance(p < 0 ? 1 : p + 1) {}
};

// The vectors of the blocks of level 0. The map is empty if the picture is smaller than a block.
inline Map<Vec> BlockVectors(const std::vector<Map<float>>& frames0,
                             const std::vector<Map<float>>& frames1,
                             const VX_Veltor_AlgoParams& p) {
  const int side = p.BlockSize, step = side - kOverlap;
  const Weights weights(p.VectorDetail);
  Map<Vec> map;
  for (size_t level = frames0.size(); level-- > 0;) {
    const Map<float>&f0 = frames0[level], &f1 = frames1[level];
    const int width = BlockCount(f1.width, side), height = BlockCount(f1.height, side);
    if (width == 0 || height == 0) continue;
    if (map.cells.empty()) {
      map = Map<Vec>(width, height);
    } else {
      const auto axis = [&](int coarse, int fine) -> ZoomAxis {
        const double ratio = static_cast<double>(coarse) / fine;
        return {step * ratio / step, (0.5 * side * ratio - 0.5 * side) / step,
                static_cast<float>(fine) / static_cast<float>(coarse)};
      };
      map = Zoom(map, width, height, axis(frames1[level + 1].width, f1.width),
                 axis(frames1[level + 1].height, f1.height));
    }
    const float grid = std::ldexp(0.1f, -static_cast<int>(level));
    for (int j = 0; j < height; ++j) {
      for (int i = 0; i < width; ++i) {
        Vec& v = map.At(i, j);
        v = Estimate(Block(f0, f1, side, i, j), p.ErrorThreshold, v);
        v = {Quantised(v.x, grid), Quantised(v.y, grid)};
      }
    }
    const auto cost = [&](Vec c, Vec mean, int i, int j) {
      const float smooth = Length1(c - mean) / 400.0f / 255.0f * weights.distance;
      const float error = BlockError(Block(f0, f1, side, i, j), c);
      const float match = error == FLT_MAX ? 2 * weights.match : error * weights.match;
      const float total = match + smooth;
      return total < 1e-06f ? 0.0f : total;
    };
    Monitor monitor(map);
    for (int pass = 0; pass < 5 || (monitor.unknown && pass < 105); ++pass) {
      map = SmoothPass(map, monitor, cost);
      monitor.Look(map);
    }
    if (monitor.unknown) map = Map<Vec>(width, height);
  }
  return map;
}

// The smoothed vectors of the pixels of the analysis pictures.
inline Map<Vec> PixelVectors(const Map<float>& frame0, const Map<float>& frame1,
                             const VX_Veltor_AlgoParams& p) {
  const Map<Vec> blocks = BlockVectors(Pyramid(frame0), Pyramid(frame1), p);
  if (blocks.cells.empty()) return Map<Vec>(frame1.width, frame1.height);
  const int step = p.BlockSize - kOverlap;
  const ZoomAxis axis = {1.0 / step, (0.5 - 0.5 * p.BlockSize) / step, 1};
  const Map<Vec> start = Zoom(blocks, frame1.width, frame1.height, axis, axis);

  const Weights weights(p.VectorSmoothing);
  const float scale = weights.match / 123.0f * 65535.0f;
  const auto intensity = [&](Vec c, int x, int y) {
    const float sample =
        Sample(frame0, static_cast<float>(x) + 0.5f - c.x, static_cast<float>(y) + 0.5f + c.y);
    return std::fabs(sample - frame1.At(x, y)) * scale;
  };
  Map<Vec> map = MapOf<Vec>(frame1.width, frame1.height, [&](int x, int y) {
    std::vector<Vec> list;
    ForNeighbours(start, x, y, step, [&](int u, int v) { AddOnce(&list, start.At(u, v)); });
    return Cheapest(start, x, y, list, Start::kFirst, [&](Vec c) { return intensity(c, x, y); });
  });
  Monitor monitor(map);
  for (int pass = 0; pass < p.SmoothPasses; ++pass) {
    if (pass > 0) monitor.Look(map);
    map = SmoothPass(map, monitor, [&](Vec c, Vec mean, int x, int y) {
      return Length1(c - mean) * weights.distance * 8.0f + intensity(c, x, y);
    });
  }
  return map;
}

// The result of VX_EstimateMotion: for each pixel of `first`, its displacement u, v in `second`.
// Vectors that are not finite are NaN, and 0 has no sign.
template <class Pixel>
Map<Vec> Field(const VX_LayerDef& first, const VX_LayerDef& second, const VX_Veltor_AlgoParams& p) {
  const Map<Vec> vectors =
      PixelVectors(AnalysisPicture<Pixel>(second, p), AnalysisPicture<Pixel>(first, p), p);
  const float ratio = Ratio(first.width, p.Resolution);
  const double scale = 1 / static_cast<double>(ratio);
  const double offset = 0.5 / static_cast<double>(ratio) - 0.5;
  Map<Vec> field =
      Zoom(vectors, first.width, first.height, {scale, offset, -ratio}, {scale, offset, ratio});
  for (Vec& v : field.cells) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    if (!std::isfinite(v.x) || !std::isfinite(v.y)) v.x = v.y = nan;
    if (v.x == 0) v.x = 0;
    if (v.y == 0) v.y = 0;
  }
  return field;
}

}  // namespace vxref::motion
