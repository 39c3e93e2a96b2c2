// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Luminance of colour textures, at full scale 1.

#include <cmath>

#include "frameblend/imgproc/FnImager.h"
#include "frameblend/imgproc/FnLanes.h"

// The weighted sum of red, green and blue; alpha is ignored. kFull is the full scale of the colour.
// A sum that is NaN or infinite counts as 0, so that it does not spread through the later stages.
template <class Color, int32_t kFull>
class FnMotionEstimateLuminanceFrameGenerator final
    : public GeneralSampler<Color, kFull, float, 1> {
 public:
  float weightR = 1, weightG = 1, weightB = 1;
  bool keepMaximum = false;  // keep the value of the target if it is larger

  // Divides the weights by their sum (all become 1 if it is 0) and by the full scale.
  void setWeights(float r, float g, float b) {
    const float sum = r + g + b;
    constexpr float kUnit = 1.0f / static_cast<float>(kFull);
    const bool none = sum == 0;
    weightR = (none ? 1.0f : r / sum) * kUnit;
    weightG = (none ? 1.0f : g / sum) * kUnit;
    weightB = (none ? 1.0f : b / sum) * kUnit;
  }

  void pixel(const Color& c, float* out, int32_t) override {
    const float sum = weightR * static_cast<float>(c.red) + weightG * static_cast<float>(c.green) +
                      weightB * static_cast<float>(c.blue);
    const float value = std::fabs(sum) <= FLT_MAX ? sum : 0.0f;
    *out = keepMaximum ? std::max(value, *out) : value;
  }
  int32_t Pixels(const Color* colors, int32_t count, float* out) const {
    int32_t i = 0;
    if constexpr (Color::kInteger) {
      for (; !keepMaximum && i + kFnLanes <= count; i += kFnLanes) {
        const auto c = FnLoadColors(colors + i);
        const FnFloats sum = weightR * c[1] + weightG * c[2] + weightB * c[3];
        const FnFloats value = FnVectorLanes::Abs(sum) <= FLT_MAX ? sum : FnFloats{};
        std::memcpy(out + i, &value, sizeof value);
      }
    }
    return i;
  }
  void processBand(const FnMap<Color>* src, FnFloatMap* dst) override {
    this->FnWalk(*this, src, dst);
  }
};
