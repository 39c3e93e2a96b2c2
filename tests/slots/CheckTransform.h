// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The cases of drawing through matrices: random ways of a layer over a small world.

#include <cmath>

#include "CheckWorlds.h"

// Holds the unclipped 8-bit sampler to one of its two rules, which follow the level otherwise.
class HeldUnclippedRule {
 public:
  explicit HeldUnclippedRule(bool single)
      : before_(VXp_G_OverFuncs.VX_SubpixelSampleNoClip_Straight) {
    VXp_G_OverFuncs.VX_SubpixelSampleNoClip_Straight =
        single ? &VX_SubpixelSampleNoClip_Straight_SSE2 : &VX_SubpixelSampleNoClip_Straight;
  }
  ~HeldUnclippedRule() { VXp_G_OverFuncs.VX_SubpixelSampleNoClip_Straight = before_; }
  HeldUnclippedRule(const HeldUnclippedRule&) = delete;

 private:
  VX_SampleFunc<VX_Pixel8> before_;
};

// A way over a world, of any kind that goes a path of its own; now and then without an inverse.
inline void AnyMatrices(Trial& trial, int32_t count, M_Matrix3* matrices) {
  const auto real = [&trial](double most) { return (trial.Draw(2001) - 1000) * (most / 1000); };
  VX_TransformParts parts[2];
  const int32_t kind = trial.Draw(6);  // 0 and 1 only move
  for (VX_TransformParts& p : parts) {
    p.translate_x = real(30);
    p.translate_y = real(5);
    if (trial.Draw(2) == 0) p.translate_x = std::floor(p.translate_x);
    if (trial.Draw(2) == 0) p.translate_y = std::floor(p.translate_y);
    if (kind < 2) continue;
    p.scale_x = kind == 2 ? 0.3 + std::fabs(real(0.5)) : 1 + real(2);
    p.scale_y = kind == 2 ? 0.3 + std::fabs(real(0.5)) : 1 + real(2);
    if (kind >= 4) p.rotation = kind == 4 ? trial.Draw(8) * 45 : real(180);
    if (kind == 5) p.skew_x = real(1);
  }
  VX_MatricesBetween(&parts[0], &parts[1], count, matrices);
  if (trial.Draw(16) == 0) matrices[trial.Draw(count)].m[trial.Draw(9)] += real(0.01);
  if (trial.Draw(32) == 0) matrices[trial.Draw(count)] = M_Matrix3{{1, 1, 0, 1, 1, 0, 0, 0, 1}};
}

inline void CheckSlot(Trial& trial, VX_TransformWorldFunc routine) {
  ForEachDepth([&]<class Pixel>(Frame<Pixel>&& src) {
    Frame<Pixel> dst(3), matte(3);
    for (int32_t i = 0; i < 24 * trial.rounds(); ++i) {
      for (const ModeName& mode : kModes) {
        LayWorld(trial, src);
        LayWorld(trial, dst);
        LayWorld(trial, matte);
        const M_Rect rect = AnyRect(trial);
        const int32_t quality = trial.Draw(4) == 0 ? 0 : 1;
        const int32_t field = trial.Draw(3);
        const int32_t counts[] = {1, 1, 2, 3, 5};
        const int32_t count = counts[trial.Draw(5)];
        M_Matrix3 matrices[5];
        AnyMatrices(trial, count, matrices);
        const VX_MaskSpec mask{&matte.world, static_cast<int16_t>(trial.Draw(5) - 2),
                               static_cast<int16_t>(trial.Draw(9) - 4), trial.Draw(4)};
        const bool masked = trial.Draw(2) != 0 || mode.mode == VX_Xfer_MaskMix;
        const bool linear = trial.Draw(4) == 0;
        const bool single = trial.Draw(2) != 0;
        const VX_CompositeModePlus plus(mode.mode, AnyOpacity<float>(trial), nullptr,
                                        trial.Draw(2) != 0, static_cast<int32_t>(trial.random()));
        const double* m = matrices[0].m;
        trial.Case("%s, depth %d, case %d, quality %d, field %d, mask %d, linear %d, single %d, "
                   "%d matrices from %g %g %g %g %g %g",
                   mode.name, VXp_WorldDepth(&src.world), i, quality, field,
                   masked ? mask.what : -1, linear, single, count, m[0], m[1], m[3], m[4], m[6],
                   m[7]);
        const HeldUnclippedRule rule(single);
        trial.Gave(routine(nullptr, quality, 0, field, &src.world, &plus,
                           linear ? &PowerTables() : nullptr, masked ? &mask : nullptr, matrices,
                           count, static_cast<uint8_t>(trial.Draw(2)), i % 2 == 0 ? nullptr : &rect,
                           &dst.world));
        src.ExpectUntouched(trial);
        matte.ExpectUntouched(trial);
        dst.Give(trial);
      }
    }
  });
}
