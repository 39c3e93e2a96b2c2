// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/smooth/FnMonitor.h"

#include "frameblend/imgproc/FnLanes.h"

void FnMotionEstimateGradientChangedNeighboursMonitor::begin() {
  const bool seeding = (monitorFlags & FnMonitor_Seed) != 0;
  const int32_t width = target->x.size, height = target->y.size;
  if (seeding || isInvalid(&changed) || isInvalid(&previous)) {
    if (!changed.allocate(width, height) || !previous.allocate(width, height)) {
      setError(VX_ErrOutOfMemory);
      passes = 0;
      return;
    }
    for (int32_t y = 0; y < height; ++y) {
      std::fill_n(changed.row(y), width, 0);
      std::copy_n(first->row(y), width, previous.row(y));
    }
  }
  passes = seeding ? 0 : 1;
  if (seeding) {
    monitorFlags &= ~uint32_t{FnMonitor_Seed};
  } else {
    monitorFlags &= ~uint32_t{FnMonitor_AllChanged};
  }
  monitorFlags &= ~uint32_t{FnMonitor_Invalid};
}

void FnMotionEstimateGradientChangedNeighboursMonitor::processBand() {
  const FnBand band = Band();
  bool invalid = false;
  FnInts invalid_lanes{};
  for (int32_t y = band.first; y < band.end; ++y) {
    if (Stopped()) return;
    const HvVec2* const now = first->row(y);
    HvVec2* const before = previous.row(y);
    int32_t* const out = changed.row(y);
    int32_t x = x0;
    for (; x + kFnLanes <= x1; x += kFnLanes) {
      const auto vectors = FnVectorLanes::Load(now + x);
      invalid_lanes |= (vectors.x == FLT_MAX) | (vectors.y == FLT_MAX);
      const FnInts marks = vectors.Differs(FnVectorLanes::Load(before + x)) & 1;
      std::memcpy(out + x, &marks, sizeof marks);
      std::memcpy(before + x, now + x, kFnLanes * sizeof *now);
    }
    for (; x < x1; ++x) {
      invalid = invalid || now[x].x == FLT_MAX || now[x].y == FLT_MAX;
      out[x] = now[x] == before[x] ? 0 : 1;
      before[x] = now[x];
    }
  }
  if (invalid || VXp_AnyLane(invalid_lanes)) monitorFlags |= FnMonitor_Invalid;
}
