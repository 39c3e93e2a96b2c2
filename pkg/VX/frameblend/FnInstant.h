// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Pictures of instants between two pictures: the three methods, and the mean of shutter samples.

#include <algorithm>
#include <memory>
#include <mutex>

#include "frameblend/cache/FnHeldVectors.h"
#include "frameblend/high/FnTwoSided.h"
#include "frameblend/tween/FnPicture.h"
#include "frameblend/tween/FnTween.h"

// What a pair of pictures needs at every instant. It is made once, also if several threads need it,
// and constant afterwards.
struct FnPairMotion {
  FnHeldVectors vectors;
  FnSharedPair luminances;
  FnFilteredPyramidAlpha alphaFirst, alphaSecond;
  bool hasAlpha = false;
  bool made = false;
  std::unique_ptr<FnTwoSided> dense;  // for the quality "high"
  std::mutex making;

  // Makes it if it was not made yet. After an error it is not made.
  void Need(const VX_LayerDef& a, const VX_LayerDef& b, const VX_Veltor_AlgoParams& settings,
            FnInterruptState* interrupt);
  // The same for `dense`.
  void NeedDense(const VX_LayerDef& a, const VX_LayerDef& b, FnInterruptState* interrupt);
  // Estimates the motion of `to`, or finds it in the cache.
  void EstimateDense(const VX_LayerDef& a, FnInterruptState* interrupt, FnTwoSided* to);

  // The share of pixels that no vector explains, 0..1; of both directions the smaller one. Call it
  // after one of the above.
  float Unexplained() const;
};

// The mean of `count` colours that a sum contains.
template <class Pixel>
class FnFloatDeaccumulator final
    : public GeneralSampler<FnColorFloat, 1, typename FnColorOfPixel<Pixel>::Type,
                            FnColorOfPixel<Pixel>::kFull> {
 public:
  using Color = typename FnColorOfPixel<Pixel>::Type;
  float part = 1;  // 1 / count

  void pixel(const FnColorFloat& sum, Color* out, int32_t) override {
    *out = FnToWorld<Pixel>(sum * part);
  }
};

template <class Color>
class FnIntAccumulator final : public GeneralCombiner<Color, FnColorFloat, FnColorFloat> {
 public:
  void pixel(const Color& c, const FnColorFloat& sum, FnColorFloat* out, int32_t) override {
    *out = sum + FnToCompute<FnColorFloat>(c);
  }
};

// Mixes two pictures by time.
template <class Pixel>
class FnMotionEstimateFrameBlender final
    : public GeneralCombiner<typename FnColorOfPixel<Pixel>::Type,
                             typename FnColorOfPixel<Pixel>::Type,
                             typename FnColorOfPixel<Pixel>::Type> {
 public:
  using Color = typename FnColorOfPixel<Pixel>::Type;
  float position = 0.5f;

  void pixel(const Color& a, const Color& b, Color* out, int32_t) override {
    const auto from = FnToCompute<FnColorFloat>(a);
    *out = FnToWorld<Pixel>(from + (FnToCompute<FnColorFloat>(b) - from) * position);
  }
};

// Makes pictures at positions 0..1 between two worlds of the size and depth of `dst`.
template <class Pixel>
class FnInstantRenderer {
 public:
  using Color = typename FnColorOfPixel<Pixel>::Type;
  static constexpr int32_t kFull = FnColorOfPixel<Pixel>::kFull;

  // `motion` is estimated when it is needed first.
  FnInstantRenderer(const VX_Veltor_AlgoParams& algo, FnInterruptState* interrupt,
                    const VX_LayerDef& a, const VX_LayerDef& b, const VX_LayerDef& dst, bool high,
                    FnPairMotion* motion)
      : algo_(algo),
        high_(high),
        interrupt_(interrupt),
        worldA_(a),
        worldB_(b),
        a_(a),
        b_(b),
        dst_(dst),
        motion_(motion) {}

  void Run(float position) {
    constexpr float kDegree = 0.2777778f * 0.01f;  // as a part of a turn
    const float shutter = algo_.ShutterAngle * kDegree;
    const int32_t samples = algo_.ShutterSamples;
    if (samples < 2 || shutter <= 0) {
      Make(position);
      return;
    }
    FnMap<FnColorFloat> sum(dst_.width(), dst_.height());
    if (isInvalid(&sum)) {
      interrupt_->set(VX_ErrOutOfMemory);
      return;
    }
    ColouredFrameGenerator<FnColorFloat> clear;
    clear.zero = true;
    clear.process(&sum);
    for (int32_t k = 0; k < samples && !Stopped(); ++k) {
      const float offset = (static_cast<float>(k) + 0.5f) / static_cast<float>(samples) - 0.5f;
      Make(std::clamp(position + shutter * offset, 0.0f, 1.0f));
      if (Stopped()) return;
      FnIntAccumulator<Color> add;
      add.interrupt = interrupt_;
      add.process(&dst_, &sum, &sum);
    }
    FnFloatDeaccumulator<Pixel> mean;
    mean.interrupt = interrupt_;
    mean.part = 1.0f / static_cast<float>(samples);
    if (!Stopped()) mean.process(&sum, &dst_);
  }

