// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The sources of the rows of a transform, one class for each kind of motion. Each stores row `row`
// of the area, sampled by the thread of this index, and returns the order of sampling:
//
//   VXp_LineParts Sample(int32_t thread, int32_t row, int32_t count, Pixel* out) const

#include <span>

#include "blend/VXp_RowBuffers.h"
#include "transform/VXp_LineSampler.h"
#include "transform/VXp_MotionGroup.h"
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

inline VXp_SampleKind VXp_SampleKindOf(const VX_SampPB& record, bool high) {
  if (!high) return VXp_SampleKind::Nearest;
  return VXp_NeedsBox(record) ? VXp_SampleKind::Box : VXp_SampleKind::Bilinear;
}

// --- without motion: one matrix ------------------------------------------------------------------

template <class Pixel>
class VXp_StillRows {
 public:
  VXp_StillRows(const VXp_TransformPlan& plan, const VXp_LineSampler<Pixel>& sampler,
                const VX_SampPB& record)
      : sampler_(sampler),
        record_(record),
        kind_(VXp_SampleKindOf(record, plan.high)),
        positions_(plan.first.to_source, plan.area) {
    if (sampler.Copies(kind_) && positions_.IsExactMove()) kind_ = VXp_SampleKind::Nearest;
  }

  VXp_LineParts Sample(int32_t, int32_t row, int32_t count, Pixel* out) const {
    VXp_Line line = positions_.Row(row, count);
    line.ahead_x = Ahead(positions_.row_dx);
    line.ahead_y = Ahead(positions_.row_dy);
    return sampler_.Sample(kind_, line, record_, out);
  }

 private:
  // Returns the step of eight rows, or 0 if one row is farther than any picture is large.
  static int64_t Ahead(int64_t row_step) {
    constexpr int64_t kMost = int64_t{1} << 31;
    return std::abs(row_step) < kMost ? 8 * row_step : 0;
  }

  const VXp_LineSampler<Pixel>& sampler_;
  const VX_SampPB& record_;
  VXp_SampleKind kind_;
  VXp_SourcePositions positions_;
};

// --- motion along a straight path ----------------------------------------------------------------

// The parameters of one row: the source positions of its first pixel at the first and at the last
// matrix, and the steps of both to the next pixel.
struct VX_TransformRowParams {
  int64_t start_x, start_y, end_x, end_y;
  int64_t dx, dy, end_dx, end_dy;
  int32_t samples;

  // Returns the path of pixel i from its first position to its last, which is not included.
  VXp_Line PathAt(int32_t i) const {
    const int64_t x = start_x + i * dx, y = start_y + i * dy;
    return {x, y, (end_x + i * end_dx - x) / samples, (end_y + i * end_dy - y) / samples, samples};
  }
};

// The source positions of an area at the first and at the last matrix.
class VXp_MotionPositions {
 public:
  VXp_MotionPositions(const VXp_TransformPlan& plan)
      : first_(plan.first.to_source, plan.area),
        last_(plan.last.to_source, plan.area),
        samples_(plan.samples) {}

  VX_TransformRowParams Row(int32_t row) const {
    const VXp_Line first = first_.Row(row, 0), last = last_.Row(row, 0);
    return {first.x, first.y, last.x, last.y, first.dx, first.dy, last.dx, last.dy, samples_};
  }
  // Returns whether the path of each pixel is that of its left neighbour, shifted to the right by
  // one source pixel.
  bool SlidesByPixels() const {
    return first_.dx == kVXp_FixedOne && first_.dy == 0 && last_.dx == kVXp_FixedOne &&
           last_.dy == 0;
  }
  // Returns whether the picture is moved exactly (VXp_SourcePositions) at every sub-sample.
  bool AreWhole() const {
    const int64_t whole = samples_ * kVXp_FixedOne;
    return first_.IsExactMove() && last_.IsExactMove() && first_.dx == last_.dx &&
           first_.dy == last_.dy && (last_.x - first_.x) % whole == 0 &&
           (last_.y - first_.y) % whole == 0;
  }

 private:
  VXp_SourcePositions first_, last_;
  int32_t samples_;
};

