// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The value types of textures: colours with four or three channels, and motion vectors.
//
// Integer colours are converted to float without scaling before any arithmetic, and are clamped to
// their range and rounded to nearest when converted back.

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "VX/VX_Types.h"

// Packed, because the rows of a world may start at any byte.
template <class T, int32_t kMinimum, int32_t kMaximum, int32_t kScale, bool kIsInteger>
struct __attribute__((packed)) FnARGBBase {
  using Channel = T;
  static constexpr float kMin = kMinimum, kMax = kMaximum;
  static constexpr bool kInteger = kIsInteger;
  T alpha, red, green, blue;
};

template <class T, int32_t kMinimum, int32_t kMaximum, int32_t kScale, bool kIsInteger>
struct FnRGBABase {
  using Channel = T;
  static constexpr float kMin = kMinimum, kMax = kMaximum;
  static constexpr bool kInteger = kIsInteger;
  T red, green, blue, alpha;
};

template <class T, int32_t kMinimum, int32_t kMaximum, int32_t kScale, bool kIsInteger>
struct FnRGBBase {
  using Channel = T;
  T red, green, blue;
};

template <class Base>
struct FnRGBACol : Base {
  // Four floats are computed as one vector.
  static constexpr bool kVector = std::is_same_v<typename Base::Channel, float>;
  using Vector __attribute__((vector_size(16))) = float;
  Vector ToVector() const {
    Vector v;
    std::memcpy(&v, this, sizeof v);
    return v;
  }
  static FnRGBACol FromVector(const Vector& v) {
    FnRGBACol c;
    std::memcpy(&c, &v, sizeof v);
    return c;
  }

  static FnRGBACol Of(typename Base::Channel a, typename Base::Channel r, typename Base::Channel g,
                      typename Base::Channel b) {
    FnRGBACol c;
    c.alpha = a, c.red = r, c.green = g, c.blue = b;
    return c;
  }
  friend bool operator==(const FnRGBACol& a, const FnRGBACol& b) {
    return a.alpha == b.alpha && a.red == b.red && a.green == b.green && a.blue == b.blue;
  }
  friend FnRGBACol operator+(const FnRGBACol& a, const FnRGBACol& b) {
    if constexpr (kVector) return FromVector(a.ToVector() + b.ToVector());
    return Of(a.alpha + b.alpha, a.red + b.red, a.green + b.green, a.blue + b.blue);
  }
  friend FnRGBACol operator-(const FnRGBACol& a, const FnRGBACol& b) {
    if constexpr (kVector) return FromVector(a.ToVector() - b.ToVector());
    return Of(a.alpha - b.alpha, a.red - b.red, a.green - b.green, a.blue - b.blue);
  }
  friend FnRGBACol operator*(const FnRGBACol& a, float k) {
    if constexpr (kVector) return FromVector(a.ToVector() * k);
    return Of(a.alpha * k, a.red * k, a.green * k, a.blue * k);
  }
};

template <class Base>
struct FnRGBCol : Base {
  friend FnRGBCol operator+(const FnRGBCol& a, const FnRGBCol& b) {
    FnRGBCol c;
    c.red = a.red + b.red, c.green = a.green + b.green, c.blue = a.blue + b.blue;
    return c;
  }
  friend FnRGBCol operator-(const FnRGBCol& a, const FnRGBCol& b) {
    FnRGBCol c;
    c.red = a.red - b.red, c.green = a.green - b.green, c.blue = a.blue - b.blue;
    return c;
  }
  friend FnRGBCol operator*(const FnRGBCol& a, float k) {
    FnRGBCol c;
    c.red = a.red * k, c.green = a.green * k, c.blue = a.blue * k;
    return c;
  }
};

// The colours of worlds, and the float colours that they are computed in.
using FnColor8 = FnRGBACol<FnARGBBase<uint8_t, 0, 255, 255, true>>;
using FnColor16 = FnRGBACol<FnARGBBase<uint16_t, 0, 65535, 65535, true>>;
using FnColorFloat = FnRGBACol<FnARGBBase<float, 0, 1, 1, false>>;
using FnColorSum = FnRGBACol<FnRGBABase<float, 0, 1, 1, false>>;
using FnColor3 = FnRGBCol<FnRGBBase<float, 0, 1, 1, false>>;

