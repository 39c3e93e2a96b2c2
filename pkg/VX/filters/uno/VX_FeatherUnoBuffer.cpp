// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Scans a whole buffer along all rows, then down all columns. The first and the last sample of each
// line are repeated outside, so that a mask of full scale remains at full scale up to its border.

#include <algorithm>

#include "VX/VX_UnoBuffer.h"
#include "filters/VXp_BlurScratch.h"
#include "filters/VXp_JoinedProgress.h"
#include "filters/uno/VXp_Scan.h"
#include "filters/uno/VXp_UnoBuffer.h"

namespace {

constexpr int32_t kMostRadius = 32767;

VX_Err Refuse(const char* text, int32_t line = __builtin_LINE()) {
  return VXp_FailVerification(kVXp_UnoNumber, line, text);
}

// The plan of the scan of whole lines in one direction.
struct Direction {
  Direction(int32_t feather, int32_t length, double radius)
      : kind(feather == VX_Feather_Box        ? VX_UnoScan_OneBox
             : feather == VX_Feather_Gaussian ? VX_UnoScan_Gaussian
                                              : VX_UnoScan_Soft) {
    const auto fixed = static_cast<VX_Fixed>(radius * 65536.0 + 0.5);
    const auto planner = feather == VX_Feather_Gaussian ? &VXp_PlanGaussianScan : &VXp_PlanBoxScan;
    plan = planner(kind, length, 0, length, fixed);
    plan.repeats_before = plan.repeats_after = true;
  }

  bool Idle() const { return plan.kind == VXp_ScanKind::kNone; }
  // Returns the number of positions of a line in scratch.
  int64_t Positions() const {
    return plan.kind == VXp_ScanKind::kGaussian ? plan.last - plan.first + 2 * plan.half
                                                : plan.to - plan.from;
  }

  int32_t kind;
  VXp_ScanPlan plan;
};

// The kernel of one call. The cached kernel of the process is not used, because a call on another
// thread may replace it during this call.
struct OwnKernel {
  OwnKernel() = default;
  ~OwnKernel() { VXp_FreeScanKernel(&kernel); }
  OwnKernel(const OwnKernel&) = delete;

  // Computes the kernel. Throws the error.
  void Make(const VXp_ScanPlan& plan) {
    if (plan.kind != VXp_ScanKind::kGaussian) return;
    VXp_ThrowIf(VXp_MakeScanKernel(plan.radius, &kernel));
  }

  VXp_ScanKernel kernel{};
};

// Returns the routine in the slot of the box scan for a sample type. Float has no slot.
VX_BlurScanFunc<uint8_t> BoxSlot(uint8_t) { return VXp_G_OverFuncs.VX_BoxBlurUnoScan; }
VX_BlurScanFunc<uint16_t> BoxSlot(uint16_t) { return VXp_G_OverFuncs.VX_BoxBlurDeepUnoScan; }
VX_BlurScanFunc<float> BoxSlot(float) { return &VX_BoxBlurFloatUnoScan; }

template <class Sample>
class Feather {
 public:
  Feather(const VX_ProgressInfo* progress, int32_t feather, double radius_x, double radius_y,
          const VX_UnoBuffer& buffer)
      : progress_(progress),
        buffer_(buffer),
        along_(feather, buffer.width, radius_x),
        down_(feather, buffer.height, radius_y) {}

  // Allocates all memory before the buffer is changed, so that a failure leaves the buffer
  // unchanged.
  VX_Err Run() {
    if (buffer_.width <= 0 || buffer_.height <= 0) return VX_Ok;
    const int32_t rows = along_.Idle() ? 0 : buffer_.height;
    const int32_t tiles = down_.Idle() ? 0 : (buffer_.width - 1) / kLines + 1;
    if (rows + tiles == 0) return VX_Ok;
    along_kernel_.Make(along_.plan);
    down_kernel_.Make(down_.plan);
    const int32_t passes = std::max(along_.plan.passes, down_.plan.passes);
    const VXp_BlurScratch scratch(passes > 1 ? 2 : 1, ScratchSize());
    VXp_JoinedProgress joined(progress_, int64_t{rows} + tiles);
    const VX_Err error = OnThreads(
        scratch, joined.info(), rows, buffer_.width,
        [&](int32_t row, Sample* memory, Sample* other) { return Row(row, memory, other); });
    if (error != VX_Ok) return error;
    joined.PassDone(rows);
    return OnThreads(scratch, joined.info(), tiles, int64_t{buffer_.height} * kLines,
                     [&](int32_t i, Sample* memory, Sample* other) -> VX_Err {
                       Columns(i * kLines, memory, other);
                       return VX_Ok;
                     });
  }

