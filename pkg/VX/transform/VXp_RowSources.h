// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Where the rows of a transform come from: one class for each way to make them. Each fills a row
// of sampled pixels and tells in which order it was made:
//
//   VXp_LineParts Sample(int32_t count, Pixel* out)
//   void NextRow()

#include "transform/VXp_LineSampler.h"
#include "transform/VXp_MotionSum.h"
#include "transform/VXp_TransformPlan.h"

inline VX_SampPB VXp_RecordOf(const VX_LayerDef& src, const M_Matrix3& to_destination) {
  const VXp_Footprint print(to_destination);
  VX_SampPB record{};
  record.x_radius = print.x_radius;
  record.y_radius = print.y_radius;
  record.area = print.area;
  record.src = const_cast<VX_LayerDef*>(&src);
  return record;
}

inline bool VXp_NeedsBox(const VX_SampPB& record) {
  return record.x_radius > kVXp_FixedHalf || record.y_radius > kVXp_FixedHalf;
}

// --- without motion ------------------------------------------------------------------------------

template <class Pixel>
class VXp_StillDraftRows {
 public:
  VXp_StillDraftRows(const VXp_TransformPlan& plan, const VXp_LineSampler<Pixel>& sampler,
                     const VX_SampPB&)
      : sampler_(sampler), walk_(plan.first.to_source, plan.area) {}

  VXp_LineParts Sample(int32_t count, Pixel* out) {
    return sampler_.Nearest(walk_.Row(count), out);
  }
  void NextRow() { walk_.NextRow(); }

 private:
  const VXp_LineSampler<Pixel>& sampler_;
  VXp_Walk walk_;
};

template <class Pixel>
class VXp_StillHighRows {
 public:
  VXp_StillHighRows(const VXp_TransformPlan& plan, const VXp_LineSampler<Pixel>& sampler,
                    const VX_SampPB& record)
      : sampler_(sampler), record_(record), walk_(plan.first.to_source, plan.area) {}

  VXp_LineParts Sample(int32_t count, Pixel* out) {
    const VXp_Line line = walk_.Row(count);
    return VXp_NeedsBox(record_) ? sampler_.Box(line, record_, out)
                                 : sampler_.Row(line, record_, out);
  }
  void NextRow() { walk_.NextRow(); }

 private:
  const VXp_LineSampler<Pixel>& sampler_;
  const VX_SampPB& record_;
  VXp_Walk walk_;
};

// --- with motion along a straight way ------------------------------------------------------------

// The walks of the first and the last matrix, and the line from the one to the other at each pixel.
// The end of the line is not on it.
class VXp_MotionWalk {
 public:
  VXp_MotionWalk(const VXp_TransformPlan& plan)
      : first_(plan.first.to_source, plan.area),
        last_(plan.last.to_source, plan.area),
        samples_(plan.samples) {}

  void NextRow() {
    first_.NextRow();
    last_.NextRow();
  }
  VXp_Line WayAt(int32_t i) const {
    const int64_t x = first_.x + i * first_.dx, y = first_.y + i * first_.dy;
    return {x, y, (last_.x + i * last_.dx - x) / samples_, (last_.y + i * last_.dy - y) / samples_,
            samples_};
  }
  // Every pixel's way is that of its left neighbour, a pixel further.
  bool SlidesByPixels() const {
    return first_.dx == kVXp_FixedOne && first_.dy == 0 && last_.dx == kVXp_FixedOne &&
           last_.dy == 0;
  }
  int32_t samples() const { return samples_; }

 private:
  VXp_Walk first_, last_;
  int32_t samples_;
};

// `sample_way(line, buffer)` samples the way of a pixel.
template <class Pixel, class SampleWay>
VXp_LineParts VXp_SampleMotionRow(const VXp_MotionWalk& walk, int32_t count, Pixel* out,
                                  const SampleWay& sample_way) {
  Pixel samples[256];
  for (int32_t i = 0; i < count; ++i) {
    const VXp_LineParts parts = sample_way(walk.WayAt(i), samples);
    VXp_MotionSum<Pixel> sum;
    sum.Add(samples, parts);
    out[i] = sum.Average(walk.samples());
  }
  return {0, count, count, count};
}

