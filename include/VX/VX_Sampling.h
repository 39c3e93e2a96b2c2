// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Samplers: functions that read a world at a fractional position. This header declares their
// argument struct (VX_SampPB), their signatures and the built-in samplers.
//
// Positions are in 16.16 fixed point; pixel centres are at whole numbers. For clipped samplers,
// pixels outside the world are transparent black. For all others the caller guarantees that no
// pixel outside the world is read. Samplers have no state and are thread-safe.

#include <type_traits>

#include "VX/VX_Types.h"

// The arguments of a sampler besides the position. Clear the whole struct, then set the named
// fields.
struct VX_SampPB {
  VX_Fixed x_radius;  // half width of the footprint in source pixels
  VX_Fixed y_radius;  // half height of the footprint
  VX_Fixed area;      // 4 * x_radius * y_radius
  VX_LayerDef* src;   // the world to read; for float samplers the descriptor within a VX_World
  uint32_t reserved_5[2];
  // Number of sub-samples per pixel of a motion-blurred row, in the low 16 bits.
  int32_t motion_samples;
  uint32_t reserved_8[14];
};
static_assert(sizeof(VX_SampPB) == 96);
static_assert(offsetof(VX_SampPB, y_radius) == 4 && offsetof(VX_SampPB, area) == 8);
static_assert(offsetof(VX_SampPB, src) == 16 && offsetof(VX_SampPB, motion_samples) == 32);

// The weights of the four neighbours of a position. The digits are the column and the row of the
// neighbour: w10 belongs to the right neighbour in the upper row.
struct VX_SubpixelWeights {
  double w00, w10, w01, w11;
};
static_assert(sizeof(VX_SubpixelWeights) == 32);

// --- forms ---------------------------------------------------------------------------------------
//
// Samplers pass `progress` on without reading it, and always return VX_Ok.

// Samples one pixel.
template <class Pixel>
using VX_SampleCall = VX_Err(VX_ProgressInfo* progress, VX_Fixed x, VX_Fixed y,
                             const VX_SampPB* record, Pixel* out);

// Samples one pixel. Sets *all_in to 1 if all four neighbours are inside the world, else to 0.
template <class Pixel>
using VX_SampleAllInCall = VX_Err(VX_ProgressInfo* progress, VX_Fixed x, VX_Fixed y,
                                  const VX_SampPB* record, uint8_t* all_in, Pixel* out);

// Samples one pixel with the given weights instead of those of the fractions of x and y.
template <class Pixel>
using VX_SampleWeightedCall = VX_Err(VX_ProgressInfo* progress, VX_Fixed x, VX_Fixed y,
                                     const VX_SubpixelWeights* weights, const VX_SampPB* record,
                                     Pixel* out);

// Samples `count` pixels, one source column apart. Adds their alphas to `alpha_sum`.
template <class Pixel>
using VX_AlphaSumOf = std::conditional_t<std::is_same_v<Pixel, VX_PixelFloat>, float, uint32_t>;
template <class Pixel>
using VX_SampleSpanCall = VX_Err(VX_ProgressInfo* progress, int32_t count, VX_Fixed x, VX_Fixed y,
                                 const VX_SampPB* record, VX_AlphaSumOf<Pixel>* alpha_sum,
                                 Pixel* out);

// Samples four pixels. Their positions are positions[0..7]: x0, y0, x1, y1 and so on.
using VX_SampleFourCall = VX_Err(VX_ProgressInfo* progress, const VX_Fixed* positions,
                                 const VX_SampPB* record, VX_Pixel8* out);
using VX_SampleFourWeightedCall = VX_Err(VX_ProgressInfo* progress, const VX_Fixed* positions,
                                         const VX_SubpixelWeights* weights, const VX_SampPB* record,
                                         VX_Pixel8* out);

// Computes the weights of the four neighbours from the fractions of x and y.
using VX_ComputeWeightCall = VX_Err(uint16_t fx, uint16_t fy, VX_SubpixelWeights* out);

// Pointers to these functions, for the override table and the sets of samplers.
template <class Pixel>
using VX_SampleFunc = VX_SampleCall<Pixel>*;
template <class Pixel>
using VX_SampleAllInFunc = VX_SampleAllInCall<Pixel>*;
template <class Pixel>
using VX_SampleWeightedFunc = VX_SampleWeightedCall<Pixel>*;
template <class Pixel>
using VX_SampleSpanFunc = VX_SampleSpanCall<Pixel>*;
using VX_SampleFourFunc = VX_SampleFourCall*;
using VX_SampleFourWeightedFunc = VX_SampleFourWeightedCall*;
using VX_ComputeWeightFunc = VX_ComputeWeightCall*;