 private:
  static constexpr int32_t kLines = kVXp_ScanLines<Sample>;

  template <class Work>
  static VX_Err OnThreads(const VXp_BlurScratch& scratch, const VX_ProgressInfo* progress,
                          int32_t items, int64_t item_work, const Work& work) {
    const VXp_Bands bands = VXp_PlanItems(items, item_work);
    return VXp_ForBands(bands, progress, [&](int32_t thread, int32_t i) -> VX_Err {
      return work(i, reinterpret_cast<Sample*>(scratch.Row(thread, 0)),
                  reinterpret_cast<Sample*>(scratch.Row(thread, 1)));
    });
  }

  int64_t ScratchSize() const {
    const int64_t row =
        ScansRows() ? VX_UnoScanScratch(buffer_.width, along_.plan.radius) : along_.Positions();
    const int64_t tile = down_.Positions() * std::min(kLines, buffer_.width);
    return std::max(row, tile) * static_cast<int64_t>(sizeof(Sample));
  }

  // Returns whether rows go through the slot of the box scan. Scans of plain boxes repeat both ends
  // of a line as required here. Scans of soft boxes do not repeat the start of a line.
  bool ScansRows() const { return along_.plan.kind == VXp_ScanKind::kPlainBox; }

  VX_Err Row(int32_t row, Sample* memory, Sample* other) const {
    char* const line = VXp_UnoAddress<Sample>(buffer_, 0, row);
    if (ScansRows()) {
      return BoxSlot(Sample{})(along_.kind, buffer_.width, 0, buffer_.width, along_.plan.radius,
                               memory, reinterpret_cast<Sample*>(line));
    }
    VXp_RunScan(along_.plan, &along_kernel_.kernel, {line, sizeof(Sample), 1}, memory, other);
    return VX_Ok;
  }

  void Columns(int32_t first, Sample* memory, Sample* other) const {
    const int32_t lines = std::min(kLines, buffer_.width - first);
    const ptrdiff_t stride = ptrdiff_t{buffer_.width} * static_cast<ptrdiff_t>(sizeof(Sample));
    char* const columns = VXp_UnoAddress<Sample>(buffer_, first, 0);
    VXp_RunScan(down_.plan, &down_kernel_.kernel, {columns, stride, lines}, memory, other);
  }

  const VX_ProgressInfo* const progress_;
  const VX_UnoBuffer& buffer_;
  const Direction along_, down_;
  OwnKernel along_kernel_, down_kernel_;
};

bool GoodRadius(double radius) { return radius >= 0 && radius <= kMostRadius; }

}  // namespace

VX_Err VX_FeatherUnoBuffer(VX_ProgressInfo* progress, int32_t feather, double radius_x,
                           double radius_y, VX_UnoBuffer* buffer) {
  return VXp_Guarded([&]() -> VX_Err {
    if (feather < VX_Feather_Box || feather > VX_Feather_Gaussian) {
      return Refuse("unknown kind of feather");
    }
    if (!GoodRadius(radius_x) || !GoodRadius(radius_y))
      return Refuse("feather radius out of range");
    const VX_Err error = VXp_CheckUno(buffer);
    if (error != VX_Ok) return error;
    return VXp_WithPixel(buffer->depth, kVXp_UnknownDepthText, [&](auto tag) -> VX_Err {
      using Sample = VX_ChannelOf<typename decltype(tag)::Pixel>;
      return Feather<Sample>(progress, feather, radius_x, radius_y, *buffer).Run();
    });
  });
}
