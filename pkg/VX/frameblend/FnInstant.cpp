// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/FnInstant.h"

#include <cmath>

#include "frame/VXp_Dispatch.h"

namespace {

// Luminances that differ by more than this, averaged around a pixel, are not the same content.
constexpr float kSameContent = 0.04f;
constexpr int32_t kAround = 2;

// The share of pixels of `from` that differ from `to` at the end of their vector.
float UnexplainedShare(const FnFloatMap& from, const FnFloatMap& to, const FnVectorMap& field) {
  const int32_t width = from.width(), height = from.height();
  FnFloatMap errors(width, height);
  if (isInvalid(&errors)) throw std::bad_alloc();
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      const HvVec2& v = field.row(y)[x];
      const float px = static_cast<float>(x) + 0.5f - (v.IsValid() ? v.x : 0);
      const float py = static_cast<float>(y) + 0.5f + (v.IsValid() ? v.y : 0);
      errors.row(y)[x] = std::fabs(from.row(y)[x] - to.sampleAt(px, py));
    }
  }
  int64_t unexplained = 0;
  for (int32_t y = 0; y < height; ++y) {
    const int32_t top = std::max(y - kAround, 0), bottom = std::min(y + kAround, height - 1);
    for (int32_t x = 0; x < width; ++x) {
      const int32_t left = std::max(x - kAround, 0), right = std::min(x + kAround, width - 1);
      float sum = 0;
      for (int32_t j = top; j <= bottom; ++j) {
        for (int32_t i = left; i <= right; ++i) sum += errors.row(j)[i];
      }
      const auto count = static_cast<float>((bottom - top + 1) * (right - left + 1));
      unexplained += sum > kSameContent * count;
    }
  }
  return static_cast<float>(unexplained) / (static_cast<float>(width) * static_cast<float>(height));
}

}  // namespace

float FnPairMotion::Unexplained() const {
  const FnFloatMap& a = luminances->first.luminance;
  const FnFloatMap& b = luminances->second.luminance;
  return std::min(UnexplainedShare(a, b, vectors.get()->forward),
                  UnexplainedShare(b, a, vectors.get()->backward));
}

void FnPairMotion::Need(const VX_LayerDef& a, const VX_LayerDef& b,
                        const VX_Veltor_AlgoParams& settings, FnInterruptState* interrupt) {
  if (made) return;
  vectors.Need(a, b, settings, interrupt);
  if (FnPoll(interrupt) != VX_Ok) return;
  const int32_t width = vectors.get()->width(), height = vectors.get()->height();
  luminances = vectors.get()->Luminances(a, b, settings, interrupt);
  if (FnPoll(interrupt) != VX_Ok) return;
  VXp_SelectPixel(
      VXp_WorldDepth(&a),
      [&](auto tag) {
        using Of = FnColorOfPixel<typename decltype(tag)::Pixel>;
        const auto build = [&](const VX_LayerDef& world, FnFilteredPyramidAlpha* alpha) {
          const FnMap<typename Of::Type> picture(world);
          return alpha->build(picture, float{Of::kFull}, width, height, interrupt);
        };
        const bool first = build(a, &alphaFirst), second = build(b, &alphaSecond);
        hasAlpha = first || second;
      },
      [] {});
  made = FnPoll(interrupt) == VX_Ok;
}
