// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The cases of samplers: worlds with flat parts, positions where roundings and edges turn.

#include "CheckWorlds.h"
#include "VX/VX_Sampling.h"

inline constexpr int32_t kPositions = 24;  // a world

// Whether a routine looks at the bounds, as its name tells; else all four neighbours must be in.
inline bool IsClipped(const Trial& trial) {
  return std::strstr(trial.slot(), "NoClip") == nullptr &&
         std::strstr(trial.slot(), "Span") == nullptr;
}

// A position along an axis of `size` pixels, with the `span` pixels from it on inside if not
// clipped.
inline VX_Fixed AnyPosition(Trial& trial, int32_t size, bool clipped, int32_t span = 2) {
  constexpr int32_t kFractions[] = {0, 0, 1, 32767, 32768, 32769, 65535};
  const int32_t fraction = trial.Draw(2) == 0 ? kFractions[trial.Draw(7)] : trial.Draw(65536);
  if (!clipped) return trial.Draw(size - span + 1) * 65536 + fraction;
  if (trial.Draw(16) == 0) return trial.Draw(2) == 0 ? INT32_MAX - fraction : INT32_MIN + fraction;
  return (trial.Draw(size + 5) - 3) * 65536 + fraction;
}

inline VX_Fixed AnyRadius(Trial& trial) {
  constexpr VX_Fixed kRadii[] = {-65536, 0, 1, 32767, 32768, 32769, 65536, 98304, INT32_MAX};
  return trial.Draw(2) == 0 ? kRadii[trial.Draw(9)] : trial.Draw(9 * 65536);
}

// What a position's fractions make, or shares that no fraction makes.
inline VX_SubpixelWeights AnyWeights(Trial& trial) {
  const double a = AnyPosition(trial, 2, false) / 65536.0;
  const double b = AnyPosition(trial, 2, false) / 65536.0;
  if (trial.Draw(3) != 0)
    return {1 - a * b - (a - a * b) - (b - a * b), a - a * b, b - a * b, a * b};
  const double c = trial.Draw(1000) / 999.0;
  return {(1 - a) * c, (1 - c) * b, a * c, (1 - c) * (1 - b)};
}

// Lays worlds and positions; `call(record, x, y, out)` samples into a frame that it lays itself.
template <class Pixel, class Call>
void ForEachPosition(Trial& trial, int32_t span, Call call) {
  constexpr int32_t kPaddings[] = {0, 1, 4, 37};
  Frame<Pixel> src(2), out(2);
  const bool clipped = IsClipped(trial);
  for (int32_t i = 0; i < kWorldCases * trial.rounds(); ++i) {
    const int32_t width = (clipped ? 1 : span) + trial.Draw(20);
    const int32_t height = (clipped ? 1 : 2) + trial.Draw(4);
    src.Lay(trial, width, height, kPaddings[trial.Draw(4)], trial.Draw(18) - 2,
            i % 4 == 0 ? Look::kDrawn : Look::kPatches);
    VX_SampPB record{};
    record.src = &src.world;
    for (int32_t k = 0; k < kPositions; ++k) {
      record.x_radius = AnyRadius(trial);
      record.y_radius = AnyRadius(trial);
      record.area = static_cast<VX_Fixed>(int64_t{record.x_radius} * record.y_radius >> 14);
      const VX_Fixed x = AnyPosition(trial, width, clipped, span);
      const VX_Fixed y = AnyPosition(trial, height, clipped);
      trial.Case("case %d, %d x %d, rowbytes %d, position %d %d, radii %d %d", i, width, height,
                 src.world.rowbytes, x, y, record.x_radius, record.y_radius);
      call(record, x, y, out);
      out.Give(trial);
    }
    src.ExpectUntouched(trial);
  }
}

template <class Pixel>
void LayOut(Trial& trial, Frame<Pixel>& out, int32_t count) {
  out.Lay(trial, count, 1, 0, trial.Draw(18) - 2);
}

template <class Pixel>
void CheckSlot(Trial& trial, VX_SampleFunc<Pixel> routine) {
  ForEachPosition<Pixel>(trial, 2, [&](const VX_SampPB& record, VX_Fixed x, VX_Fixed y, auto& out) {
    LayOut(trial, out, 1);
    trial.Gave(routine(nullptr, x, y, &record, out.data()));
  });
}

