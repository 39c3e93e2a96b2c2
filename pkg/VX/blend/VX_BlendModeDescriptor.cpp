// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Records of a transfer mode, and the descriptor that a blend prepares once per call.

#include <cmath>

#include "VX/VX_Blend.h"
#include "VX/VX_Package.h"
#include "blend/VXp_BlendSlots.h"
#include "blend/VXp_UnknownMode.h"
#include "frame/VXp_Report.h"

int32_t VX_GetTransferFlags(int32_t mode) {
  constexpr uint32_t kModes = 0x120FF7B9;  // bit mode + 3
  const int64_t bit = int64_t{mode} + 3;
  return bit >= 0 && bit < 32 ? static_cast<int32_t>((kModes >> bit) & 1u) : 0;
}

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

// The stages around a scan, by mode.
enum class Around { kNothing, kKeptAlpha, kBehind, kBlack, kWhite, kGray };

Around AroundOf(int32_t mode) {
  switch (mode) {
    case VX_Xfer_InFront:
    case VX_Xfer_PremulOver:
    case VX_Xfer_AlphaAdd:
    case VX_Xfer_Difference2:
    case VX_Xfer_Dodge2:
    case VX_Xfer_Burn2:
    case VX_Xfer_LinearDodge:
    case VX_Xfer_LinearBurn:
    case VX_Xfer_LinearLight:
    case VX_Xfer_VividLight:
    case VX_Xfer_PinLight:
    case VX_Xfer_HardMix: return Around::kKeptAlpha;
    case VX_Xfer_Hue:
    case VX_Xfer_Saturation:
    case VX_Xfer_Color:
    case VX_Xfer_Luminosity:
    case VX_Xfer_LighterColor:
    case VX_Xfer_DarkerColor: return Around::kBehind;
    case VX_Xfer_Add:
    case VX_Xfer_Screen:
    case VX_Xfer_Lighten:
    case VX_Xfer_Difference:
    case VX_Xfer_Dodge:
    case VX_Xfer_Exclusion: return Around::kBlack;
    case VX_Xfer_Multiply:
    case VX_Xfer_Darken:
    case VX_Xfer_Burn: return Around::kWhite;
    case VX_Xfer_Overlay:
    case VX_Xfer_SoftLight:
    case VX_Xfer_HardLight: return Around::kGray;
    default: return Around::kNothing;
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
  using Slots = VXp_BlendSlots<Pixel>;
  const auto get = Slots::GetScan(hasMask, linear_tables != nullptr);
  VX_InnerBlendingFunc<Pixel> found{};
  if (get(mode.mode, &found) == VX_Ok) scan = found.scan;
  if (get(VX_Xfer_Behind, &found) == VX_Ok) behindScan = found.scan;
  alphaUnionStage = Slots::Union();

  const Around around = AroundOf(mode.mode);
  if (around == Around::kNothing) return;
  savesDstAlpha = 1;
  if (around == Around::kBehind) usesBehindPass = 1;
  if (around < Around::kBlack) return;
  usesMatte = 1;
  usesAlphaUnion = 1;
  matteStage = around == Around::kBlack   ? Slots::MatteBlack()
               : around == Around::kWhite ? Slots::MatteWhite()
                                          : Slots::MatteGray();
  unmatteStage = around == Around::kBlack   ? Slots::UnmatteBlack()
                 : around == Around::kWhite ? Slots::UnmatteWhite()
                                            : Slots::UnmatteGray();
}

template struct VX_BlendModeDescriptor<VX_Pixel8>;
template struct VX_BlendModeDescriptor<VX_Pixel16>;
template struct VX_BlendModeDescriptor<VX_PixelFloat>;