// Computes the pixels of `run`. `sample_path(line, buffer)` stores the samples along the path of
// one pixel; the pixel becomes their average.
template <class Pixel, class SamplePath>
void VXp_SamplePaths(const VX_TransformRowParams& row, const VXp_Run& run, Pixel* out,
                     const SamplePath& sample_path) {
  using Sums = VXp_MotionSums<Pixel>;
  Pixel samples[256], groups[256][Sums::kPixels];
  for (int32_t first = run.first; first < run.end; first += Sums::kPixels) {
    const int32_t count = std::min(run.end - first, Sums::kPixels);
    for (int32_t k = 0; k < row.samples; ++k) std::fill_n(groups[k], Sums::kPixels, Pixel{});
    for (int32_t i = 0; i < count; ++i) {
      const VXp_LineParts parts = sample_path(row.PathAt(first + i), samples);
      int32_t next = 0;  // in the order of sampling
      for (int32_t k = parts.first; k < parts.forward; ++k) groups[next++][i] = samples[k];
      for (int32_t k = parts.end - 1; k >= parts.backward; --k) groups[next++][i] = samples[k];
      for (int32_t k = parts.forward; k < parts.backward; ++k) groups[next++][i] = samples[k];
    }
    Sums sums;
    for (int32_t k = 0; k < row.samples; ++k) sums.Add(groups[k]);
    Sums::Average(&sums, count, row.samples, VXp_MotionRounding::Down, out + first);
  }
}

// Takes the nearest pixel at each sub-sample: draft quality, or sub-samples at whole positions.
template <class Pixel>
class VXp_MotionNearestRows {
 public:
  VXp_MotionNearestRows(const VXp_TransformPlan& plan, const VXp_LineSampler<Pixel>& sampler,
                        const VX_SampPB&)
      : sampler_(sampler), positions_(plan) {}

  VXp_LineParts Sample(int32_t, int32_t row, int32_t count, Pixel* out) const {
    VXp_SamplePaths(
        positions_.Row(row), {0, count}, out,
        [this](const VXp_Line& path, Pixel* samples) { return sampler_.Nearest(path, samples); });
    return {0, count, count, count};
  }

 private:
  const VXp_LineSampler<Pixel>& sampler_;
  VXp_MotionPositions positions_;
};

template <class Pixel>
class VXp_MotionHighRows {
 public:
  VXp_MotionHighRows(const VXp_TransformPlan& plan, const VXp_LineSampler<Pixel>& sampler,
                     const VX_SampPB& record)
      : sampler_(sampler), record_(record), positions_(plan) {}

  VXp_LineParts Sample(int32_t, int32_t row, int32_t count, Pixel* out) const {
    const VX_TransformRowParams params = positions_.Row(row);
    if (VXp_NeedsBox(record_)) {
      VXp_SamplePaths(params, {0, count}, out, [this](const VXp_Line& path, Pixel* samples) {
        return sampler_.Box(path, record_, samples);
      });
    } else if (positions_.SlidesByPixels()) {
      SampleSliding(params, count, out);
    } else {
      SampleGroups(params, count, out);
    }
    return {0, count, count, count};
  }

 private:
  // Samples pixels whose paths are inside the source in groups, and the others one by one.
  void SampleGroups(const VX_TransformRowParams& params, int32_t count, Pixel* out) const {
    VXp_MotionGroup<Pixel> group(sampler_, record_);
    for (int32_t i = 0; i < count; ++i) {
      const VXp_Line path = params.PathAt(i);
      if (group.Takes(path)) {
        group.Take(path, out + i);
      } else {
        group.FinishBefore(out + i);
        VXp_SamplePaths(params, {i, i + 1}, out, [this](const VXp_Line& line, Pixel* samples) {
          return sampler_.Path(line, record_, samples);
        });
      }
    }
    group.FinishBefore(out + count);
  }

  // Samples paths that differ only by a shift of one source pixel from pixel to pixel. Their
  // positions have equal fractions, so all pixels share the weights of each sub-sample.
  void SampleSliding(const VX_TransformRowParams& params, int32_t count, Pixel* out) const {
    const VXp_Line path = params.PathAt(0);
    VXp_WeightTable weights;
    for (int32_t k = 0; k < path.count; ++k) sampler_.Weights(path.X(k), path.Y(k), &weights.at[k]);
    const auto sample = [&](const VXp_Line& at, Pixel* samples) {
      return sampler_.Path(at, record_, weights, samples);
    };
    VXp_Run inside{count, count};
    if (sampler_.SpansServeWeights()) {
      inside = {0, count};
      for (const int32_t k : {0, path.count - 1}) {
        const VXp_Run here = sampler_.InsideOf(RowOf(path, k, count));
        inside = {std::max(inside.first, here.first), std::min(inside.end, here.end)};
      }
      if (inside.Empty()) inside = {count, count};
    }
    VXp_SamplePaths(params, {0, inside.first}, out, sample);
    AverageSpans(path, count, inside, out);
    VXp_SamplePaths(params, {inside.end, count}, out, sample);
  }

