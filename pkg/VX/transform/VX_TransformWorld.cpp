// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Drawing a world through matrices: checks, choice of the path, and preparation of the rows.

#include "VX/VX_OverrideTable.h"
#include "blend/VXp_RowBuffers.h"
#include "frame/VXp_Dispatch.h"
#include "frame/VXp_RowMemory.h"
#include "housekeeping/VXp_Area.h"
#include "housekeeping/VXp_ClearAlpha.h"
#include "transform/VXp_RowSources.h"
#include "transform/VXp_TransformRows.h"

namespace {

// --- checks --------------------------------------------------------------------------------------

VX_Err Check(const VXp_TransformCall& call) {
  if (!VXp_HasPixels(call.src) || !VXp_HasPixels(call.dst) || call.mode == nullptr ||
      call.matrices == nullptr || call.num_matrices < 1 ||
      call.num_matrices > VX_Transform_MaxMatrices) {
    return VXp_BadParameter(kVXp_NoCheckNumber);
  }
  const int32_t depth = VXp_WorldDepth(call.src);
  if (depth != VXp_WorldDepth(call.dst)) {
    return VXp_FailVerification(
        "VX_TransformWorld requires src and dst worlds to have same bit depth");
  }
  const VX_Err error =
      VXp_WithPixel(depth, kVXp_UnknownDepthText, [](auto) -> VX_Err { return 0; });
  if (error != VX_Ok) return error;
  const size_t pixel_size = static_cast<size_t>(depth) / 2;
  if (VXp_ShareMemory(VXp_MemoryOf(*call.src, pixel_size), VXp_MemoryOf(*call.dst, pixel_size))) {
    return VXp_FailVerification("VX_TransformWorld cannot draw a world into its own pixels");
  }
  if (VXp_TraitsOfMode(call.mode->mode).needs_mask && call.mask == nullptr) {
    return VXp_FailVerification("VX_Xfer_MaskMix mixes by a mask and was given none");
  }
  return VXp_CheckMask(call.mask, depth,
                       "VX_TransformWorld requires src and mask worlds to have same bit depth");
}

// --- paths ---------------------------------------------------------------------------------------

// Transfers the source as a rectangle, moved by whole pixels and clipped to the area.
VX_Err DrawRectangle(const VXp_TransformCall& call, const VXp_TransformPlan& plan) {
  const VXp_Footprint print(plan.first.to_destination);
  const int64_t right_by = (print.tx + kVXp_FixedHalf) >> 16;
  const int64_t down_by = (print.ty + kVXp_FixedHalf) >> 16;
  const int64_t left = std::max<int64_t>(plan.area.left - right_by, 0);
  const int64_t top = std::max<int64_t>(plan.area.top - down_by, 0);
  const int64_t right = std::min<int64_t>(plan.area.right - right_by, call.src->width);
  const int64_t bottom = std::min<int64_t>(plan.area.bottom - down_by, call.src->height);
  if (right <= left || bottom <= top) return VX_Ok;
  // M_Rect has 16-bit edges, so the rectangle of a whole source is passed as null.
  const bool whole =
      left == 0 && top == 0 && right == call.src->width && bottom == call.src->height;
  const auto narrow = [](int64_t v) { return static_cast<int16_t>(std::min<int64_t>(v, 32767)); };
  M_Rect rect{};
  rect.left = narrow(left);
  rect.top = narrow(top);
  rect.right = narrow(right);
  rect.bottom = narrow(bottom);
  if (call.curves != nullptr) {
    return VX_TransferRectLinear(call.progress, call.field, whole ? nullptr : &rect, call.src,
                                 call.mode, call.curves, call.mask,
                                 static_cast<int32_t>(rect.left + right_by),
                                 static_cast<int32_t>(rect.top + down_by), call.dst);
  }
  return VXp_G_OverFuncs.VX_TransferRect_S(
      call.progress, call.quality, call.flags, call.field, whole ? nullptr : &rect, call.src,
      call.mode, call.tables, call.mask, static_cast<int32_t>(rect.left + right_by),
      static_cast<int32_t>(rect.top + down_by), call.dst);
}

VXp_Interval IntervalOf(const VXp_TransformCall& call, const VXp_TransformPlan& plan,
                        const VX_LayerDef& src, int32_t index) {
  const bool every_matrix = call.rule == VXp_MotionRule::EveryMatrix;
  VXp_Interval interval{};
  VXp_MatrixPair pair = VXp_MatrixPairAt(call, index);
  if (!pair.is_good) return interval;
  const VXp_Footprint print(pair.to_destination);
  if (every_matrix && print.is_degenerate) return interval;
  // If each matrix gives one sub-sample (VXp_MotionRule::EveryMatrix), the area is that of this
  // matrix alone, so that the first pixel and the rounding are the same as in a call with this
  // matrix only.
  interval.area = every_matrix ? VXp_AreaOfTransform(call, index, index + 1) : plan.area;
  if (!plan.high && print.is_translation) {
    const auto whole = [](int64_t t) { return static_cast<double>((t + kVXp_FixedHalf) >> 16); };
    pair.to_source = {{1, 0, 0, 0, 1, 0, -whole(print.tx), -whole(print.ty), 1}};
  }
  interval.positions = VXp_SourcePositions(pair.to_source, interval.area);
  interval.record = VXp_RecordOf(src, pair.to_destination);
  interval.record.motion_samples = plan.samples;
  interval.kind = VXp_SampleKindOf(interval.record, plan.high);
  if (!every_matrix && interval.kind == VXp_SampleKind::Bilinear) {
    interval.kind = VXp_SampleKind::BilinearClipped;
  }
  return interval;
}

template <class Pixel>
VX_Err DrawIntervals(const VXp_RowWork<Pixel>& work, const VXp_TransformPlan& plan,
                     const VX_LayerDef& src, const VXp_LineSampler<Pixel>& sampler,
                     const VXp_CallBlock& intervals_block, const VXp_ThreadRows& sums) {
  const std::span intervals(static_cast<VXp_Interval*>(intervals_block.get()),
                            static_cast<size_t>(plan.samples));
  int32_t index = 0;
  for (VXp_Interval& interval : intervals) {
    interval = IntervalOf(work.call, plan, src, index++);
  }
  if (std::ranges::all_of(intervals, [&](const VXp_Interval& interval) {
        return sampler.Copies(interval.kind) && interval.positions.IsExactMove();
      })) {
    for (VXp_Interval& interval : intervals) interval.kind = VXp_SampleKind::Nearest;
  }
  const auto rounding = work.call.rule == VXp_MotionRule::EveryMatrix ? VXp_MotionRounding::Nearest
                                                                      : VXp_MotionRounding::Down;
  const VXp_IntervalRows<Pixel> source(intervals, plan.area, sums, sampler, rounding);
  return VXp_DrawRows(work, VXp_ProgressBits(work.call, plan.high), source);
}

template <class Pixel>
VX_Err DrawPath(const VXp_RowWork<Pixel>& work, const VXp_TransformPlan& plan,
                const VX_LayerDef& src, const VXp_CallBlock& intervals,
                const VXp_ThreadRows& sums) {
  const VXp_LineSampler<Pixel> sampler(work.call.progress, src);
  if (plan.path == VXp_TransformPath::Intervals) {
    return DrawIntervals(work, plan, src, sampler, intervals, sums);
  }
  VX_SampPB record = VXp_RecordOf(src, plan.first.to_destination);
  record.motion_samples = plan.samples;
  const auto draw = [&](const auto& source) {
    return VXp_DrawRows(work, VXp_ProgressBits(work.call, plan.high), source);
  };
  if (!plan.moves) return draw(VXp_StillRows<Pixel>(plan, sampler, record));
  const bool copies =
      sampler.Copies(VXp_SampleKindOf(record, plan.high)) && VXp_MotionPositions(plan).AreWhole();
  if (plan.high && !copies) return draw(VXp_MotionHighRows<Pixel>(plan, sampler, record));
  return draw(VXp_MotionNearestRows<Pixel>(plan, sampler, record));
}

// The source does not share memory with the destination (see Check).
template <class Pixel>
VXp_Bands PlanRows(const VXp_TransformPlan& plan, const VX_WorldX<Pixel>* mask,
                   const VX_WorldX<Pixel>& dst) {
  constexpr int64_t kSampleWork = 2;  // see VXp_PlanBands
  const M_LRect& area = plan.area;
  const int32_t width = area.right - area.left, height = area.bottom - area.top;
  const VXp_RowMemory to = VXp_MemoryOf(dst.Row(area.top) + area.left, dst.rowbytes, width, height);
  const bool independent =
      VXp_RowsAreIndependent(to) &&
      (mask == nullptr || !VXp_ShareMemory(to, VXp_MemoryOf(*mask, sizeof(Pixel))));
  const bool still = plan.path == VXp_TransformPath::Rows && !plan.moves;
  return VXp_PlanBands(height, kSampleWork * width * (still ? 1 : plan.samples), independent);
}

// Draws row by row. All checks and allocations precede the first change of a pixel.
template <class Pixel>
VX_Err DrawByRows(const VXp_TransformCall& call, const VXp_TransformPlan& plan,
                  const VX_LayerDef& src, const VX_WorldX<Pixel>* mask, VX_WorldX<Pixel>& dst) {
  VX_BlendModeDescriptor<Pixel> descriptor(VXp_BlendingModeOf<Pixel>(*call.mode, plan.area.left),
                                           mask != nullptr, call.tables);
  if (descriptor.scan == nullptr) return VX_ErrUnsupported;  // reported by the descriptor

  const auto width = static_cast<size_t>(plan.area.right - plan.area.left);
  const bool saves = descriptor.savesDstAlpha != 0 && descriptor.blendingMode.keepDstAlpha != 0;
  const bool makes_mask = mask != nullptr && call.mask->what != VX_MaskUse_Alpha;
  const bool intervals = plan.path == VXp_TransformPath::Intervals;
  const VXp_Bands bands = PlanRows(plan, mask, dst);
  VXp_RowBuffers buffers(/*given=*/nullptr);
  VXp_ThreadRows sampled, sums;
  VXp_CallBlock interval_block;
  const VX_Err error =
      buffers.Reserve(bands.threads, saves ? width * sizeof(VX_ChannelOf<Pixel>) : 0,
                      makes_mask ? width * sizeof(Pixel) : 0);
  if (error != VX_Ok) return error;
  if (!sampled.Reserve(bands.threads, width * sizeof(Pixel)) ||
      !interval_block.Reserve(intervals ? static_cast<size_t>(plan.samples) * sizeof(VXp_Interval)
                                        : 0) ||
      !sums.Reserve(bands.threads, intervals ? VXp_IntervalRows<Pixel>::ScratchBytes(width) : 0)) {
    return VX_ErrOutOfMemory;
  }
  if (VXp_TraitsOfMode(call.mode->mode).clears_outside) {
    if (const VX_Err failure = VXp_ClearAlphaExceptRect(&dst, &plan.area)) return failure;
  }
  const VXp_RowWork<Pixel> work{call, plan.area, bands, descriptor, mask, buffers, sampled, dst};
  return DrawPath(work, plan, src, interval_block, sums);
}

VX_Err DrawByRows(const VXp_TransformCall& call, const VXp_TransformPlan& plan) {
  return VXp_WithWorlds(
      call.src, kVXp_UnknownDepthText,
      [&]<class Pixel>(const VX_WorldX<Pixel>& src, VX_WorldX<Pixel>& dst) -> VX_Err {
        if (call.mask == nullptr) return DrawByRows<Pixel>(call, plan, src, nullptr, dst);
        const VX_WorldX<Pixel> mask(call.mask->world, true);
        return DrawByRows<Pixel>(call, plan, src, &mask, dst);
      },
      call.src, call.dst);
}

VX_Err Draw(const VXp_TransformCall& call) {
  if (const VX_Err error = Check(call)) return error;
  const VXp_TransformPlan plan(call);
  switch (plan.path) {
    case VXp_TransformPath::Nothing: return VX_Ok;
    case VXp_TransformPath::Uncovered:
      return VXp_TraitsOfMode(call.mode->mode).clears_outside
                 ? VXp_ClearAlphaExceptRect(call.dst, nullptr)
                 : VX_Ok;
    case VXp_TransformPath::Rectangle: return DrawRectangle(call, plan);
    case VXp_TransformPath::Rows:
    case VXp_TransformPath::Intervals: break;
  }
  return DrawByRows(call, plan);
}

// Calls the routine that replaces VX_TransformWorld_S in the override table, with the area as
// dst_rect. If the area does not fit M_Rect, passes the caller's rectangle.
VX_Err CallReplacement(VXp_TransformCall call) {
  if (const VX_Err error = Check(call)) return error;
  const M_LRect area = VXp_AreaOfTransform(call, 0, call.num_matrices);
  M_Rect narrow{};
  narrow.left = static_cast<int16_t>(area.left);
  narrow.top = static_cast<int16_t>(area.top);
  narrow.right = static_cast<int16_t>(area.right);
  narrow.bottom = static_cast<int16_t>(area.bottom);
  if (area.right <= 32767 && area.bottom <= 32767) call.dst_rect = &narrow;
  return VXp_G_OverFuncs.VX_TransformWorld_S(
      call.progress, call.quality, call.flags, call.field, call.src, call.mode, call.tables,
      call.mask, call.matrices, call.num_matrices, call.src2dst, call.dst_rect, call.dst);
}

}  // namespace

