// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Composites a rectangle of one world over another: checks and clips once, then runs the pipeline
// for each row.

#include "VX/VX_Blend.h"
#include "VX/VX_LightCurves.h"
#include "VX/VX_OverrideTable.h"
#include "blend/VXp_LightRows.h"
#include "blend/VXp_RowBuffers.h"
#include "blend/VXp_TransferArea.h"
#include "blend/VXp_TransferRectPlus.h"
#include "blend/VXp_TransferRows.h"
#include "blend/mask/VXp_MaskRow.h"
#include "frame/VXp_Bands.h"
#include "frame/VXp_Dispatch.h"
#include "frame/VXp_RowMemory.h"
#include "housekeeping/VXp_ClearAlpha.h"

namespace {

// The arguments of a call after the checks.
struct Transfer {
  VX_ProgressInfo* progress;
  int32_t field;
  const VX_CompositeModePlus* mode;
  const VX_LinearBlendingTables* tables;
  const VX_MaskSpec* mask;
  const VX_BlendScratch* scratch;
  const VX_LightCurves* curves;
  VXp_CopyArea area;
};

// The rows can be computed in any order if neither source nor mask shares other rows with the
// destination. The caller's scratch has one row.
template <class Pixel>
VXp_Bands PlanTransfer(const Transfer& call, const VX_WorldX<Pixel>& src,
                       const VX_WorldX<Pixel>* mask, VX_WorldX<Pixel>& dst) {
  const VXp_CopyArea& area = call.area;
  const VXp_RowMemory to =
      VXp_MemoryOf(dst.Row(area.dest_y) + area.dest_x, dst.rowbytes, area.width, area.height);
  const VXp_RowMemory from =
      VXp_MemoryOf(src.Row(area.source_y) + area.source_x, src.rowbytes, area.width, area.height);
  const bool independent =
      call.scratch == nullptr && VXp_RowsAreIndependent(to, {from}) &&
      (mask == nullptr || !VXp_ShareMemory(to, VXp_MemoryOf(*mask, sizeof(Pixel))));
  return VXp_PlanBands(area.height, area.width, independent);
}

template <class Pixel>
VX_Err TransferRows(const Transfer& call, const VXp_Bands& bands, const VX_WorldX<Pixel>& src,
                    const VX_WorldX<Pixel>* mask, const VX_BlendModeDescriptor<Pixel>& descriptor,
                    const VXp_RowBuffers& buffers, VX_WorldX<Pixel>& dst) {
  const VXp_CopyArea& area = call.area;
  const auto report = [&](int32_t row) -> VX_Err {
    return ((area.dest_y + row) & 0x7F) == 0 ? VXp_Poll(call.progress, row, area.height) : VX_Ok;
  };
  return VXp_ForBands(
      bands, VXp_HasProgress(call.progress), report, [&](int32_t thread, int32_t row) -> VX_Err {
        const int32_t y = area.dest_y + row;
        if (!VXp_DrawsRow(call.field, y)) return VX_Ok;
        const Pixel* mask_row = nullptr;
        if (mask != nullptr) {
          mask_row = VXp_MaskRow(*call.mask, *mask, area.dest_x, area.width, y,
                                 buffers.Mask<Pixel>(thread));
        }
        return VXp_BlendRow<Pixel>(call.curves, call.progress, area.width,
                                   VXp_DescriptorOfRow(descriptor, area.dest_y, y),
                                   src.Row(area.source_y + row) + area.source_x, mask_row,
                                   buffers.Alpha<Pixel>(thread), dst.Row(y) + area.dest_x);
      });
}

// The stencil modes set alpha to 0 outside the rectangle.
VX_Err ClearOutside(const Transfer& call, VX_LayerDef* dst) {
  if (!VXp_TraitsOfMode(call.mode->mode).clears_outside) return VX_Ok;
  const VXp_CopyArea& area = call.area;
  M_LRect keep{};
  keep.left = area.dest_x;
  keep.top = area.dest_y;
  keep.right = area.dest_x + area.width;
  keep.bottom = area.dest_y + area.height;
  return VXp_ClearAlphaExceptRect(dst, &keep);
}

template <class Pixel>
VX_Err TransferAt(const Transfer& call, const VX_WorldX<Pixel>& src, const VX_WorldX<Pixel>* mask,
                  VX_WorldX<Pixel>& dst) {
  const auto blending = VXp_BlendingModeOf<Pixel>(*call.mode, call.area.dest_x);
  VX_BlendModeDescriptor<Pixel> descriptor(blending, mask != nullptr, call.tables);
  if (descriptor.scan == nullptr) return VX_ErrUnsupported;  // reported by the descriptor

  const auto width = static_cast<size_t>(call.area.width);
  const bool saves = descriptor.savesDstAlpha != 0 && blending.keepDstAlpha != 0;
  const bool makes_mask = mask != nullptr && call.mask->what != VX_MaskUse_Alpha;
  const VXp_Bands bands = PlanTransfer(call, src, mask, dst);
  VXp_RowBuffers buffers(call.scratch);
  VX_Err error = buffers.Reserve(bands.threads, saves ? width * sizeof(VX_ChannelOf<Pixel>) : 0,
                                 makes_mask ? width * sizeof(Pixel) : 0);
  if (error == VX_Ok) error = ClearOutside(call, &dst);
  if (error == VX_Ok) error = TransferRows(call, bands, src, mask, descriptor, buffers, dst);
  return error;
}

// Wraps the mask, if there is one, in a typed world and runs the transfer. Source and destination
// are typed worlds already.
template <class Pixel>
VX_Err WithMask(Transfer call, const M_Rect* rect, int32_t x, int32_t y,
                const VX_WorldX<Pixel>& src, VX_WorldX<Pixel>& dst) {
  const VX_Err error =
      VXp_CheckMask(call.mask, kVXp_DepthOf<Pixel>,
                    "VX_TransferRect requires src and mask worlds to have same bit depth");
  if (error != VX_Ok) return error;
  call.area = VXp_TransferArea(src, rect, call.mask, x, y, dst);
  if (call.area.Empty()) return VX_Ok;
  if (call.mask == nullptr) return TransferAt<Pixel>(call, src, nullptr, dst);
  const VX_WorldX<Pixel> mask(call.mask->world, true);
  return TransferAt<Pixel>(call, src, &mask, dst);
}

VX_Err CheckedTransfer(const char* unequal_text, VX_ProgressInfo* progress, int32_t field,
                       const M_Rect* rect, const VX_LayerDef* src, const VX_CompositeModePlus* mode,
                       const VX_LinearBlendingTables* tables, const VX_MaskSpec* mask,
                       const VX_BlendScratch* scratch, const VX_LightCurves* curves, int32_t x,
                       int32_t y, VX_LayerDef* dst) {
  if (!VXp_HasPixels(src) || !VXp_HasPixels(dst) || mode == nullptr) {
    return VXp_BadParameter(kVXp_NoCheckNumber);
  }
  const int32_t depth = VXp_WorldDepth(src);
  if (depth != VXp_WorldDepth(dst)) return VXp_FailVerification(unequal_text);
  if (VXp_TraitsOfMode(mode->mode).needs_mask && mask == nullptr) {
    return VXp_FailVerification("VX_Xfer_MaskMix mixes by a mask and was given none");
  }
  const Transfer call{progress, field, mode, tables, mask, scratch, curves, {}};
  return VXp_Guarded([&] {
    return VXp_WithWorldsOfDepth(
        depth, kVXp_UnknownDepthText,
        [&](const auto& typed_src, auto& typed_dst) {
          return WithMask(call, rect, x, y, typed_src, typed_dst);
        },
        src, dst);
  });
}

}  // namespace

