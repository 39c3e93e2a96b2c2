// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Blurs of one dimension, a pass a call, and the blur of two dimensions made of them.
//
// A pass reads lines of the source along one direction and writes lines of the destination along a
// direction of its own, so it may transpose. Lines are independent and go through
// VX_IterateGeneric's slot: a replacement that runs several threads gives the same bytes. Worlds
// are placed by their origins: line i of the destination comes from line dst_origin + i -
// src_origin of the source, and along the line the offset is likewise. Where there is no source
// line the destination is zero.
//
// Radii are in pixels, 0 and above. Source and destination have the same depth and are different
// worlds. Straight pixels are multiplied by alpha on the way in and divided on the way out, so
// hidden colour of transparent pixels never bleeds, not even what is no number. Passes throw a
// VX_Err: 3 after a report for a world of another depth, without pixels or the same one twice, a
// radius that is negative or not finite or too large (see below), iterations below 1 or too many;
// the allocator's code; what the progress function gave. Nothing is leaked.
//
// Where columns are read or written, neighbouring lines are taken together, in up to 512 bytes of a
// row. Progress is called on thread 0 after each of its lines all the same, with the number of
// lines that all threads have done; a stop may find the rest of a bundle written. Scratch is at
// most two buffers a thread, each of one line or 512 KiB, whichever is more.

#include "VX/VX_World.h"

// Channels that are blurred, and the edge. A channel that is not blurred keeps the source's value.
enum : int32_t {
  VX_Blur_Alpha = 1,
  VX_Blur_Red = 2,
  VX_Blur_Green = 4,
  VX_Blur_Blue = 8,
  VX_Blur_AllChannels = 15,
  VX_Blur_HoldLevel = 16  // near the ends of a line divide by the weights really used
};

enum : int32_t { VX_Blur_AlongRows = 0, VX_Blur_DownColumns = 1 };

// The largest radius of a pass; beyond it the lines of any world are flat.
inline constexpr float VX_Blur_MaxRadius = 32767;

// The farthest that a repeated box may reach: iterations times the radius, rounded up. What a line
// needs of scratch grows with it.
inline constexpr int32_t VX_Blur_MaxReach = 262144;

// A weighted window of radius ceil(radius) on both sides: weights trunc(255 profile(i / (radius +
// 1))), see VX_Convolve.h. Cost grows with the radius. `force_copy` non-zero copies each line
// before its place is written; then both worlds may have the same pixels, if directions and origins
// make each line of the destination its own source.
VX_API void VX_GaussianBlur1D(VX_ProgressInfo* progress, const VX_World* src, float radius,
                              int32_t flags, int32_t src_direction, int32_t src_premultiplied,
                              int32_t dst_direction, int32_t dst_premultiplied, uint8_t force_copy,
                              VX_World* dst);

// The mean over 2 radius + 1 pixels, the outer two in part, repeated `iterations` times: at least
// once, and no more than VX_Blur_MaxReach allows. Cost does not grow with the radius.
VX_API void VX_BoxBlur1D(VX_ProgressInfo* progress, const VX_World* src, float radius,
                         int32_t iterations, int32_t flags, int32_t src_direction,
                         int32_t src_premultiplied, int32_t dst_direction,
                         int32_t dst_premultiplied, uint8_t force_copy, VX_World* dst);

// Entries of the function table that do no work: 5 at once, nothing is touched.
using VX_FastBlurFunc = VX_Err (*)(VX_ProgressInfo* progress, const VX_LayerDef* src, float radius,
                                   int32_t flags, VX_LayerDef* dst);
VX_API VX_Err VX_FastBlur_Straight(VX_ProgressInfo* progress, const VX_LayerDef* src, float radius,
                                   int32_t flags, VX_LayerDef* dst);
VX_API VX_Err VX_FastBlur_Premul(VX_ProgressInfo* progress, const VX_LayerDef* src, float radius,
                                 int32_t flags, VX_LayerDef* dst);

// --- both axes -----------------------------------------------------------------------------------

enum : int32_t { VX_BlurKind_Gaussian = 0, VX_BlurKind_Box = 1 };

struct VX_BlurSpec {
  int32_t kind;    // VX_BlurKind_...
  float radius_x;  // 0: this axis is left as it is
  float radius_y;
  int32_t iterations;  // of the box, at least 1
  int32_t flags;       // VX_Blur_...
};

// Blurs straight pixels over both axes, in bands of rows: through a premultiplied world between the
// passes, which it allocates, of some megabytes or four times as high as the blur reaches. The
// destination may be larger than the source and is placed by the origins; see VX_BlurReach.
// Progress runs over all bands. 0, 3, 4, or what progress returned; nothing is thrown. Bad
// arguments leave the destination as it is; a stop, or memory that ends midway, leaves a part of it
// blurred. The worlds share no pixels.
VX_API VX_Err VX_BlurWorld(VX_ProgressInfo* progress, const VX_LayerDef* src,
                           const VX_BlurSpec* spec, VX_LayerDef* dst);

// How far the blur spreads beyond the source on each side, in pixels.
VX_API VX_Err VX_BlurReach(const VX_BlurSpec* spec, int32_t* reach_x, int32_t* reach_y);