  // Returns the positions of sub-sample k of all pixels as a line.
  static VXp_Line RowOf(const VXp_Line& path, int32_t k, int32_t count) {
    return {path.X(k), path.Y(k), kVXp_FixedOne, 0, count};
  }

  void AverageSpans(const VXp_Line& path, int32_t count, const VXp_Run& run, Pixel* out) const {
    using Sums = VXp_MotionSums<Pixel>;
    constexpr int32_t kMost = 256;
    Pixel samples[kMost]{};
    for (VXp_Run part{run.first, run.first}; part.first < run.end; part.first = part.end) {
      part.end = std::min(part.first + kMost, run.end);
      const int32_t pixels = part.end - part.first;
      Sums sums[Sums::GroupsOf(kMost)];
      for (int32_t k = 0; k < path.count; ++k) {
        sampler_.SpanOf(RowOf(path, k, count), part, record_, samples);
        for (int32_t i = 0; i < pixels; i += Sums::kPixels)
          sums[i / Sums::kPixels].Add(samples + i);
      }
      Sums::Average(sums, pixels, path.count, VXp_MotionRounding::Down, out + part.first);
    }
  }

  const VXp_LineSampler<Pixel>& sampler_;
  const VX_SampPB& record_;
  VXp_MotionPositions positions_;
};

// --- any motion: one sub-sample at each matrix ---------------------------------------------------

// The sub-sample at one matrix, for all pixels.
struct VXp_Interval {
  VXp_SourcePositions positions;  // of `area`
  M_LRect area;                   // the pixels that the sub-sample can change; may be empty
  VXp_SampleKind kind;
  VX_SampPB record;
};

template <class Pixel>
class VXp_IntervalRows {
  using Sums = VXp_MotionSums<Pixel>;

 public:
  // `area` contains the areas of all intervals. Each row of `scratch` has ScratchBytes(width of
  // `area`) bytes.
  VXp_IntervalRows(std::span<const VXp_Interval> intervals, const M_LRect& area,
                   const VXp_ThreadRows& scratch, const VXp_LineSampler<Pixel>& sampler,
                   VXp_MotionRounding rounding)
      : intervals_(intervals),
        left_(area.left),
        top_(area.top),
        scratch_(scratch),
        sampler_(sampler),
        rounding_(rounding) {}

  static size_t ScratchBytes(size_t width) {
    const auto groups = static_cast<size_t>(Sums::GroupsOf(static_cast<int32_t>(width)));
    return groups * (sizeof(Sums) + Sums::kPixels * sizeof(Pixel));
  }

  VXp_LineParts Sample(int32_t thread, int32_t row, int32_t count, Pixel* out) const {
    const int32_t groups = Sums::GroupsOf(count), y = top_ + row;
    auto* const sums = scratch_.Row<Sums>(thread);
    auto* const samples = reinterpret_cast<Pixel*>(sums + groups);
    std::fill_n(sums, groups, Sums{});
    VXp_Run reached{count, 0};
    for (const VXp_Interval& interval : intervals_) {
      const M_LRect& area = interval.area;
      if (y < area.top || y >= area.bottom) continue;
      const VXp_Line line = interval.positions.Row(y - area.top, area.right - area.left);
      const int32_t left = area.left - left_;
      const VXp_LineParts parts =
          sampler_.Sample(interval.kind, line, interval.record, samples + left);
      if (parts.first >= parts.end) continue;
      const VXp_Run run{left + parts.first, left + parts.end};
      const VXp_Run whole{run.first / Sums::kPixels, Sums::GroupsOf(run.end)};
      std::fill(samples + whole.first * Sums::kPixels, samples + run.first, Pixel{});
      std::fill(samples + run.end, samples + whole.end * Sums::kPixels, Pixel{});
      for (int32_t i = whole.first; i < whole.end; ++i) sums[i].Add(samples + i * Sums::kPixels);
      reached = {std::min(reached.first, run.first), std::max(reached.end, run.end)};
    }
    const auto steps = static_cast<int32_t>(intervals_.size());
    Sums::Average(sums, count, steps, rounding_, out);
    if (reached.Empty()) return {};
    return {reached.first, reached.end, reached.end, reached.end};
  }

 private:
  std::span<const VXp_Interval> intervals_;
  int32_t left_, top_;
  const VXp_ThreadRows& scratch_;
  const VXp_LineSampler<Pixel>& sampler_;
  VXp_MotionRounding rounding_;
};
