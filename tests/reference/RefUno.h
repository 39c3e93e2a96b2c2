// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of one-channel images, one sample at a time. The type of the samples selects 8
// bits, 16 bits or float.
//
// Arguments must be valid; they are not checked. At integer depths the product must give equal
// bits. Float scans are summed in double and rounded once, so the product's running sums may differ
// in the last places. All other float operations are computed in single precision.
// else in float is plain single precision.

#include <cmath>
#include <type_traits>
#include <vector>

#include "RefArithmetic.h"
#include "RefConvolve.h"
#include "RefCopy.h"
#include "VX/VX_UnoBuffer.h"

namespace vxref {

// A one-channel image; `samples` is row after row.
template <class Sample>
struct Plane {
  int32_t width;
  int32_t height;
  std::vector<Sample> samples;

  Sample& At(int64_t x, int64_t y) { return samples[static_cast<size_t>(y * width + x)]; }
  const Sample& At(int64_t x, int64_t y) const {
    return samples[static_cast<size_t>(y * width + x)];
  }
};

template <class Sample>
struct OfSample {
  using Integers = std::conditional_t<sizeof(Sample) == 1, VX_Pixel8, VX_Pixel16>;
  using Pixel = std::conditional_t<sizeof(Sample) == 4, VX_PixelFloat, Integers>;
};
template <class Sample>
using DepthOfSample = typename DepthOf<typename OfSample<Sample>::Pixel>::D;
template <class Sample>
constexpr bool kFloat = std::is_same_v<Sample, float>;

// Converts an opacity 0..1 to a depth's scale.
template <class Sample>
typename DepthOfSample<Sample>::Wide Scaled(double opacity) {
  if (!(opacity > 0)) opacity = 0;  // 0 for NaN too
  if (opacity > 1) opacity = 1;
  if constexpr (kFloat<Sample>) return static_cast<float>(opacity);
  const double scale = static_cast<double>(DepthOfSample<Sample>::full);
  return static_cast<typename DepthOfSample<Sample>::Wide>(opacity * scale + 0.5);
}

// --- areas ---

// The columns or rows low..high - 1 of a source. A destination index is the source index plus
// `shift`.
struct Span {
  int64_t low, high, shift;

  void Limit(int64_t size) { high = Min(high, size), low = Max(low, int64_t{0}); }
  bool Covers(int64_t to) const { return to - shift >= low && to - shift < high; }
};
struct Area {
  Span x, y;

