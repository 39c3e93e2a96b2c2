// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slots of the override table that a blend goes through, by pixel type. Read at the moment of
// use, so that a replacement takes effect.

#include "VX/VX_OverrideTable.h"

template <class Pixel>
struct VXp_BlendSlots;

template <>
struct VXp_BlendSlots<VX_Pixel8> {
  static auto GetScan(bool hasMask, bool linear) {
    const VXp_OverrideTable& table = VXp_G_OverFuncs;
    if (hasMask) {
      return linear ? table.VX_GetInnerBlendingMaskLinear8 : table.VX_GetInnerBlendingMask8;
    }
    return linear ? table.VX_GetInnerBlendingLinear8 : table.VX_GetInnerBlending8;
  }
  static auto Union() { return VXp_G_OverFuncs.VX_AlphaUnion; }
  static auto MatteBlack() { return VXp_G_OverFuncs.VX_MatteBlack; }
  static auto MatteWhite() { return VXp_G_OverFuncs.VX_MatteWhite; }
  static auto MatteGray() { return VXp_G_OverFuncs.VX_MatteGray; }
  static auto UnmatteBlack() { return VXp_G_OverFuncs.VX_UnmatteBlack; }
  static auto UnmatteWhite() { return VXp_G_OverFuncs.VX_UnmatteWhite; }
  static auto UnmatteGray() { return VXp_G_OverFuncs.VX_UnmatteGray; }
};

template <>
struct VXp_BlendSlots<VX_Pixel16> {
  static auto GetScan(bool hasMask, bool linear) {
    const VXp_OverrideTable& table = VXp_G_OverFuncs;
    if (hasMask) {
      return linear ? table.VX_GetInnerBlendingMaskLinear16 : table.VX_GetInnerBlendingMask16;
    }
    return linear ? table.VX_GetInnerBlendingLinear16 : table.VX_GetInnerBlending16;
  }
  static auto Union() { return VXp_G_OverFuncs.VX_AlphaUnion16; }
  static auto MatteBlack() { return VXp_G_OverFuncs.VX_MatteBlack16; }
  static auto MatteWhite() { return VXp_G_OverFuncs.VX_MatteWhite16; }
  static auto MatteGray() { return VXp_G_OverFuncs.VX_MatteGray16; }
  static auto UnmatteBlack() { return VXp_G_OverFuncs.VX_UnmatteBlack16; }
  static auto UnmatteWhite() { return VXp_G_OverFuncs.VX_UnmatteWhite16; }
  static auto UnmatteGray() { return VXp_G_OverFuncs.VX_UnmatteGray16; }
};

template <>
struct VXp_BlendSlots<VX_PixelFloat> {
  static auto GetScan(bool hasMask, bool linear) {
    const VXp_OverrideTable& table = VXp_G_OverFuncs;
    if (hasMask) {
      return linear ? table.VX_GetInnerBlendingMaskLinearFloat : table.VX_GetInnerBlendingMaskFloat;
    }
    return linear ? table.VX_GetInnerBlendingLinearFloat : table.VX_GetInnerBlendingFloat;
  }
  static auto Union() { return VXp_G_OverFuncs.VX_AlphaUnionFloat; }
  static auto MatteBlack() { return VXp_G_OverFuncs.VX_MatteBlackFloat; }
  static auto MatteWhite() { return VXp_G_OverFuncs.VX_MatteWhiteFloat; }
  static auto MatteGray() { return VXp_G_OverFuncs.VX_MatteGrayFloat; }
  static auto UnmatteBlack() { return VXp_G_OverFuncs.VX_UnmatteBlackFloat; }
  static auto UnmatteWhite() { return VXp_G_OverFuncs.VX_UnmatteWhiteFloat; }
  static auto UnmatteGray() { return VXp_G_OverFuncs.VX_UnmatteGrayFloat; }
};
