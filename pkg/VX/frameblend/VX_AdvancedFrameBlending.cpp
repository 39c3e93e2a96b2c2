// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Pictures of instants: settings, the three methods, shutter samples, reports.

#include <cmath>
#include <memory>

#include "VX/VX_FrameBlending.h"
#include "frame/VXp_Dispatch.h"
#include "frame/VXp_Report.h"
#include "frameblend/smooth/FnMotionField.h"
#include "frameblend/tween/FnPicture.h"
#include "frameblend/tween/FnTween.h"

namespace {

constexpr float kPercent = 0.0099999998f;
constexpr float kInstantStep = 0.005f;
constexpr float kTurn = 0.2777778f * 0.01f;  // one degree as a part of a turn
constexpr VX_Err kSilentStop = 10000;

constexpr char kAllocationFailure[] =
    "$$$/RZ/PIN/Veltor/AllocFailed=Frame Blending - Failed to allocate memory.";
constexpr char kOtherFailure[] =
    "$$$/RZ/PIN/Veltor/MiscFailure=Frame Blending - Non-specific error.";

void Report(VX_Err code) {
  if (code == VX_Ok || code == kSilentStop || code == VX_ErrStopped) return;
  const char* const text =
      U_ZStringToMBString(code == VX_ErrOutOfMemory ? kAllocationFailure : kOtherFailure);
  VXp_StoreReport(text);
  Up_ReportErrString(0, 8, text);
}

// The position between the pictures, 0..1.
float PositionOf(double instant) {
  const double part = std::fmod(instant, 1.0);
  const auto position = static_cast<float>(part < 0 ? part + 1 : part);
  return static_cast<float>(static_cast<int32_t>((position + kInstantStep / 2) / kInstantStep)) *
         kInstantStep;
}

// The mean of `count` colours that a sum contains.
template <class Pixel>
class Deaccumulator final
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
class Accumulator final : public GeneralCombiner<Color, FnColorFloat, FnColorFloat> {
 public:
  void pixel(const Color& c, const FnColorFloat& sum, FnColorFloat* out, int32_t) override {
    *out = sum + FnToCompute<FnColorFloat>(c);
  }
};

// Mixes two frames by time.
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

// The motion of a pair of pictures.
struct MotionData {
  FnAnalysisPicture first, second;
  FnVectorMap forward, backward;
};

template <class Pixel>
class Blend {
 public:
  using Color = typename FnColorOfPixel<Pixel>::Type;
  static constexpr int32_t kFull = FnColorOfPixel<Pixel>::kFull;

  Blend(const VX_Veltor_AlgoParams& algo, FnInterruptState* interrupt, const VX_LayerDef& a,
        const VX_LayerDef& b, const VX_LayerDef& dst)
      : algo_(algo), interrupt_(interrupt), worldA_(a), worldB_(b), a_(a), b_(b), dst_(dst) {}

  void Run(float position) {
    const float shutter = algo_.ShutterAngle * kTurn;
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
      Accumulator<Color> add;
      add.interrupt = interrupt_;
      add.process(&dst_, &sum, &sum);
    }
    Deaccumulator<Pixel> mean;
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
      if (motion_ == nullptr) EstimateMotion();
      if (!Stopped()) MakeByMotion(position);
    }
  }

  void EstimateMotion() {
    motion_ = std::make_unique<MotionData>();
    MotionData& m = *motion_;
    FnPrepareAnalysis(worldA_, algo_, interrupt_, &m.first);
    if (!Stopped()) FnPrepareAnalysis(worldB_, algo_, interrupt_, &m.second);
    const auto field = [&](const FnAnalysisPicture& from, const FnAnalysisPicture& to,
                           FnVectorMap* out) {
      if (!Stopped()) FnEstimateBlocks(from, to, algo_, interrupt_, out);
      if (!Stopped()) FnSmoothField(from, to, algo_, interrupt_, out);
    };
    field(m.first, m.second, &m.forward);
    field(m.second, m.first, &m.backward);
    const int32_t width = m.first.luminance.width(), height = m.first.luminance.height();
    if (Stopped()) return;
    const bool alpha_a = alphaA_.build(a_, float{kFull}, width, height, interrupt_);
    const bool alpha_b = alphaB_.build(b_, float{kFull}, width, height, interrupt_);
    hasAlpha_ = alpha_a || alpha_b;
  }

  void MakeByMotion(float position) {
    MotionData& m = *motion_;
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
    tweener.parameters.first = &m.first.luminance;
    tweener.parameters.second = &m.second.luminance;
    tweener.parameters.vectorsA = &toSecond;
    tweener.parameters.vectorsB = &toFirst;
    tweener.parameters.occlusion = &occlusion;
    tweener.process(&m.forward, &m.backward, &toSecond);
    if (Stopped()) return;
    FnFillUnknownVectors(&toSecond, &toFirst);

    FnMotionEstimateGradientTweenerBuildPicture<Pixel> picture;
    picture.interrupt = interrupt_;
    picture.parameters = tweener.parameters;
    picture.ratio = m.first.ratio;
    if (hasAlpha_) {
      picture.alphaFirst = &alphaA_;
      picture.alphaSecond = &alphaB_;
    }
    picture.process(&a_, &b_, &dst_);
  }

  const VX_Veltor_AlgoParams& algo_;
  FnInterruptState* interrupt_;
  const VX_LayerDef &worldA_, &worldB_;
  FnMap<Color> a_, b_, dst_;
  std::unique_ptr<MotionData> motion_;
  FnFilteredPyramidAlpha alphaA_, alphaB_;
  bool hasAlpha_ = false;
};

