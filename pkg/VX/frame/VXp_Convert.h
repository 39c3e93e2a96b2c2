// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Conversion of channels and pixels between depths. All four channels are converted by the same
// rule.
//
//   8 to 16         (c * 32768 + 128) / 255; 255 becomes 32768, 128 becomes 16448
//   16 to 8         (c * 255 + 16384) >> 15; for c above 32768 the low 8 bits of this
//   8 to float      c * (float nearest to 1/255); 255 becomes exactly 1
//   16 to float     c / 32768, exact
//   float to 8, 16  clamped to 0..1, scaled, 0.5 added, truncated; NaN becomes 0
//
// Float to integer is computed in double, because the sum with 0.5 rounds differently in single
// precision: 0.7f becomes 178 at 8 bits, but would become 179.

#include <cstdint>
#include <type_traits>

#include "VX/VX_Types.h"

// Number of bits per channel of a pixel type.
template <class Pixel>
inline constexpr int32_t kVXp_DepthOf = static_cast<int32_t>(sizeof(Pixel)) * 2;

// 0x3B808081, the float nearest to 1/255.
inline constexpr float kVXp_ByteToUnit = 0x1.010102p-8f;
inline constexpr float kVXp_WordToUnit = 0x1p-15f;

// Clamps to 0..1 in double. Written so that NaN becomes 0 and the compiler uses max and min
// instructions.
constexpr double VXp_ClampUnit(float c) {
  const double value = c;
  const double positive = value > 0.0 ? value : 0.0;
  return positive < 1.0 ? positive : 1.0;
}

template <class To, class From>
constexpr VX_ChannelOf<To> VXp_ConvertChannel(VX_ChannelOf<From> c) {
  using Channel = VX_ChannelOf<To>;
  constexpr int32_t to = kVXp_DepthOf<To>;
  constexpr int32_t from = kVXp_DepthOf<From>;
  static_assert((to == 8 || to == 16 || to == 32) && (from == 8 || from == 16 || from == 32));
  if constexpr (to == from) {
    return c;
  } else if constexpr (from == 8 && to == 16) {
    return static_cast<Channel>((uint32_t{c} * 32768u + 128u) / 255u);
  } else if constexpr (from == 16 && to == 8) {
    return static_cast<Channel>((uint32_t{c} * 255u + 16384u) >> 15);
  } else if constexpr (from == 8) {
    return static_cast<float>(c) * kVXp_ByteToUnit;
  } else if constexpr (from == 16) {
    return static_cast<float>(c) * kVXp_WordToUnit;
  } else {
    constexpr double scale = to == 8 ? 255.0 : 32768.0;
    return static_cast<Channel>(static_cast<int32_t>(VXp_ClampUnit(c) * scale + 0.5));
  }
}

template <class To, class From>
constexpr To VXp_ConvertPixel(const From& p) {
  return To{VXp_ConvertChannel<To, From>(p.alpha), VXp_ConvertChannel<To, From>(p.red),
            VXp_ConvertChannel<To, From>(p.green), VXp_ConvertChannel<To, From>(p.blue)};
}
