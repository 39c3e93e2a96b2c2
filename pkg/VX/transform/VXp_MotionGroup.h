// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Samples a group of neighbouring pixels of a motion together, if their paths are inside the
// source. Computes the first sub-sample of all pixels, then the second of all, and so on. For each
// pixel, the order of its sub-samples is that of VXp_LineSampler.

#include "transform/VXp_LineSampler.h"
#include "transform/VXp_MotionSum.h"

template <class Pixel>
class VXp_MotionGroup {
 public:
  VXp_MotionGroup(const VXp_LineSampler<Pixel>& sampler, const VX_SampPB& record)
      : sampler_(sampler), record_(record) {}

  // Returns whether a path may be added to a group: all neighbours of its positions must be inside.
  bool Takes(const VXp_Line& path) const {
    return sampler_.TakesPoints() && sampler_.IsInside(path.x, path.y) &&
           sampler_.IsInside(path.X(path.count - 1), path.Y(path.count - 1));
  }

  // Stores the averages of the group at the addresses before `end`, and empties the group.
  void FinishBefore(Pixel* end) {
    if (count_ == 0) return;
    Sums sums[Sums::GroupsOf(kMost)];
    Pixel samples[kMost]{};
    const auto add = [&](VXp_SamplePointsFunc<Pixel> form) {
      form(record_, x_, y_, count_, /*ahead=*/0, samples);
      for (int32_t i = 0; i < count_; i += Sums::kPixels) {
        sums[i / Sums::kPixels].Add(samples + i);
      }
    };
    int32_t at = 0;
    for (; at < parts_.forward; ++at, Move(1)) add(sampler_.ends_points());
    Move(parts_.end - 1 - at);
    for (at = parts_.end - 1; at >= parts_.backward; --at, Move(-1)) add(sampler_.ends_points());
    Move(parts_.forward - at);
    for (at = parts_.forward; at < parts_.backward; ++at, Move(1)) add(sampler_.unclipped_points());
    Sums::Average(sums, count_, parts_.end, VXp_MotionRounding::Down, end - count_);
    count_ = 0;
  }

  // Adds a path, whose average is stored at `out`. Finishes the current group first if it is full
  // or if the path has another sampling order.
  void Take(const VXp_Line& path, Pixel* out) {
    const VXp_LineParts parts = sampler_.PartsOfInside(path);
    if (count_ == kMost || parts.forward != parts_.forward || parts.backward != parts_.backward) {
      FinishBefore(out);
    }
    parts_ = parts;
    x_[count_] = static_cast<VX_Fixed>(path.x);
    y_[count_] = static_cast<VX_Fixed>(path.y);
    dx_[count_] = static_cast<VX_Fixed>(path.dx);
    dy_[count_] = static_cast<VX_Fixed>(path.dy);
    ++count_;
  }

 private:
  using Sums = VXp_MotionSums<Pixel>;
  static constexpr int32_t kMost = 128;

  // Moves all positions by a number of steps. Additions wrap around, because the unused position
  // after the last sub-sample may overflow.
  void Move(int32_t steps) {
    const auto by = static_cast<uint32_t>(steps);
    for (int32_t i = 0; i < count_; ++i) {
      x_[i] =
          static_cast<VX_Fixed>(static_cast<uint32_t>(x_[i]) + by * static_cast<uint32_t>(dx_[i]));
      y_[i] =
          static_cast<VX_Fixed>(static_cast<uint32_t>(y_[i]) + by * static_cast<uint32_t>(dy_[i]));
    }
  }

  const VXp_LineSampler<Pixel>& sampler_;
  const VX_SampPB& record_;
  VX_Fixed x_[kMost], y_[kMost], dx_[kMost], dy_[kMost];
  VXp_LineParts parts_{};
  int32_t count_ = 0;
};