template <class Pixel>
void CheckSlot(Trial& trial, VX_SampleAllInFunc<Pixel> routine) {
  ForEachPosition<Pixel>(trial, 2, [&](const VX_SampPB& record, VX_Fixed x, VX_Fixed y, auto& out) {
    LayOut(trial, out, 1);
    uint8_t all_in = 0xA5;
    trial.Gave(routine(nullptr, x, y, &record, &all_in, out.data()));
    trial.Gave(&all_in, 1, 1);
  });
}

template <class Pixel>
void CheckSlot(Trial& trial, VX_SampleWeightedFunc<Pixel> routine) {
  ForEachPosition<Pixel>(trial, 2, [&](const VX_SampPB& record, VX_Fixed x, VX_Fixed y, auto& out) {
    LayOut(trial, out, 1);
    const VX_SubpixelWeights weights = AnyWeights(trial);
    trial.Gave(routine(nullptr, x, y, &weights, &record, out.data()));
  });
}

// Runs of up to 67 pixels, none among them.
template <class Pixel>
void CheckSlot(Trial& trial, VX_SampleSpanFunc<Pixel> routine) {
  for (const int32_t most : {1, 4, 17, 67}) {
    const auto check = [&](const VX_SampPB& record, VX_Fixed x, VX_Fixed y, auto& out) {
      const int32_t count = most - trial.Draw(2);
      LayOut(trial, out, count);
      auto alpha_sum = static_cast<VX_AlphaSumOf<Pixel>>(trial.Draw(100000));
      trial.Gave(routine(nullptr, count, x, y, &record, &alpha_sum, out.data()));
      trial.Gave(&alpha_sum, sizeof alpha_sum, sizeof alpha_sum);
    };
    ForEachPosition<Pixel>(trial, most + 1, check);
  }
}

// Four positions near the one drawn, or far from it.
struct FourPositions {
  VX_Fixed at[8];
  FourPositions(Trial& trial, const VX_SampPB& record, VX_Fixed x, VX_Fixed y) {
    for (int32_t i = 0; i < 8; i += 2) {
      const bool near = trial.Draw(2) == 0;
      at[i] = near ? x : AnyPosition(trial, record.src->width, false);
      at[i + 1] = near ? y : AnyPosition(trial, record.src->height, false);
    }
  }
};

inline void CheckSlot(Trial& trial, VX_SampleFourFunc routine) {
  const auto check = [&](const VX_SampPB& record, VX_Fixed x, VX_Fixed y, auto& out) {
    LayOut(trial, out, 4);
    const FourPositions positions(trial, record, x, y);
    trial.Gave(routine(nullptr, positions.at, &record, out.data()));
  };
  ForEachPosition<VX_Pixel8>(trial, 2, check);
}

inline void CheckSlot(Trial& trial, VX_SampleFourWeightedFunc routine) {
  const auto check = [&](const VX_SampPB& record, VX_Fixed x, VX_Fixed y, auto& out) {
    LayOut(trial, out, 4);
    const FourPositions positions(trial, record, x, y);
    const VX_SubpixelWeights weights = AnyWeights(trial);
    trial.Gave(routine(nullptr, positions.at, &weights, &record, out.data()));
  };
  ForEachPosition<VX_Pixel8>(trial, 2, check);
}

inline void CheckSlot(Trial& trial, VX_ComputeWeightFunc routine) {
  Frame<VX_PixelFloat> out(1);  // two pixels are as long as the record
  static_assert(sizeof(VX_SubpixelWeights) == 2 * sizeof(VX_PixelFloat));
  for (int32_t i = 0; i < 1000 * trial.rounds(); ++i) {
    const auto fx = static_cast<uint16_t>(AnyPosition(trial, 2, false));
    const auto fy = static_cast<uint16_t>(AnyPosition(trial, 2, false));
    trial.Case("fractions %d %d", fx, fy);
    out.Lay(trial, 2, 1, 0, kAtPageEnd);
    trial.Gave(routine(fx, fy, reinterpret_cast<VX_SubpixelWeights*>(out.data())));
    out.Give(trial);
  }
}