VX_Err VX_TransferRect(VX_ProgressInfo* progress, int32_t quality, int32_t flags, int32_t field,
                       const M_Rect* rect, const VX_LayerDef* src, const VX_CompositeModePlus* mode,
                       const VX_LinearBlendingTables* tables, const VX_MaskSpec* mask, int32_t x,
                       int32_t y, VX_LayerDef* dst) {
  return VXp_G_OverFuncs.VX_TransferRect_S(progress, quality, flags, field, rect, src, mode, tables,
                                           mask, x, y, dst);
}

VX_Err VX_TransferRect_S(VX_ProgressInfo* progress, int32_t /*quality*/, int32_t /*flags*/,
                         int32_t field, const M_Rect* rect, const VX_LayerDef* src,
                         const VX_CompositeModePlus* mode, const VX_LinearBlendingTables* tables,
                         const VX_MaskSpec* mask, int32_t x, int32_t y, VX_LayerDef* dst) {
  return CheckedTransfer("VX_TransferRect requires src and dst worlds to have same bit depth",
                         progress, field, rect, src, mode, tables, mask, nullptr, nullptr, x, y,
                         dst);
}

VX_Err VX_TransferRectPlus(VX_ProgressInfo* progress, int32_t /*quality*/, int32_t /*flags*/,
                           int32_t field, const M_Rect* rect, const VX_LayerDef* src,
                           const VX_CompositeModePlus* mode, const VX_LinearBlendingTables* tables,
                           const VX_MaskSpec* mask, const VX_BlendScratch* scratch, int32_t x,
                           int32_t y, VX_LayerDef* dst) {
  return CheckedTransfer("VX_TransferRectPlus requires src and dst worlds to have same bit depth",
                         progress, field, rect, src, mode, tables, mask, scratch, nullptr, x, y,
                         dst);
}

VX_Err VX_TransferRectLinear(VX_ProgressInfo* progress, int32_t field, const M_Rect* rect,
                             const VX_LayerDef* src, const VX_CompositeModePlus* mode,
                             const VX_LightCurves* curves, const VX_MaskSpec* mask, int32_t x,
                             int32_t y, VX_LayerDef* dst) {
  constexpr int32_t kQuality = 1, kFlags = 0;
  return VXp_Guarded([&] {
    const VX_LightCurves* const used =
        mode != nullptr ? VXp_CurvesFor(curves, src, mode->mode) : nullptr;
    if (used == nullptr) {
      return VX_TransferRect(progress, kQuality, kFlags, field, rect, src, mode,
                             VXp_TablesFor(curves, src), mask, x, y, dst);
    }
    return CheckedTransfer("VX_TransferRect requires src and dst worlds to have same bit depth",
                           progress, field, rect, src, mode, /*tables=*/nullptr, mask,
                           /*scratch=*/nullptr, used, x, y, dst);
  });
}
