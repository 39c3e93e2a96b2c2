// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// High-quality scaling: one sample per destination pixel, at its centre. If a sampler is built-in,
// it samples whole rows; otherwise it is called per pixel.

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>

#include "VX/VX_CallbackBlock.h"
#include "VX/VX_World.h"
#include "frame/VXp_Report.h"
#include "frame/VXp_Rows.h"
#include "housekeeping/VXp_CopyPlan.h"
#include "housekeeping/VXp_RowProgress.h"
#include "indep/VXp_SampleRow.h"

// A range that positions are clamped to.
struct VXp_ClampRange {
  int64_t first, last;
};
inline constexpr VXp_ClampRange kVXp_NoClamp{std::numeric_limits<VX_Fixed>::min(),
                                             std::numeric_limits<VX_Fixed>::max()};

// The source positions of destination pixel centres on one axis. Pixel i of the unclipped rectangle
// is at source + (2 i + 1) * source_size / (2 * dest_size) - 1/2, truncated to 16 fraction bits.
class VXp_CentrePositions {
 public:
  VXp_CentrePositions(const VXp_ScaledAxis& axis, const VXp_ClampRange& clamp)
      : axis_(axis), clamp_(clamp) {}

  // Returns the position of pixel i of those that are written. No overflow: sizes of destinations
  // have 31 bits, and those of sources 16 (VXp_ScaleHigh).
  VX_Fixed At(int64_t i) const {
    const int64_t middle =
        (2 * (axis_.first - axis_.dest + i) + 1) * (axis_.source_size * 32768) / axis_.dest_size;
    return static_cast<VX_Fixed>(
        std::clamp(axis_.source * 65536 + middle - 32768, clamp_.first, clamp_.last));
  }

 private:
  VXp_ScaledAxis axis_;
  VXp_ClampRange clamp_;
};

inline VX_Err VXp_HighSamplers(int32_t mode_flags, VX_SamplerBatch<VX_Pixel8>* out) {
  return VX_GetSamplerBatch8(VX_Quality_High, mode_flags, out);
}
inline VX_Err VXp_HighSamplers(int32_t mode_flags, VX_SamplerBatch<VX_Pixel16>* out) {
  return VX_GetSamplerBatch16(VX_Quality_High, mode_flags, out);
}
inline VX_Err VXp_HighSamplers(int32_t mode_flags, VX_SamplerBatch<VX_PixelFloat>* out) {
  return VX_GetSamplerBatchFloat(VX_Quality_High, mode_flags, out);
}

// Returns half the size of the area that a destination pixel covers in the source, at least half a
// pixel.
inline VX_Fixed VXp_CoveredRadius(const VXp_ScaledAxis& axis) {
  constexpr int64_t kHalf = 32768;
  return static_cast<VX_Fixed>(std::max(kHalf, axis.source_size * kHalf / axis.dest_size));
}

inline VX_SampPB VXp_ScaleRecord(const VXp_CopyPlan& plan, const VX_LayerDef& src) {
  VX_SampPB record{};
  record.x_radius = VXp_CoveredRadius(plan.x);
  record.y_radius = VXp_CoveredRadius(plan.y);
  const int64_t area = (int64_t{record.x_radius} * record.y_radius) >> 14;
  record.area =
      static_cast<VX_Fixed>(std::min(area, int64_t{std::numeric_limits<VX_Fixed>::max()}));
  record.src = const_cast<VX_LayerDef*>(&src);
  return record;
}

// Samples rows of a picture; all rows have the same x positions.
template <class Pixel>
class VXp_ScaledRows {
 public:
  VXp_ScaledRows(VX_SampleFunc<Pixel> sample, const VXp_CentrePositions& columns, int64_t count)
      : sample_(sample), row_form_(VXp_RowForm<Pixel>(sample)), columns_(columns), count_(count) {
    if (row_form_ == nullptr) return;
    positions_.reset(new (std::nothrow) VX_Fixed[static_cast<size_t>(count)]);
    if (positions_ == nullptr) return;  // out of memory: Sample then calls the sampler per pixel
    for (int64_t i = 0; i < count; ++i) positions_[static_cast<size_t>(i)] = columns.At(i);
  }

  void Sample(VX_ProgressInfo* progress, VX_Fixed y, const VX_SampPB& record, char* out) const {
    if (positions_ != nullptr) {
      row_form_(record, positions_.get(), static_cast<int32_t>(count_), y, out);
      return;
    }
    for (int64_t x = 0; x < count_; ++x) {
      Pixel pixel;
      sample_(progress, columns_.At(x), y, &record, &pixel);
      VXp_Store(out + x * static_cast<ptrdiff_t>(sizeof pixel), pixel);
    }
  }

 private:
  VX_SampleFunc<Pixel> sample_;
  VXp_SampleRowFunc row_form_;
  VXp_CentrePositions columns_;
  int64_t count_;
  std::unique_ptr<VX_Fixed[]> positions_;
};

// Returns the work of a destination pixel (VXp_PlanBands): reductions read each source pixel.
inline int64_t VXp_ScaleWork(const VXp_CopyPlan& plan) {
  constexpr int64_t kSampleWork = 2;
  return kSampleWork * std::max<int64_t>(plan.x.source_size / plan.x.dest_size, 1) *
         std::max<int64_t>(plan.y.source_size / plan.y.dest_size, 1);
}

// Executes a plan of kind Scaled. `mode_flags` is 0 or VX_ModeFlag_Straight. Progress (may be null)
// is called after each row. Returns VX_Ok, VX_ErrBadParameter with a report, or the result of the
// progress function.
template <class Pixel>
VX_Err VXp_ScaleHigh(VX_ProgressInfo* progress, int32_t mode_flags, const VXp_CopyPlan& plan,
                     const VXp_ClampRange& clamp_x, const VXp_ClampRange& clamp_y,
                     const VX_WorldX<Pixel>& src, const VX_WorldX<Pixel>& dst) {
  // Sampler positions are 16.16 fixed point, so they end at 32768. Rectangles with 16-bit
  // coordinates are always within this range.
  constexpr int64_t kMost = 32768;
  if (plan.x.source + plan.x.source_size > kMost || plan.y.source + plan.y.source_size > kMost) {
    return VXp_FailVerification("source too large to scale at high quality");
  }
  VX_SamplerBatch<Pixel> samplers;
  if (const VX_Err error = VXp_HighSamplers(mode_flags, &samplers)) return error;
  const bool reduces =
      plan.x.source_size > plan.x.dest_size || plan.y.source_size > plan.y.dest_size;
  const VX_SampleFunc<Pixel> sample = reduces ? samplers.area : samplers.bilinear;
  const VX_SampPB record = VXp_ScaleRecord(plan, src);
  const VXp_ScaledRows<Pixel> scaled(sample, VXp_CentrePositions(plan.x, clamp_x), plan.x.count);
  const VXp_CentrePositions rows(plan.y, clamp_y);
  VXp_RowProgress polling(progress, 0, static_cast<int32_t>(plan.y.count));
  const VXp_Bands bands = VXp_PlanScaled<Pixel, Pixel>(src, dst, plan, VXp_ScaleWork(plan));
  return VXp_ForBands(bands, polling, [&](int32_t, int32_t row) -> VX_Err {
    scaled.Sample(progress, rows.At(row), record,
                  VXp_PixelAddress<Pixel>(dst, static_cast<int32_t>(plan.x.first),
                                          static_cast<int32_t>(plan.y.first) + row));
    return VX_Ok;
  });
}
