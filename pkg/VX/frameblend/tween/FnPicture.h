// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The picture of an instant, from the two frames and the in-between fields.

#include <vector>

#include "frameblend/tween/FnPictureLanes.h"
#include "frameblend/tween/FnTween.h"

// The alpha of a picture at 0..255, averaged down to a smaller size and read bilinearly.
class FnFilteredPyramidAlpha {
 public:
  // Returns false if every pixel is opaque; the plane is then not needed. Sets error 4 if out of
  // memory.
  template <class Color>
  bool build(const FnMap<Color>& picture, float full, int32_t width, int32_t height,
             FnInterruptState* interrupt);
  // At a position of the picture; 255 if the picture is opaque.
  float At(float x, float y) const {
    return plane_.pixels == nullptr ? 255.0f : plane_.sampleAt(x / ratioX_, y / ratioY_);
  }

 private:
  FnFloatMap plane_;
  float ratioX_ = 1, ratioY_ = 1;
};

// The weights of six samples at -2..3 around a position with this fraction: Lanczos with three
// lobes, divided by their sum.
std::array<float, 6> FnSincWeights(float fraction);

// Reads with the windowed sinc, with the ends held.
template <class Color>
FnColorFloat FnSampleSinc(const FnMap<Color>& frame, float px, float py) {
  int32_t i, j;
  float fx, fy;
  FnSplit(px - 0.5f, &i, &fx);
  FnSplit(py - 0.5f, &j, &fy);
  const auto columns = FnSincWeights(fx), rows = FnSincWeights(fy);
  FnColorFloat sum = FnColorFloat::Of(0, 0, 0, 0);
  // Pixels without weight are not read: NaN and infinities must not reach exact positions.
  for (int32_t r = 0; r < 6; ++r) {
    if (rows[static_cast<size_t>(r)] == 0) continue;
    FnColorFloat line = FnColorFloat::Of(0, 0, 0, 0);
    for (int32_t c = 0; c < 6; ++c) {
      if (columns[static_cast<size_t>(c)] == 0) continue;
      line = line + FnToCompute<FnColorFloat>(frame.at(i - 2 + c, j - 2 + r)) *
                        columns[static_cast<size_t>(c)];
    }
    sum = sum + line * rows[static_cast<size_t>(r)];
  }
  return sum;
}

