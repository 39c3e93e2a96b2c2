// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Copies a rectangle of one world to a rectangle of another, scaled if their sizes differ.
//
// Rules of all calls
//
//   ref         Ignored.
//   Rectangles  Null is the whole world. A rectangle that is empty, inverted (right before left,
//               bottom above top) or completely outside its world copies nothing and returns VX_Ok.
//   Equal size  Pixels are copied unchanged. Both rectangles are clipped without shifting the
//               picture.
//   Scaling     Clipping c pixels of the destination clips c * sw / dw of the source; the step of
//               the unclipped rectangles is kept. A destination pixel whose source pixel is outside
//               the source world is not written.
//   Draft       Takes the source pixel at the integer part of left + i * sw / dw, in 16.16. Any two
//               depths; channels are converted as described in VX.h.
//   High        Samples at the centre of the destination pixel: bilinear, or the covered area if a
//               side is reduced (VX_Sampling.h). At the border of the source rectangle its
//               surroundings are mixed in; outside the world they are transparent black. Equal
//               depths only. Straight weights colours by alpha; Premul mixes all channels equally.
//   Overlap     Rows are copied from top to bottom; overlapping rows are not handled.
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
// The older name of the draft copy.
VX_API VX_Err VX_CopyBits3_LO_Straight(void* ref, const VX_LayerDef* src, VX_LayerDef* dst,
                                       const M_Rect* src_rect, const M_Rect* dst_rect);

// Scales the whole source to the whole destination, at high quality with the border pixels
// repeated: an opaque picture remains opaque at its edges, unlike with the copies above.
//   progress   may be null; polled once per row, in draft once at the end
//   quality    VX_Quality_High: both worlds have the same depth. VX_Quality_Draft: the same as
//              VX_CopyBits_Draft, any depths
// Returns VX_ErrBadParameter as above, or the result of the progress function.
VX_API VX_Err VX_ResizeWorld(VX_ProgressInfo* progress, int32_t quality, const VX_LayerDef* src,
                             VX_LayerDef* dst);

// --- host bitmaps --------------------------------------------------------------------------------
//
// Bitmaps have 32, 64 or 128 bits per pixel; others return VX_ErrBadParameter with a report.

using VX_WorldCopyFunc = VX_Err (*)(void* ref, BM_World** src, BM_World** dst,
                                    const M_Rect* src_rect, const M_Rect* dst_rect);

// Copies like VX_CopyBits_Draft. Then, if the channel orders of the bitmaps differ, reverses the
// four bytes of every destination pixel, in full rows. Bitmaps with more than 8 bits per channel
// are treated as ARGB. If the orders differ and the destination has more than 8 bits, the pixels
// are copied and VX_ErrUnsupported is returned with a report.
VX_API VX_Err VX_WorldCopy(void* ref, BM_World** src, BM_World** dst, const M_Rect* src_rect,
                           const M_Rect* dst_rect);
// Copies only, without the channel order. HQ without a suffix is straight.
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

// Describes a bitmap as a world. All fields are cleared first; world_object is null, bm_world is
// the handle. Returns VX_ErrBadParameter as above.
VX_API VX_Err VX_EffectWorldFromBMWorld(BM_World** bitmap, VX_LayerDef* out);

// --- copy with a lookup --------------------------------------------------------------------------

// Copies a rectangle of a world of any depth into an 8-bit world, row by row through the generic
// iterator.
//   at             destination position of the top left corner of `rect`
//   lookup         map `low` to 0 and `high` to full scale in each channel: (c - low) / (high -
//                  low) on the scale 0..1 in single precision, clamped. If low equals high, values
//                  below it become 0, others full scale.
//   invert_alpha   invert alpha after the lookup
//   rect           in the source; clipped on both sides
// Returns VX_ErrBadParameter with a report.
VX_API VX_Err VX_SpecialCasePixelBlit(const VX_World* src, const M_LPoint& at, bool lookup,
                                      bool invert_alpha, const VX_PixelFloat& low,
                                      const VX_PixelFloat& high, const M_Rect& rect,
                                      VX_WorldX<VX_Pixel8>* dst);
