// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of the samplers: a function for each interpolation rule and each signature.
//
// They always check bounds. A sampler of the product that does not is compared only at positions
// where all pixels that it reads are inside the world. The caller must set the floating-point unit
// to round to nearest. `progress` is ignored; the result is 0.
// read; the result is 0.

#include <cmath>
#include <cstring>

#include "VX/VX_Sampling.h"

namespace vxref {

// The pixel at any column and row; the zero pixel outside of the world.
template <class Pixel>
Pixel PixelAt(const VX_LayerDef& world, int64_t column, int64_t row) {
  const bool in = column >= 0 && column < world.width && row >= 0 && row < world.height;
  return in ? At<Pixel>(world, column, row) : Pixel{};
}

// --- the four neighbours and their weights ---

template <class Pixel>
struct Neighbours {
  Pixel p00, p10, p01, p11;
  bool all_in;

  Neighbours(const VX_LayerDef& world, int64_t ix, int64_t iy)
      : p00(PixelAt<Pixel>(world, ix, iy)),
        p10(PixelAt<Pixel>(world, ix + 1, iy)),
        p01(PixelAt<Pixel>(world, ix, iy + 1)),
        p11(PixelAt<Pixel>(world, ix + 1, iy + 1)),
        all_in(ix >= 0 && ix + 1 < world.width && iy >= 0 && iy + 1 < world.height) {}

