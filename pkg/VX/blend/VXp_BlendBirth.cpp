// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// What this room puts into the override table.

#include "blend/VXp_BlendBirth.h"

#include "VX/VX_Blend.h"
#include "VX/VX_OverrideTable.h"
#include "blend/VXp_CompositeRect.h"
#include "blend/VXp_RowStages.h"
#include "blend/mask/VXp_MergeMaskRow.h"

namespace {

template <class Pixel>
constexpr VX_MatteStage<Pixel> kMatteBlack =
    &VXp_MatteRow<Pixel, VXp_NeutralBlack, VXp_MatteWay::kOn>;
template <class Pixel>
constexpr VX_MatteStage<Pixel> kMatteWhite =
    &VXp_MatteRow<Pixel, VXp_NeutralWhite, VXp_MatteWay::kOn>;
template <class Pixel>
constexpr VX_MatteStage<Pixel> kMatteGray =
    &VXp_MatteRow<Pixel, VXp_NeutralGray, VXp_MatteWay::kOn>;
template <class Pixel>
constexpr VX_MatteStage<Pixel> kUnmatteBlack =
    &VXp_MatteRow<Pixel, VXp_NeutralBlack, VXp_MatteWay::kOff>;
template <class Pixel>
constexpr VX_MatteStage<Pixel> kUnmatteWhite =
    &VXp_MatteRow<Pixel, VXp_NeutralWhite, VXp_MatteWay::kOff>;
template <class Pixel>
constexpr VX_MatteStage<Pixel> kUnmatteGray =
    &VXp_MatteRow<Pixel, VXp_NeutralGray, VXp_MatteWay::kOff>;

}  // namespace

void VXp_FillBlendSlots(VXp_OverrideTable& table) {
  table.VX_TransferRect_S = &VX_TransferRect_S;
  table.VX_CompositeRectDraft_Straight = &VXp_CompositeRect_Straight;
  table.VX_CompositeRectDraft_Premul = &VXp_CompositeRect_Premul;
  table.VX_CompositeRectBest_Straight = &VXp_CompositeRect_Straight;
  table.VX_CompositeRectBest_Premul = &VXp_CompositeRect_Premul;
  table.VX_Blend_Straight = &VXp_Blend_Straight;
  table.VX_Blend_Premul = &VXp_Blend_Premul;

  table.VX_MatteBlack = kMatteBlack<VX_Pixel8>;
  table.VX_MatteWhite = kMatteWhite<VX_Pixel8>;
  table.VX_MatteGray = kMatteGray<VX_Pixel8>;
  table.VX_UnmatteBlack = kUnmatteBlack<VX_Pixel8>;
  table.VX_UnmatteWhite = kUnmatteWhite<VX_Pixel8>;
  table.VX_UnmatteGray = kUnmatteGray<VX_Pixel8>;
  table.VX_AlphaUnion = &VXp_AlphaUnionRow<VX_Pixel8>;
  table.VX_GetInnerBlending8 = &VX_GetInnerBlendingFunc<VX_Pixel8, false, false>;
  table.VX_GetInnerBlendingMask8 = &VX_GetInnerBlendingFunc<VX_Pixel8, true, false>;
  table.VX_GetInnerBlendingLinear8 = &VX_GetInnerBlendingFunc<VX_Pixel8, false, true>;
  table.VX_GetInnerBlendingMaskLinear8 = &VX_GetInnerBlendingFunc<VX_Pixel8, true, true>;

  table.VX_MatteBlack16 = kMatteBlack<VX_Pixel16>;
  table.VX_MatteWhite16 = kMatteWhite<VX_Pixel16>;
  table.VX_MatteGray16 = kMatteGray<VX_Pixel16>;
  table.VX_UnmatteBlack16 = kUnmatteBlack<VX_Pixel16>;
  table.VX_UnmatteWhite16 = kUnmatteWhite<VX_Pixel16>;
  table.VX_UnmatteGray16 = kUnmatteGray<VX_Pixel16>;
  table.VX_AlphaUnion16 = &VXp_AlphaUnionRow<VX_Pixel16>;
  table.VX_GetInnerBlending16 = &VX_GetInnerBlendingFunc<VX_Pixel16, false, false>;
  table.VX_GetInnerBlendingMask16 = &VX_GetInnerBlendingFunc<VX_Pixel16, true, false>;
  table.VX_GetInnerBlendingLinear16 = &VX_GetInnerBlendingFunc<VX_Pixel16, false, true>;
  table.VX_GetInnerBlendingMaskLinear16 = &VX_GetInnerBlendingFunc<VX_Pixel16, true, true>;

  table.VX_MatteBlackFloat = kMatteBlack<VX_PixelFloat>;
  table.VX_MatteWhiteFloat = kMatteWhite<VX_PixelFloat>;
  table.VX_MatteGrayFloat = kMatteGray<VX_PixelFloat>;
  table.VX_UnmatteBlackFloat = kUnmatteBlack<VX_PixelFloat>;
  table.VX_UnmatteWhiteFloat = kUnmatteWhite<VX_PixelFloat>;
  table.VX_UnmatteGrayFloat = kUnmatteGray<VX_PixelFloat>;
  table.VX_AlphaUnionFloat = &VXp_AlphaUnionRow<VX_PixelFloat>;
  table.VX_GetInnerBlendingFloat = &VX_GetInnerBlendingFunc<VX_PixelFloat, false, false>;
  table.VX_GetInnerBlendingMaskFloat = &VX_GetInnerBlendingFunc<VX_PixelFloat, true, false>;
  table.VX_GetInnerBlendingLinearFloat = &VX_GetInnerBlendingFunc<VX_PixelFloat, false, true>;
  table.VX_GetInnerBlendingMaskLinearFloat = &VX_GetInnerBlendingFunc<VX_PixelFloat, true, true>;

  table.VX_MergeMaskRow8From8 = &VXp_MergeMaskRow8<uint8_t>;
  table.VX_MergeMaskRow8From16 = &VXp_MergeMaskRow8<uint16_t>;
  table.VX_MergeMaskRow8FromFloat = &VXp_MergeMaskRow8<float>;
  table.VX_MergeMaskRow16 = &VXp_MergeMaskRowOfDepth<VX_Pixel16>;
  table.VX_MergeMaskRowFloat = &VXp_MergeMaskRowOfDepth<VX_PixelFloat>;
}