// --- samplers ------------------------------------------------------------------------------------
//
// Straight and portable ("CPlusPlus") samplers weight colour by alpha, so that a transparent
// neighbour has no effect; premultiplied samplers mix all four channels in the same way. NoClip
// samplers do not test the bounds: the caller guarantees that all four neighbours are in the world,
// also if a fraction is zero.
//
// Rounding of the bilinear samplers at the integer depths; float results are not rounded:
//
//   samplers                      precision  rounding               zero pixel if
//   straight, 8 bits              double     nearest, ties to even  alpha rounds to 0
//   straight, 16 bits             double     value + 0.5, truncated alpha < 0.5
//   ..._Straight_SSE2             single     value + 0.5, truncated alpha < 0.5, unless all four
//                                                                   alphas are equal
//   ..._Straight_4                single     value + 0.5, truncated all alphas are 0
//   portable                      single     value + 0.5, truncated alpha is 0, unless all four
//                                                                   alphas are equal
//   premultiplied, 8 bits         integer    value + 0.5, truncated never; weights in 65536ths,
//                                                                   three of them truncated
//   premultiplied, 16 bits        double     value + 0.5, truncated never
//
// At a whole position, the straight, ..._SSE2 and premultiplied integer samplers return the pixel
// unchanged. If all four pixels are equal, straight samplers return that pixel unchanged.

// The nearest pixel: column (x + 32768) >> 16, row likewise. Zero outside the world. The radii are
// ignored.
VX_API VX_SampleCall<VX_Pixel8> VX_NNSample;
VX_API VX_SampleCall<VX_Pixel16> VX_NNSample16;
VX_API VX_SampleCall<VX_PixelFloat> VX_NNSampleFloat;

// Bilinear, clipped: a neighbour outside the world is a zero pixel.
VX_API VX_SampleCall<VX_Pixel8> VX_SubpixelSample_Straight;
VX_API VX_SampleCall<VX_Pixel16> VX_SubpixelSample_Straight16;
VX_API VX_SampleCall<VX_Pixel8> VX_SubpixelSample_Premul;  // integer weights on a scale of 65536
VX_API VX_SampleCall<VX_Pixel16> VX_SubpixelSample_Premul16;
VX_API VX_SampleCall<VX_PixelFloat> VX_SubpixelSample_PremulFloat;
VX_API VX_SampleCall<VX_Pixel8> VX_SubpixelCPlusPlus;
VX_API VX_SampleCall<VX_Pixel16> VX_SubpixelCPlusPlus16;
VX_API VX_SampleCall<VX_PixelFloat> VX_SubpixelCPlusPlusFloat;

// Bilinear, clipped; also reports whether all four neighbours are inside the world. At a whole
// position the integer samplers always report 0.
VX_API VX_SampleAllInCall<VX_Pixel8> VX_SubpixelSamplePlus_Straight;
VX_API VX_SampleAllInCall<VX_Pixel16> VX_SubpixelSamplePlus_Straight16;
VX_API VX_SampleAllInCall<VX_PixelFloat> VX_SubpixelSpanSampleAllInCPlusPlusFloat;

// Bilinear, unclipped. With the embedded host, the library's override table (VXp_G_OverFuncs)
// contains the ..._SSE2 function in place of VX_SubpixelSampleNoClip_Straight on every machine. The
// function needs no SSE2, and its results are rounded differently. With another host, its processor
// record decides; see U_CPU_SAMPLING in host/U.h.
VX_API VX_SampleCall<VX_Pixel8> VX_SubpixelSampleNoClip_Straight;
VX_API VX_SampleCall<VX_Pixel8> VX_SubpixelSampleNoClip_Straight_SSE2;
VX_API VX_SampleCall<VX_Pixel16> VX_SubpixelSampleNoClip_Straight16;
VX_API VX_SampleCall<VX_Pixel8> VX_SubpixelCPlusPlusNoClip;
VX_API VX_SampleCall<VX_Pixel16> VX_SubpixelCPlusPlusNoClip16;
VX_API VX_SampleCall<VX_PixelFloat> VX_SubpixelCPlusPlusNoClipFloat;

// Bilinear, unclipped, with given weights, for a translation with constant fractions.
VX_API VX_SampleWeightedCall<VX_Pixel8> VX_SubpixelSampleTranslateNoClip_Straight;
VX_API VX_SampleWeightedCall<VX_Pixel16> VX_SubpixelSampleTranslateNoClip_Straight16;
VX_API VX_SampleWeightedCall<VX_PixelFloat> VX_SubpixelSampleTranslateNoClipCPlusPlusFloat;

