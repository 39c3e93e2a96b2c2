// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A progress record that notes its calls and may stop the operation.

#include <cstdint>
#include <vector>

#include "VX/VX_Types.h"

struct Polls {
  std::vector<int32_t> steps = {};
  int32_t final_step = 0;
  int32_t stop_at = -1;  // the step that is answered with `code`
  VX_Err code = VX_ErrStopped;

  VX_ProgressInfo Info() {
    VX_ProgressInfo info{};
    info.progress_refcon = this;
    info.progress_func = [](void* refcon, int32_t step, int32_t last) -> VX_Err {
      auto& polls = *static_cast<Polls*>(refcon);
      polls.steps.push_back(step);
      polls.final_step = last;
      return step == polls.stop_at ? polls.code : 0;
    };
    return info;
  }
};