// Builds the picture. The fields and the occlusion have the size of the analysis pictures and
// contain no invalid vectors; they are zoomed row by row.
//
// With `passes` = 2, pixels whose state differs from that of a neighbour are then mixed half and
// half with a sample of the other frame: a vector that leads to one frame leads, negated, to the
// other one. Pixels that are visible in both frames take both such samples, weighted by time.
template <class Pixel>
class FnMotionEstimateGradientTweenerBuildPicture final
    : public Combiner<typename FnColorOfPixel<Pixel>::Type, typename FnColorOfPixel<Pixel>::Type,
                      typename FnColorOfPixel<Pixel>::Type> {
 public:
  using Color = typename FnColorOfPixel<Pixel>::Type;

  FnMotionEstimateGradientTweeningParameters parameters;
  float ratio = 1;       // pixels of the picture per pixel of the fields
  bool nearest = false;  // pixels of both frames: take the frame that is nearer in time
  const FnFilteredPyramidAlpha* alphaFirst = nullptr;  // both or none
  const FnFilteredPyramidAlpha* alphaSecond = nullptr;
  bool opaque = false;  // both frames are: their alpha is not read

  void prepare(const FnMap<Color>*, const FnMap<Color>*, FnMap<Color>* dst) override {
    states_.xAxis = FnZoomAxis::ByCentres(ratio, 1);
    states_.yAxis = states_.xAxis;
    states_.nearest = true;
    states_.SetWidths(parameters.occlusion->width(), dst->width());
  }

  void processBand(const FnMap<Color>* first, const FnMap<Color>* second,
                   FnMap<Color>* dst) override {
    const auto width = static_cast<size_t>(dst->width());
    const auto axis = FnZoomAxis::ByCentres(ratio, ratio);
    FnFieldRows a(*parameters.vectorsA, axis, dst->width());
    FnFieldRows b(*parameters.vectorsB, axis, dst->width());
    std::vector<int32_t> states(width), above(width), below(width);
    int32_t states_line = -1;  // that `states` contains
    const auto band = this->Band();
    const bool second_pass = this->pass == 1;
    const Lanes lanes(*first, *second, parameters.position);
    const bool in_lanes = !second_pass && IsPlain() && lanes.CanRead();
    for (int32_t y = band.y0; y < band.y1; y += band.step) {
      if (FnPoll(this->interrupt) != VX_Ok) return;
      a.Compute(y);
      b.Compute(y);
      const auto line = FnZoomPlace::At(states_.yAxis.At(y), parameters.occlusion->height());
      if (line.Nearest() != states_line) {
        states_.Row(*parameters.occlusion, y, 0, dst->width(), states.data());
        states_line = line.Nearest();
      }
      Color* const out = dst->row(y);
      if (second_pass) {
        states_.Row(*parameters.occlusion, std::max(y - 1, 0), 0, dst->width(), above.data());
        states_.Row(*parameters.occlusion, std::min(y + 1, dst->height() - 1), 0, dst->width(),
                    below.data());
      }
      for (int32_t x = band.x0; x < band.x1; ++x) {
        const auto i = static_cast<size_t>(x);
        if constexpr (Lanes::kServes) {
          if (in_lanes && x + kFnLanes <= band.x1) {
            lanes.Store(x, y, a, b, states.data() + i, out + x);
            x += kFnLanes - 1;
            continue;
          }
        }
        if (second_pass) {
          const size_t left = x > 0 ? i - 1 : i, right = i + 1 < width ? i + 1 : i;
          bool boundary = false;
          for (const auto* row : {&above, &states, &below}) {
            for (const size_t j : {left, i, right}) boundary = boundary || (*row)[j] != states[i];
          }
          if (boundary) {
            const FnColorFloat other = Opposite(*first, *second, x, y, a[i], b[i], states[i]);
            out[x] = FnToWorld<Pixel>((FnToCompute<FnColorFloat>(out[x]) + other) * 0.5f);
          }
          continue;
        }
        out[x] = FnToWorld<Pixel>(PixelAt(*first, *second, x, y, a[i], b[i], states[i]));
      }
    }
  }

 private:
  using Lanes = FnPictureLanes<Pixel>;
  static constexpr float kFull = FnColorOfPixel<Pixel>::kFull;
  static constexpr float kOpaque = 253;

  // Returns whether all pixels are opaque bilinear samples and their mixtures by time.
  bool IsPlain() const {
    return opaque && (parameters.flags & (FnTween_Sinc | FnTween_Diagnostic)) == 0 && !nearest &&
           (alphaFirst == nullptr || alphaSecond == nullptr);
  }

  FnColorFloat PixelAt(const FnMap<Color>& first, const FnMap<Color>& second, int32_t x, int32_t y,
                       const HvVec2& a, const HvVec2& b, int32_t state) const {
    const float position = parameters.position;
    const HvVec2 at_first = Position(x, y, b, position);
    const HvVec2 at_second = Position(x, y, a, 1 - position);
    if (alphaFirst != nullptr && alphaSecond != nullptr) {
      const int32_t seen = (alphaFirst->At(at_first.x, at_first.y) <= kOpaque ? 2 : 0) +
                           (alphaSecond->At(at_second.x, at_second.y) < kOpaque ? 1 : 0);
      if (seen == FnOcclusion_First || seen == FnOcclusion_Second) state = seen;
    }
    const bool diagnostic = (parameters.flags & FnTween_Diagnostic) != 0;
    if (state == FnOcclusion_First) {
      return diagnostic ? FnColorFloat::Of(0, kFull, 0, 0) : Sample(first, at_first);
    }
    if (state == FnOcclusion_Second) {
      return diagnostic ? FnColorFloat::Of(0, 0, kFull, 0) : Sample(second, at_second);
    }
    if (nearest && state == FnOcclusion_Both) {
      return position >= 0.5f ? Sample(second, at_second) : Sample(first, at_first);
    }
    const FnColorFloat from = Sample(first, at_first), to = Sample(second, at_second);
    return from == to ? from : from * (1 - position) + to * position;
  }
  FnColorFloat Opposite(const FnMap<Color>& first, const FnMap<Color>& second, int32_t x, int32_t y,
                        const HvVec2& a, const HvVec2& b, int32_t state) const {
    const float position = parameters.position;
    const auto in_first = [&] { return Sample(first, Position(x, y, a, -position)); };
    const auto in_second = [&] { return Sample(second, Position(x, y, b, position - 1)); };
    if (state == FnOcclusion_First) return in_second();
    if (state == FnOcclusion_Second) return in_first();
    return in_first() * (1 - position) + in_second() * position;
  }
  static HvVec2 Position(int32_t x, int32_t y, const HvVec2& v, float weight) {
    return {static_cast<float>(x) + 0.5f - v.x * weight,
            static_cast<float>(y) + 0.5f + v.y * weight};
  }
  FnColorFloat Sample(const FnMap<Color>& frame, const HvVec2& at) const {
    return parameters.flags & FnTween_Sinc ? FnSampleSinc<Color>(frame, at.x, at.y)
                                           : frame.sampleAt(at.x, at.y);
  }

  ImageZoomerGP<int32_t> states_;
};

template <class Color>
bool FnFilteredPyramidAlpha::build(const FnMap<Color>& picture, float full, int32_t width,
                                   int32_t height, FnInterruptState* interrupt) {
  bool opaque = true;
  for (int32_t y = 0; y < picture.height() && opaque; ++y) {
    const Color* const row = picture.row(y);
    int32_t x = 0;
    if constexpr (Color::kInteger) {
      FnInts less{};
      for (; x + kFnLanes <= picture.width(); x += kFnLanes) {
        less |= FnLoadColors(row + x)[0] < full;
      }
      opaque = !VXp_AnyLane(less);
    }
    for (; x < picture.width() && opaque; ++x) opaque = static_cast<float>(row[x].alpha) >= full;
  }
  if (opaque) return false;
  if (!plane_.allocate(width, height)) {
    interrupt->set(VX_ErrOutOfMemory);
    return false;
  }
  plane_.setEdgeModes(FnEdge_Hold, FnEdge_Hold);
  ratioX_ = static_cast<float>(picture.width()) / static_cast<float>(width);
  ratioY_ = static_cast<float>(picture.height()) / static_cast<float>(height);
  const auto edge = [](int32_t i, int32_t from, int32_t to) {
    return static_cast<int32_t>(int64_t{i} * from / to);
  };
  for (int32_t y = 0; y < height; ++y) {
    if (FnPoll(interrupt) != VX_Ok) return false;
    const int32_t top = edge(y, picture.height(), height);
    const int32_t bottom = edge(y + 1, picture.height(), height);
    for (int32_t x = 0; x < width; ++x) {
      const int32_t left = edge(x, picture.width(), width);
      const int32_t right = edge(x + 1, picture.width(), width);
      float sum = 0;
      for (int32_t j = top; j < bottom; ++j) {
        for (int32_t i = left; i < right; ++i) sum += static_cast<float>(picture.row(j)[i].alpha);
      }
      plane_.row(y)[x] = sum * (255 / full) / static_cast<float>((bottom - top) * (right - left));
    }
  }
  return true;
}
