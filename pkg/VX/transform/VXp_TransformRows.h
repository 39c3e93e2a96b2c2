// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The loop over the rows of a transform: sample, mask, blend.

#include <cstring>

#include "blend/VXp_LightRows.h"
#include "blend/VXp_RowBuffers.h"
#include "blend/VXp_TransferRows.h"
#include "frame/VXp_Bands.h"
#include "frame/VXp_PixelTraits.h"
#include "transform/VXp_LineSampler.h"
#include "transform/VXp_TransformMask.h"
#include "transform/VXp_TransformPlan.h"

// Returns the sum of the alphas of a sampled row of `count` pixels, added in the order of sampling.
// In float, returns a simpler number if the sum is known to be neither 0 nor `count`: callers only
// compare it with these.
template <class Pixel>
auto VXp_AlphaTotal(const Pixel* row, int32_t count, const VXp_LineParts& parts) {
  if constexpr (std::is_same_v<Pixel, VX_PixelFloat>) {
    int32_t zeros = 0, halves = count - (parts.end - parts.first), units = 0, ones = 0;
    for (int32_t i = parts.first; i < parts.end; ++i) {
      const float alpha = row[i].alpha;
      zeros += alpha == 0;
      halves += alpha <= 0.5f;
      units += (alpha >= 0) & (alpha <= 1);
      ones += alpha == 1;
    }
    const int32_t sampled = parts.end - parts.first;
    if (units == sampled) {
      if (zeros == sampled) return 0.0f;
      // All partial sums are exact, or the exact sum is at most count - halves / 2 and its error
      // less than count^2 / 2^24.
      if (ones == count && count <= 1 << 24) return static_cast<float>(count);
      if (halves > int64_t{count} * count >> 23) return 0.5f;
    }
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

// Prefetches memory that will be written.
inline void VXp_Prefetch(const void* from, size_t bytes) {
  constexpr size_t kCacheLine = 64;
  for (size_t i = 0; i < bytes; i += kCacheLine) {
    __builtin_prefetch(static_cast<const char*>(from) + i, /*rw=*/1);
  }
}

// Blends sampled rows into the destination.
template <class Pixel>
class VXp_RowBlender {
 public:
  using Total = decltype(VXp_AlphaTotal<Pixel>(nullptr, 0, {}));

  VXp_RowBlender(const VXp_TransformCall& call, const VX_BlendModeDescriptor<Pixel>& descriptor)
      : call_(call) {
    const VX_BlendingMode<Pixel>& mode = descriptor.blendingMode;
    acts_on_nothing_ = VXp_TraitsOfMode(mode.mode).draws_transparent_rows;
    copies_opaque_ = mode.mode == VX_Xfer_InFront && call.mask == nullptr &&
                     mode.keepDstAlpha == 0 && mode.opacity == VXp_PixelTraits<Pixel>::kFull;
  }

  // Returns false if a row with this sum of alphas cannot change the destination.
  bool Acts(Total total) const { return acts_on_nothing_ || total != 0; }

  // Blends a row with this sum of alphas.
  VX_Err Blend(Total total, int32_t count, const VX_BlendModeDescriptor<Pixel>& descriptor,
               const Pixel* row, const Pixel* mask, VX_ChannelOf<Pixel>* alpha_row,
               Pixel* dst) const {
    constexpr auto kFull = static_cast<Total>(VXp_PixelTraits<Pixel>::kFull);
    if (copies_opaque_ && total == static_cast<Total>(count) * kFull) {
      std::memcpy(static_cast<void*>(dst), row, static_cast<size_t>(count) * sizeof(Pixel));
      return VX_Ok;
    }
    return VXp_BlendRow<Pixel>(call_.curves, call_.progress, count, descriptor, row, mask,
                               alpha_row, dst);
  }

 private:
  const VXp_TransformCall& call_;
  bool acts_on_nothing_, copies_opaque_;
};

// The call, the destination, the blending and the row buffers of a transform.
template <class Pixel>
struct VXp_RowWork {
  const VXp_TransformCall& call;
  const M_LRect& area;
  const VXp_Bands& bands;
  const VX_BlendModeDescriptor<Pixel>& descriptor;  // of the first row
  const VX_WorldX<Pixel>* mask;
  const VXp_RowBuffers& buffers;
  const VXp_ThreadRows& sampled;  // rows with as many pixels as a row of the area
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
VX_Err VXp_DrawRows(const VXp_RowWork<Pixel>& work, int32_t progress_bits, const Source& source) {
  const VXp_TransformCall& call = work.call;
  const M_LRect& area = work.area;
  const int32_t width = area.right - area.left, height = area.bottom - area.top;
  const VXp_RowBlender<Pixel> blender(call, work.descriptor);
  const auto report = [&](int32_t row) -> VX_Err {
    return (row & progress_bits) == 0 ? VXp_Poll(call.progress, row, height) : VX_Ok;
  };
  const auto draw = [&](int32_t thread, int32_t row) -> VX_Err {
    const int32_t y = area.top + row;
    if (!VXp_DrawsRow(call.field, y)) return VX_Ok;
    Pixel* const sampled = work.sampled.template Row<Pixel>(thread);
    VXp_Prefetch(work.dst.Row(y) + area.left, static_cast<size_t>(width) * sizeof(Pixel));
    const VXp_LineParts parts = source.Sample(thread, row, width, sampled);
    const auto total = VXp_AlphaTotal(sampled, width, parts);
    if (!blender.Acts(total)) return VX_Ok;
    const Pixel* mask_row = nullptr;
    if (work.mask != nullptr) {
      mask_row = VXp_TransformMaskRow(*call.mask, *work.mask, area.left, width, y,
                                      work.buffers.template Mask<Pixel>(thread));
    }
    return blender.Blend(total, width, VXp_DescriptorOfRow(work.descriptor, area.top, y), sampled,
                         mask_row, work.buffers.template Alpha<Pixel>(thread),
                         work.dst.Row(y) + area.left);
  };
  return VXp_ForBands(work.bands, VXp_HasProgress(call.progress), report, draw);
}
