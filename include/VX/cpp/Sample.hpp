// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Samples a picture at any position.

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "VX/VX_CallbackBlock.h"
#include "VX/VX_Sampling.h"
#include "VX/cpp/Filters.hpp"
#include "VX/cpp/View.hpp"

namespace vx {

enum class SampleFilter { nearest, bilinear, box };

struct SamplerOptions {
  SampleFilter filter = SampleFilter::bilinear;
  bool premultiplied = false;  // mix the channels without weighting by alpha
  Radius radius = 0.5;         // of a box: half of its sides in pixels, 0.5..16,383
};

// Samples a picture with the samplers of VX_GetSamplerBatch8, ...16 or ...Float. Pixel centres are
// at whole numbers. Outside of the picture all pixels are transparent black. Any number of threads
// may use one sampler.
//
//   const vx::Sampler sample(image.view<vx::Pixel8>(), {.filter = vx::SampleFilter::box});
//   const vx::Pixel8 pixel = sample(10.25, 3.5);
template <class Pixel>
class Sampler {
 public:
  //   picture  must exist as long as the sampler
  // Throws Error (bad_parameter) for a picture without pixels or a radius out of range.
  explicit Sampler(View<Pixel> picture, const SamplerOptions& options = {})
      : Sampler(ConstView<Pixel>(picture), options) {}
  explicit Sampler(ConstView<Pixel> picture, const SamplerOptions& options = {})
      : layer_(*AnyConstView(picture).descriptor()), world_(&layer_, true) {
    if (AnyConstView(picture).empty()) detail::refuse("the picture has no pixels");
    const auto [x, y] = options.radius;
    if (!(x >= 0.5 && x <= 16383 && y >= 0.5 && y <= 16383)) {
      detail::refuse("the radius of a sampler is 0.5..16383");
    }
    record_.x_radius = static_cast<VX_Fixed>(x * 65536 + 0.5);
    record_.y_radius = static_cast<VX_Fixed>(y * 65536 + 0.5);
    record_.area = static_cast<VX_Fixed>(std::min(4 * x * y * 65536, 2147483647.0));
    record_.src = &world_;
    const auto batch = fetch(options.premultiplied ? 0 : VX_ModeFlag_Straight);
    call_ = options.filter == SampleFilter::nearest    ? batch.nearest
            : options.filter == SampleFilter::bilinear ? batch.bilinear
                                                       : batch.area;
  }
  Sampler(const Sampler&) = delete;
  Sampler& operator=(const Sampler&) = delete;

  // Returns the pixel at a position, which is rounded to 1/65536 pixel. Returns transparent black
  // for NaN and for positions outside -32768..32767.
  Pixel operator()(double x, double y) const {
    Pixel out{};
    const auto inside = [](double v) { return v > -32768 && v < 32767; };
    if (inside(x) && inside(y)) call_(nullptr, fixed(x), fixed(y), &record_, &out);
    return out;
  }

 private:
  static VX_Fixed fixed(double v) { return static_cast<VX_Fixed>(std::floor(v * 65536 + 0.5)); }

  static VX_SamplerBatch<Pixel> fetch(int32_t flags) {
    VX_SamplerBatch<Pixel> batch{};
    if constexpr (PixelTraits<Pixel>::depth == 8) {
      VX_GetSamplerBatch8(VX_Quality_High, flags, &batch);
    } else if constexpr (PixelTraits<Pixel>::depth == 16) {
      VX_GetSamplerBatch16(VX_Quality_High, flags, &batch);
    } else {
      VX_GetSamplerBatchFloat(VX_Quality_High, flags, &batch);
    }
    return batch;
  }

  VX_LayerDef layer_;
  VX_WorldX<Pixel> world_;  // float samplers require a descriptor that is part of a world object
  VX_SampPB record_{};
  VX_SampleFunc<Pixel> call_ = nullptr;
};

template <class P>
Sampler(View<P>, const SamplerOptions& = {}) -> Sampler<std::remove_const_t<P>>;

}  // namespace vx
