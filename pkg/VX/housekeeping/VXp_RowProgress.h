// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Shared by the iterators over worlds: their check number, and calling progress between rows.

#include <cstdint>

#include "VX/VX_Types.h"
#include "frame/VXp_Bands.h"

inline constexpr uint32_t kVXp_IteratorNumber = 14;

// Calls progress after each row and stores its errors.
class VXp_RowProgress {
 public:
  VXp_RowProgress(const VX_ProgressInfo* info, int32_t base, int32_t final_step)
      : info_(info), base_(base), step_(static_cast<uint32_t>(base)), final_step_(final_step) {
    polls_ = final_step != 0 && info != nullptr && info->progress_func != nullptr;
  }

  // Call after each row. Returns VX_ErrStopped if the iteration must end, else VX_Ok. The step
  // wraps modulo 2^32, because the caller's base may be close to the largest number.
  VX_Err RowDone() {
    if (!polls_) return VX_Ok;
    const VX_Err answer =
        info_->progress_func(info_->progress_refcon, static_cast<int32_t>(++step_), final_step_);
    if (answer == VX_ErrStopped) return answer;
    if (answer != VX_Ok) last_error_ = answer;
    return VX_Ok;
  }

  // Returns whether there is a progress function to call.
  bool Polls() const { return polls_; }

  // Returns the number of rows for which progress was called.
  int32_t Rows() const { return static_cast<int32_t>(step_ - static_cast<uint32_t>(base_)); }

  // Returns the last error other than VX_ErrStopped, which is the result of the iteration.
  VX_Err LastError() const { return last_error_; }

 private:
  const VX_ProgressInfo* info_;
  int32_t base_;
  uint32_t step_;
  int32_t final_step_;
  bool polls_;
  VX_Err last_error_ = VX_Ok;
};

// Processes bands (VXp_Bands.h) and polls progress after each row. Returns VX_ErrStopped, another
// error of the rows, or the last error of progress.
template <class Work>
VX_Err VXp_ForBands(const VXp_Bands& bands, VXp_RowProgress& progress, const Work& work) {
  const auto report = [&](int32_t) { return progress.RowDone(); };
  const VX_Err error = VXp_ForBands(bands, progress.Polls(), report, work);
  return error != VX_Ok ? error : progress.LastError();
}
