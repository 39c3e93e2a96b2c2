// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Processes lines through VX_IterateGeneric or its replacement, which may use several threads, and
// combines their errors and their progress.

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <limits>

#include "VX/VX_OverrideTable.h"
#include "frame/VXp_Report.h"

inline bool VXp_HasProgress(const VX_ProgressInfo* progress) {
  return progress != nullptr && progress->progress_func != nullptr;
}

// Divides `lines` lines into tiles of up to `tile` lines, and calls `work(thread, first, count)`
// for each tile through `iterate`. `work` returns a code. The first code other than 0 is the
// result, and the other threads stop before their next tile. After each of its tiles, thread 0
// calls progress once for each line of the tile, with the number of lines that all threads have
// completed. A code other than 0 from progress stops the work too. No exception passes through
// `iterate`.
template <class Work>
VX_Err VXp_ForLines(VX_IterateGenericFunc iterate, const VX_ProgressInfo* progress, int32_t lines,
                    int32_t tile, const Work& work) {
  struct Run {
    const VX_ProgressInfo* progress;
    int32_t lines, tile;
    const Work& work;
    std::atomic<VX_Err> first_error{VX_Ok};
    std::atomic<int32_t> done{0};

    VX_Err Report(int32_t thread, int32_t count) {
      const int32_t before = done.fetch_add(count, std::memory_order_relaxed);
      if (thread != 0 || !VXp_HasProgress(progress)) return VX_Ok;
      for (int32_t i = 1; i <= count; ++i) {
        const VX_Err code = progress->progress_func(progress->progress_refcon, before + i, lines);
        if (code != VX_Ok) return code;
      }
      return VX_Ok;
    }
    VX_Err Item(int32_t thread, int32_t i) {
      const VX_Err stopped = first_error.load(std::memory_order_relaxed);
      if (stopped != VX_Ok) return stopped;
      const VX_Err error = VXp_Guarded([&]() -> VX_Err {
        const int32_t first = i * tile, count = std::min(tile, lines - first);
        const VX_Err own = work(thread, first, count);
        return own != VX_Ok ? own : Report(thread, count);
      });
      VX_Err none = VX_Ok;
      if (error != VX_Ok) first_error.compare_exchange_strong(none, error);
      return error;
    }
  };
  if (lines <= 0) return VX_Ok;
  Run run{progress, lines, tile, work};
  const auto items = static_cast<int32_t>((int64_t{lines} + tile - 1) / tile);
  const VX_Err error =
      iterate(items, &run, [](void* refcon, int32_t thread, int32_t i, int32_t) -> VX_Err {
        return static_cast<Run*>(refcon)->Item(thread, i);
      });
  const VX_Err first = run.first_error.load();
  return first != VX_Ok ? first : error;
}

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
