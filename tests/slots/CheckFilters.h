// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The cases of filters over worlds.

#include "CheckWorlds.h"
#include "VX/VX_Blur.h"
#include "VX/VX_Convolve.h"

// Kernels of small weights, or of weights that need all 32 bits.
inline void CheckSlot(Trial& trial, VX_ConvolveFunc routine) {
  constexpr int32_t kSizes[] = {1, 3, 5, 9, 65};
  ForEachDepth([&]<class Pixel>(Frame<Pixel>&& src) {
    Frame<Pixel> dst(3);
    for (int32_t i = 0; i < kWorldCases * trial.rounds(); ++i) {
      LayWorld(trial, src);
      LayWorld(trial, dst);
      const int32_t flags = trial.Draw(64);
      const int32_t size = kSizes[trial.Draw((flags & VX_Kernel_OneDimensional) != 0 ? 5 : 4)];
      const bool wide = trial.Draw(4) == 0;
      std::vector<int32_t> kernels[4];
      for (std::vector<int32_t>& kernel : kernels) {
        kernel.resize(static_cast<size_t>(size) * static_cast<size_t>(size));
        for (int32_t& weight : kernel) {
          weight = wide ? static_cast<int32_t>(trial.random()) : trial.Draw(600) - 200;
        }
      }
      trial.Case("depth %d, case %d, flags %d, size %d, %s weights", VXp_WorldDepth(&src.world), i,
                 flags, size, wide ? "wide" : "small");
      trial.Gave(routine(nullptr, &src.world, nullptr, flags, size, kernels[0].data(),
                         kernels[1].data(), kernels[2].data(), kernels[3].data(), &dst.world));
      src.ExpectUntouched(trial);
      dst.Give(trial);
    }
  });
}

// An entry kept for modules that know its number: a code, and nothing written.
inline void CheckSlot(Trial& trial, VX_FastBlurFunc routine) {
  ForEachDepth([&]<class Pixel>(Frame<Pixel>&& src) {
    Frame<Pixel> dst(3);
    LayWorld(trial, src);
    LayWorld(trial, dst);
    const float radius = AnyOpacity<float>(trial) * 9;
    trial.Case("depth %d, radius %g", VXp_WorldDepth(&src.world), static_cast<double>(radius));
    trial.Gave(routine(nullptr, &src.world, radius, VX_Blur_AllChannels, &dst.world));
    src.ExpectUntouched(trial);
    dst.Give(trial);
  });
}
