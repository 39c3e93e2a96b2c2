// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twin of VX_AdvancedFrameBlending::Render: the picture of an instant between two
// pictures.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <numbers>
#include <type_traits>

#include "RefTweenFields.h"

namespace vxref::tween {

struct Color {
  float alpha, red, green, blue;  // 0..full scale of the depth
};
template <class Operation>
Color Each(Color a, Color b, Operation f) {
  return {f(a.alpha, b.alpha), f(a.red, b.red), f(a.green, b.green), f(a.blue, b.blue)};
}
inline Color operator+(Color a, Color b) { return Each(a, b, std::plus<float>()); }
inline Color operator-(Color a, Color b) { return Each(a, b, std::minus<float>()); }
inline bool operator==(Color a, Color b) {
  return a.alpha == b.alpha && a.red == b.red && a.green == b.green && a.blue == b.blue;
}
inline Color operator*(Color a, float f) { return Each(a, {f, f, f, f}, std::multiplies<float>()); }

// Filters one axis with a windowed sinc of six taps. at(i) is the value i cells after that of the
// position.
template <class At>
auto Sinc(float fraction, At at) {
  if (fraction == 0) return at(0);
  std::array<float, 6> weights;
  float total = 0;
  for (int i = 0; i < 6; ++i) {
    const double u = std::numbers::pi * (static_cast<double>(fraction) + 2 - i);
    total += weights[i] = static_cast<float>(3 * std::sin(u) * std::sin(u / 3) / (u * u));
  }
  auto sum = at(-2) * (weights[0] / total);
  for (int i = 1; i < 6; ++i) sum = sum + at(i - 2) * (weights[i] / total);
  return sum;
}

// Like motion::Sample, for values that are not finite too.
template <class T>
T SampleAt(const Map<T>& map, float x, float y, bool sinc) {
  const float left = std::floor(x - 0.5f), top = std::floor(y - 0.5f);
  const float fx = x - 0.5f - left, fy = y - 0.5f - top;
  if (!sinc) return motion::Bilinear(map, left, top, fx, fy);
  return Sinc(fy,
              [&](int j) { return Sinc(fx, [&](int i) { return map.Held(left + i, top + j); }); });
}

template <class Pixel>
struct Tween {
  using Channel = VX_ChannelOf<Pixel>;
  static constexpr float kFull = sizeof(Pixel) == 4 ? 255 : sizeof(Pixel) == 8 ? 32768 : 1;

  // One source.
  struct Source {
    Map<Color> colors;
    Map<float> analysis, alpha;  // alpha: 0..255, at the size of the analysis

    Source(const VX_LayerDef& world, const VX_Veltor_AlgoParams& p)
        : analysis(motion::AnalysisPicture<Pixel>(world, p)) {
      const int width = analysis.width, height = analysis.height;
      bool opaque = true;
      colors = MapOf<Color>(world.width, world.height, [&](int x, int y) {
        Pixel c;
        std::memcpy(&c,
                    static_cast<const uint8_t*>(world.data) + ptrdiff_t{y} * world.rowbytes +
                        ptrdiff_t{x} * ptrdiff_t{sizeof c},
                    sizeof c);
        opaque = opaque && !(static_cast<float>(c.alpha) < kFull);
        return Floats(c);
      });
      alpha = MapOf<float>(width, height, [&](int i, int j) {
        float sum = 0;
        int count = 0;
        for (int y = j * world.height / height; y < (j + 1) * world.height / height; ++y) {
          for (int x = i * world.width / width; x < (i + 1) * world.width / width; ++x, ++count) {
            sum += colors.At(x, y).alpha;
          }
        }
        return opaque ? 255.0f : sum * (255.0f / kFull) / static_cast<float>(count);
      });
    }
    float Alpha(float x, float y) const {
      const float h = static_cast<float>(colors.width) / static_cast<float>(alpha.width);
      const float v = static_cast<float>(colors.height) / static_cast<float>(alpha.height);
      return SampleAt(alpha, x / h, y / v, false);
    }
  };

  Source first, second;
  Map<Vec> forward, backward;
  float ratio;

  // The worlds and the parameters of the analysis.
  Tween(const VX_LayerDef& a, const VX_LayerDef& b, const VX_Veltor_AlgoParams& p)
      : first(a, p),
        second(b, p),
        forward(motion::PixelVectors(second.analysis, first.analysis, p)),
        backward(motion::PixelVectors(first.analysis, second.analysis, p)),
        ratio(motion::Ratio(a.width, p.Resolution)) {}

