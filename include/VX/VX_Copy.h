// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Copying a rectangle of one world to a rectangle of another, scaling when their sizes differ.
//
// Rules common to all calls
//
//   Rectangles  Null is the whole world. Rectangles of equal size copy pixels as they are, clipped
//               on both sides without shifting the picture. A rectangle that is empty, turned over
//               (right before left, bottom above top) or wholly off its world copies nothing and
//               gives 0. When scaling, a cut of the destination takes its share of the source
//               (c * sw / dw pixels for c), the step stays that of the uncut rectangles, and a
//               destination pixel whose source pixel lies outside the source world is left
//               untouched.
//   Draft       The source pixel at the whole part of left + i * sw / dw, in 16.16: no weights. Any
//               two depths; all four channels convert as in VX.h.
//   High        Samples at the middle of the destination pixel: bilinear, and the covered area when
//               a side is reduced (VX_Sampling.h). What lies around the source rectangle is mixed
//               in at its border, transparent black around the world. Equal depths only. Straight
//               weights colour by alpha; premultiplied mixes the four channels plainly.
//   Overlap     Rows move from top to bottom, with no care for overlap between rows.
//   Errors      0; 3 after a report for a missing world, pixels, unknown depth, high quality
//               between unequal depths, or scaling at high quality of a whole source of more than
//               32,768 pixels on a side. Nothing is written before the arguments were checked.
//   Threads     No locks, no state.
//
// `ref` is not read. Without `_Static` a call goes through the override table.

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

// Scales the whole source onto the whole destination of the same depth, at high quality, with the
// border pixels held: an opaque picture stays opaque up to its edge, where the copies above mix in
// what lies beyond it. `quality` as VX_Quality_...; draft is VX_CopyBits_Draft, between any depths.
// Progress (may be null) is polled once a row, in draft once at the end. 0, 3, or what progress
// returned.
VX_API VX_Err VX_ResizeWorld(VX_ProgressInfo* progress, int32_t quality, const VX_LayerDef* src,
                             VX_LayerDef* dst);

// --- host bitmaps --------------------------------------------------------------------------------
//
// Bitmaps of 32, 64 or 128 bits a pixel; another one is reported and gives 3.

using VX_WorldCopyFunc = VX_Err (*)(void* ref, BM_World** src, BM_World** dst,
                                    const M_Rect* src_rect, const M_Rect* dst_rect);

// The draft copy, then the channel order: where it differs between the two bitmaps, every pixel of
// the destination has its four bytes turned round, over full rows. Bitmaps deeper than 8 bits a
// channel count as ARGB; when the orders differ and the destination is deeper, the pixels are
// copied, a report is made and 5 comes back.
VX_API VX_Err VX_WorldCopy(void* ref, BM_World** src, BM_World** dst, const M_Rect* src_rect,
                           const M_Rect* dst_rect);
// The copies alone. HQ without another word is straight.
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

// Describes a bitmap. The descriptor is cleared first; world_object stays null and bm_world is the
// handle. 0, or 3.
VX_API VX_Err VX_EffectWorldFromBMWorld(BM_World** bitmap, VX_LayerDef* out);

// --- a blit with a lookup ------------------------------------------------------------------------

// Copies `rect` of a world of any depth into an 8-bit world, the rectangle's corner at `at`,
// clipped on both sides. With `lookup`, each channel maps `low` to 0 and `high` to full scale
// first: (c - low) / (high - low) on the scale 0..1 in single precision, clamped; where low equals
// high, below it gives 0 and the rest full scale. `invert_alpha` turns alpha round last. Runs
// through the generic iterator, row by row. 0, or 3 after a report.
VX_API VX_Err VX_SpecialCasePixelBlit(const VX_World* src, const M_LPoint& at, bool lookup,
                                      bool invert_alpha, const VX_PixelFloat& low,
                                      const VX_PixelFloat& high, const M_Rect& rect,
                                      VX_WorldX<VX_Pixel8>* dst);
