// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The parts of a composite: one pixel, one row of one mode, and the pipeline of a row.
//
// Pixels have straight alpha. Rows are contiguous and need not be aligned. Thread-safe on rows that
// do not overlap.

#include "VX/VX_Transfer.h"

// --- one pixel -----------------------------------------------------------------------------------

// The routine of a mode for one pixel: blends `src` over `dst` in place. If `tables` is null, the
// encoded channel values are blended; else they are converted to linear light, blended and
// converted back.
template <class Pixel>
using VX_Xfer1Func = void (*)(const Pixel* src, const VX_LinearBlendingTables* tables, Pixel* dst);
template <class Pixel>
using VX_Xfer1OpacityFunc = void (*)(const Pixel* src, const VX_LinearBlendingTables* tables,
                                     VX_ChannelOf<Pixel> opacity, Pixel* dst);
template <class Pixel>
using VX_Xfer1Opacity2Func = void (*)(const Pixel* src, const VX_LinearBlendingTables* tables,
                                      VX_ChannelOf<Pixel> opacity, VX_ChannelOf<Pixel> opacity2,
                                      Pixel* dst);

inline constexpr int32_t VX_Xfer1Count = 37;  // entries of the tables below: modes 0..36

extern VX_API const VX_Xfer1Func<VX_Pixel8> VXp_G_Xfer1_table8[VX_Xfer1Count];
extern VX_API const VX_Xfer1Func<VX_Pixel16> VXp_G_Xfer1_table16[VX_Xfer1Count];
extern VX_API const VX_Xfer1Func<VX_PixelFloat> VXp_G_Xfer1_tableF[VX_Xfer1Count];
extern VX_API const VX_Xfer1OpacityFunc<VX_Pixel8> VXp_G_Xfer1_Opacity_table8[VX_Xfer1Count];
extern VX_API const VX_Xfer1OpacityFunc<VX_Pixel16> VXp_G_Xfer1_Opacity_table16[VX_Xfer1Count];
extern VX_API const VX_Xfer1OpacityFunc<VX_PixelFloat> VXp_G_Xfer1_Opacity_tableF[VX_Xfer1Count];
extern VX_API const VX_Xfer1Opacity2Func<VX_Pixel8> VXp_G_Xfer1_Opacity2_table8[VX_Xfer1Count];
extern VX_API const VX_Xfer1Opacity2Func<VX_Pixel16> VXp_G_Xfer1_Opacity2_table16[VX_Xfer1Count];
extern VX_API const VX_Xfer1Opacity2Func<VX_PixelFloat> VXp_G_Xfer1_Opacity2_tableF[VX_Xfer1Count];

// --- one row -------------------------------------------------------------------------------------

// The parameters of a mode for rows, see VX_CompositeModePlus. Opacity is a channel value of the
// pixel type, so full scale is 255, 32768 or 1.0.
template <class Pixel>
struct VX_BlendingMode {
  int32_t mode;
  int32_t seed;
  VX_ChannelOf<Pixel> opacity;
  uint8_t keepDstAlpha;
};

// Blends a row of `count` source pixels over the destination row. Only the alpha of the mask row is
// read. Variants without mask ignore the mask row, which may then be null. A linear variant throws
// VX_ErrBadParameter if `tables` is null.
template <class Pixel>
using VX_ScanFunc = VX_Err (*)(int32_t count, const VX_BlendingMode<Pixel>* mode,
                               const VX_LinearBlendingTables* tables, const Pixel* src,
                               const Pixel* mask, Pixel* dst);

template <class Pixel>
struct VX_InnerBlendingFunc {
  VX_ScanFunc<Pixel> scan;
};

// A matte stage composites each pixel of a row onto the neutral colour of the mode, weighted by the
// pixel's alpha; an unmatte stage computes the inverse. Alpha is unchanged. If `src` is null or
// equal to `dst`, the row is processed in place.
template <class Pixel>
using VX_MatteStage = VX_Err (*)(int32_t count, const Pixel* src, Pixel* dst);

// Sets the alpha of each destination pixel to d + s - d * s, the union of two alphas, with channels
// as 0..1: d is the destination alpha and s is source alpha * opacity * mask alpha.
template <class Pixel>
using VX_AlphaUnionStage = VX_Err (*)(int32_t count, const Pixel* src, VX_ChannelOf<Pixel> opacity,
                                      const Pixel* mask, Pixel* dst);

// Stores the row function of a mode. Returns VX_ErrUnsupported with a report for an unknown mode;
// `out` is then unchanged. Instantiated for the three pixel types, with and without mask, for
// encoded and for linear blending.
template <class Pixel, bool hasMask, bool linear>
VX_API VX_Err VX_GetInnerBlendingFunc(int32_t mode, VX_InnerBlendingFunc<Pixel>* out);

// The row functions and parameters that a blend selects once per call.
template <class Pixel>
struct VX_API VX_BlendModeDescriptor {
  VX_BlendingMode<Pixel> blendingMode;
  VX_ScanFunc<Pixel> behindScan;      // VX_Xfer_Behind, with the same mask and linear options
  VX_MatteStage<Pixel> matteStage;    // runs before the scan; may be null
  VX_MatteStage<Pixel> unmatteStage;  // runs after the scan; may be null
  VX_ScanFunc<Pixel> scan;            // the row function of the mode; null for an unknown mode
  VX_AlphaUnionStage<Pixel> alphaUnionStage;
  uint8_t usesMatte;
  uint8_t usesBehindPass;
  uint8_t savesDstAlpha;  // not 0: keepDstAlpha is done by saving and restoring the row's alpha
  uint8_t usesAlphaUnion;
  const VX_LinearBlendingTables* tables;

  VX_BlendModeDescriptor(const VX_BlendingMode<Pixel>& mode, bool hasMask,
                         const VX_LinearBlendingTables* linear_tables);
};

// Runs the stages of one row: save the destination's alpha, matte stage or behind pass, scan (the
// row function of the mode), alpha union, unmatte stage, restore alpha. `alpha_scratch` has `count`
// channels. Returns the first error of a stage.
template <class Pixel>
VX_API VX_Err VX_BlendPipeline(VX_ProgressInfo* progress, int32_t count,
                               const VX_BlendModeDescriptor<Pixel>* descriptor, const Pixel* src,
                               const Pixel* mask, VX_ChannelOf<Pixel>* alpha_scratch, Pixel* dst);
