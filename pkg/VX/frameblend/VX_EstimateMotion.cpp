// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <cstring>
#include <limits>

#include "VX/VX_FrameBlending.h"
#include "frame/VXp_Dispatch.h"
#include "frame/VXp_Report.h"
#include "frameblend/VXp_FrameblendBirth.h"
#include "frameblend/imgproc/FnThreads.h"
#include "frameblend/smooth/FnMotionField.h"

namespace {

VX_Err Refuse(const char* text, int32_t line = __builtin_LINE()) {
  return VXp_FailVerification(text, line);
}

bool HasPixels(const VX_LayerDef* world) {
  return world != nullptr && world->data != nullptr && world->width > 0 && world->height > 0;
}

VX_Err CheckPair(const VX_LayerDef* a, const VX_LayerDef* b, const float* vectors,
                 ptrdiff_t rowbytes) {
  if (!HasPixels(a) || !HasPixels(b)) return Refuse("motion of a world without pixels");
  if (a->width != b->width || a->height != b->height) {
    return Refuse("motion between worlds of different sizes");
  }
  if (VXp_WorldDepth(a) != VXp_WorldDepth(b)) {
    return Refuse("motion between worlds of different depths");
  }
  if (vectors == nullptr) return Refuse("motion without an array of vectors");
  if (rowbytes < ptrdiff_t{a->width} * 8 || rowbytes > INT32_MAX || rowbytes % 4 != 0) {
    return Refuse("motion with rowbytes that do not fit the rows of vectors");
  }
  return VX_Ok;
}

const float* VectorRow(const float* vectors, ptrdiff_t rowbytes, int32_t y) {
  return reinterpret_cast<const float*>(reinterpret_cast<const char*>(vectors) + y * rowbytes);
}

// Full-size vectors: u is to the right, so it is -x of the field.
void ZoomToFrame(const FnVectorMap& field, float ratio, FnInterruptState* interrupt,
                 FnVectorMap* out) {
  ImageZoomerGP<HvVec2> zoom;
  zoom.interrupt = interrupt;
  zoom.xAxis = FnZoomAxis::ByCentres(ratio, -ratio);
  zoom.yAxis = FnZoomAxis::ByCentres(ratio, ratio);
  zoom.process(&field, out);
}

template <class Pixel>
VX_Err Predict(const VX_WorldX<Pixel>& src, const float* vectors, ptrdiff_t rowbytes,
               VX_WorldX<Pixel>& dst) {
  using Color = typename FnColorOfPixel<Pixel>::Type;
  const FnMap<Color> source(src);
  for (int32_t y = 0; y < dst.height; ++y) {
    const float* const uv = VectorRow(vectors, rowbytes, y);
    for (int32_t x = 0; x < dst.width; ++x) {
      const bool known = std::isfinite(uv[2 * x]) && std::isfinite(uv[2 * x + 1]);
      const float px = static_cast<float>(x) + 0.5f + (known ? uv[2 * x] : 0);
      const float py = static_cast<float>(y) + 0.5f + (known ? uv[2 * x + 1] : 0);
      const Color out = FnToWorld<Pixel>(source.sampleAt(px, py));
      std::memcpy(dst.Row(y) + x, &out, sizeof out);
    }
  }
  return VX_Ok;
}

}  // namespace

