// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/smooth/FnVeltorVectors.h"

namespace {

std::shared_ptr<FnAnalysisPair> Prepare(const VX_LayerDef& a, const VX_LayerDef& b,
                                        const VX_Veltor_AlgoParams& settings,
                                        FnInterruptState* interrupt) {
  auto pair = std::make_shared<FnAnalysisPair>();
  FnPrepareAnalysis(a, settings, interrupt, &pair->first);
  if (FnPoll(interrupt) == VX_Ok) FnPrepareAnalysis(b, settings, interrupt, &pair->second);
  return pair;
}

// Frees the reductions, which only the estimate reads.
FnSharedPair WithoutReductions(std::shared_ptr<FnAnalysisPair> pair) {
  pair->first.pyramid = {};
  pair->second.pyramid = {};
  return pair;
}

}  // namespace

void FnVeltorVectors::Estimate(const VX_LayerDef& a, const VX_LayerDef& b,
                               const VX_Veltor_AlgoParams& settings, FnInterruptState* interrupt) {
  const std::shared_ptr<FnAnalysisPair> pair = Prepare(a, b, settings, interrupt);
  const auto field = [&](const FnAnalysisPicture& from, const FnAnalysisPicture& to,
                         FnVectorMap* out) {
    if (FnPoll(interrupt) == VX_Ok) FnEstimateBlocks(from, to, settings, interrupt, out);
    if (FnPoll(interrupt) == VX_Ok) FnSmoothField(from, to, settings, interrupt, out);
  };
  field(pair->first, pair->second, &forward);
  field(pair->second, pair->first, &backward);
  firstAxes = pair->first.luminance;
  secondAxes = pair->second.luminance;
  luminances_ = WithoutReductions(pair);
}

FnSharedPair FnVeltorVectors::Luminances(const VX_LayerDef& a, const VX_LayerDef& b,
                                         const VX_Veltor_AlgoParams& settings,
                                         FnInterruptState* interrupt) const {
  {
    const std::lock_guard lock(mutex_);
    if (luminances_ != nullptr) return luminances_;
  }
  // Without the lock, because the abort function may be called. Two threads make the same bytes.
  const std::shared_ptr<FnAnalysisPair> pair = Prepare(a, b, settings, interrupt);
  if (FnPoll(interrupt) != VX_Ok) return nullptr;
  const std::lock_guard lock(mutex_);
  if (luminances_ == nullptr) luminances_ = WithoutReductions(pair);
  return luminances_;
}
