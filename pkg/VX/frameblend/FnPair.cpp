// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/FnPair.h"

#include "frame/VXp_Dispatch.h"
#include "frame/VXp_Report.h"

namespace {

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

bool HasPixels(const VX_LayerDef& world) {
  return world.data != nullptr && world.width > 0 && world.height > 0;
}

bool Fit(const VX_LayerDef& a, const VX_LayerDef& b) {
  return a.width == b.width && a.height == b.height && VXp_WorldDepth(&a) == VXp_WorldDepth(&b);
}

constexpr char kNoPixels[] = "frame blending of a world without pixels";
constexpr char kUnequal[] = "frame blending of worlds of different sizes or depths";

// Runs `work` with the record of an interrupt, and reports its failure.
template <class Work>
VX_Err Run(const VX_Veltor_InterruptFuncs& interrupt, Work&& work) {
  FnInterruptState state;
  state.abortFunc = interrupt.AbortFunc;
  if (interrupt.RefconPtr != nullptr) state.refcon = *interrupt.RefconPtr;
  work(&state);
  const VX_Err code = state.error.load();
  Report(code);
  return code;
}

const VX_Veltor_InterruptFuncs& OrNone(const VX_Veltor_InterruptFuncs* interrupt) {
  static constexpr VX_Veltor_InterruptFuncs kNone;
  return interrupt != nullptr ? *interrupt : kNone;
}

VX_Err CheckPosition(float position) {
  if (position >= 0 && position <= 1) return VX_Ok;
  return VXp_FailVerification("a position between pictures that is not in 0..1");
}

}  // namespace

VX_Err VX_Tween::Check() const {
  if (const VX_Err code = VX_CheckMotionSettings(&algo); code != VX_Ok) return code;
  if (!HasPixels(first) || !HasPixels(second)) return VXp_FailVerification(kNoPixels);
  return Fit(first, second) ? VX_Ok : VXp_FailVerification(kUnequal);
}

VX_Err VX_Tween::Render(float position, const VX_Veltor_InterruptFuncs& interrupt,
                        VX_LayerDef* dst) {
  if (const VX_Err code = Check(); code != VX_Ok) return code;
  if (dst == nullptr || !HasPixels(*dst)) return VXp_FailVerification(kNoPixels);
  if (!Fit(first, *dst)) return VXp_FailVerification(kUnequal);
  if (dst->data == first.data || dst->data == second.data) {
    return VXp_FailVerification("frame blending into one of its sources");
  }
  return Run(interrupt, [&](FnInterruptState* state) {
    VXp_SelectPixel(
        VXp_WorldDepth(dst),
        [&](auto tag) {
          FnInstantRenderer<typename decltype(tag)::Pixel>(algo, state, first, second, *dst, high,
                                                           &motion)
              .Run(position);
        },
        [] {});
  });
}

VX_Err VX_NewTween(const VX_LayerDef* first, const VX_LayerDef* second,
                   const VX_Veltor_AlgoParams* settings, VX_TweenQuality quality,
                   VX_Tween** tween) {
  return VXp_Guarded([&]() -> VX_Err {
    if (tween == nullptr) return VXp_FailVerification("a new tween without a result");
    *tween = nullptr;
    auto made = std::make_unique<VX_Tween>(
        first, second, settings != nullptr ? *settings : VX_Veltor_AlgoParams{});
    if (quality != VX_TweenQuality_Standard && quality != VX_TweenQuality_High) {
      return VXp_FailVerification("a tween of an unknown quality");
    }
    made->high = quality == VX_TweenQuality_High;
    if (const VX_Err code = made->Check(); code != VX_Ok) return code;
    *tween = made.release();
    return VX_Ok;
  });
}

VX_Err VX_TweenInstant(VX_Tween* tween, float position, const VX_Veltor_InterruptFuncs* interrupt,
                       VX_LayerDef* dst) {
  return VXp_Guarded([&]() -> VX_Err {
    if (tween == nullptr) return VXp_FailVerification("an instant of a null tween");
    if (const VX_Err code = CheckPosition(position); code != VX_Ok) return code;
    return tween->Render(position, OrNone(interrupt), dst);
  });
}

VX_Err VX_TweenUnexplained(VX_Tween* tween, const VX_Veltor_InterruptFuncs* interrupt,
                           float* share) {
  return VXp_Guarded([&]() -> VX_Err {
    if (tween == nullptr || share == nullptr) {
      return VXp_FailVerification("the unexplained share of a null tween or without a result");
    }
    const VX_Err code = Run(OrNone(interrupt), [&](FnInterruptState* state) {
      if (tween->high) {
        tween->motion.NeedDense(tween->first, tween->second, state);
      } else {
        tween->motion.Need(tween->first, tween->second, tween->algo, state);
      }
    });
    if (code == VX_Ok) *share = tween->motion.Unexplained();
    return code;
  });
}

void VX_DisposeTween(VX_Tween* tween) { delete tween; }

VX_Err VX_RenderInstant(const VX_LayerDef* first, const VX_LayerDef* second, float position,
                        const VX_Veltor_AlgoParams* settings,
                        const VX_Veltor_InterruptFuncs* interrupt, VX_LayerDef* dst) {
  return VXp_Guarded([&]() -> VX_Err {
    if (const VX_Err code = CheckPosition(position); code != VX_Ok) return code;
    VX_Tween pair(first, second, settings != nullptr ? *settings : VX_Veltor_AlgoParams{});
    return pair.Render(position, OrNone(interrupt), dst);
  });
}
