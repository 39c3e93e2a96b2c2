// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Returns the properties of a mode by its number, converts between the structs with the parameters
// of a mode, and prepares the descriptor of a composite.

#include <cmath>

#include "VX/VX_Blend.h"
#include "VX/VX_Package.h"
#include "blend/VXp_ModeTraits.h"
#include "blend/modes/VXp_AllModes.h"
#include "frame/VXp_OverrideTable.h"
#include "frame/VXp_Report.h"

namespace {

// Returns the properties of a mode, read from its 8-bit class; they are the same at every depth.
template <template <class> class Mode>
constexpr VXp_ModeTraits TraitsOf() {
  using Piece = Mode<VXp_PixelTraits<VX_Pixel8>>;
  return {Piece::kStages,        Piece::kRowSkipsZero && !Piece::kNeedsMask,
          Piece::kWritesColor,   Piece::kUsesColor,
          Piece::kClearsOutside, Piece::kDrawsTransparentRows,
          Piece::kNeedsMask,     Piece::kTransferFlag};
}

}  // namespace

VXp_ModeTraits VXp_TraitsOfMode(int32_t mode) {
  switch (mode) {
#define VX_MODE(number, constant, name, piece, ...) \
  case number:                                      \
    return TraitsOf<piece>();
#include "VX/VX_TransferModes.def"
#undef VX_MODE
    default: return {};
  }
}

int32_t VX_GetTransferFlags(int32_t mode) { return VXp_TraitsOfMode(mode).transfer_flag ? 1 : 0; }

VX_CompositeModePlus::VX_CompositeModePlus(const VX_CompositeMode& older)
    : mode(older.mode), seed(older.seed), keepDstAlpha(older.keepDstAlpha != 0 ? 1 : 0) {
  const float coarse = static_cast<float>(older.opacity) / 255.0f;
  const float fine = static_cast<float>(older.opacity16) * (1.0f / 32768.0f);
  opacityF = std::fabs(coarse - fine) < 1.0f / 255.0f ? fine : coarse;
}

VX_Err VXp_UnknownMode() {
  constexpr int32_t kUnknownModeText = 6;
  return VXp_ReportEntry(kVXp_NoCheckNumber, kUnknownModeText, VX_ErrUnsupported);
}

namespace {

template <class Pixel>
auto RowLoopSlot(bool hasMask, bool linear) {
  if (hasMask) {
    return linear ? VXp_SlotOf<vxp_slot::RowLoopMaskLinear, Pixel>()
                  : VXp_SlotOf<vxp_slot::RowLoopMask, Pixel>();
  }
  return linear ? VXp_SlotOf<vxp_slot::RowLoopLinear, Pixel>()
                : VXp_SlotOf<vxp_slot::RowLoop, Pixel>();
}

// The stage functions are read from the override table for each composite, so that a replacement
// takes effect.
template <class Pixel>
void SetMatteStages(VXp_Stages stages, VX_BlendModeDescriptor<Pixel>* descriptor) {
  if (stages == VXp_Stages::kMatteBlack) {
    descriptor->matteStage = VXp_SlotOf<vxp_slot::MatteBlack, Pixel>();
    descriptor->unmatteStage = VXp_SlotOf<vxp_slot::UnmatteBlack, Pixel>();
  } else if (stages == VXp_Stages::kMatteWhite) {
    descriptor->matteStage = VXp_SlotOf<vxp_slot::MatteWhite, Pixel>();
    descriptor->unmatteStage = VXp_SlotOf<vxp_slot::UnmatteWhite, Pixel>();
  } else if (stages == VXp_Stages::kMatteGray) {
    descriptor->matteStage = VXp_SlotOf<vxp_slot::MatteGray, Pixel>();
    descriptor->unmatteStage = VXp_SlotOf<vxp_slot::UnmatteGray, Pixel>();
  }
}

}  // namespace

template <class Pixel>
VX_BlendModeDescriptor<Pixel>::VX_BlendModeDescriptor(const VX_BlendingMode<Pixel>& mode,
                                                      bool hasMask,
                                                      const VX_LinearBlendingTables* linear_tables)
    : blendingMode(mode),
      behindScan(nullptr),
      matteStage(nullptr),
      unmatteStage(nullptr),
      scan(nullptr),
      usesMatte(0),
      usesBehindPass(0),
      savesDstAlpha(0),
      usesAlphaUnion(0),
      tables(linear_tables) {
  blendingMode.keepDstAlpha = mode.keepDstAlpha != 0 ? 1 : 0;
  const auto get = RowLoopSlot<Pixel>(hasMask, linear_tables != nullptr);
  VX_InnerBlendingFunc<Pixel> found{};
  if (get(mode.mode, &found) == VX_Ok) scan = found.scan;
  if (get(VX_Xfer_Behind, &found) == VX_Ok) behindScan = found.scan;
  alphaUnionStage = VXp_SlotOf<vxp_slot::AlphaUnion, Pixel>();

  const VXp_Stages stages = VXp_TraitsOfMode(mode.mode).stages;
  savesDstAlpha = stages != VXp_Stages::kScan ? 1 : 0;
  usesBehindPass = stages == VXp_Stages::kBehind ? 1 : 0;
  SetMatteStages(stages, this);
  usesMatte = usesAlphaUnion = matteStage != nullptr ? 1 : 0;
}

template struct VX_BlendModeDescriptor<VX_Pixel8>;
template struct VX_BlendModeDescriptor<VX_Pixel16>;
template struct VX_BlendModeDescriptor<VX_PixelFloat>;
