// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Drawing a world through matrices into another, with any transfer mode; several matrices are the
// path of a motion, and blur it.
//
// Positions. Pixel centres lie on whole numbers and there is no half-pixel shift: destination pixel
// (x, y) shows the source at the position that (x, y, 1) maps to. M_Matrix3 (host/M.h) is applied
// to row vectors. Positions are walked in steps of 1/65536 pixel from the first pixel drawn, each
// row and each column adding the same step, which is rounded once, half away from zero; so a
// perspective is drawn as the affine map at that pixel. What lies further from the source's origin
// than 16.16 fixed point reaches is transparent and does not come round again.
//
// Area. Each matrix contributes the bounds of what it makes of (0, 0) to (w, h) of the source,
// outwards to whole pixels and by one pixel more, and where that ends before the edges of an
// enlarged source have faded out, the bounds of what it makes of (-1, -1) to (w, h); cut to the
// rectangle, the destination, and the mask unless that is inverted. The area is the smallest
// rectangle around these parts. So a source that none of the matrices brings in is not drawn, even
// where it flies through between two of them. Nothing outside is drawn; the rows of dissolve count
// from the top of it, and modes that write transparent pixels write them in it.
//
// Quality. Draft takes the nearest pixel. High is bilinear, or, where the source is reduced, the
// average over each pixel's footprint. A translation alone, in draft also one of fractions, is a
// transfer of a rectangle, moved by (t + 32768) >> 16 pixels; in high quality one of whole pixels.
//
// Motion. Two matrices: 8 sub-samples a pixel in draft, 16 in high quality, along the straight way
// from the first to the last position, the last not included. n matrices: n - 1 sub-samples along
// the same way; in high quality, where the path turns or bends, one at each of the first n - 1
// matrices. The pixel is the average of its sub-samples, weighted by alpha.
//
// Outside the source is transparent, and pixels that come out transparent do not touch the
// destination (but for the modes Scale, StencilAlpha, StencilLuma and PremulOver). The two stencil
// modes clear alpha wherever the source does not reach, inside the given rectangle and out.

#include "VX/VX_Transfer.h"
#include "host/M.h"

inline constexpr int32_t VX_Transform_MaxMatrices = 257;

// Rows and blocks that a transform works in; see VX_Transfer.h.
using VX_MotionBlurScratch = VX_BlendScratch;

// The seven blocks of the motion blur, for 256 intervals. 0, or 4 with none left allocated.
VX_API VX_Err VX_AllocateMotionBlurScratch(void* (&blocks)[7]);
// Frees the blocks that are set, and clears the pointers.
VX_API void VX_DisposeMotionBlurScratch(void* (&blocks)[7]);

//   progress      may be null; gets the rows done and all rows, every few rows
//   quality       0 draft, 1 high
//   flags         not read
//   field         VX_Field_...; rows that are not drawn count in the seed of dissolve all the same
//   mode, tables  as in VX_TransferRect
//   mask          null for none; in the destination's frame, of the depth of the source
//   matrices      1..257, in time order
//   src2dst       non-zero: they map source to destination; 0: destination to source
//   dst_rect      what may be drawn to; null: the whole destination
//
// 0, also when nothing is drawn: an area clipped to nothing, a first or last matrix without an
// inverse or with numbers that are not finite, a source reduced to a line. 3 after a report for
// missing worlds, mode or matrices, their wrong number, unequal or unknown depths, the same pixels
// twice, a bad mask; 4; 5 for an unknown mode; all with the destination untouched. Or what progress
// returned, with the rows done so far drawn. Safe on several threads for destinations that do not
// overlap.
VX_API VX_Err VX_TransformWorld(VX_ProgressInfo* progress, int32_t quality, int32_t flags,
                                int32_t field, const VX_LayerDef* src,
                                const VX_CompositeModePlus* mode,
                                const VX_LinearBlendingTables* tables, const VX_TransformMask* mask,
                                const M_Matrix3* matrices, int32_t num_matrices, uint8_t src2dst,
                                const M_Rect* dst_rect, VX_LayerDef* dst);

// The routine behind VX_TransformWorld, before any replacement. A replacement gets the part of the
// rectangle that the drawing can touch.
VX_API VX_Err VX_TransformWorld_S(VX_ProgressInfo* progress, int32_t quality, int32_t flags,
                                  int32_t field, const VX_LayerDef* src,
                                  const VX_CompositeModePlus* mode,
                                  const VX_LinearBlendingTables* tables,
                                  const VX_TransformMask* mask, const M_Matrix3* matrices,
                                  int32_t num_matrices, uint8_t src2dst, const M_Rect* dst_rect,
                                  VX_LayerDef* dst);

// --- matrices from what people think in ----------------------------------------------------------

// The anchor is a point of the source that scale, skew and rotation leave where it is; then
// everything moves by the translation. Applied in the order of the fields.
struct VX_TransformParts {
  double anchor_x = 0, anchor_y = 0;  // pixels, in the source; ((w - 1) / 2, (h - 1) / 2) is the
                                      // middle
  double scale_x = 1, scale_y = 1;
  double skew_x = 0, skew_y = 0;            // tangents: x grows by skew_x y, y by skew_y x
  double rotation = 0;                      // degrees, clockwise as seen, since y runs down
  double translate_x = 0, translate_y = 0;  // pixels
};

// The matrix from source to destination. 0, or 3 for a null place.
VX_API VX_Err VX_MatrixOfParts(const VX_TransformParts* parts, M_Matrix3* out);

// `count` matrices on the way from one set of parts to another: each part in equal steps from the
// first to the last, so that a rotation sweeps an arc. 0, or 3 for null or a count below 1 (1 gives
// the matrix of `from`).
VX_API VX_Err VX_MatricesBetween(const VX_TransformParts* from, const VX_TransformParts* to,
                                 int32_t count, M_Matrix3* out);
