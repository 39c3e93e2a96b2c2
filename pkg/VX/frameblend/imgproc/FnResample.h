// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Blurs, reductions and enlargements of textures.

#include <memory>
#include <vector>

#include "frameblend/imgproc/FnImager.h"
#include "frameblend/imgproc/FnImgProc.h"

// Resamples by a factor: the centre of pixel i of the target reads the source at (i + 0.5) / scale,
// bilinearly.
class FnMoveSampler final : public Sampler<float, float> {
 public:
  float scale = 1;

  float Position(int32_t i) const { return (static_cast<float>(i) + 0.5f) * (1.0f / scale); }
  void processBand(const FnFloatMap* src, FnFloatMap* dst) override;
};

// Gaussian blur. Weights exp(-i^2 / (2 deviation^2)) for i = -r..r, r = ceil(3 deviation), divided
// by their sum in double and rounded to float. Columns are summed first, then rows, in float and in
// the order of i. Reads beyond the edges follow the source texture. A deviation below 0.1 copies.
class BlurGeneralGauss final : public FnImgProc2<float, float> {
 public:
  void setDeviations(float alongX, float alongY);
  // Computes only the pixels that `reader` reads for a target of this size. The others are not
  // written.
  void limitTo(const FnMoveSampler& reader, int32_t width, int32_t height);

  void processBand() override;

 private:
  std::vector<float> weightsX_ = {1}, weightsY_ = {1};
  const FnMoveSampler* reader_ = nullptr;
  int32_t readWidth_ = 0, readHeight_ = 0;
};

// A linear map from the pixels of the target to the elements of the source, and the factor of the
// values. Position 0 is the first element, not its edge.
struct FnZoomAxis {
  double scale = 1, offset = 0;
  float value = 1;

  double At(int32_t i) const { return scale * i + offset; }
  // Target pixels of 1 / ratio source pixels; centres at (i + 0.5).
  static FnZoomAxis ByCentres(double ratio, float value) {
    return {1 / ratio, 0.5 / ratio - 0.5, value};
  }
};

// The elements between which a position of a zoomed axis lies.
struct FnZoomPlace {
  int32_t low, high;
  float fraction;

  static FnZoomPlace At(double position, int32_t size) {
    const double limited = std::clamp<double>(position, 0, size - 1);
    const auto low = static_cast<int32_t>(limited);
    return {low, std::min(low + 1, size - 1), static_cast<float>(limited - low)};
  }
  int32_t Nearest() const { return fraction < 0.5f ? low : high; }
};

// Zooms a texture. Reads beyond the edges give the nearest element. Bilinear reads leave out
// invalid vectors and divide by the sum of the other weights; if it is 0, the result is invalid.
template <class Stored>
class ImageZoomerGP final : public Sampler<Stored, Stored> {
 public:
  FnZoomAxis xAxis, yAxis;
  bool nearest = false;

  // Must be called before Row.
  void SetWidths(int32_t from, int32_t to) {
    columns_.resize(static_cast<size_t>(to));
    for (int32_t x = 0; x < to; ++x) {
      columns_[static_cast<size_t>(x)] = FnZoomPlace::At(xAxis.At(x), from);
    }
  }
  // Computes columns x0..x1 - 1 of row y into out[x0]...
  void Row(const FnMap<Stored>& src, int32_t y, int32_t x0, int32_t x1, Stored* out) const {
    const auto line = FnZoomPlace::At(yAxis.At(y), src.height());
    const Stored* const upper = src.row(line.low);
    const Stored* const lower = src.row(line.high);
    for (int32_t x = x0; x < x1; ++x) {
      const FnZoomPlace& p = columns_[static_cast<size_t>(x)];
      out[x] = Scaled(nearest ? (line.fraction < 0.5f ? upper : lower)[p.Nearest()]
                              : Mix(upper[p.low], upper[p.high], lower[p.low], lower[p.high],
                                    p.fraction, line.fraction));
    }
  }

  void prepare(const FnMap<Stored>* src, FnMap<Stored>* dst) override {
    SetWidths(src->width(), dst->width());
  }
  void processBand(const FnMap<Stored>* src, FnMap<Stored>* dst) override {
    const auto band = this->Band();
    for (int32_t y = band.y0; y < band.y1; y += band.step) {
      if (FnPoll(this->interrupt) != VX_Ok) return;
      Row(*src, y, band.x0, band.x1, dst->row(y));
    }
  }

 private:
  static Stored Mix(const Stored& a, const Stored& b, const Stored& c, const Stored& d, float fx,
                    float fy) {
    if constexpr (std::is_same_v<Stored, HvVec2>) {
      if (!(a.IsValid() && b.IsValid() && c.IsValid() && d.IsValid())) {
        HvVec2 sum{0, 0};
        float weights = 0;
        const auto add = [&](const HvVec2& v, float weight) {
          if (!v.IsValid()) return;
          sum = sum + v * weight;
          weights += weight;
        };
        add(a, (1 - fx) * (1 - fy));
        add(b, fx * (1 - fy));
        add(c, (1 - fx) * fy);
        add(d, fx * fy);
        return weights > 0 ? sum * (1 / weights) : HvVec2::Invalid();
      }
    }
    return FnBilinear(a, b, c, d, fx, fy);
  }
  Stored Scaled(const Stored& v) const {
    if constexpr (std::is_same_v<Stored, HvVec2>) {
      return v.IsValid() ? HvVec2{v.x * xAxis.value, v.y * yAxis.value} : v;
    } else {
      return v;
    }
  }

  std::vector<FnZoomPlace> columns_;
};

// Copies of a picture at half the size each. A level is filtered with 1-4-6-4-1 on each axis,
// columns first, and then averaged two by two; an odd last row or column is dropped. The edges are
// held. Level 0 is the picture, which must outlive the pyramid.
class FnFilteredPyramid {
 public:
  // Returns false and sets error 4 if out of memory. A level without rows or columns is empty.
  bool build(const FnFloatMap& picture, int32_t levels, FnInterruptState* interrupt);

  const std::vector<const FnFloatMap*>& levels() const { return levels_; }

 private:
  std::vector<const FnFloatMap*> levels_;
  std::vector<std::unique_ptr<FnFloatMap>> owned_;
};