  // Uses the parameters that the analysis does not read.
  Map<Pixel> Render(const VX_Veltor_AlgoParams& p, double instant) const {
    const double part = std::fmod(instant, 1);
    const float t = motion::Quantised(static_cast<float>(part < 0 ? part + 1 : part), 0.005f);
    const float shutter = p.ShutterAngle * (0.2777778f * 0.01f);
    const int samples = shutter > 0 ? p.ShutterSamples : 1;
    if (samples == 1) return Sample(p, t);
    const float n = static_cast<float>(samples);
    Map<Color> sum(first.colors.width, first.colors.height);
    for (int k = 0; k < samples; ++k) {
      const float offset = shutter * ((static_cast<float>(k) + 0.5f) / n - 0.5f);
      const Map<Pixel> sample = Sample(p, std::clamp(t + offset, 0.0f, 1.0f));
      for (size_t i = 0; i < sum.cells.size(); ++i) {
        sum.cells[i] = sum.cells[i] + Floats(sample.cells[i]);
      }
    }
    return Picture([&](int x, int y) { return sum.At(x, y) * (1.0f / n); });
  }

  static Color Floats(const Pixel& p) {
    return {static_cast<float>(p.alpha), static_cast<float>(p.red), static_cast<float>(p.green),
            static_cast<float>(p.blue)};
  }
  template <class At>
  Map<Pixel> Picture(At at) const {
    const auto channel = [](float v) -> Channel {
      if constexpr (std::is_same_v<Channel, float>) return v;
      return static_cast<Channel>((v > 0 ? std::min(v, kFull) : 0) + 0.5f);
    };
    return MapOf<Pixel>(first.colors.width, first.colors.height, [&](int x, int y) -> Pixel {
      const Color c = at(x, y);
      return {channel(c.alpha), channel(c.red), channel(c.green), channel(c.blue)};
    });
  }

  Map<Pixel> Sample(const VX_Veltor_AlgoParams& p, float t) const {
    const Map<Color>&a = first.colors, &b = second.colors;
    if (p.Method == 0 || t == 0 || t == 1) {
      return Picture([&](int x, int y) { return (t < 0.5f ? a : b).At(x, y); });
    }
    if (p.Method == 2) return Moved(p.HighQuality == 1, t);
    return Picture([&](int x, int y) { return motion::Between(a.At(x, y), b.At(x, y), t); });
  }

  Map<Pixel> Moved(bool sinc, float t) const {
    const Fields small = FieldsAt(first.analysis, second.analysis, forward, backward, t);
    const double r = static_cast<double>(ratio);
    const motion::ZoomAxis axis = {1 / r, 0.5 / r - 0.5, ratio};
    const int width = first.colors.width, height = first.colors.height;
    const Map<Vec> a = motion::Zoom(small.a, width, height, axis, axis);
    const Map<Vec> b = motion::Zoom(small.b, width, height, axis, axis);
    const auto nearest = [&](int i, int size) {
      const double p = std::clamp(axis.scale * i + axis.offset, 0.0, size - 1.0);
      return std::floor(p) + (static_cast<float>(p - std::floor(p)) < 0.5f ? 0 : 1);
    };
    return Picture([&](int x, int y) {
      const float cx = static_cast<float>(x) + 0.5f, cy = static_cast<float>(y) + 0.5f;
      const Vec v = b.At(x, y) * t, w = a.At(x, y) * (1 - t);
      const int seen = (first.Alpha(cx - v.x, cy + v.y) <= 253 ? 2 : 0) +
                       (second.Alpha(cx - w.x, cy + w.y) < 253 ? 1 : 0);
      const State s = seen == 1 || seen == 2 ? static_cast<State>(seen)
                                             : small.states.Held(nearest(x, small.states.width),
                                                                 nearest(y, small.states.height));
      const Color one = SampleAt(first.colors, cx - v.x, cy + v.y, sinc);
      const Color two = SampleAt(second.colors, cx - w.x, cy + w.y, sinc);
      if (s == kFirst || one == two) return one;  // equal pictures come back exactly
      return s == kSecond ? two : one * (1 - t) + two * t;
    });
  }
};

}  // namespace vxref::tween
