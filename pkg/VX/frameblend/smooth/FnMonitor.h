// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Which vectors of a map changed since the last look.

#include <atomic>

#include "frameblend/imgproc/FnImgProc.h"

enum FnMonitorFlags : uint32_t {
  FnMonitor_Seed = 1,        // the next run only takes a copy of the map
  FnMonitor_AllChanged = 2,  // every vector counts as changed; from a seed until the next run
  FnMonitor_Invalid = 4      // the last run has seen an invalid vector
};

class FnMotionEstimateGradientChangedNeighboursMonitor final : public FnImgProc1<HvVec2> {
 public:
  void seed() { monitorFlags |= FnMonitor_Seed | FnMonitor_AllChanged; }
  bool isChanged(int32_t x, int32_t y) const {
    return (monitorFlags & FnMonitor_AllChanged) != 0 || changed.row(y)[x] != 0;
  }
  // The mark of a pixel in `changed`, not 0 if its vector has changed; null if every vector counts
  // as changed.
  const int32_t* MarkAt(int32_t x, int32_t y) const {
    return (monitorFlags & FnMonitor_AllChanged) != 0 ? nullptr : changed.row(y) + x;
  }
  bool hasInvalid() const { return (monitorFlags & FnMonitor_Invalid) != 0; }

  void begin() override;
  void processBand() override;

  FnIntMap changed;
  FnVectorMap previous;
  std::atomic<uint32_t> monitorFlags = FnMonitor_Seed | FnMonitor_AllChanged;
};
