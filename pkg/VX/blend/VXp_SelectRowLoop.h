// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Selects a row loop by mode, for one pixel type and variant.

#include <array>

#include "blend/VXp_ModeTraits.h"
#include "blend/VXp_RowLoop.h"

// Calls `scan` with a null mask: variants without mask ignore a mask row that a caller passes.
template <class Pixel, VX_ScanFunc<Pixel> scan>
VX_Err VXp_ScanUnmasked(int32_t count, const VX_BlendingMode<Pixel>* mode,
                        const VX_LinearBlendingTables* tables, const Pixel* src,
                        const Pixel* /*mask*/, Pixel* dst) {
  return scan(count, mode, tables, src, nullptr, dst);
}

template <template <class> class Mode, class Pixel, bool hasMask, bool linear>
constexpr VX_ScanFunc<Pixel> VXp_RowLoopOf() {
  if constexpr (hasMask || Mode<VXp_PixelTraits<Pixel>>::kNeedsMask) {
    return &VXp_MaskedRowLoop<Mode, Pixel, linear>::Scan;
  } else {
    return &VXp_ScanUnmasked<Pixel, &VXp_RowLoop<Mode, Pixel, linear>::Scan>;
  }
}

// The loops by mode. The index is mode + 3, because the lowest mode is -3. The entry of the
// reserved mode -1 is null.
template <class Pixel, bool hasMask, bool linear>
constexpr std::array<VX_ScanFunc<Pixel>, 40> VXp_MakeRowLoops() {
  std::array<VX_ScanFunc<Pixel>, 40> loops{};
#define VX_MODE(number, constant, name, piece, ...) \
  loops[number + 3] = VXp_RowLoopOf<piece, Pixel, hasMask, linear>();
#include "VX/VX_TransferModes.def"
#undef VX_MODE
  return loops;
}

// Defined at namespace scope, because a static variable of the exported function would be exported.
template <class Pixel, bool hasMask, bool linear>
inline constexpr auto kVXp_RowLoops = VXp_MakeRowLoops<Pixel, hasMask, linear>();

template <class Pixel, bool hasMask, bool linear>
VX_Err VX_GetInnerBlendingFunc(int32_t mode, VX_InnerBlendingFunc<Pixel>* out) {
  constexpr const auto& kLoops = kVXp_RowLoops<Pixel, hasMask, linear>;
  const bool listed = mode >= -3 && mode <= 36;
  const VX_ScanFunc<Pixel> scan = listed ? kLoops[static_cast<size_t>(mode + 3)] : nullptr;
  if (scan == nullptr) return VXp_UnknownMode();
  out->scan = scan;
  return VX_Ok;
}

#define VXP_INSTANTIATE_ROW_LOOPS(Pixel)                                                      \
  template VX_Err VX_GetInnerBlendingFunc<Pixel, false, false>(int32_t,                       \
                                                               VX_InnerBlendingFunc<Pixel>*); \
  template VX_Err VX_GetInnerBlendingFunc<Pixel, true, false>(int32_t,                        \
                                                              VX_InnerBlendingFunc<Pixel>*);  \
  template VX_Err VX_GetInnerBlendingFunc<Pixel, false, true>(int32_t,                        \
                                                              VX_InnerBlendingFunc<Pixel>*);  \
  template VX_Err VX_GetInnerBlendingFunc<Pixel, true, true>(int32_t, VX_InnerBlendingFunc<Pixel>*);
