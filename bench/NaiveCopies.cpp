// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "NaiveCopies.h"

#include <algorithm>

#include "Content.h"

namespace {

template <class To, class From>
VX_ChannelOf<To> Convert(VX_ChannelOf<From> c) {
  constexpr int from = kDepthOf<From>;
  constexpr int to = kDepthOf<To>;
  if constexpr (from == to) {
    return c;
  } else if constexpr (from == 32) {
    const double unit = std::clamp(static_cast<double>(c), 0.0, 1.0);
    return static_cast<VX_ChannelOf<To>>(static_cast<int32_t>(unit * kFullScaleOf<To> + 0.5));
  } else if constexpr (to == 32) {
    return static_cast<float>(c) * (1.0f / static_cast<float>(kFullScaleOf<From>));
  } else if constexpr (to == 16) {
    return static_cast<uint16_t>((c * 32768u + 128u) / 255u);
  } else {
    return static_cast<uint8_t>((c * 255u + 16384u) >> 15);
  }
}

}  // namespace

template <class Pixel>
void NaiveFill(Pixel color, Pixel* dst, size_t count) {
  for (size_t i = 0; i < count; ++i) dst[i] = color;
}

template <class To, class From>
void NaiveConvert(const From* src, To* dst, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    const From p = src[i];
    dst[i] = {Convert<To, From>(p.alpha), Convert<To, From>(p.red), Convert<To, From>(p.green),
              Convert<To, From>(p.blue)};
  }
}

template <class Pixel>
void NaiveScale(const Pixel* src, NaiveSize from, Pixel* dst, NaiveSize to) {
  const int32_t x_step = (from.width << 16) / to.width;
  const int32_t y_step = (from.height << 16) / to.height;
  for (int32_t y = 0; y < to.height; ++y) {
    const Pixel* const row = src + ptrdiff_t{y * y_step >> 16} * from.width;
    for (int32_t x = 0; x < to.width; ++x) *dst++ = row[x * x_step >> 16];
  }
}

template void NaiveFill(VX_Pixel8, VX_Pixel8*, size_t);
template void NaiveFill(VX_Pixel16, VX_Pixel16*, size_t);
template void NaiveFill(VX_PixelFloat, VX_PixelFloat*, size_t);

template void NaiveConvert(const VX_Pixel8*, VX_Pixel8*, size_t);
template void NaiveConvert(const VX_Pixel8*, VX_Pixel16*, size_t);
template void NaiveConvert(const VX_Pixel8*, VX_PixelFloat*, size_t);
template void NaiveConvert(const VX_Pixel16*, VX_Pixel8*, size_t);
template void NaiveConvert(const VX_Pixel16*, VX_Pixel16*, size_t);
template void NaiveConvert(const VX_Pixel16*, VX_PixelFloat*, size_t);
template void NaiveConvert(const VX_PixelFloat*, VX_Pixel8*, size_t);
template void NaiveConvert(const VX_PixelFloat*, VX_Pixel16*, size_t);
template void NaiveConvert(const VX_PixelFloat*, VX_PixelFloat*, size_t);

template void NaiveScale(const VX_Pixel8*, NaiveSize, VX_Pixel8*, NaiveSize);
template void NaiveScale(const VX_Pixel16*, NaiveSize, VX_Pixel16*, NaiveSize);
template void NaiveScale(const VX_PixelFloat*, NaiveSize, VX_PixelFloat*, NaiveSize);
