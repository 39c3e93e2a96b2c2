// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Colour space conversions of one pixel, for any depth.
//
// A component is computed in double at its final scale, with one division. For integer pixels both
// operands of this division are exact. Therefore a result that is exactly a half is represented
// exactly, and rounding is well defined.

#include <algorithm>
#include <array>
#include <cmath>
#include <type_traits>

#include "frame/VXp_PixelTraits.h"

template <class Pixel>
inline constexpr bool kVXp_IsFloat = std::is_same_v<Pixel, VX_PixelFloat>;

// VXp_Component is the type of H, L, S, Y, I and Q. VXp_Reading is the type of the attributes that
// VX_Luminance_Straight and similar calls return.
template <class Pixel>
using VXp_Component = std::conditional_t<kVXp_IsFloat<Pixel>, float, VX_Fixed>;
template <class Pixel>
using VXp_Reading = std::conditional_t<kVXp_IsFloat<Pixel>, float, int32_t>;
template <class Pixel>
inline constexpr double kVXp_ComponentScale = kVXp_IsFloat<Pixel> ? 1.0 : 65536.0;

template <class Result>
Result VXp_RoundedTo(double v) {
  if constexpr (std::is_floating_point_v<Result>) {
    return static_cast<Result>(v);
  } else {
    return static_cast<Result>(std::floor(v + 0.5));
  }
}

// Channels in the units of the pixel type.
struct VXp_Rgb {
  double r, g, b;

  template <class Pixel>
  static VXp_Rgb Of(const Pixel& p) {
    using Channel = VX_ChannelOf<Pixel>;
    const auto clamped = [](Channel c) -> double {
      if constexpr (kVXp_IsFloat<Pixel>) return c;
      return std::min<int32_t>(c, VXp_PixelTraits<Pixel>::kFull);
    };
    return {clamped(p.red), clamped(p.green), clamped(p.blue)};
  }

  // Stores r, g and b, given as 0..1, in a pixel. Alpha is unchanged.
  template <class Pixel>
  void StoreTo(Pixel* p) const {
    using Channel = VX_ChannelOf<Pixel>;
    constexpr double kFull = VXp_PixelTraits<Pixel>::kFull;
    const auto stored = [=](double v) {
      if constexpr (kVXp_IsFloat<Pixel>) return static_cast<Channel>(v);
      return VXp_RoundedTo<Channel>(std::clamp(v * kFull, 0.0, kFull));
    };
    p->red = stored(r);
    p->green = stored(g);
    p->blue = stored(b);
  }
};

// --- hue, lightness, saturation ------------------------------------------------------------------

template <class Pixel>
class VXp_HlsOf {
 public:
  explicit VXp_HlsOf(const Pixel& p)
      : c_(VXp_Rgb::Of(p)),
        max_(std::max({c_.r, c_.g, c_.b})),
        min_(std::min({c_.r, c_.g, c_.b})) {}

  // Returns the hue in degrees times `scale`.
  double Hue(double scale) const {
    if (Range() == 0.0) return 0.0;
    if (max_ == c_.r) return Sector(c_.g - c_.b, c_.g < c_.b ? 360.0 : 0.0, scale);
    if (max_ == c_.g) return Sector(c_.b - c_.r, 120.0, scale);
    return Sector(c_.r - c_.g, 240.0, scale);
  }
  double Lightness(double scale) const { return scale * Sum() / (2.0 * kFull); }
  double Saturation(double scale) const {
    const double divisor = Sum() <= kFull ? Sum() : 2.0 * kFull - Sum();
    return Range() == 0.0 || divisor == 0.0 ? 0.0 : scale * Range() / divisor;
  }

 private:
  static constexpr double kFull = VXp_PixelTraits<Pixel>::kFull;

  double Range() const { return max_ - min_; }
  double Sum() const { return max_ + min_; }
  double Sector(double difference, double start, double scale) const {
    return scale * start + scale * 60.0 * difference / Range();
  }

  VXp_Rgb c_;
  double max_, min_;
};

// Returns the value of a channel relative to the smallest (0) and largest (1) channel. `degrees` is
// the hue plus an offset for the channel, 0..480.
inline double VXp_HueShare(double degrees) {
  const double d = degrees >= 360.0 ? degrees - 360.0 : degrees;
  if (d < 60.0) return d / 60.0;
  if (d < 180.0) return 1.0;
  if (d < 240.0) return (240.0 - d) / 60.0;
  return 0.0;
}

inline VXp_Rgb VXp_RgbOfHls(double h, double l, double s) {
  const double max = l <= 0.5 ? l + l * s : l + s - l * s;
  const double min = 2.0 * l - max;
  double degrees = std::fmod(h, 360.0);
  if (degrees < 0.0) degrees += 360.0;
  const auto channel = [=](double ahead) {
    const double share = VXp_HueShare(degrees + ahead);
    return share == 1.0 ? max : min + (max - min) * share;
  };
  return {channel(120.0), channel(0.0), channel(240.0)};
}

// --- YIQ -----------------------------------------------------------------------------------------

