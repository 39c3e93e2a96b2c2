// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Rows that are blended in linear light by the curves of a profile; see VX_LightCurves.h.

#include <type_traits>

#include "VX/VX_Blend.h"

class VX_LightCurves;

// Fills the tables of `curves` and returns it if pixels of `src` have to be converted for this
// mode. Returns null if no conversion is necessary: `curves` is null, `src` is not a float world,
// its values are linear, or the mode does not compute with colours.
const VX_LightCurves* VXp_CurvesFor(const VX_LightCurves* curves, const VX_LayerDef* src,
                                    int32_t mode);

// Returns the tables for integer pixels, null for float pixels and without curves.
const VX_LinearBlendingTables* VXp_TablesFor(const VX_LightCurves* curves, const VX_LayerDef* src);

// Like VX_BlendPipeline, in linear light: the rows contain stored values, which are converted by
// `curves`. The descriptor is that for blending stored values.
VX_Err VXp_BlendLightRow(const VX_LightCurves& curves, VX_ProgressInfo* progress, int32_t count,
                         const VX_BlendModeDescriptor<VX_PixelFloat>& descriptor,
                         const VX_PixelFloat* src, const VX_PixelFloat* mask, VX_PixelFloat* dst);

// Runs the pipeline of a row; in linear light if there are curves.
template <class Pixel>
VX_Err VXp_BlendRow(const VX_LightCurves* curves, VX_ProgressInfo* progress, int32_t count,
                    const VX_BlendModeDescriptor<Pixel>& descriptor, const Pixel* src,
                    const Pixel* mask, VX_ChannelOf<Pixel>* alpha_row, Pixel* dst) {
  if constexpr (std::is_same_v<Pixel, VX_PixelFloat>) {
    if (curves != nullptr) {
      return VXp_BlendLightRow(*curves, progress, count, descriptor, src, mask, dst);
    }
  }
  return VX_BlendPipeline<Pixel>(progress, count, &descriptor, src, mask, alpha_row, dst);
}