// Bilinear, unclipped, for a span of pixels.
VX_API VX_SampleSpanCall<VX_Pixel8> VX_SubpixelSpanSampleTranslateNoClip_Straight;
VX_API VX_SampleSpanCall<VX_Pixel16> VX_SubpixelSpanSampleTranslateNoClip_Straight16;
VX_API VX_SampleSpanCall<VX_Pixel8> VX_SubpixelSpanSampleCPlusPlus;
VX_API VX_SampleSpanCall<VX_Pixel16> VX_SubpixelSpanSampleCPlusPlus16;
VX_API VX_SampleSpanCall<VX_PixelFloat> VX_SubpixelSpanSampleCPlusPlusFloat;

// Bilinear, unclipped, for four positions at once, in single precision.
VX_API VX_SampleFourCall VX_SubpixelSampleNoClip_Straight_4;
VX_API VX_SampleFourWeightedCall VX_SubpixelSampleTranslateNoClip_Straight_4;

VX_API VX_ComputeWeightCall VX_SubpixelSampleComputeWeight;

// Box: the average over the footprint. In coordinates where pixel i covers [i, i + 1), the
// footprint is [x + 0.5 - x_radius, x + 0.5 + x_radius), with y likewise; radii below 0.5 count as
// 0.5. The weight of a pixel is the area of it that is covered. Pixels outside the world are zero
// and count in the total area, which is computed from the radii. Straight samplers weight colours
// by alpha. Integer results are value + 0.5 truncated, from exact sums; float sums are in double
// precision. The result is the zero pixel if an integer alpha is 0 or the float sum of alphas is 0,
// also for premultiplied samplers. The cost is proportional to the number of pixels of the world in
// the footprint.
VX_API VX_SampleCall<VX_Pixel8> VX_AreaSample_Straight;
VX_API VX_SampleCall<VX_Pixel16> VX_AreaSample_Straight16;
VX_API VX_SampleCall<VX_Pixel8> VX_AreaSample_Premul;
VX_API VX_SampleCall<VX_Pixel16> VX_AreaSample_Premul16;
VX_API VX_SampleCall<VX_PixelFloat> VX_AreaSample_PremulFloat;

// The straight box sampler as a template over the pixel type.
template <class Pixel>
VX_Err VX_AreaSample_CPlusPlus(VX_ProgressInfo* progress, VX_Fixed x, VX_Fixed y,
                               const VX_SampPB* record, Pixel* out);
extern template VX_API VX_SampleCall<VX_Pixel8> VX_AreaSample_CPlusPlus<VX_Pixel8>;
extern template VX_API VX_SampleCall<VX_Pixel16> VX_AreaSample_CPlusPlus<VX_Pixel16>;
extern template VX_API VX_SampleCall<VX_PixelFloat> VX_AreaSample_CPlusPlus<VX_PixelFloat>;

// --- sets of samplers ----------------------------------------------------------------------------

// The samplers that world transforms use for each row.
template <class Pixel>
struct VX_SamplerSet {
  VX_SampleAllInFunc<Pixel> all_in;
  VX_SampleFunc<Pixel> clipped;
  VX_SampleFunc<Pixel> box;
  VX_SampleFunc<Pixel> unclipped;
  VX_SampleWeightedFunc<Pixel> weighted;
  VX_SampleSpanFunc<Pixel> span;
};

// Returns the samplers of a depth. The integer sets are read from the override table by this call;
// the float set is fixed. Call after VX_Birth. Returns VX_Ok, or VX_ErrBadParameter for a null
// pointer.
VX_API VX_Err VX_GetSamplerSet8(VX_SamplerSet<VX_Pixel8>* out);
VX_API VX_Err VX_GetSamplerSet16(VX_SamplerSet<VX_Pixel16>* out);
VX_API VX_Err VX_GetSamplerSetFloat(VX_SamplerSet<VX_PixelFloat>* out);

// The samplers for a quality and a kind of alpha. In draft quality all three are the nearest
// sampler. In high quality, `bilinear` and `area` are for straight alpha if `mode_flags` contains
// VX_ModeFlag_Straight (1), else for premultiplied colours. VX_GetCallbackAddr returns the 8-bit
// samplers by number. Returns VX_Ok, or VX_ErrBadParameter for a null pointer.
template <class Pixel>
struct VX_SamplerBatch {
  VX_SampleFunc<Pixel> nearest, bilinear, area;
};
VX_API VX_Err VX_GetSamplerBatch8(int32_t quality, int32_t mode_flags,
                                  VX_SamplerBatch<VX_Pixel8>* out);
VX_API VX_Err VX_GetSamplerBatch16(int32_t quality, int32_t mode_flags,
                                   VX_SamplerBatch<VX_Pixel16>* out);
VX_API VX_Err VX_GetSamplerBatchFloat(int32_t quality, int32_t mode_flags,
                                      VX_SamplerBatch<VX_PixelFloat>* out);