bool HasPixels(const VX_LayerDef* world) {
  return world != nullptr && world->data != nullptr && world->width > 0 && world->height > 0;
}

VX_Err CheckWorlds(const VX_LayerDef* a, const VX_LayerDef* b, const VX_LayerDef* dst) {
  if (!HasPixels(a) || !HasPixels(b) || !HasPixels(dst)) {
    return VXp_FailVerification("frame blending of a world without pixels");
  }
  for (const VX_LayerDef* const world : {a, b}) {
    if (world->width != dst->width || world->height != dst->height ||
        VXp_WorldDepth(world) != VXp_WorldDepth(dst)) {
      return VXp_FailVerification("frame blending of worlds of different sizes or depths");
    }
    if (world->data == dst->data) {
      return VXp_FailVerification("frame blending into one of its sources");
    }
  }
  return VX_Ok;
}

VX_Err Render(const VX_LayerDef* a, const VX_LayerDef* b, float position,
              const VX_Veltor_AlgoParams& algo, const VX_Veltor_InterruptFuncs& interrupt,
              VX_LayerDef* dst) {
  if (const VX_Err code = VX_CheckMotionSettings(&algo); code != VX_Ok) return code;
  if (const VX_Err code = CheckWorlds(a, b, dst); code != VX_Ok) return code;
  FnInterruptState state;
  state.abortFunc = interrupt.AbortFunc;
  if (interrupt.RefconPtr != nullptr) state.refcon = *interrupt.RefconPtr;
  VXp_SelectPixel(
      VXp_WorldDepth(dst),
      [&](auto tag) {
        Blend<typename decltype(tag)::Pixel>(algo, &state, *a, *b, *dst).Run(position);
      },
      [] {});
  const VX_Err code = state.error.load();
  Report(code);
  return code;
}

}  // namespace

VX_AdvancedFrameBlending::VX_AdvancedFrameBlending(const VX_Veltor_AlgoParams& settings,
                                                   const VX_Veltor_OtherParams& times,
                                                   const VX_Veltor_InterruptFuncs& funcs)
    : algo(settings), other(times), interrupt(funcs) {
  algo.Resolution *= kPercent;
  algo.ErrorThreshold *= kPercent;
  for (double* const weight : {&algo.LumaR, &algo.LumaG, &algo.LumaB}) *weight *= double{kPercent};
}

VX_AdvancedFrameBlending::VX_AdvancedFrameBlending(const VX_Veltor_OtherParams& times,
                                                   const VX_Veltor_InterruptFuncs& funcs)
    : other(times), interrupt(funcs) {}

VX_Err VX_AdvancedFrameBlending::CheckParamRange() const { return VX_CheckMotionSettings(&algo); }

VX_Err VX_AdvancedFrameBlending::Render(VX_World* sourceA, VX_World* sourceB,
                                        VX_World* destination) {
  return VXp_Guarded([&]() -> VX_Err {
    if (const VX_Err code = CheckParamRange(); code != VX_Ok) return code;
    if (destination != nullptr) {
      const auto depth = static_cast<int16_t>(destination->Depth());
      if (depth != 8 && depth != 16 && depth != 32) return VX_Ok;
    }
    if (other.TimeA.scale == 0 || other.TimeB.scale == 0 || !std::isfinite(other.Instant)) {
      return VXp_FailVerification("frame blending with a time scale of 0 or an unknown instant");
    }
    return ::Render(sourceA, sourceB, PositionOf(other.Instant), algo, interrupt, destination);
  });
}

VX_Err VX_RenderInstant(const VX_LayerDef* first, const VX_LayerDef* second, float position,
                        const VX_Veltor_AlgoParams* settings,
                        const VX_Veltor_InterruptFuncs* interrupt, VX_LayerDef* dst) {
  return VXp_Guarded([&]() -> VX_Err {
    if (!(position >= 0 && position <= 1)) {
      return VXp_FailVerification("a position between pictures that is not in 0..1");
    }
    const VX_Veltor_AlgoParams defaults;
    const VX_Veltor_InterruptFuncs none;
    return ::Render(first, second, position, settings != nullptr ? *settings : defaults,
                    interrupt != nullptr ? *interrupt : none, dst);
  });
}