VX_Err VX_TransformWorld(VX_ProgressInfo* progress, int32_t quality, int32_t flags, int32_t field,
                         const VX_LayerDef* src, const VX_CompositeModePlus* mode,
                         const VX_LinearBlendingTables* tables, const VX_TransformMask* mask,
                         const M_Matrix3* matrices, int32_t num_matrices, uint8_t src2dst,
                         const M_Rect* dst_rect, VX_LayerDef* dst) {
  const auto routine = VXp_G_OverFuncs.VX_TransformWorld_S;
  if (routine != &VX_TransformWorld_S) {
    return VXp_Guarded([&] {
      return CallReplacement({progress, quality, flags, field, src, mode, tables, mask, matrices,
                              num_matrices, src2dst, dst_rect, dst});
    });
  }
  M_Rect rect{};
  if (dst_rect != nullptr) rect = *dst_rect;
  return routine(progress, quality, flags, field, src, mode, tables, mask, matrices, num_matrices,
                 src2dst, dst_rect != nullptr ? &rect : nullptr, dst);
}

VX_Err VX_TransformWorld_S(VX_ProgressInfo* progress, int32_t quality, int32_t flags, int32_t field,
                           const VX_LayerDef* src, const VX_CompositeModePlus* mode,
                           const VX_LinearBlendingTables* tables, const VX_TransformMask* mask,
                           const M_Matrix3* matrices, int32_t num_matrices, uint8_t src2dst,
                           const M_Rect* dst_rect, VX_LayerDef* dst) {
  return VXp_Guarded([&] {
    return Draw({progress, quality, flags, field, src, mode, tables, mask, matrices, num_matrices,
                 src2dst, dst_rect, dst});
  });
}

