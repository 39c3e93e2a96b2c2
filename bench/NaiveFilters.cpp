// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "NaiveFilters.h"

#include <algorithm>
#include <numeric>

template <class Pixel>
void NaiveConvolve(const Frame<Pixel>& src, int32_t size, const int32_t* kernel, Pixel* dst) {
  using Channel = VX_ChannelOf<Pixel>;
  using Sum = std::conditional_t<kDepthOf<Pixel> == 32, float, int32_t>;
  const int32_t half = size / 2;
  const auto divisor = static_cast<Sum>(std::accumulate(kernel, kernel + size * size, 0));
  const auto mean = [divisor](Sum sum) {
    return static_cast<Channel>(std::clamp<Sum>(sum / divisor, 0, kFullScaleOf<Pixel>));
  };
  for (int32_t y = 0; y < src.height; ++y) {
    const int32_t top = std::max(-half, -y), bottom = std::min(half, src.height - 1 - y);
    for (int32_t x = 0; x < src.width; ++x) {
      const int32_t left = std::max(-half, -x), right = std::min(half, src.width - 1 - x);
      Sum alpha = 0, red = 0, green = 0, blue = 0;
      for (int32_t j = top; j <= bottom; ++j) {
        const Pixel* const pixels = src.pixels.data() + ptrdiff_t{y + j} * src.width + x;
        const int32_t* const weights = kernel + (j + half) * size + half;
        for (int32_t i = left; i <= right; ++i) {
          const auto weight = static_cast<Sum>(weights[i]);
          alpha += weight * pixels[i].alpha;
          red += weight * pixels[i].red;
          green += weight * pixels[i].green;
          blue += weight * pixels[i].blue;
        }
      }
      *dst++ = {mean(alpha), mean(red), mean(green), mean(blue)};
    }
  }
}

template void NaiveConvolve(const Frame<VX_Pixel8>&, int32_t, const int32_t*, VX_Pixel8*);
template void NaiveConvolve(const Frame<VX_Pixel16>&, int32_t, const int32_t*, VX_Pixel16*);
template void NaiveConvolve(const Frame<VX_PixelFloat>&, int32_t, const int32_t*, VX_PixelFloat*);
