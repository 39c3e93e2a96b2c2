// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Blurs and convolution.

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

#include "VX/VX_Blur.h"
#include "VX/VX_Convolve.h"
#include "VX/cpp/Progress.hpp"
#include "VX/cpp/View.hpp"

namespace vx {

// A radius in pixels along x and y; a single number is used for both.
struct Radius {
  Radius(double both) : x(both), y(both) {}  // NOLINT(google-explicit-constructor)
  Radius(double along_x, double along_y) : x(along_x), y(along_y) {}

  double x, y;
};

// --- blur ----------------------------------------------------------------------------------------

enum class BlurKind : int32_t { gaussian = VX_BlurKind_Gaussian, box = VX_BlurKind_Box };

struct Channels {
  bool alpha = true, red = true, green = true, blue = true;
};

struct BlurOptions {
  BlurKind kind = BlurKind::gaussian;
  Radius radius = 1;       // 0..32767; 0 leaves an axis unchanged
  int32_t iterations = 1;  // of a box, 1 or more; iterations * radius is at most 262,144
  Channels channels = {};  // the others keep the values of the source
  bool hold_level = true;  // false: edges fade, as if transparent pixels were around the source
  Point at = {};           // the source's top left corner in the destination
  Progress progress = {};
};

namespace detail {

inline VX_BlurSpec blur_spec(const BlurOptions& options) {
  const Channels& c = options.channels;
  return {static_cast<int32_t>(options.kind), static_cast<float>(options.radius.x),
          static_cast<float>(options.radius.y), options.iterations,
          (c.alpha ? VX_Blur_Alpha : 0) | (c.red ? VX_Blur_Red : 0) |
              (c.green ? VX_Blur_Green : 0) | (c.blue ? VX_Blur_Blue : 0) |
              (options.hold_level ? VX_Blur_HoldLevel : 0)};
}

}  // namespace detail

// Blurs straight pixels over both axes (VX_BlurWorld). A destination that is larger than the source
// also receives the part of the blur that is outside of the source.
//   dst, src  have the same depth and share no pixels
// Throws Error: bad_parameter, out_of_memory, stopped.
inline void blur(AnyView dst, AnyConstView src, const BlurOptions& options) {
  const VX_BlurSpec spec = detail::blur_spec(options);
  VX_LayerDef from = *src.descriptor(), to = *dst.descriptor();
  from.origin_x = options.at.x;
  from.origin_y = options.at.y;
  to.origin_x = to.origin_y = 0;
  detail::run(options.progress,
              [&](VX_ProgressInfo* progress) { return VX_BlurWorld(progress, &from, &spec, &to); });
}

// The number of pixels by which a blur extends the source on each side (VX_BlurReach).
inline Point blur_reach(const BlurOptions& options) {
  const VX_BlurSpec spec = detail::blur_spec(options);
  Point reach;
  detail::run([&] { return VX_BlurReach(&spec, &reach.x, &reach.y); });
  return reach;
}

// --- convolution ---------------------------------------------------------------------------------

// Integer weights in row order, top row first, not mirrored.
struct Kernel {
  std::vector<int32_t> weights;  // diameter * diameter, or diameter if one-dimensional
  int32_t diameter = 0;          // odd, at most 65,535
  bool one_dimensional = false;
};

struct GaussianKernelOptions {
  bool one_dimensional = false;
  bool normalize = true;  // scale the weights to an average of about 255
  double multiplier = 1;  // factor of the weights before they are limited to 0..255
};

// Returns a Gaussian kernel for a radius in pixels, 0..32767 (VX_GaussianKernel). Throws Error
// (bad_parameter).
inline Kernel gaussian_kernel(double radius, const GaussianKernelOptions& options = {}) {
  const int32_t flags = (options.one_dimensional ? VX_Kernel_OneDimensional : 0) |
                        (options.normalize ? VX_Kernel_Normalize : 0);
  if (!(radius >= 0 && radius <= 32767)) detail::refuse("the radius of a kernel is 0..32767");
  Kernel kernel{std::vector<int32_t>(static_cast<size_t>(VX_GaussianKernelSize(radius, flags))), 0,
                options.one_dimensional};
  detail::run([&] {
    return VX_GaussianKernel(nullptr, radius, flags, options.multiplier, &kernel.diameter,
                             kernel.weights.data());
  });
  return kernel;
}

struct ConvolveOptions {
  bool normalize = true;  // divide by the sum of the weights; false: by 256 * number of weights
  bool clamp = true;      // clamp results to 0..full scale; false: see VX_Kernel_NoClamp
  bool vertical = false;  // apply a one-dimensional kernel along the columns
  Progress progress = {};
};

// Applies a kernel to each channel (VX_Convolve). Edges fade toward transparent black.
//   dst, src  have the same depth and share no pixels
//   kernels   of alpha, red, green and blue; all have the same diameter and dimension
// Throws Error: bad_parameter, stopped.
inline void convolve(AnyView dst, AnyConstView src, const std::array<const Kernel*, 4>& kernels,
                     const ConvolveOptions& options = {}) {
  const Kernel& first = *kernels[0];
  const auto taps = static_cast<size_t>(first.diameter > 0 ? first.diameter : 0);
  for (const Kernel* kernel : kernels) {
    if (kernel->diameter != first.diameter || kernel->one_dimensional != first.one_dimensional) {
      detail::refuse("the kernels of a convolution differ in size");
    }
    if (taps % 2 == 0 || taps > 65535 ||
        kernel->weights.size() != (first.one_dimensional ? taps : taps * taps)) {
      detail::refuse("the weights of a kernel do not fit its diameter");
    }
  }
  const int32_t flags = (first.one_dimensional ? VX_Kernel_OneDimensional : 0) |
                        (options.normalize ? VX_Kernel_Normalize : 0) |
                        (options.clamp ? 0 : VX_Kernel_NoClamp) |
                        (options.vertical ? VX_Kernel_Vertical : 0);
  detail::run(options.progress, [&](VX_ProgressInfo* progress) {
    return VX_Convolve(progress, src.descriptor(), nullptr, flags, first.diameter,
                       kernels[0]->weights.data(), kernels[1]->weights.data(),
                       kernels[2]->weights.data(), kernels[3]->weights.data(), dst.descriptor());
  });
}

// Applies the same kernel to all channels.
inline void convolve(AnyView dst, AnyConstView src, const Kernel& kernel,
                     const ConvolveOptions& options = {}) {
  convolve(dst, src, std::array{&kernel, &kernel, &kernel, &kernel}, options);
}

}  // namespace vx