VX_Err VX_TransformMotion(VX_ProgressInfo* progress, int32_t quality, int32_t field,
                          const VX_LayerDef* src, const VX_CompositeModePlus* mode,
                          const VX_LinearBlendingTables* tables, const VX_TransformMask* mask,
                          const M_Matrix3* matrices, int32_t num_matrices, uint8_t src2dst,
                          const M_Rect* dst_rect, VX_LayerDef* dst) {
  constexpr int32_t kFlags = 0;
  if (num_matrices == 1 || num_matrices == 2) {
    return VX_TransformWorld(progress, quality, kFlags, field, src, mode, tables, mask, matrices, 1,
                             src2dst, dst_rect, dst);
  }
  return VXp_Guarded([&] {
    return Draw({progress, quality, kFlags, field, src, mode, tables, mask, matrices, num_matrices,
                 src2dst, dst_rect, dst, VXp_MotionRule::EveryMatrix});
  });
}

VX_Err VX_TransformMotionLinear(VX_ProgressInfo* progress, int32_t quality, int32_t field,
                                const VX_LayerDef* src, const VX_CompositeModePlus* mode,
                                const VX_LightCurves* curves, const VX_TransformMask* mask,
                                const M_Matrix3* matrices, int32_t num_matrices, uint8_t src2dst,
                                const M_Rect* dst_rect, VX_LayerDef* dst) {
  constexpr int32_t kFlags = 0;
  return VXp_Guarded([&] {
    const VX_LightCurves* const used =
        mode != nullptr ? VXp_CurvesFor(curves, src, mode->mode) : nullptr;
    if (used == nullptr) {
      return VX_TransformMotion(progress, quality, field, src, mode, VXp_TablesFor(curves, src),
                                mask, matrices, num_matrices, src2dst, dst_rect, dst);
    }
    const bool still = num_matrices == 1 || num_matrices == 2;
    return Draw({progress, quality, kFlags, field, src, mode, /*tables=*/nullptr, mask, matrices,
                 still ? 1 : num_matrices, src2dst, dst_rect, dst,
                 still ? VXp_MotionRule::Classic : VXp_MotionRule::EveryMatrix, used});
  });
}