 private:
  bool Stopped() { return FnPoll(interrupt_) != VX_Ok; }

  void Copy(const FnMap<Color>& from) {
    SimpleCopySampler<Color, kFull, Color, kFull> copy;
    copy.interrupt = interrupt_;
    copy.process(&from, &dst_);
  }

  void Make(float position) {
    if (position == 0 || position == 1) {
      Copy(position == 0 ? a_ : b_);
    } else if (algo_.Method == VX_FrameBlend_Copy) {
      Copy(position < 0.5f ? a_ : b_);
    } else if (algo_.Method == VX_FrameBlend_Mix) {
      FnMotionEstimateFrameBlender<Pixel> mix;
      mix.interrupt = interrupt_;
      mix.position = position;
      mix.process(&a_, &b_, &dst_);
    } else {
      if (high_) {
        MakeByDenseMotion(position);
        return;
      }
      motion_->Need(worldA_, worldB_, algo_, interrupt_);
      if (!Stopped()) MakeByMotion(position);
    }
  }

  void MakeByDenseMotion(float position) {
    motion_->NeedDense(worldA_, worldB_, interrupt_);
    if (Stopped()) return;
    FnMap<FnColorFloat> made(dst_.width(), dst_.height());
    if (isInvalid(&made)) {
      interrupt_->set(VX_ErrOutOfMemory);
      return;
    }
    motion_->dense->Render(position, interrupt_, &made);
    FnForRows(interrupt_, dst_.height(), [&](int32_t y) {
      for (int32_t x = 0; x < dst_.width(); ++x) {
        FnColorFloat c = made.row(y)[x];
        if (c == motion_->dense->first.row(y)[x]) {  // unchanged: without rounding
          dst_.row(y)[x] = a_.row(y)[x];
          continue;
        }
        const float alpha = std::clamp(c.alpha, 0.0f, 255.0f);
        c = c * (alpha > 0 ? kFull / alpha : 0.0f);
        c.alpha = alpha * (kFull / 255.0f);
        dst_.row(y)[x] = FnToWorld<Pixel>(c);
      }
    });
  }

  void MakeByMotion(float position) {
    const FnVeltorVectors& m = *motion_->vectors.get();
    const FnAnalysisPair& pictures = *motion_->luminances;
    const int32_t width = m.forward.width(), height = m.forward.height();
    FnVectorMap toSecond(width, height), toFirst(width, height);
    FnIntMap occlusion(width, height);
    if (isInvalid(&toSecond) || isInvalid(&toFirst) || isInvalid(&occlusion)) {
      interrupt_->set(VX_ErrOutOfMemory);
      return;
    }
    FnMotionEstimateGradientTweener tweener;
    tweener.interrupt = interrupt_;
    tweener.parameters.position = position;
    if (algo_.HighQuality != 0) tweener.parameters.flags |= FnTween_Sinc;
    tweener.parameters.first = &pictures.first.luminance;
    tweener.parameters.second = &pictures.second.luminance;
    tweener.parameters.vectorsA = &toSecond;
    tweener.parameters.vectorsB = &toFirst;
    tweener.parameters.occlusion = &occlusion;
    tweener.process(&m.forward, &m.backward, &toSecond);
    if (Stopped()) return;
    FnFillUnknownVectors(&toSecond, &toFirst);

    FnMotionEstimateGradientTweenerBuildPicture<Pixel> picture;
    picture.interrupt = interrupt_;
    picture.parameters = tweener.parameters;
    picture.ratio = pictures.first.ratio;
    picture.opaque = !motion_->hasAlpha;
    if (motion_->hasAlpha) {
      picture.alphaFirst = &motion_->alphaFirst;
      picture.alphaSecond = &motion_->alphaSecond;
    }
    picture.process(&a_, &b_, &dst_);
  }

  const VX_Veltor_AlgoParams& algo_;
  const bool high_;
  FnInterruptState* interrupt_;
  const VX_LayerDef &worldA_, &worldB_;
  FnMap<Color> a_, b_, dst_;
  FnPairMotion* motion_;
};
