// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Neighbouring pixels of a motion whose ways lie inside the source, sampled together: sub-sample
// after sub-sample of all of them, in the order in which one of them alone would take its own.

#include "transform/VXp_LineSampler.h"
#include "transform/VXp_MotionSum.h"

template <class Pixel>
class VXp_MotionBundle {
 public:
  VXp_MotionBundle(const VXp_LineSampler<Pixel>& sampler, const VX_SampPB& record)
      : sampler_(sampler), record_(record) {}

  // True where all neighbours of a way lie inside, so that it can be taken along.
  bool Takes(const VXp_Line& way) const {
    return sampler_.TakesPoints() && sampler_.IsInside(way.x, way.y) &&
           sampler_.IsInside(way.X(way.count - 1), way.Y(way.count - 1));
  }

  // Stores the averages of those that were taken, the last one before `end`, and lets them go.
  void FinishBefore(Pixel* end) {
    if (count_ == 0) return;
    VXp_MotionSum<Pixel> sums[kMost];
    const auto add = [&](VXp_SamplePointsFunc<Pixel> form) {
      Pixel samples[kMost];
      form(record_, x_, y_, count_, samples);
      for (int32_t i = 0; i < count_; ++i) sums[i].Add(samples[i]);
    };
    int32_t at = 0;
    for (; at < parts_.forward; ++at, Move(1)) add(sampler_.ends_points());
    Move(parts_.end - 1 - at);
    for (at = parts_.end - 1; at >= parts_.backward; --at, Move(-1)) add(sampler_.ends_points());
    Move(parts_.forward - at);
    for (at = parts_.forward; at < parts_.backward; ++at, Move(1)) add(sampler_.unclipped_points());
    for (int32_t i = 0; i < count_; ++i) end[i - count_] = sums[i].Average(parts_.end);
    count_ = 0;
  }

  // Takes a way along, after it has finished others that must not wait for it: `out` is where its
  // average belongs.
  void Take(const VXp_Line& way, Pixel* out) {
    const VXp_LineParts parts = sampler_.PartsOfInside(way);
    if (count_ == kMost || parts.forward != parts_.forward || parts.backward != parts_.backward) {
      FinishBefore(out);
    }
    parts_ = parts;
    x_[count_] = static_cast<VX_Fixed>(way.x);
    y_[count_] = static_cast<VX_Fixed>(way.y);
    dx_[count_] = static_cast<VX_Fixed>(way.dx);
    dy_[count_] = static_cast<VX_Fixed>(way.dy);
    ++count_;
  }

 private:
  static constexpr int32_t kMost = 128;

  // The step behind the last one may wrap.
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