// The rows of the matrix for Y, I and Q, times 1000, so that sums of integer channels are exact.
using VXp_Matrix3 = std::array<std::array<double, 3>, 3>;
inline constexpr VXp_Matrix3 kVXp_Yiq = {
    {{299.0, 587.0, 114.0}, {596.0, -274.0, -322.0}, {211.0, -523.0, 312.0}}};

constexpr VXp_Matrix3 VXp_Inverse(const VXp_Matrix3& m) {
  VXp_Matrix3 cofactors{};
  for (size_t i = 0; i < 3; ++i) {
    for (size_t j = 0; j < 3; ++j) {
      const size_t i1 = (i + 1) % 3, i2 = (i + 2) % 3, j1 = (j + 1) % 3, j2 = (j + 2) % 3;
      cofactors[i][j] = m[i1][j1] * m[i2][j2] - m[i1][j2] * m[i2][j1];
    }
  }
  const double determinant =
      m[0][0] * cofactors[0][0] + m[0][1] * cofactors[0][1] + m[0][2] * cofactors[0][2];
  VXp_Matrix3 inverse{};
  for (size_t i = 0; i < 3; ++i) {
    for (size_t j = 0; j < 3; ++j) inverse[i][j] = cofactors[j][i] / determinant;
  }
  return inverse;
}

inline constexpr VXp_Matrix3 kVXp_YiqBack = VXp_Inverse(kVXp_Yiq);

inline double VXp_Dot(const std::array<double, 3>& row, double a, double b, double c) {
  return row[0] * a + row[1] * b + row[2] * c;
}

// --- the calls -----------------------------------------------------------------------------------

template <class Pixel>
VX_Err VXp_RgbToHls(const Pixel* rgb, VXp_Component<Pixel>* hls) {
  if (rgb == nullptr || hls == nullptr) return VX_ErrBadParameter;
  constexpr double kScale = kVXp_ComponentScale<Pixel>;
  const VXp_HlsOf<Pixel> of(*rgb);
  hls[0] = VXp_RoundedTo<VXp_Component<Pixel>>(of.Hue(kScale));
  hls[1] = VXp_RoundedTo<VXp_Component<Pixel>>(of.Lightness(kScale));
  hls[2] = VXp_RoundedTo<VXp_Component<Pixel>>(of.Saturation(kScale));
  return VX_Ok;
}

template <class Pixel>
VX_Err VXp_HlsToRgb(const VXp_Component<Pixel>* hls, Pixel* rgb) {
  if (hls == nullptr || rgb == nullptr) return VX_ErrBadParameter;
  constexpr double kScale = kVXp_ComponentScale<Pixel>;
  VXp_RgbOfHls(hls[0] / kScale, hls[1] / kScale, hls[2] / kScale).StoreTo(rgb);
  return VX_Ok;
}

template <class Pixel>
VX_Err VXp_RgbToYiq(const Pixel* rgb, VXp_Component<Pixel>* yiq) {
  if (rgb == nullptr || yiq == nullptr) return VX_ErrBadParameter;
  constexpr double kWhole = 1000.0 * VXp_PixelTraits<Pixel>::kFull;
  const VXp_Rgb c = VXp_Rgb::Of(*rgb);
  for (size_t i = 0; i < 3; ++i) {
    const double sum = VXp_Dot(kVXp_Yiq[i], c.r, c.g, c.b);
    yiq[i] = VXp_RoundedTo<VXp_Component<Pixel>>(kVXp_ComponentScale<Pixel> * sum / kWhole);
  }
  return VX_Ok;
}

template <class Pixel>
VX_Err VXp_YiqToRgb(const VXp_Component<Pixel>* yiq, Pixel* rgb) {
  if (yiq == nullptr || rgb == nullptr) return VX_ErrBadParameter;
  constexpr double kScale = 1000.0 / kVXp_ComponentScale<Pixel>;
  const auto channel = [=](size_t i) {
    return VXp_Dot(kVXp_YiqBack[i], yiq[0], yiq[1], yiq[2]) * kScale;
  };
  VXp_Rgb{channel(0), channel(1), channel(2)}.StoreTo(rgb);
  return VX_Ok;
}

template <class Pixel>
VX_Err VXp_ReadLuminance(const Pixel* rgb, VXp_Reading<Pixel>* out) {
  if (rgb == nullptr || out == nullptr) return VX_ErrBadParameter;
  using T = VXp_PixelTraits<Pixel>;
  const VXp_Rgb c = VXp_Rgb::Of(*rgb);
  const auto work = [](double v) { return static_cast<typename T::Work>(v); };
  *out = T::Luma(work(c.r), work(c.g), work(c.b));
  return VX_Ok;
}

// Stores one of H, L and S, multiplied by the full scale of the pixel.
template <class Pixel>
VX_Err VXp_ReadHls(const Pixel* rgb, double (VXp_HlsOf<Pixel>::*component)(double) const,
                   VXp_Reading<Pixel>* out) {
  if (rgb == nullptr || out == nullptr) return VX_ErrBadParameter;
  const VXp_HlsOf<Pixel> of(*rgb);
  *out = VXp_RoundedTo<VXp_Reading<Pixel>>((of.*component)(VXp_PixelTraits<Pixel>::kFull));
  return VX_Ok;
}
