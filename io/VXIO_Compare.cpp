// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO/VXIO_Compare.h"

#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "VX/VX.hpp"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

double Difference(double a, double b) {
  if (a == b || (std::isnan(a) && std::isnan(b))) return 0;
  double difference = std::fabs(a - b);
  return std::isnan(difference) ? kInfinity : difference;
}

template <class Pixel>
std::array<double, 4> Differences(const Pixel& a, const Pixel& b) {
  return {Difference(a.alpha, b.alpha), Difference(a.red, b.red), Difference(a.green, b.green),
          Difference(a.blue, b.blue)};
}

void RequireAlike(const VX_LayerDef& a, const VX_LayerDef& b) {
  if (a.width != b.width || a.height != b.height || VXp_WorldDepth(&a) != VXp_WorldDepth(&b)) {
    throw std::invalid_argument("worlds to compare must have one size and one depth");
  }
}

template <class Pixel>
VXIO_Comparison Compare(vx::ConstView<Pixel> a, vx::ConstView<Pixel> b) {
  VXIO_Comparison result;
  VXIO_ChannelDifference* channels[4] = {&result.alpha, &result.red, &result.green, &result.blue};
  double squares = 0;
  for (int32_t y = 0; y < a.height(); ++y) {
    const Pixel* row_a = a.row(y).data();
    const Pixel* row_b = b.row(y).data();
    for (int32_t x = 0; x < a.width(); ++x) {
      std::array<double, 4> difference = Differences(row_a[x], row_b[x]);
      bool differs = false;
      for (size_t i = 0; i < 4; ++i) {
        differs = differs || difference[i] != 0;
        channels[i]->mean += difference[i];
        channels[i]->largest = std::max(channels[i]->largest, difference[i]);
        squares += difference[i] * difference[i];
        if (difference[i] > result.largest) {
          result.largest = difference[i];
          result.x = x;
          result.y = y;
        }
      }
      result.different_pixels += differs;
    }
  }
  const double pixels = static_cast<double>(a.width()) * a.height();
  for (VXIO_ChannelDifference* channel : channels) channel->mean /= pixels;
  result.equal = result.different_pixels == 0;
  const double peak = vx::PixelTraits<Pixel>::full_scale;
  result.psnr = result.equal ? kInfinity : 10 * std::log10(peak * peak / (squares / (4 * pixels)));
  return result;
}

template <class Pixel>
void Paint(vx::ConstView<Pixel> a, vx::ConstView<Pixel> b, vx::View<Pixel> out) {
  using Channel = typename vx::PixelTraits<Pixel>::Channel;
  for (int32_t y = 0; y < a.height(); ++y) {
    const Pixel* row_a = a.row(y).data();
    const Pixel* row_b = b.row(y).data();
    Pixel* to = out.row(y).data();
    for (int32_t x = 0; x < a.width(); ++x) {
      std::array<double, 4> difference = Differences(row_a[x], row_b[x]);
      to[x].alpha = vx::PixelTraits<Pixel>::full_scale;
      to[x].red = static_cast<Channel>(std::max(difference[0], difference[1]));
      to[x].green = static_cast<Channel>(std::max(difference[0], difference[2]));
      to[x].blue = static_cast<Channel>(std::max(difference[0], difference[3]));
    }
  }
}

}  // namespace

VXIO_Comparison VXIO_Compare(const VX_LayerDef& a, const VX_LayerDef& b) {
  RequireAlike(a, b);
  const vx::AnyConstView first(a), second(b);
  return vx::visit_depth(first.depth(), [&]<class Pixel>() {
    return Compare<Pixel>(first.as<Pixel>(), second.as<Pixel>());
  });
}

VXIO_WorldPtr VXIO_DifferencePicture(const VX_LayerDef& a, const VX_LayerDef& b) {
  RequireAlike(a, b);
  const vx::AnyConstView first(a), second(b);
  vx::Image out = vx::Image::uninitialized(a.width, a.height, first.depth());
  vx::visit_depth(first.depth(), [&]<class Pixel>() {
    Paint<Pixel>(first.as<Pixel>(), second.as<Pixel>(), out.view<Pixel>());
  });
  return out.release();
}
