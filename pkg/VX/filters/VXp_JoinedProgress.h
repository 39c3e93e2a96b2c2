// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The progress of calls with several passes.

#include <algorithm>
#include <cstdint>
#include <limits>

#include "frame/VXp_Bands.h"

// Combines the progress of several passes: the steps of earlier passes are added to those of the
// current one.
class VXp_JoinedProgress {
 public:
  VXp_JoinedProgress(const VX_ProgressInfo* caller, int64_t steps)
      : caller_(caller),
        final_step_(
            static_cast<int32_t>(std::min<int64_t>(steps, std::numeric_limits<int32_t>::max()))) {
    info_.progress_func = [](void* refcon, int32_t step, int32_t) -> VX_Err {
      return static_cast<VXp_JoinedProgress*>(refcon)->Step(step);
    };
    info_.progress_refcon = this;
  }
  VXp_JoinedProgress(const VXp_JoinedProgress&) = delete;
  VXp_JoinedProgress& operator=(const VXp_JoinedProgress&) = delete;

  // Returns the VX_ProgressInfo for a pass; null if the caller has none.
  VX_ProgressInfo* info() { return VXp_HasProgress(caller_) ? &info_ : nullptr; }
  void PassDone(int32_t steps) { before_ += steps; }

 private:
  VX_Err Step(int32_t step) const {
    const int64_t all = std::min<int64_t>(before_ + step, final_step_);
    return caller_->progress_func(caller_->progress_refcon, static_cast<int32_t>(all), final_step_);
  }

  const VX_ProgressInfo* caller_;
  const int32_t final_step_;
  int64_t before_ = 0;
  VX_ProgressInfo info_{};
};
