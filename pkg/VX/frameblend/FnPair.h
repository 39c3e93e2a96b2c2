// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "frameblend/FnInstant.h"

// A pair of pictures and what was computed from it.
struct VX_Tween {
  // The worlds may be null; Check refuses them. Their pixels are used until the end.
  VX_Tween(const VX_LayerDef* a, const VX_LayerDef* b, const VX_Veltor_AlgoParams& settings)
      : first(a != nullptr ? *a : VX_LayerDef{}),
        second(b != nullptr ? *b : VX_LayerDef{}),
        algo(settings) {}

  // Checks the settings and the sources.
  VX_Err Check() const;
  // Checks all, then writes the picture of a position in 0..1. Failures are reported.
  VX_Err Render(float position, const VX_Veltor_InterruptFuncs& interrupt, VX_LayerDef* dst);

  VX_LayerDef first, second;
  VX_Veltor_AlgoParams algo;
  bool high = false;
  FnPairMotion motion;
};
