// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Copies a rectangle of one world to a rectangle of another, scaled if their sizes differ.
//
// Rules of all calls. In them, sw is the width of the source rectangle and dw the width of the
// destination rectangle, both before clipping; heights are treated in the same way.
//
//   ref         Ignored.
//   Rectangles  Null is the whole world. A rectangle that is empty, inverted (right before left,
//               bottom above top) or completely outside its world copies nothing and returns VX_Ok.
//   Equal size  Pixels are copied unchanged. Both rectangles are clipped without shifting the
//               picture.
//   Scaling     If c columns of the destination rectangle are clipped, c * sw / dw columns of the
//               source rectangle are clipped too. Consecutive destination pixels are sw / dw source
//               pixels apart, also after clipping. A destination pixel is not written if its source
//               pixel is outside the source world.
//   Draft       Copies the source pixel at the integer part of left + i * sw / dw, in 16.16 fixed
//               point, to the destination column i. The depths may differ; channels are converted
//               as described in VX.h.
//   High        Samples at the centre of the destination pixel: bilinear, or the average of the
//               covered area if a side is reduced (VX_Sampling.h). Samples at the border of the
//               source rectangle include pixels outside the rectangle; outside the source world
//               they are transparent black. The depths must be equal. Straight forms weight colours
//               by alpha; Premul forms mix all channels equally.
//   Overlap     Rows are copied from top to bottom without regard to overlap: source pixels that
//               were overwritten before are read with their new values.
//   Errors      VX_ErrBadParameter with a report for a null world, null pixels, an unknown depth,
//               high quality with different depths, or high-quality scaling of a source of more
//               than 32,768 pixels on a side. The destination is then unchanged.
//   Threads     Thread-safe on distinct destinations.
//
// The forms without `_Static` use the override table.

#include "VX/VX_Types.h"
#include "VX/VX_World.h"

using VX_CopyBitsFunc = VX_Err (*)(void* ref, const VX_LayerDef* src, VX_LayerDef* dst,
                                   const M_Rect* src_rect, const M_Rect* dst_rect);

VX_API VX_Err VX_CopyBits_Draft(void* ref, const VX_LayerDef* src, VX_LayerDef* dst,
                                const M_Rect* src_rect, const M_Rect* dst_rect);
VX_API VX_Err VX_CopyBits_Draft_Static(void* ref, const VX_LayerDef* src, VX_LayerDef* dst,
                                       const M_Rect* src_rect, const M_Rect* dst_rect);
VX_API VX_Err VX_CopyBits_HQ_Straight(void* ref, const VX_LayerDef* src, VX_LayerDef* dst,
                                      const M_Rect* src_rect, const M_Rect* dst_rect);
VX_API VX_Err VX_CopyBits_HQ_Straight_Static(void* ref, const VX_LayerDef* src, VX_LayerDef* dst,
                                             const M_Rect* src_rect, const M_Rect* dst_rect);
VX_API VX_Err VX_CopyBits_HQ_Premul(void* ref, const VX_LayerDef* src, VX_LayerDef* dst,
                                    const M_Rect* src_rect, const M_Rect* dst_rect);
VX_API VX_Err VX_CopyBits_HQ_Premul_Static(void* ref, const VX_LayerDef* src, VX_LayerDef* dst,
                                           const M_Rect* src_rect, const M_Rect* dst_rect);
// The former name of VX_CopyBits_Draft.
VX_API VX_Err VX_CopyBits3_LO_Straight(void* ref, const VX_LayerDef* src, VX_LayerDef* dst,
                                       const M_Rect* src_rect, const M_Rect* dst_rect);

// Scales the whole source to the whole destination. High quality repeats the border pixels, so that
// an opaque picture remains opaque at its edges, while VX_CopyBits_HQ_... makes its edges fade.
//   progress   may be null; polled once per row, in draft once at the end
//   quality    VX_Quality_High: both worlds have the same depth. VX_Quality_Draft: like
//              VX_CopyBits_Draft, any depths
// Returns VX_Ok, VX_ErrBadParameter for the errors in the rules at the top of this header, or the
// result of the progress function.
VX_API VX_Err VX_ResizeWorld(VX_ProgressInfo* progress, int32_t quality, const VX_LayerDef* src,
                             VX_LayerDef* dst);

// --- host bitmaps --------------------------------------------------------------------------------
//
// These calls accept bitmaps of 32, 64 or 128 bits per pixel. For others they return
// VX_ErrBadParameter with a report.

using VX_WorldCopyFunc = VX_Err (*)(void* ref, BM_World** src, BM_World** dst,
                                    const M_Rect* src_rect, const M_Rect* dst_rect);

// Copies the rectangle like VX_CopyBits_Draft. If the channel orders of the bitmaps differ (ARGB
// and BGRA), the four bytes of every destination pixel are then reversed, in full rows. Bitmaps
// with more than 8 bits per channel are treated as ARGB. If the orders differ and the destination
// has more than 8 bits per channel, the pixels are copied without reversal and VX_ErrUnsupported is
// returned with a report.
VX_API VX_Err VX_WorldCopy(void* ref, BM_World** src, BM_World** dst, const M_Rect* src_rect,
                           const M_Rect* dst_rect);
// Copies the rectangle and ignores the channel orders of the bitmaps. `_HQ` without a further
// suffix expects straight alpha.
VX_API VX_Err VX_WorldCopy_Static(void* ref, BM_World** src, BM_World** dst, const M_Rect* src_rect,
                                  const M_Rect* dst_rect);
VX_API VX_Err VX_WorldCopy_HQ(void* ref, BM_World** src, BM_World** dst, const M_Rect* src_rect,
                              const M_Rect* dst_rect);
VX_API VX_Err VX_WorldCopy_HQ_Static(void* ref, BM_World** src, BM_World** dst,
                                     const M_Rect* src_rect, const M_Rect* dst_rect);
VX_API VX_Err VX_WorldCopy_HQ_Straight(void* ref, BM_World** src, BM_World** dst,
                                       const M_Rect* src_rect, const M_Rect* dst_rect);
VX_API VX_Err VX_WorldCopy_HQ_Straight_Static(void* ref, BM_World** src, BM_World** dst,
                                              const M_Rect* src_rect, const M_Rect* dst_rect);
VX_API VX_Err VX_WorldCopy_HQ_Premul(void* ref, BM_World** src, BM_World** dst,
                                     const M_Rect* src_rect, const M_Rect* dst_rect);

// Stores a description of the bitmap as a world. All fields are cleared first; world_object stays
// null, bm_world becomes the handle of the bitmap. Returns VX_ErrBadParameter with a report for
// other numbers of bits per pixel.
VX_API VX_Err VX_EffectWorldFromBMWorld(BM_World** bitmap, VX_LayerDef* out);

// --- copy with a lookup --------------------------------------------------------------------------

// Copies a rectangle of a world of any depth into an 8-bit world, row by row through the generic
// iterator.
//   at             destination position of the top left corner of `rect`
//   lookup         true: each channel c becomes (c - low) / (high - low), with all values on the
//                  scale 0..1, in single precision, clamped. If low equals high, values below it
//                  become 0, others full scale.
//   invert_alpha   true: alpha is inverted after the lookup
//   rect           in the source; clipped to the source, and its copy to the destination
// Returns VX_ErrBadParameter with a report.
VX_API VX_Err VX_SpecialCasePixelBlit(const VX_World* src, const M_LPoint& at, bool lookup,
                                      bool invert_alpha, const VX_PixelFloat& low,
                                      const VX_PixelFloat& high, const M_Rect& rect,
                                      VX_WorldX<VX_Pixel8>* dst);