  bool Covers(int64_t to_x, int64_t to_y) const { return x.Covers(to_x) && y.Covers(to_y); }
};

template <class From>
Area Placed(const Plane<From>& src, const M_Rect* rect, const M_Point* point) {
  Area area = {{0, src.width, 0}, {0, src.height, 0}};
  if (rect != nullptr) area = {{rect->left, rect->right, 0}, {rect->top, rect->bottom, 0}};
  if (point != nullptr) area.x.shift = point->h - area.x.low, area.y.shift = point->v - area.y.low;
  area.x.Limit(src.width);
  area.y.Limit(src.height);
  return area;
}

template <class To, class Change>
void EachSample(Plane<To>* plane, Change change) {
  for (int64_t y = 0; y < plane->height; ++y) {
    for (int64_t x = 0; x < plane->width; ++x) change(x, y, &plane->At(x, y));
  }
}

// --- samples ---

// 1 - v; integers above full scale give 0.
template <class Sample>
Sample Inverted(Sample v) {
  using D = DepthOfSample<Sample>;
  if constexpr (kFloat<Sample>) return D::Inv(v);
  return static_cast<Sample>(Max(D::Inv(v), typename D::Wide{0}));
}

// d + (s - d) * m. Rounding is symmetric: the same in both directions.
inline uint8_t Moved(uint8_t s, uint8_t m, uint8_t d) {
  const int64_t e = int64_t{s} - d;
  const int64_t t = e * m - (e < 0 ? 1 : 0) + 128;
  return static_cast<uint8_t>(d + ((t + (t >> 8)) >> 8));
}
inline uint16_t Moved(uint16_t s, uint16_t m, uint16_t d) {
  if (s > d) return static_cast<uint16_t>(d + ((int64_t{m} * (s - d) + 16383) >> 15));
  return static_cast<uint16_t>(d - ((int64_t{m} * (d - s) + 16383) >> 15));
}
inline float Moved(float s, float m, float d) { return d + m * (s - d); }

// v * gain; `scale` is the gain of 1.
inline int64_t Gained(int64_t v, int64_t gain, int64_t scale) {
  const int64_t t = v * gain;
  return scale == 255 ? (2 * t + 255) / 510 : (t + 16383) >> 15;
}
inline float Gained(float v, int64_t gain, int64_t) {
  return v * (static_cast<float>(gain) / 32768.0f);
}

template <class Wide>
Wide Accumulated(int32_t mode, Wide s, Wide d, Wide top) {
  if (mode == VX_UnoAccumulate_Subtract) return Min(Max(d - s, Wide{0}), top);
  return Min(mode == VX_UnoAccumulate_Add ? d + s : s, top);
}

// Converts a sample to another depth. A sample of the same depth is unchanged.
template <class To, class From>
To SampleAs(From v) {
  if constexpr (std::is_same_v<From, uint16_t> && !std::is_same_v<To, From>) {
    v = Min<uint16_t>(v, 32768);
  }
  const typename OfSample<From>::Pixel pixel = {v, v, v, v};
  return Converted<typename OfSample<To>::Pixel>(pixel).red;
}

template <class Sample>
void Fade(double opacity, Plane<Sample>* plane) {
  EachSample(plane, [&](int64_t, int64_t, Sample* v) {
    *v = static_cast<Sample>(DepthOfSample<Sample>::Mul(*v, Scaled<Sample>(opacity)));
  });
}

template <class Sample>
void InvertAndFade(VX_Fixed opacity, Plane<Sample>* plane) {
  EachSample(plane, [&](int64_t, int64_t, Sample* v) { *v = Inverted(*v); });
  Fade(opacity / 65536.0, plane);
}

template <class From, class To>
void Convert(const Plane<From>& src, const M_Rect* rect, bool invert, Plane<To>* dst) {
  const Area area = Placed(src, rect, nullptr);
  EachSample(dst, [&](int64_t x, int64_t y, To* v) {
    if (!area.Covers(x, y)) return;
    *v = SampleAs<To>(src.At(x, y));
    if (invert) *v = Inverted(*v);
  });
}

template <class Sample>
void Transfer(const Plane<Sample>& src, const Plane<Sample>* mask, int32_t mode, const M_Rect* rect,
              const M_Point* point, Plane<Sample>* dst) {
  Area area = Placed(src, rect, point);
  if (mask != nullptr) area.x.Limit(mask->width), area.y.Limit(mask->height);
  EachSample(dst, [&](int64_t x, int64_t y, Sample* d) {
    if (area.Covers(x, y)) {
      const int64_t from_x = x - area.x.shift, from_y = y - area.y.shift;
      const Sample m = mask != nullptr ? mask->At(from_x, from_y)
                                       : static_cast<Sample>(DepthOfSample<Sample>::full);
      *d = Moved(src.At(from_x, from_y), m, *d);
    } else if (mode == 3 || mode == 5) {
      *d = 0;
    }
  });
}

// A gain of 1 leaves the samples unchanged.
template <class From, class Sum>
void Accumulate(const Plane<From>& src, int32_t mode, float src_gain, float dst_gain,
                const M_Rect* rect, const M_Point* point, Plane<Sum>* dst) {
  using Wide = typename DepthOfSample<Sum>::Wide;
  const Area area = Placed(src, rect, point);
  const int64_t scale = sizeof(From) == 1 ? 255 : 32768;
  const auto on_scale = [scale](float gain) {
    return static_cast<int64_t>(static_cast<double>(gain) * static_cast<double>(scale) + 0.5);
  };
  const Wide top = std::is_same_v<From, Sum> ? DepthOfSample<Sum>::full : Wide{65535};
  EachSample(dst, [&](int64_t x, int64_t y, Sum* d) {
    if (!area.Covers(x, y)) return;
    const Wide from = src.At(x - area.x.shift, y - area.y.shift);
    const Wide s = Gained(from, on_scale(src_gain), scale);
    *d = static_cast<Sum>(Accumulated(mode, s, Gained(Wide{*d}, on_scale(dst_gain), scale), top));
  });
}

// --- scans ---

template <class Sample>
Sample Quotient(SumOf<Sample> sum, int64_t rounding, int64_t divisor) {
  if constexpr (kFloat<Sample>) return static_cast<float>(sum / static_cast<double>(divisor));
  if constexpr (!kFloat<Sample>) return static_cast<Sample>((sum + rounding) / divisor);
}

// The sample at an index; the first or last sample outside of the line.
template <class Sample>
SumOf<Sample> Held(const std::vector<Sample>& line, int64_t at) {
  const int64_t last = static_cast<int64_t>(line.size()) - 1;
  return line[static_cast<size_t>(Max(int64_t{0}, Min(at, last)))];
}

// Replaces the samples from start - half up to end + half, as far as they are in the line, by the
// weighted mean of the window around each. `half` is half of the window's size.
template <class Sample>
void WeightedMeans(const std::vector<int32_t>& weights, bool rounded, int64_t start, int64_t end,
                   std::vector<Sample>* line) {
  const std::vector<Sample> before = *line;
  const int64_t half = static_cast<int64_t>(weights.size()) / 2;
  int64_t total = 0;
  for (const int32_t weight : weights) total += weight;
  const int64_t to = Min(end + half, static_cast<int64_t>(before.size()));
  for (int64_t i = Max(start - half, int64_t{0}); i < to; ++i) {
    SumOf<Sample> sum = 0;
    for (int64_t k = -half; k <= half; ++k) {
      sum += Held(before, i + k) * weights[static_cast<size_t>(k + half)];
    }
    (*line)[static_cast<size_t>(i)] = Quotient<Sample>(sum, rounded ? total / 2 : 0, total);
  }
}

// One pass of a window of 2n - 1 samples of weight 255 and one sample of weight f at each end.
// Samples before `from` and from `to` on are left out of the mean. Exception: if `to` is the end of
// the line, its last sample is repeated.
template <class Sample>
void SoftBoxPass(int64_t n, int64_t f, int64_t from, int64_t to, std::vector<Sample>* line) {
  const std::vector<Sample> before = *line;
  const bool at_end = to == static_cast<int64_t>(before.size());
  for (int64_t i = from; i < to; ++i) {
    SumOf<Sample> full = 0, outer = 0;
    int64_t divisor = (2 * n - 1) * 255;
    for (int64_t at = i - n; at <= i + n; ++at) {
      if (at < from || (at >= to && !at_end)) continue;
      const bool is_outer = at == i - n || at == i + n;
      if (is_outer && f == 0) continue;
      (is_outer ? outer : full) += Held(before, at);
      if (is_outer) divisor += f;
    }
    const SumOf<Sample> sum = full * 255 + outer * static_cast<SumOf<Sample>>(f);
    (*line)[static_cast<size_t>(i)] = Quotient<Sample>(sum, 128, divisor);
  }
}

// The half width of a box window. If it is at most 1, the scan is done by GaussianScan.
inline double SideOfBox(int32_t kind, VX_Fixed radius) {
  return (kind == 0 ? 1.4 : 1.0) * (radius / 65536.0) / 2.71;
}

// The weight of a window's two outer samples: the fraction of `side`, as 0..255.
inline int64_t OuterOfBox(double side) {
  return static_cast<int64_t>((side - static_cast<double>(static_cast<int64_t>(side))) * 255);
}

template <class Sample>
void GaussianScan(int32_t kind, int32_t start, int32_t end, VX_Fixed radius,
                  std::vector<Sample>* line) {
  if (radius <= 0 || start == end) return;
  if (kind == 1) {
    WeightedMeans(GaussianKernel(radius / 65536.0, 3, 1.0), true, start, end, line);
  } else {
    const int64_t half = ((radius >> 1) + int64_t{32768}) >> 16;
    const std::vector<int32_t> box(static_cast<size_t>(2 * half + 1), 1);
    WeightedMeans(box, false, start, end, line);
  }
}

template <class Sample>
void BoxScan(int32_t kind, int32_t start, int32_t end, VX_Fixed radius, std::vector<Sample>* line) {
  const double r = radius / 65536.0;
  const double g = SideOfBox(kind, radius);
  if (g <= 1.0) {
    GaussianScan(kind, start, end, radius, line);
    return;
  }
  if (start == end) return;
  const int64_t more = static_cast<int64_t>((kind == 0 ? 0.6 : 0.9) * r) + 3;
  const int64_t from = Max(start - more, int64_t{0});
  const int64_t to = Min(end + more, static_cast<int64_t>(line->size()));
  for (int pass = 0; pass < (kind == 0 ? 1 : 3); ++pass) {
    SoftBoxPass(static_cast<int64_t>(g) + 1, OuterOfBox(g), from, to, line);
  }
}

// Each pass extends the line on both sides by n copies of its end samples, and keeps only the part
// that was there before.
template <class Sample>
void FeatherLine(int32_t feather, VX_Fixed radius, std::vector<Sample>* line) {
  const auto length = static_cast<int32_t>(line->size());
  const double side = SideOfBox(feather, radius);
  if (feather == VX_Feather_Gaussian ||
      side <= 1.0) {  // GaussianScan repeats the end samples itself
    const bool bell = feather == VX_Feather_Gaussian;
    GaussianScan(bell ? VX_UnoScan_Gaussian : VX_UnoScan_Soft, 0, length, radius, line);
    return;
  }
  const int64_t n = static_cast<int64_t>(side) + 1;
  for (int pass = 0; pass < (feather == VX_Feather_Box ? 1 : 3); ++pass) {
    std::vector<Sample> longer;
    for (int64_t at = -n; at < length + n; ++at) {
      longer.push_back(static_cast<Sample>(Held(*line, at)));
    }
    SoftBoxPass(n, OuterOfBox(side), 0, length + 2 * n, &longer);
    line->assign(longer.begin() + n, longer.end() - n);
  }
}

template <class Sample>
void Feather(int32_t feather, VX_Fixed radius_x, VX_Fixed radius_y, Plane<Sample>* plane) {
  for (int64_t y = 0; y < plane->height; ++y) {
    std::vector<Sample> row;
    for (int64_t x = 0; x < plane->width; ++x) row.push_back(plane->At(x, y));
    FeatherLine(feather, radius_x, &row);
    for (int64_t x = 0; x < plane->width; ++x) plane->At(x, y) = row[static_cast<size_t>(x)];
  }
  for (int64_t x = 0; x < plane->width; ++x) {
    std::vector<Sample> column;
    for (int64_t y = 0; y < plane->height; ++y) column.push_back(plane->At(x, y));
    FeatherLine(feather, radius_y, &column);
    for (int64_t y = 0; y < plane->height; ++y) plane->At(x, y) = column[static_cast<size_t>(y)];
  }
}

}  // namespace vxref