static_assert(sizeof(FnColor8) == sizeof(VX_Pixel8) && sizeof(FnColor16) == sizeof(VX_Pixel16) &&
              sizeof(FnColorFloat) == sizeof(VX_PixelFloat));

// The texture colour of a world's pixel type, and its full scale, which is not the maximum of the
// type at 16 bits.
template <class Pixel>
struct FnColorOfPixel;
template <>
struct FnColorOfPixel<VX_Pixel8> {
  using Type = FnColor8;
  static constexpr int32_t kFull = 255;
};
template <>
struct FnColorOfPixel<VX_Pixel16> {
  using Type = FnColor16;
  static constexpr int32_t kFull = 32768;
};
template <>
struct FnColorOfPixel<VX_PixelFloat> {
  using Type = FnColorFloat;
  static constexpr int32_t kFull = 1;
};

// A motion vector, in pixels of the map that contains it. Vector v at pixel (x, y) refers to the
// position (x + 0.5 - v.x, y + 0.5 + v.y) of the other frame.
struct HvVec2 {
  float x, y;

  static HvVec2 Invalid() { return {FLT_MAX, 0}; }
  bool IsValid() const { return x != FLT_MAX; }
  float L1() const { return std::fabs(x) + std::fabs(y); }
  // Divided by the Euclidean length; a zero vector stays zero.
  HvVec2 Normalised() const {
    const float length = std::sqrt(x * x + y * y);
    return length > 0 ? HvVec2{x / length, y / length} : HvVec2{0, 0};
  }
  friend bool operator==(const HvVec2& a, const HvVec2& b) { return a.x == b.x && a.y == b.y; }
  friend HvVec2 operator+(const HvVec2& a, const HvVec2& b) { return {a.x + b.x, a.y + b.y}; }
  friend HvVec2 operator-(const HvVec2& a, const HvVec2& b) { return {a.x - b.x, a.y - b.y}; }
  friend HvVec2 operator*(const HvVec2& a, float k) { return {a.x * k, a.y * k}; }
};

// a at t = 0, b at t = 1.
inline HvVec2 FnLerp(const HvVec2& a, const HvVec2& b, float t) { return a + (b - a) * t; }

// Conversions between the stored type of a texture and the type that it is computed in. A type that
// is its own compute type is unchanged.
template <class Compute, class Stored>
Compute FnToCompute(const Stored& c) {
  if constexpr (std::is_same_v<Compute, Stored>) {
    return c;
  } else if constexpr (std::is_same_v<Compute, FnColorFloat>) {
    // The channels of both are in the same order.
    using Channels __attribute__((vector_size(4 * sizeof(c.alpha)))) = decltype(c.alpha);
    Channels channels;
    std::memcpy(&channels, &c, sizeof channels);
    return Compute::FromVector(__builtin_convertvector(channels, FnColorFloat::Vector));
  } else {
    return Compute::Of(c.alpha, c.red, c.green, c.blue);
  }
}

// NaN becomes the minimum.
template <class Stored, class Compute>
Stored FnFromCompute(const Compute& c) {
  if constexpr (std::is_same_v<Compute, Stored>) {
    return c;
  } else {
    using Channel = typename Stored::Channel;
    const auto channel = [](float value) {
      if constexpr (Stored::kInteger) {
        const float low = value > Stored::kMin ? value : Stored::kMin;
        const float limited = low < Stored::kMax ? low : Stored::kMax;
        return static_cast<Channel>(static_cast<int32_t>(limited + 0.5f));
      } else {
        return static_cast<Channel>(value);
      }
    };
    return Stored::Of(channel(c.alpha), channel(c.red), channel(c.green), channel(c.blue));
  }
}

// A computed colour as it is stored in a world: integer channels are also limited to the full scale
// of the depth, which at 16 bits is below the maximum of the type.
template <class Pixel>
typename FnColorOfPixel<Pixel>::Type FnToWorld(FnColorFloat c) {
  using Color = typename FnColorOfPixel<Pixel>::Type;
  if constexpr (Color::kInteger) {
    constexpr auto kFull = static_cast<float>(FnColorOfPixel<Pixel>::kFull);
    const auto limited = [](float value) { return value < kFull ? value : kFull; };
    c = FnColorFloat::Of(limited(c.alpha), limited(c.red), limited(c.green), limited(c.blue));
  }
  return FnFromCompute<Color>(c);
}
