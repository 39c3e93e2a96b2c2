// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/FnVeltorVectors.h"

void FnVeltorVectors::Prepare(const VX_LayerDef& a, const VX_LayerDef& b,
                              const VX_Veltor_AlgoParams& settings, FnInterruptState* interrupt) {
  FnPrepareAnalysis(a, settings, interrupt, &first);
  if (FnPoll(interrupt) == VX_Ok) FnPrepareAnalysis(b, settings, interrupt, &second);
}

void FnVeltorVectors::Estimate(const VX_Veltor_AlgoParams& settings, FnInterruptState* interrupt) {
  const auto field = [&](const FnAnalysisPicture& from, const FnAnalysisPicture& to,
                         FnVectorMap* out) {
    if (FnPoll(interrupt) == VX_Ok) FnEstimateBlocks(from, to, settings, interrupt, out);
    if (FnPoll(interrupt) == VX_Ok) FnSmoothField(from, to, settings, interrupt, out);
  };
  field(first, second, &forward);
  field(second, first, &backward);
}