template <class Pixel>
class VXp_MotionDraftRows {
 public:
  VXp_MotionDraftRows(const VXp_TransformPlan& plan, const VXp_LineSampler<Pixel>& sampler,
                      const VX_SampPB&)
      : sampler_(sampler), walk_(plan) {}

  VXp_LineParts Sample(int32_t count, Pixel* out) {
    return VXp_SampleMotionRow(walk_, count, out, [this](const VXp_Line& way, Pixel* samples) {
      return sampler_.Nearest(way, samples);
    });
  }
  void NextRow() { walk_.NextRow(); }

 private:
  const VXp_LineSampler<Pixel>& sampler_;
  VXp_MotionWalk walk_;
};

template <class Pixel>
class VXp_MotionHighRows {
 public:
  VXp_MotionHighRows(const VXp_TransformPlan& plan, const VXp_LineSampler<Pixel>& sampler,
                     const VX_SampPB& record)
      : sampler_(sampler), record_(record), walk_(plan) {}

  VXp_LineParts Sample(int32_t count, Pixel* out) {
    if (VXp_NeedsBox(record_)) {
      return VXp_SampleMotionRow(walk_, count, out, [this](const VXp_Line& way, Pixel* samples) {
        return sampler_.Box(way, record_, samples);
      });
    }
    if (walk_.SlidesByPixels()) {
      SetWeights();
      return VXp_SampleMotionRow(walk_, count, out, [this](const VXp_Line& way, Pixel* samples) {
        return sampler_.Way(way, record_, weights_, samples);
      });
    }
    return VXp_SampleMotionRow(walk_, count, out, [this](const VXp_Line& way, Pixel* samples) {
      return sampler_.Way(way, record_, samples);
    });
  }
  void NextRow() { walk_.NextRow(); }

 private:
  void SetWeights() {
    const VXp_Line way = walk_.WayAt(0);
    for (int32_t i = 0; i < way.count; ++i) {
      sampler_.Weights(way.X(i), way.Y(i), &weights_.at[i]);
    }
  }

  const VXp_LineSampler<Pixel>& sampler_;
  const VX_SampPB& record_;
  VXp_MotionWalk walk_;
  VXp_WeightTable weights_;
};

// --- with motion along any path ------------------------------------------------------------------

// One sub-sample of every pixel: the matrix at the beginning of an interval.
struct VXp_Interval {
  VXp_Walk walk;
  VX_SampPB record;
};

template <class Pixel>
class VXp_IntervalRows {
 public:
  // `intervals` has room for `count`; `sums` and `samples` for a row.
  VXp_IntervalRows(VXp_Interval* intervals, int32_t count, VXp_MotionSum<Pixel>* sums,
                   Pixel* samples, const VXp_LineSampler<Pixel>& sampler)
      : intervals_(intervals), count_(count), sums_(sums), samples_(samples), sampler_(sampler) {}

  VXp_LineParts Sample(int32_t count, Pixel* out) {
    std::fill_n(sums_, count, VXp_MotionSum<Pixel>{});
    VXp_Run reached{count, 0};
    for (int32_t k = 0; k < count_; ++k) {
      const VX_SampPB& record = intervals_[k].record;
      const VXp_Line line = intervals_[k].walk.Row(count);
      const VXp_LineParts parts = VXp_NeedsBox(record) ? sampler_.Box(line, record, samples_)
                                                       : sampler_.Clipped(line, record, samples_);
      if (parts.first >= parts.end) continue;
      for (int32_t i = parts.first; i < parts.end; ++i) sums_[i].Add(samples_[i]);
      reached = {std::min(reached.first, parts.first), std::max(reached.end, parts.end)};
    }
    for (int32_t i = 0; i < count; ++i) out[i] = sums_[i].Average(count_);
    if (reached.Empty()) return {};
    return {reached.first, reached.end, reached.end, reached.end};
  }
  void NextRow() {
    for (int32_t k = 0; k < count_; ++k) intervals_[k].walk.NextRow();
  }

 private:
  VXp_Interval* intervals_;
  int32_t count_;
  VXp_MotionSum<Pixel>* sums_;
  Pixel* samples_;
  const VXp_LineSampler<Pixel>& sampler_;
};
