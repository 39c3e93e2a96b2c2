// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The motion of a pair of pictures.

#include "frameblend/smooth/FnMotionField.h"

struct FnVeltorVectors {
  FnAnalysisPicture first, second;
  FnVectorMap forward, backward;  // on the first picture, on the second

  int32_t width() const { return forward.width(); }
  int32_t height() const { return forward.height(); }

  // Makes the luminances and their levels.
  void Prepare(const VX_LayerDef& a, const VX_LayerDef& b, const VX_Veltor_AlgoParams& settings,
               FnInterruptState* interrupt);
  // Estimates both fields, after Prepare.
  void Estimate(const VX_Veltor_AlgoParams& settings, FnInterruptState* interrupt);
};
