// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Functions that transfers of rectangles and world transforms share: both composite row by row.

#include <type_traits>

#include "VX/VX_Blend.h"
#include "VX/VX_World.h"
#include "blend/VXp_ModeTraits.h"
#include "frame/VXp_Convert.h"
#include "frame/VXp_Report.h"

inline bool VXp_DrawsRow(int32_t field, int32_t y) {
  if (field == VX_Field_EvenRows) return (y & 1) == 0;
  if (field == VX_Field_OddRows) return (y & 1) != 0;
  return true;
}

inline VX_Err VXp_Poll(VX_ProgressInfo* progress, int32_t done, int32_t total) {
  if (progress == nullptr || progress->progress_func == nullptr) return VX_Ok;
  return progress->progress_func(progress->progress_refcon, done, total);
}

// The seed of dissolve for the first row of an area whose left column is `left`.
inline int32_t VXp_FirstSeed(int32_t seed, int32_t left) {
  return static_cast<int32_t>(static_cast<uint32_t>(seed) + static_cast<uint32_t>(left));
}
// The seed for row y of an area whose first row is `top` with the seed `first`. From row k to the
// next, the seed grows by 12281 k modulo 2^32. The sum of top..y - 1 is T(y) - T(top) with the
// triangular numbers T(k) = k (k - 1) / 2.
inline int32_t VXp_SeedOfRow(int32_t first, int32_t top, int32_t y) {
  const auto triangle = [](int64_t k) { return static_cast<uint32_t>(k * (k - 1) / 2); };
  return static_cast<int32_t>(static_cast<uint32_t>(first) +
                              12281u * (triangle(y) - triangle(top)));
}

// Returns the descriptor for row y of an area; `descriptor` is that for its first row, `top`.
template <class Pixel>
VX_BlendModeDescriptor<Pixel> VXp_DescriptorOfRow(const VX_BlendModeDescriptor<Pixel>& descriptor,
                                                  int32_t top, int32_t y) {
  VX_BlendModeDescriptor<Pixel> of_row = descriptor;
  of_row.blendingMode.seed = VXp_SeedOfRow(descriptor.blendingMode.seed, top, y);
  return of_row;
}

template <class Pixel>
VX_BlendingMode<Pixel> VXp_BlendingModeOf(const VX_CompositeModePlus& mode, int32_t left) {
  VX_BlendingMode<Pixel> blending{};
  blending.mode = mode.mode;
  blending.seed = VXp_FirstSeed(mode.seed, left);
  if constexpr (std::is_same_v<Pixel, VX_PixelFloat>) {
    blending.opacity = mode.opacityF;
  } else {
    blending.opacity = VXp_ConvertChannel<Pixel, VX_PixelFloat>(mode.opacityF);
  }
  blending.keepDstAlpha = mode.keepDstAlpha != 0 ? 1 : 0;
  return blending;
}

inline bool VXp_HasPixels(const VX_LayerDef* world) {
  return world != nullptr && world->data != nullptr;
}

// Checks the mask of a composite whose worlds have pixels of `depth` bits. Returns VX_Ok, or
// VX_ErrBadParameter after a report. If the mask has another depth, the report is `unequal_text`.
inline VX_Err VXp_CheckMask(const VX_MaskSpec* mask, int32_t depth, const char* unequal_text) {
  if (mask == nullptr) return VX_Ok;
  if (!VXp_HasPixels(mask->world) || mask->what < VX_MaskUse_Alpha ||
      mask->what > VX_MaskUse_InverseLuma) {
    return VXp_BadParameter(kVXp_NoCheckNumber);
  }
  return VXp_WorldDepth(mask->world) == depth ? VX_Ok : VXp_FailVerification(unequal_text);
}