  bool SamePixels() const {
    return std::memcmp(&p00, &p10, sizeof p00) == 0 && std::memcmp(&p00, &p01, sizeof p00) == 0 &&
           std::memcmp(&p00, &p11, sizeof p00) == 0;
  }
  bool SameAlphas() const {
    return p00.alpha == p10.alpha && p00.alpha == p01.alpha && p00.alpha == p11.alpha;
  }
};

template <class Number>
struct Weights {
  Number w00, w10, w01, w11;
};

template <class Number>
Weights<Number> WeightsOf(uint16_t fx, uint16_t fy) {
  const Number a = static_cast<Number>(fx) * static_cast<Number>(1.52587890625e-05);
  const Number b = static_cast<Number>(fy) * static_cast<Number>(1.52587890625e-05);
  Weights<Number> w;
  w.w11 = a * b;
  w.w10 = a - w.w11;
  w.w01 = b - w.w11;
  w.w00 = 1 - w.w11 - w.w10 - w.w01;
  return w;
}

template <class Number>
Weights<Number> Given(const VX_SubpixelWeights& w) {
  return {static_cast<Number>(w.w00), static_cast<Number>(w.w10), static_cast<Number>(w.w01),
          static_cast<Number>(w.w11)};
}

// --- interpolation without rounding ---

template <class Number>
struct Color {
  Number alpha, red, green, blue;
};

template <class Number, class Channel>
Number Sum(const Weights<Number>& w, Channel c00, Channel c10, Channel c01, Channel c11) {
  return w.w00 * static_cast<Number>(c00) + w.w10 * static_cast<Number>(c10) +
         w.w01 * static_cast<Number>(c01) + w.w11 * static_cast<Number>(c11);
}

template <class Number, class Pixel>
Color<Number> Plain(const Weights<Number>& w, const Neighbours<Pixel>& n) {
  return {Sum(w, n.p00.alpha, n.p10.alpha, n.p01.alpha, n.p11.alpha),
          Sum(w, n.p00.red, n.p10.red, n.p01.red, n.p11.red),
          Sum(w, n.p00.green, n.p10.green, n.p01.green, n.p11.green),
          Sum(w, n.p00.blue, n.p10.blue, n.p01.blue, n.p11.blue)};
}

// Colours are weighted by alpha. If the alpha of the result is 0, its colours are NaN.
template <class Number, class Pixel>
Color<Number> ByAlpha(const Weights<Number>& w, const Neighbours<Pixel>& n) {
  const Weights<Number> s = {
      w.w00 * static_cast<Number>(n.p00.alpha), w.w10 * static_cast<Number>(n.p10.alpha),
      w.w01 * static_cast<Number>(n.p01.alpha), w.w11 * static_cast<Number>(n.p11.alpha)};
  const Number alpha = s.w00 + s.w10 + s.w01 + s.w11;
  const Number reciprocal = 1 / alpha;
  Color<Number> color = Plain(s, n);
  color.alpha = alpha;
  color.red *= reciprocal;
  color.green *= reciprocal;
  color.blue *= reciprocal;
  return color;
}

// --- rounding ---

inline uint8_t TiesToEven(double v) { return static_cast<uint8_t>(std::nearbyint(v)); }
template <class Channel, class Number>
Channel HalfUp(Number v) {
  return static_cast<Channel>(static_cast<int64_t>(v + static_cast<Number>(0.5)));
}
inline uint8_t Saturated(float v) {
  const float up = v + 0.5f;
  if (!(up >= 1.0f)) return 0;  // 0 for NaN too
  return up >= 255.0f ? 255 : static_cast<uint8_t>(up);
}

// --- interpolation rules ---

inline VX_Pixel8 MixScalar(const Weights<double>& w, const Neighbours<VX_Pixel8>& n) {
  if (n.SamePixels()) return n.p00;
  if (n.SameAlphas()) {
    if (n.p00.alpha == 0) return {};
    const Color<double> c = Plain(w, n);
    return {n.p00.alpha, TiesToEven(c.red), TiesToEven(c.green), TiesToEven(c.blue)};
  }
  const Color<double> c = ByAlpha(w, n);
  if (std::nearbyint(c.alpha) == 0) return {};
  return {TiesToEven(c.alpha), TiesToEven(c.red), TiesToEven(c.green), TiesToEven(c.blue)};
}

inline VX_Pixel16 HalfUp16(const Color<double>& c) {
  return {HalfUp<uint16_t>(c.alpha), HalfUp<uint16_t>(c.red), HalfUp<uint16_t>(c.green),
          HalfUp<uint16_t>(c.blue)};
}

inline VX_Pixel16 MixScalar(const Weights<double>& w, const Neighbours<VX_Pixel16>& n) {
  if (n.SamePixels()) return n.p00;
  if (n.SameAlphas()) {
    if (n.p00.alpha == 0) return {};
    VX_Pixel16 p = HalfUp16(Plain(w, n));
    p.alpha = n.p00.alpha;
    return p;
  }
  const Color<double> c = ByAlpha(w, n);
  return c.alpha < 0.5 ? VX_Pixel16{} : HalfUp16(c);
}

template <class Pixel>
Pixel MixPortable(const Weights<float>& w, const Neighbours<Pixel>& n) {
  using Channel = VX_ChannelOf<Pixel>;
  Color<float> c;
  if (n.SameAlphas()) {
    c = Plain(w, n);
    c.alpha = static_cast<float>(n.p00.alpha);
  } else {
    c = ByAlpha(w, n);
    if (c.alpha == 0) return {};
  }
  if constexpr (sizeof(Channel) == 4) {
    return {c.alpha, c.red, c.green, c.blue};
  } else {
    return {HalfUp<Channel>(c.alpha), HalfUp<Channel>(c.red), HalfUp<Channel>(c.green),
            HalfUp<Channel>(c.blue)};
  }
}

inline VX_PixelFloat MixScalar(const Weights<float>& w, const Neighbours<VX_PixelFloat>& n) {
  return MixPortable(w, n);
}

inline VX_Pixel8 MixSaturated(const Weights<float>& w, const Neighbours<VX_Pixel8>& n) {
  const Color<float> c = ByAlpha(w, n);
  return {Saturated(c.alpha), Saturated(c.red), Saturated(c.green), Saturated(c.blue)};
}

// Interpolates vertically in both columns, then horizontally between them.
inline uint8_t TwoSteps(float a, float b, float c00, float c10, float c01, float c11) {
  const float left = c00 + (c01 - c00) * b;
  const float right = c10 + (c11 - c10) * b;
  return Saturated(left + (right - left) * a);
}

inline VX_Pixel8 MixSingle(uint16_t fx, uint16_t fy, const Neighbours<VX_Pixel8>& n) {
  if (fx == 0 && fy == 0) return n.p00;
  const Weights<float> w = WeightsOf<float>(fx, fy);
  if (!n.SameAlphas()) {
    return ByAlpha(w, n).alpha < 0.5f ? VX_Pixel8{} : MixSaturated(w, n);
  }
  const float a = static_cast<float>(fx) / 65536.0f, b = static_cast<float>(fy) / 65536.0f;
  return {TwoSteps(a, b, n.p00.alpha, n.p10.alpha, n.p01.alpha, n.p11.alpha),
          TwoSteps(a, b, n.p00.red, n.p10.red, n.p01.red, n.p11.red),
          TwoSteps(a, b, n.p00.green, n.p10.green, n.p01.green, n.p11.green),
          TwoSteps(a, b, n.p00.blue, n.p10.blue, n.p01.blue, n.p11.blue)};
}

inline uint8_t IntegerSum(const int64_t (&w)[4], int64_t c00, int64_t c10, int64_t c01,
                          int64_t c11) {
  return static_cast<uint8_t>((w[0] * c00 + w[1] * c10 + w[2] * c01 + w[3] * c11 + 32768) >> 16);
}

inline VX_Pixel8 MixPremultiplied(int64_t fx, int64_t fy, const Neighbours<VX_Pixel8>& n) {
  int64_t w[4] = {0, fx * (65536 - fy) / 65536, fy * (65536 - fx) / 65536, fx * fy / 65536};
  w[0] = 65536 - w[1] - w[2] - w[3];
  return {IntegerSum(w, n.p00.alpha, n.p10.alpha, n.p01.alpha, n.p11.alpha),
          IntegerSum(w, n.p00.red, n.p10.red, n.p01.red, n.p11.red),
          IntegerSum(w, n.p00.green, n.p10.green, n.p01.green, n.p11.green),
          IntegerSum(w, n.p00.blue, n.p10.blue, n.p01.blue, n.p11.blue)};
}
// Rounds like the sampler for straight alpha of this depth.
inline VX_Pixel16 MixPremultiplied(uint16_t fx, uint16_t fy, const Neighbours<VX_Pixel16>& n) {
  return HalfUp16(Plain(WeightsOf<double>(fx, fy), n));
}
inline VX_PixelFloat MixPremultiplied(uint16_t fx, uint16_t fy,
                                      const Neighbours<VX_PixelFloat>& n) {
  const Color<float> c = Plain(WeightsOf<float>(fx, fy), n);
  return {c.alpha, c.red, c.green, c.blue};
}

// --- positions ---

inline uint16_t Rest(VX_Fixed position) { return static_cast<uint16_t>(position & 0xFFFF); }
template <class Pixel>
Neighbours<Pixel> Around(const VX_SampPB* record, VX_Fixed x, VX_Fixed y) {
  return Neighbours<Pixel>(*record->src, x >> 16, y >> 16);
}

// --- boxes ---

// The part of pixel n that a box around `position` covers, in 1/65536 pixel.
inline int64_t Covered(int64_t n, int64_t position, int64_t radius) {
  const int64_t low = position + 32768 - radius, high = position + 32768 + radius;
  const int64_t from = low > n * 65536 ? low : n * 65536;
  const int64_t to = high < (n + 1) * 65536 ? high : (n + 1) * 65536;
  return to > from ? to - from : 0;
}

// Sums over the covered pixels. A pixel's weight is its covered width times its covered height;
// colours are also multiplied by alpha if `by_alpha` is set.
template <class Number, class Pixel>
Color<Number> BoxSums(VX_Fixed x, VX_Fixed y, int64_t x_radius, int64_t y_radius,
                      const VX_LayerDef& world, bool by_alpha) {
  Color<Number> sum = {};
  for (int32_t row = 0; row < world.height; ++row) {
    for (int32_t column = 0; column < world.width; ++column) {
      const int64_t weight = Covered(column, x, x_radius) * Covered(row, y, y_radius);
      if (weight == 0) continue;
      const Pixel p = PixelAt<Pixel>(world, column, row);
      const Number w = static_cast<Number>(weight);
      const Number wa = w * static_cast<Number>(p.alpha), wc = by_alpha ? wa : w;
      sum.alpha += wa;
      sum.red += wc * static_cast<Number>(p.red);
      sum.green += wc * static_cast<Number>(p.green);
      sum.blue += wc * static_cast<Number>(p.blue);
    }
  }
  return sum;
}

__extension__ typedef __int128 Exact;

// With and without `by_alpha`, the result is the zero pixel if its alpha is rounded to 0 (integer
// depths), or if the sum of alphas is 0 (float).
template <class Pixel>
Pixel Box(bool by_alpha, VX_Fixed x, VX_Fixed y, const VX_SampPB& record) {
  using Channel = VX_ChannelOf<Pixel>;
  constexpr bool is_float = sizeof(Channel) == 4;
  using Number = std::conditional_t<is_float, long double, Exact>;
  const int64_t x_radius = record.x_radius < 32768 ? 32768 : record.x_radius;
  const int64_t y_radius = record.y_radius < 32768 ? 32768 : record.y_radius;
  const Number area = static_cast<Number>(2 * x_radius) * static_cast<Number>(2 * y_radius);
  const Color<Number> sum = BoxSums<Number, Pixel>(x, y, x_radius, y_radius, *record.src, by_alpha);
  const auto divided = [](Number n, Number d) {
    if constexpr (is_float) return static_cast<float>(n / d);
    if constexpr (!is_float) return static_cast<Channel>((2 * n + d) / (2 * d));
  };
  const Channel alpha = divided(sum.alpha, area);
  if (is_float ? sum.alpha == 0 : alpha == 0) return {};
  const Number part = by_alpha ? sum.alpha : area;
  return {alpha, divided(sum.red, part), divided(sum.green, part), divided(sum.blue, part)};
}

// --- the samplers ---

template <class Pixel>
VX_Err Nearest(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record, Pixel* out) {
  *out = PixelAt<Pixel>(*record->src, (int64_t{x} + 32768) >> 16, (int64_t{y} + 32768) >> 16);
  return 0;
}

// Weights in single precision. Four equal alphas are treated specially.
template <class Pixel>
VX_Err Portable(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record, Pixel* out) {
  *out = MixPortable(WeightsOf<float>(Rest(x), Rest(y)), Around<Pixel>(record, x, y));
  return 0;
}

// The rule of each depth for straight alpha. 8 and 16 bits: weights in double precision; positions
// on a pixel, four equal pixels and four equal alphas are treated specially. Float: as Portable.
template <class Pixel>
using WeightOf = std::conditional_t<sizeof(Pixel) == 16, float, double>;
template <class Pixel>
bool IsWhole(VX_Fixed x, VX_Fixed y) {
  return sizeof(Pixel) != 16 && Rest(x) == 0 && Rest(y) == 0;
}
template <class Pixel>
VX_Err Scalar(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record, Pixel* out) {
  const Neighbours<Pixel> n = Around<Pixel>(record, x, y);
  *out = IsWhole<Pixel>(x, y) ? n.p00 : MixScalar(WeightsOf<WeightOf<Pixel>>(Rest(x), Rest(y)), n);
  return 0;
}
template <class Pixel>
VX_Err ScalarAllIn(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                   uint8_t* all_in, Pixel* out) {
  *all_in = !IsWhole<Pixel>(x, y) && Around<Pixel>(record, x, y).all_in;
  return Scalar(nullptr, x, y, record, out);
}
template <class Pixel>
VX_Err ScalarWeighted(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SubpixelWeights* weights,
                      const VX_SampPB* record, Pixel* out) {
  *out = MixScalar(Given<WeightOf<Pixel>>(*weights), Around<Pixel>(record, x, y));
  return 0;
}
template <class Pixel>
VX_Err ScalarSpan(VX_ProgressInfo*, int32_t count, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                  uint32_t* alpha_sum, Pixel* out) {
  for (int32_t i = 0; i < count; ++i) {
    Scalar(nullptr, x + i * 65536, y, record, &out[i]);
    *alpha_sum += out[i].alpha;
  }
  return 0;
}

template <class Pixel>
VX_Err PortableSpan(VX_ProgressInfo*, int32_t count, VX_Fixed x, VX_Fixed y,
                    const VX_SampPB* record, VX_AlphaSumOf<Pixel>* alpha_sum, Pixel* out) {
  for (int32_t i = 0; i < count; ++i) {
    Portable(nullptr, x + i * 65536, y, record, &out[i]);
    *alpha_sum += out[i].alpha;
  }
  return 0;
}

// 8-bit samplers in single precision: the sampler slot on processors with SSE2, and the samplers of
// four pixels (_4).
inline VX_Err SinglePrecision(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                              VX_Pixel8* out) {
  *out = MixSingle(Rest(x), Rest(y), Around<VX_Pixel8>(record, x, y));
  return 0;
}
inline VX_Err Four(VX_ProgressInfo*, const VX_Fixed* positions, const VX_SampPB* record,
                   VX_Pixel8* out) {
  for (int i = 0; i < 4; ++i) {
    const VX_Fixed x = positions[2 * i], y = positions[2 * i + 1];
    out[i] = MixSaturated(WeightsOf<float>(Rest(x), Rest(y)), Around<VX_Pixel8>(record, x, y));
  }
  return 0;
}
inline VX_Err FourWeighted(VX_ProgressInfo*, const VX_Fixed* positions,
                           const VX_SubpixelWeights* weights, const VX_SampPB* record,
                           VX_Pixel8* out) {
  for (int i = 0; i < 4; ++i) {
    out[i] = MixSaturated(Given<float>(*weights),
                          Around<VX_Pixel8>(record, positions[2 * i], positions[2 * i + 1]));
  }
  return 0;
}

// Interpolates colours like alpha, for premultiplied worlds. Weights are integers at 8 bits,
// doubles at 16 bits, and single precision at float.
template <class Pixel>
VX_Err Premultiplied(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                     Pixel* out) {
  *out = MixPremultiplied(Rest(x), Rest(y), Around<Pixel>(record, x, y));
  return 0;
}

inline VX_Err ComputeWeight(uint16_t fx, uint16_t fy, VX_SubpixelWeights* out) {
  const Weights<double> w = WeightsOf<double>(fx, fy);
  *out = {w.w00, w.w10, w.w01, w.w11};
  return 0;
}

// The mean over a box, for straight alpha (colours weighted by alpha) and for premultiplied worlds.
// Integer depths use exact sums. Float uses long double sums that are rounded once, so that the
// product's double sums may differ in the last place.
template <class Pixel>
VX_Err BoxStraight(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record, Pixel* out) {
  *out = Box<Pixel>(true, x, y, *record);
  return 0;
}
template <class Pixel>
VX_Err BoxPremultiplied(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                        Pixel* out) {
  *out = Box<Pixel>(false, x, y, *record);
  return 0;
}

}  // namespace vxref
