// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cmath>

#include "frame/VXp_Report.h"
#include "frameblend/FnPair.h"

namespace {

constexpr float kPercent = 0.0099999998f;
constexpr float kInstantStep = 0.005f;

// The position between the pictures, 0..1.
float PositionOf(double instant) {
  const double part = std::fmod(instant, 1.0);
  const auto position = static_cast<float>(part < 0 ? part + 1 : part);
  return static_cast<float>(static_cast<int32_t>((position + kInstantStep / 2) / kInstantStep)) *
         kInstantStep;
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
    VX_Tween pair(sourceA, sourceB, algo);
    FnMotionKey& key = pair.motion.vectors.key;
    std::ranges::copy(other.CacheIdentity, key.identity.begin());
    key.timeA = {other.TimeA.value, other.TimeA.scale};
    key.timeB = {other.TimeB.value, other.TimeB.scale};
    return pair.Render(PositionOf(other.Instant), interrupt, destination);
  });
}
