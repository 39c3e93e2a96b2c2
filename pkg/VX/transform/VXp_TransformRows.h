// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The loop over the rows of a transform: sample, mask, blend.

#include <cstring>

#include "blend/VXp_LightRows.h"
#include "blend/VXp_TransferRows.h"
#include "frame/VXp_PixelTraits.h"
#include "transform/VXp_LineSampler.h"
#include "transform/VXp_TransformMask.h"
#include "transform/VXp_TransformPlan.h"

// Returns the sum of the alphas of a sampled row. They are added in the order of sampling.
template <class Pixel>
auto VXp_AlphaTotal(const Pixel* row, const VXp_LineParts& parts) {
  if constexpr (std::is_same_v<Pixel, VX_PixelFloat>) {
    float total = 0;
    for (int32_t i = parts.first; i < parts.forward; ++i) total += row[i].alpha;
    for (int32_t i = parts.end - 1; i >= parts.backward; --i) total += row[i].alpha;
    for (int32_t i = parts.forward; i < parts.backward; ++i) total += row[i].alpha;
    return total;
  } else {
    uint64_t total = 0;
    for (int32_t i = parts.first; i < parts.end;) {
      const int32_t stop = std::min(parts.end, i + 32768);
      uint32_t sum = 0;
      for (; i < stop; ++i) sum += row[i].alpha;
      total += sum;
    }
    return total;
  }
}

// Blends sampled rows into the destination.
template <class Pixel>
class VXp_RowBlender {
 public:
  VXp_RowBlender(VX_ProgressInfo* progress, const VX_BlendModeDescriptor<Pixel>& descriptor,
                 const VX_LightCurves* curves, bool has_mask, VX_ChannelOf<Pixel>* alpha_row)
      : progress_(progress), descriptor_(descriptor), curves_(curves), alpha_row_(alpha_row) {
    const VX_BlendingMode<Pixel>& mode = descriptor.blendingMode;
    acts_on_nothing_ = VXp_TraitsOfMode(mode.mode).draws_transparent_rows;
    copies_opaque_ = mode.mode == VX_Xfer_InFront && !has_mask && mode.keepDstAlpha == 0 &&
                     mode.opacity == VXp_PixelTraits<Pixel>::kFull;
  }

  // Returns false if the row cannot change the destination. Call it before Blend.
  bool Acts(const Pixel* row, const VXp_LineParts& parts) {
    total_ = VXp_AlphaTotal(row, parts);
    return acts_on_nothing_ || total_ != 0;
  }

  // Blends the row for which Acts was called last.
  VX_Err Blend(int32_t count, const Pixel* row, const Pixel* mask, Pixel* dst) const {
    using Total = decltype(total_);
    constexpr auto kFull = static_cast<Total>(VXp_PixelTraits<Pixel>::kFull);
    if (copies_opaque_ && total_ == static_cast<Total>(count) * kFull) {
      std::memcpy(static_cast<void*>(dst), row, static_cast<size_t>(count) * sizeof(Pixel));
      return VX_Ok;
    }
    return VXp_BlendRow<Pixel>(curves_, progress_, count, descriptor_, row, mask, alpha_row_, dst);
  }

 private:
  VX_ProgressInfo* progress_;
  const VX_BlendModeDescriptor<Pixel>& descriptor_;
  const VX_LightCurves* curves_;
  VX_ChannelOf<Pixel>* alpha_row_;
  decltype(VXp_AlphaTotal<Pixel>(nullptr, {})) total_{};
  bool acts_on_nothing_, copies_opaque_;
};

// The call, the destination, the blending and the row buffers of a transform.
template <class Pixel>
struct VXp_RowWork {
  const VXp_TransformCall& call;
  const M_LRect& area;
  VX_BlendModeDescriptor<Pixel>& descriptor;
  const VX_WorldX<Pixel>* mask;
  VX_ChannelOf<Pixel>* alpha_row;
  Pixel *mask_row, *sampled;  // with as many pixels as a row of the area
  VX_WorldX<Pixel>& dst;
};

// Returns a mask of bits: progress is called after row r of the area if r & mask is 0.
inline int32_t VXp_ProgressBits(const VXp_TransformCall& call, bool high) {
  const bool field = call.field == VX_Field_EvenRows || call.field == VX_Field_OddRows;
  if (call.num_matrices > 1) return field ? 15 : 7;
  return high ? (field ? 63 : 31) : (field ? 127 : 63);
}

// Draws all rows of `source`, an object of a class of VXp_RowSources.h. Returns VX_Ok, the first
// error, or the code that progress returned.
template <class Pixel, class Source>
VX_Err VXp_DrawRows(const VXp_RowWork<Pixel>& work, int32_t progress_bits, Source& source) {
  const VXp_TransformCall& call = work.call;
  const M_LRect& area = work.area;
  const int32_t width = area.right - area.left, height = area.bottom - area.top;
  VXp_RowBlender<Pixel> blender(call.progress, work.descriptor, call.curves, work.mask != nullptr,
                                work.alpha_row);
  const int32_t first_seed = work.descriptor.blendingMode.seed;
  for (int32_t row = 0; row < height; ++row) {
    const int32_t y = area.top + row;
    if (VXp_DrawsRow(call.field, y)) {
      const VXp_LineParts parts = source.Sample(width, work.sampled);
      if (blender.Acts(work.sampled, parts)) {
        const Pixel* mask_row = nullptr;
        if (work.mask != nullptr) {
          mask_row =
              VXp_TransformMaskRow(*call.mask, *work.mask, area.left, width, y, work.mask_row);
        }
        const VX_Err error =
            blender.Blend(width, work.sampled, mask_row, work.dst.Row(y) + area.left);
        if (error != VX_Ok) return error;
      }
    }
    source.NextRow();
    if ((row & progress_bits) == 0) {
      if (const VX_Err stop = VXp_Poll(call.progress, row, height)) return stop;
    }
    work.descriptor.blendingMode.seed = VXp_SeedOfRow(first_seed, area.top, y + 1);
  }
  return VX_Ok;
}
