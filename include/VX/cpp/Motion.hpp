// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Motion between two pictures.

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "VX/VX_FrameBlending.h"
#include "VX/cpp/Image.hpp"
#include "VX/cpp/Progress.hpp"
#include "VX/cpp/View.hpp"

namespace vx {

// Two floats for each pixel of a picture: pixel (x, y) corresponds to the position (x + u, y + v)
// of another picture, in pixels, y downwards. Unknown vectors are NaN.
class MotionField {
 public:
  struct Vector {
    float u, v;

    bool is_known() const { return std::isfinite(u) && std::isfinite(v); }
  };

  MotionField() = default;
  // All vectors are zero.
  MotionField(int32_t width, int32_t height)
      : width_(width),
        height_(height),
        vectors_(static_cast<size_t>(width) * static_cast<size_t>(height)) {}

  int32_t width() const { return width_; }
  int32_t height() const { return height_; }
  // In row order, without gaps.
  Vector* data() { return vectors_.data(); }
  const Vector* data() const { return vectors_.data(); }
  const Vector& at(int32_t x, int32_t y) const {
    return vectors_[static_cast<size_t>(y) * static_cast<size_t>(width_) + static_cast<size_t>(x)];
  }
  ptrdiff_t pitch() const { return width_ * static_cast<ptrdiff_t>(sizeof(Vector)); }

 private:
  int32_t width_ = 0, height_ = 0;
  std::vector<Vector> vectors_;
};

// Settings as in VX_Veltor_AlgoParams.
struct MotionOptions {
  double resolution = 0.2;  // 0.05..1: the motion is estimated at this part of the size
  double detail = 500;      // -1000..1000: smoothness of the motion of blocks
  double smoothing = 500;   // -1000..1000: smoothness of the motion of pixels
  int32_t smooth_passes = 5;
  double error_threshold = 0.01;
  int32_t block = 6;       // 4..40: side of a block
  bool backward = false;   // the motion from the second picture to the first, on the second
  Progress progress = {};  // only to stop; called with 0, 0
};

namespace detail {

inline const float* floats(const MotionField& field) {
  return reinterpret_cast<const float*>(field.data());
}

inline VX_Veltor_AlgoParams settings_of(const MotionOptions& options) {
  VX_Veltor_AlgoParams settings;
  settings.Resolution = static_cast<float>(options.resolution);
  settings.VectorDetail = static_cast<float>(options.detail);
  settings.VectorSmoothing = static_cast<float>(options.smoothing);
  const auto narrow = [](int32_t value) {
    return static_cast<int16_t>(value < 0 || value > INT16_MAX ? INT16_MAX : value);
  };
  settings.SmoothPasses = narrow(options.smooth_passes);
  settings.ErrorThreshold = static_cast<float>(options.error_threshold);
  settings.BlockSize = narrow(options.block);
  return settings;
}

// Runs a call that has a VX_Veltor_InterruptFuncs* argument.
template <class Call>
void run_interruptible(const Progress& option, Call&& call) {
  run(option, [&](VX_ProgressInfo* progress) {
    VX_Veltor_InterruptFuncs interrupt;
    void* refcon = progress;
    if (progress != nullptr) {
      interrupt.RefconPtr = &refcon;
      interrupt.AbortFunc = [](void* info) {
        auto* const poll = static_cast<VX_ProgressInfo*>(info);
        return poll->progress_func(poll->progress_refcon, 0, 0);
      };
    }
    return call(&interrupt);
  });
}

}  // namespace detail

// Estimates the motion from one picture to another of the same size and depth (VX_EstimateMotion).
// Throws Error: bad_parameter, motion_settings, out_of_memory, stopped.
inline MotionField estimate_motion(AnyConstView first, AnyConstView second,
                                   const MotionOptions& options = {}) {
  const VX_Veltor_AlgoParams settings = detail::settings_of(options);
  const VX_LayerDef& picture = *(options.backward ? second : first).descriptor();
  MotionField field(picture.width, picture.height);
  detail::run_interruptible(options.progress, [&](const VX_Veltor_InterruptFuncs* interrupt) {
    return VX_EstimateMotion(first.descriptor(), second.descriptor(), &settings, interrupt,
                             options.backward, reinterpret_cast<float*>(field.data()),
                             field.pitch());
  });
  return field;
}

enum class TweenMethod : int32_t {
  copy = VX_FrameBlend_Copy,     // the nearer picture
  mix = VX_FrameBlend_Mix,       // both, weighted by time
  motion = VX_FrameBlend_Motion  // moved along the motion
};

enum class TweenQuality : int32_t {
  standard = VX_TweenQuality_Standard,
  high = VX_TweenQuality_High  // slower; see VX_NewTween
};

struct TweenOptions {
  MotionOptions motion = {};  // `backward` is not read
  TweenMethod method = TweenMethod::motion;
  TweenQuality quality = TweenQuality::standard;
  bool sinc = false;            // sample the pictures with a windowed sinc, not bilinearly
  double shutter_angle = 180;   // 0..360 degrees: the part of the interval that is averaged
  int32_t shutter_samples = 1;  // 1..20; 1: no averaging
};

namespace detail {

inline VX_Veltor_AlgoParams settings_of(const TweenOptions& options) {
  VX_Veltor_AlgoParams settings = settings_of(options.motion);
  settings.Method = static_cast<int16_t>(options.method);
  settings.HighQuality = options.sinc ? 1 : 0;
  settings.ShutterAngle = static_cast<float>(options.shutter_angle);
  settings.ShutterSamples = static_cast<int16_t>(
      options.shutter_samples < 0 || options.shutter_samples > 20 ? 0 : options.shutter_samples);
  return settings;
}

}  // namespace detail

// A pair of pictures whose motion is estimated once, for any number of instants between them
// (VX_Tween). Several threads may call render and unexplained at once.
class Tweener {
 public:
  // The pictures have the same size and depth. Their pixels are used until the end of the object.
  // Throws Error: bad_parameter, motion_settings, out_of_memory.
  Tweener(AnyConstView first, AnyConstView second, const TweenOptions& options = {})
      : progress_(options.motion.progress) {
    const VX_Veltor_AlgoParams settings = detail::settings_of(options);
    VX_Tween* tween = nullptr;
    detail::run([&] {
      return VX_NewTween(first.descriptor(), second.descriptor(), &settings,
                         static_cast<VX_TweenQuality>(options.quality), &tween);
    });
    tween_.reset(tween);
  }

