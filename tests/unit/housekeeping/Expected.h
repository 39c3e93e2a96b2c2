// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Conversions from their definitions, in long double, for comparison with what the library stores.

#include <cmath>
#include <cstdint>

#include "VX/VX_Types.h"

template <class To, class From>
VX_ChannelOf<To> WantChannel(VX_ChannelOf<From> c) {
  using Channel = VX_ChannelOf<To>;
  constexpr size_t to = sizeof(Channel), from = sizeof(c);
  const long double value = c;
  if constexpr (to == from) {
    return c;
  } else if constexpr (to == 4) {
    // A byte's product with the constant is exact before it is rounded to a float.
    return from == 1 ? static_cast<float>(value * 8421505.0L / 2147483648.0L)
                     : static_cast<float>(value / 32768.0L);
  } else if constexpr (from == 4) {
    const long double full = to == 1 ? 255.0L : 32768.0L;
    if (std::isnan(c) || c < 0) return 0;
    return static_cast<Channel>(c > 1 ? full : std::floor(value * full + 0.5L));
  } else if constexpr (to == 2) {
    return static_cast<Channel>(std::floor((value * 32768.0L + 128.0L) / 255.0L));
  } else {
    return static_cast<Channel>(static_cast<int32_t>((value * 255.0L + 16384.0L) / 32768.0L));
  }
}

template <class To, class From>
To WantPixel(const From& p) {
  return {WantChannel<To, From>(p.alpha), WantChannel<To, From>(p.red),
          WantChannel<To, From>(p.green), WantChannel<To, From>(p.blue)};
}

// Full scale of a channel.
template <class Pixel>
inline constexpr VX_ChannelOf<Pixel> kFull = static_cast<VX_ChannelOf<Pixel>>(sizeof(Pixel) == 4
                                                                                  ? 255
                                                                              : sizeof(Pixel) == 8
                                                                                  ? 32768
                                                                                  : 1);