// Percentages that are multiplied by a float may miss a bound by a rounding error.
VX_Err VX_CheckMotionSettings(const VX_Veltor_AlgoParams* settings) {
  if (settings == nullptr) return VX_ErrMotionSettings;
  const VX_Veltor_AlgoParams& s = *settings;
  const auto within = [](double value, double low, double high) {
    constexpr double kRounding = 1e-6;
    return value >= low - kRounding && value <= high + kRounding;
  };
  const bool valid = within(s.Method, 0, 2) && within(s.Resolution, 0.05, 1) &&
                     within(s.VectorDetail, -1000, 1000) &&
                     within(s.VectorSmoothing, -1000, 1000) && within(s.SmoothPasses, 1, 50) &&
                     within(s.ErrorThreshold, 0, 0.1) && within(s.HighQuality, 0, 1) &&
                     within(s.BlockSize, 4, 40) && within(s.LumaR, 0, 1) && within(s.LumaG, 0, 1) &&
                     within(s.LumaB, 0, 1) && std::abs(s.LumaR + s.LumaG + s.LumaB - 1) < 0.02 &&
                     within(s.ShutterAngle, 0, 360) && within(s.ShutterSamples, 1, 20) &&
                     within(s.Mode, 0, 3);
  return valid ? VX_Ok : VX_ErrMotionSettings;
}

VX_Err VX_EstimateMotion(const VX_LayerDef* first, const VX_LayerDef* second,
                         const VX_Veltor_AlgoParams* settings,
                         const VX_Veltor_InterruptFuncs* interrupt, int32_t backward,
                         float* vectors, ptrdiff_t rowbytes) {
  return VXp_Guarded([&]() -> VX_Err {
    if (const VX_Err code = CheckPair(first, second, vectors, rowbytes); code != VX_Ok) return code;
    const VX_Veltor_AlgoParams defaults;
    const VX_Veltor_AlgoParams& used = settings != nullptr ? *settings : defaults;
    if (const VX_Err code = VX_CheckMotionSettings(&used); code != VX_Ok) return code;

    FnInterruptState state;
    if (interrupt != nullptr) {
      state.abortFunc = interrupt->AbortFunc;
      if (interrupt->RefconPtr != nullptr) state.refcon = *interrupt->RefconPtr;
    }
    FnAnalysisPicture pictures[2];
    FnPrepareAnalysis(*first, used, &state, &pictures[0]);
    if (state.poll() == VX_Ok) FnPrepareAnalysis(*second, used, &state, &pictures[1]);
    if (const VX_Err code = state.poll(); code != VX_Ok) return code;

    const int32_t from = backward != 0 ? 1 : 0;
    FnVectorMap field;
    FnEstimateBlocks(pictures[from], pictures[1 - from], used, &state, &field);
    if (state.poll() == VX_Ok)
      FnSmoothField(pictures[from], pictures[1 - from], used, &state, &field);
    if (const VX_Err code = state.poll(); code != VX_Ok) return code;

    VX_LayerDef frame = *first;
    frame.data = vectors;
    frame.rowbytes = static_cast<int32_t>(rowbytes);
    FnVectorMap out(frame);
    ZoomToFrame(field, pictures[from].ratio, &state, &out);
    for (int32_t y = 0; y < out.height(); ++y) {
      for (int32_t x = 0; x < out.width(); ++x) {
        HvVec2& v = out.row(y)[x];
        constexpr float kUnknown = std::numeric_limits<float>::quiet_NaN();
        const bool known = v.IsValid() && std::isfinite(v.x) && std::isfinite(v.y);
        v = known ? v + HvVec2{0, 0} : HvVec2{kUnknown, kUnknown};  // the sum has no -0
      }
    }
    return state.poll();
  });
}

VX_Err VX_PredictByMotion(const VX_LayerDef* src, const float* vectors, ptrdiff_t rowbytes,
                          VX_LayerDef* dst) {
  return VXp_Guarded([&]() -> VX_Err {
    if (const VX_Err code = CheckPair(src, dst, vectors, rowbytes); code != VX_Ok) return code;
    return VXp_WithWorlds(
        dst, kVXp_UnknownDepthText,
        [&](auto& from, auto& to) { return Predict(from, vectors, rowbytes, to); }, src, dst);
  });
}

void VXp_EndMotionThreads() { FnEndThreads(); }

void VX_SetMotionThreads(int32_t count) { FnSetThreadCount(count); }
int32_t VX_MotionThreads() { return FnThreadCount(); }
