// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The cases of routines that work on worlds: random sizes, strides, rectangles and depths.

#include "CheckRows.h"

inline constexpr int32_t kWorldCases = 40;  // a round

// A world of up to 67 by 5 pixels somewhere in its memory.
template <class Pixel>
void LayWorld(Trial& trial, Frame<Pixel>& frame) {
  constexpr int32_t kPaddings[] = {0, 1, 4, 16, 37};
  const int32_t spot = trial.Draw(18) - 2;
  frame.Lay(trial, 1 + trial.Draw(67), 1 + trial.Draw(5), kPaddings[trial.Draw(5)], spot);
}

// A rectangle that may stick out of a world on every side, or lie upside down.
inline M_Rect AnyRect(Trial& trial) {
  const auto edge = [&trial](int32_t bound) { return static_cast<int16_t>(trial.Draw(bound) - 4); };
  M_Rect rect{};
  rect.left = edge(40);
  rect.top = edge(8);
  rect.right = edge(80);
  rect.bottom = edge(12);
  return rect;
}

// Calls `work` with an empty frame of each depth.
template <class Work>
void ForEachDepth(Work work) {
  work(Frame<VX_Pixel8>(2));
  work(Frame<VX_Pixel16>(2));
  work(Frame<VX_PixelFloat>(3));
}

// `call(world, area)` works in place.
template <class Call>
void CheckInPlace(Trial& trial, Call call) {
  ForEachDepth([&](auto&& frame) {
    for (int32_t i = 0; i < kWorldCases * trial.rounds(); ++i) {
      LayWorld(trial, frame);
      const M_Rect rect = AnyRect(trial);
      const M_Rect* const area = i % 4 == 0 ? nullptr : &rect;
      trial.Case("depth %d, case %d, %d x %d, rowbytes %d, area %d %d %d %d%s",
                 VXp_WorldDepth(&frame.world), i, frame.world.width, frame.world.height,
                 frame.world.rowbytes, rect.left, rect.top, rect.right, rect.bottom,
                 area == nullptr ? " not given" : "");
      trial.Gave(call(&frame.world, area));
      frame.Give(trial);
    }
  });
}

inline void CheckSlot(Trial& trial, VX_PremulFunc routine) {
  for (const int32_t forward : {0, 1}) {
    CheckInPlace(trial, [=](VX_LayerDef* world, const M_Rect* area) {
      return routine(nullptr, forward, area, world);
    });
  }
}

template <class Pixel>
void CheckSlot(Trial& trial, VX_PremulColorFunc<Pixel> routine) {
  Frame<Pixel> color(1);
  for (const int32_t forward : {0, 1}) {
    CheckInPlace(trial, [&](VX_LayerDef* world, const M_Rect* area) {
      color.Lay(trial, 1, 1, 0, kAtPageEnd);
      return routine(nullptr, forward, color.data(), area, world);
    });
  }
}

inline void CheckSlot(Trial& trial, VX_DepthConvertFunc routine) {
  ForEachDepth([&](auto&& src) {
    ForEachDepth([&](auto&& dst) {
      for (int32_t i = 0; i < kWorldCases * trial.rounds(); ++i) {
        LayWorld(trial, src);
        LayWorld(trial, dst);
        const M_Rect rect = AnyRect(trial);
        const int32_t h = trial.Draw(12) - 4;
        const int32_t v = trial.Draw(6) - 3;
        const int32_t dither = i % 2;
        trial.Case("depth %d to %d, case %d, width %d to %d, to %d %d, dither %d",
                   VXp_WorldDepth(&src.world), VXp_WorldDepth(&dst.world), i, src.world.width,
                   dst.world.width, h, v, dither);
        VX_ResetDitherRandomIndex();
        trial.Gave(
            routine(nullptr, &src.world, i % 3 == 0 ? nullptr : &rect, dither, h, v, &dst.world));
        src.ExpectUntouched(trial);
        dst.Give(trial);
      }
    });
  });
}

inline void CheckSlot(Trial& trial, VX_CompositeRectFunc routine) {
  ForEachDepth([&]<class Pixel>(Frame<Pixel>&& src) {
    Frame<Pixel> dst(3);
    for (int32_t i = 0; i < 2 * trial.rounds(); ++i) {
      for (const ModeName& mode : kModes) {
        LayWorld(trial, src);
        LayWorld(trial, dst);
        const M_Rect rect = AnyRect(trial);
        const int32_t opacity = trial.Draw(256);
        const int32_t x = trial.Draw(24) - 8;
        const int32_t y = trial.Draw(6) - 2;
        trial.Case("%s, depth %d, case %d, opacity %d", mode.name, VXp_WorldDepth(&src.world), i,
                   opacity);
        trial.Gave(routine(nullptr, i % 2 == 0 ? nullptr : &rect, opacity, &src.world, x, y,
                           trial.Draw(3), mode.mode, &dst.world));
        src.ExpectUntouched(trial);
        dst.Give(trial);
      }
    }
  });
}

inline void CheckSlot(Trial& trial, VX_BlendWorldsFunc routine) {
  ForEachDepth([&]<class Pixel>(Frame<Pixel>&& a) {
    Frame<Pixel> b(3), dst(3);
    for (int32_t i = 0; i < kWorldCases * trial.rounds(); ++i) {
      LayWorld(trial, a);
      LayWorld(trial, b);
      LayWorld(trial, dst);
      const VX_Fixed ratio = trial.Draw(65537);
      trial.Case("depth %d, case %d, ratio %d", VXp_WorldDepth(&a.world), i, ratio);
      trial.Gave(routine(nullptr, &a.world, &b.world, ratio, &dst.world));
      a.ExpectUntouched(trial);
      b.ExpectUntouched(trial);
      dst.Give(trial);
    }
  });
}

inline void CheckSlot(Trial& trial, VX_TransferRectFunc routine) {
  ForEachDepth([&]<class Pixel>(Frame<Pixel>&& src) {
    Frame<Pixel> dst(3), matte(3);
    for (int32_t i = 0; i < 12 * trial.rounds(); ++i) {
      for (const ModeName& mode : kModes) {
        LayWorld(trial, src);
        LayWorld(trial, dst);
        LayWorld(trial, matte);
        const M_Rect rect = AnyRect(trial);
        const int32_t x = trial.Draw(24) - 8;
        const int32_t y = trial.Draw(6) - 2;
        const int32_t field = trial.Draw(3);
        const VX_MaskSpec mask{&matte.world, static_cast<int16_t>(trial.Draw(5) - 2),
                               static_cast<int16_t>(trial.Draw(9) - 4), trial.Draw(4)};
        const bool masked = trial.Draw(2) != 0;
        const bool linear = trial.Draw(4) == 0;
        const VX_CompositeModePlus plus(mode.mode, AnyOpacity<float>(trial), nullptr,
                                        trial.Draw(2) != 0, static_cast<int32_t>(trial.random()));
        trial.Case("%s, depth %d, case %d, opacity %g, keep %d, field %d, mask %d, linear %d",
                   mode.name, VXp_WorldDepth(&src.world), i, static_cast<double>(plus.opacityF),
                   plus.keepDstAlpha, field, masked ? mask.what : -1, linear);
        trial.Gave(routine(nullptr, 1, 0, field, i % 2 == 0 ? nullptr : &rect, &src.world, &plus,
                           linear ? &PowerTables() : nullptr, masked ? &mask : nullptr, x, y,
                           &dst.world));
        src.ExpectUntouched(trial);
        matte.ExpectUntouched(trial);
        dst.Give(trial);
      }
    }
  });
}