  // Keeps the motion in the cache of the host, under a digest of both pictures (VX_TweenUseCache).
  // Call it before the first picture.
  //   folder  an existing folder where the motion is also stored in a file; "": none
  // Throws Error: out_of_memory.
  void use_cache(const std::string& folder = {}) {
    detail::run([&] { return VX_TweenUseCache(tween_.get(), nullptr, folder.c_str()); });
  }

  // Why the latest file of motion was not used or not written; empty if there was no failure.
  std::string cache_warning() const { return VX_TweenCacheWarning(tween_.get()); }

  // Writes the picture at the position `at`, 0..1; 0 is the first (VX_TweenInstant).
  //   dst  of the size and depth of the sources, with other pixels
  // Throws Error: bad_parameter, out_of_memory, stopped.
  void render(AnyView dst, double at) {
    detail::run_interruptible(progress_, [&](const VX_Veltor_InterruptFuncs* interrupt) {
      return VX_TweenInstant(tween_.get(), static_cast<float>(at), interrupt, dst.descriptor());
    });
  }

  // The share of the picture that no motion explains, 0..1 (VX_TweenUnexplained). Throws Error:
  // out_of_memory, stopped.
  double unexplained() {
    float share = 0;
    detail::run_interruptible(progress_, [&](const VX_Veltor_InterruptFuncs* interrupt) {
      return VX_TweenUnexplained(tween_.get(), interrupt, &share);
    });
    return static_cast<double>(share);
  }

 private:
  struct Dispose {
    void operator()(VX_Tween* tween) const { VX_DisposeTween(tween); }
  };
  std::unique_ptr<VX_Tween, Dispose> tween_;
  Progress progress_;
};

// Writes the picture at the position `at` between two pictures, 0..1; 0 is the first.
//   dst  of the size and depth of the sources, with other pixels
// Throws Error: bad_parameter, motion_settings, out_of_memory, stopped.
inline void tween(AnyView dst, AnyConstView first, AnyConstView second, double at,
                  const TweenOptions& options = {}) {
  Tweener(first, second, options).render(dst, at);
}

// The mean of pictures of one size and depth, such as shutter samples between several pairs
// (VX_AddToSum).
class PictureSum {
 public:
  PictureSum(int32_t width, int32_t height) : sum_(width, height, 32) {}

  // Throws Error (bad_parameter) for a picture of another size.
  void add(AnyConstView picture) {
    detail::run([&] { return VX_AddToSum(picture.descriptor(), sum_.world()); });
    ++count_;
  }
  // Writes the mean of the pictures, at least one, to a picture of their size and depth.
  void mean(AnyView dst) const {
    detail::run([&] { return VX_MeanOfSum(sum_.world(), count_, dst.descriptor()); });
  }

 private:
  Image sum_;
  int32_t count_ = 0;
};

// Predicts the picture on whose pixels the field lies from the other one (VX_PredictByMotion).
//   dst, src  of the same depth and of the size of the field, with different pixels
// Throws Error (bad_parameter).
inline void predict(AnyView dst, AnyConstView src, const MotionField& field) {
  if (dst.descriptor()->width != field.width() || dst.descriptor()->height != field.height()) {
    detail::refuse("the motion field has another size than the picture");
  }
  detail::run([&] {
    return VX_PredictByMotion(src.descriptor(), detail::floats(field), field.pitch(),
                              dst.descriptor());
  });
}

struct DrawMotionOptions {
  double longest = 0;  // the length that has full brightness, in pixels; 0: that of the longest
  int32_t arrows = 0;  // distance between arrows in pixels; 0: none
};

// Draws a field as colours (VX_DrawMotion) into a picture of its size. Throws Error
// (bad_parameter).
inline void draw_motion(AnyView dst, const MotionField& field,
                        const DrawMotionOptions& options = {}) {
  if (dst.descriptor()->width != field.width() || dst.descriptor()->height != field.height()) {
    detail::refuse("the motion field has another size than the picture");
  }
  detail::run([&] {
    return VX_DrawMotion(detail::floats(field), field.pitch(), static_cast<float>(options.longest),
                         options.arrows, dst.descriptor());
  });
}

}  // namespace vx
