// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Draws one world into another through one matrix or several, with any transfer mode. Several
// matrices are the path of a motion and give motion blur.
//
// Positions. Pixel centres are at whole numbers; there is no half-pixel shift. Destination pixel
// (x, y) shows the source at the position that (x, y, 1) maps to. M_Matrix3 (host/M.h) is applied
// to row vectors. Positions advance from the first pixel drawn in steps of 1/65536 pixel: each row
// and each column adds a constant step, which is rounded once, half away from zero. A perspective
// is therefore drawn as the affine map at the first pixel. Positions outside the range of 16.16
// fixed point are transparent; they do not wrap.
//
// Area. Each matrix contributes the bounds of the image of the source rectangle (0, 0) to (w, h),
// rounded outwards to whole pixels and enlarged by one pixel. Where an enlarged source has not
// faded out there, the bounds of the image of (-1, -1) to (w, h) are added. The result is clipped
// to dst_rect, the destination, and the mask unless the mask is inverted. The area is the smallest
// rectangle around these parts. A source that is outside the destination at every matrix is not
// drawn, even if it crosses the destination between two of them. No pixel outside the area is
// drawn. The rows of dissolve are counted from the top of the area, and modes that write
// transparent pixels write them within it.
//
// Quality. Draft takes the nearest pixel. High is bilinear, or, if the source is reduced, the
// average over the footprint of each pixel. A translation alone (in draft quality any translation,
// in high quality one by whole pixels) is a transfer of a rectangle, moved by (t + 32768) >> 16
// pixels, with t in 65536ths.
//
// Outside the source is transparent. Pixels that come out transparent do not change the
// destination, except in the modes Scale, StencilAlpha, StencilLuma and PremulOver. The two stencil
// modes clear alpha wherever the source does not reach, inside and outside dst_rect.

#include "VX/VX_Transfer.h"
#include "host/M.h"

inline constexpr int32_t VX_Transform_MaxMatrices = 257;

// Working rows and blocks of a transform; see VX_Transfer.h.
using VX_MotionBlurScratch = VX_BlendScratch;

// Allocates the seven blocks of the motion blur, for 256 intervals. VX_Ok, or VX_ErrOutOfMemory
// with no block left allocated.
VX_API VX_Err VX_AllocateMotionBlurScratch(void* (&blocks)[7]);
// Frees the blocks that are not null and sets the pointers to null.
VX_API void VX_DisposeMotionBlurScratch(void* (&blocks)[7]);

// Draws `src` through one matrix, or along the path of several.
//
//   progress      may be null; called with the rows done and all rows, every few rows
//   quality       0 draft, 1 high
//   flags         not read
//   field         VX_Field_...; rows that are not drawn still count in the seed of dissolve
//   mode, tables  as in VX_TransferRect
//   mask          null for none; in the coordinates of the destination, of the depth of the source
//   matrices      1 to 257, in time order
//   src2dst       non-zero: the matrices map source to destination; 0: destination to source
//   dst_rect      the part of the destination that may be drawn to; null: all of it
//
// Motion: each pixel is the average of its sub-samples, weighted by alpha.
//
//   matrices  quality  path                    sub-samples of a pixel
//   2         draft    straight                8
//   2         high     straight                16
//   n > 2     draft    straight                n - 1
//   n > 2     high     straight                n - 1
//   n > 2     high     turning or bending      one at each of the first n - 1 matrices
//
// A straight path goes in equal steps from the position at the first matrix to the position at the
// last, which is not included; the matrices between them do not matter. A path turns if an axis of
// the source has another direction at the last matrix than at the first. It bends if the centre of
// the source changes its step between two matrices by 0.9 pixels or more. So a zoom, and a turn by
// 360 degrees, count as straight: a zoom passes through other positions than its matrices say, and
// a full turn is not blurred. VX_TransformMotion does not have this limit.
//
// VX_Ok, also if nothing is drawn: an area clipped to nothing, a first or last matrix that has no
// inverse or is not finite, a source reduced to a line. Errors, all with the destination unchanged:
//   VX_ErrBadParameter  after a report: a missing world, mode or matrix; a number of matrices out
//                       of range; unequal or unknown depths; a destination that shares pixels with
//                       the source; a bad mask
//   VX_ErrOutOfMemory
//   VX_ErrUnsupported   an unknown mode
// Or the code that progress returned, with the rows up to then drawn. Thread-safe for destinations
// that do not overlap.
VX_API VX_Err VX_TransformWorld(VX_ProgressInfo* progress, int32_t quality, int32_t flags,
                                int32_t field, const VX_LayerDef* src,
                                const VX_CompositeModePlus* mode,
                                const VX_LinearBlendingTables* tables, const VX_TransformMask* mask,
                                const M_Matrix3* matrices, int32_t num_matrices, uint8_t src2dst,
                                const M_Rect* dst_rect, VX_LayerDef* dst);

// The library's own routine of the slot that VX_TransformWorld calls. A replacement of the slot
// gets as dst_rect the part of the rectangle that the drawing can touch.
VX_API VX_Err VX_TransformWorld_S(VX_ProgressInfo* progress, int32_t quality, int32_t flags,
                                  int32_t field, const VX_LayerDef* src,
                                  const VX_CompositeModePlus* mode,
                                  const VX_LinearBlendingTables* tables,
                                  const VX_TransformMask* mask, const M_Matrix3* matrices,
                                  int32_t num_matrices, uint8_t src2dst, const M_Rect* dst_rect,
                                  VX_LayerDef* dst);

// Draws a motion along any path: zooms, full turns, curves. n matrices give n - 1 sub-samples of
// equal weight, one at each matrix but the last, so that the exposures of consecutive frames do not
// overlap. With one or two matrices, the picture is drawn at the first one without blur, like
// VX_TransformWorld with one matrix. The time grows with the number of sub-samples.
//
// Over an opaque destination, in front at full opacity, the result is, except for rounding, the
// mean of the drawings at the single matrices, also in draft quality. A matrix that has no inverse
// or is not finite contributes a transparent sub-sample; the area covers the sub-samples only.
//
//   matrices  1 to 257, in time order. For N sub-samples at i / N of the time that the shutter is
//             open, pass N + 1 matrices of VX_MatricesBetween, from its opening to its closing.
//
// The other arguments, the results and the errors are those of VX_TransformWorld. With three
// matrices or more, a replaced slot of VX_TransformWorld_S is not called.
//
//   VX_TransformParts opened{.scale_x = 0.2, .scale_y = 0.2}, closed;
//   M_Matrix3 path[65];
//   VX_MatricesBetween(&opened, &closed, 65, path);
//   VX_TransformMotion(nullptr, 1, VX_Field_Both, &title, &mode, nullptr, nullptr, path, 65, 1,
//                      nullptr, &frame);
VX_API VX_Err VX_TransformMotion(VX_ProgressInfo* progress, int32_t quality, int32_t field,
                                 const VX_LayerDef* src, const VX_CompositeModePlus* mode,
                                 const VX_LinearBlendingTables* tables,
                                 const VX_TransformMask* mask, const M_Matrix3* matrices,
                                 int32_t num_matrices, uint8_t src2dst, const M_Rect* dst_rect,
                                 VX_LayerDef* dst);

// --- matrices from parts -------------------------------------------------------------------------

// A transform as scale, skew, rotation and translation, applied in this order. The anchor is a
// point of the source that scale, skew and rotation leave in place.
struct VX_TransformParts {
  double anchor_x = 0, anchor_y = 0;  // pixels, in the source; ((w - 1) / 2, (h - 1) / 2) is the
                                      // middle
  double scale_x = 1, scale_y = 1;
  double skew_x = 0, skew_y = 0;            // tangents: x grows by skew_x y, y by skew_y x
  double rotation = 0;                      // degrees, clockwise as seen, since y runs down
  double translate_x = 0, translate_y = 0;  // pixels
};

// Computes the matrix from source to destination. VX_Ok, or VX_ErrBadParameter for a null pointer.
VX_API VX_Err VX_MatrixOfParts(const VX_TransformParts* parts, M_Matrix3* out);

// Computes `count` matrices between two sets of parts. Each part changes in equal steps from its
// first value to its last, so that a rotation sweeps an arc. A count of 1 gives the matrix of
// `from`. VX_Ok, or VX_ErrBadParameter for a null pointer or a count below 1.
VX_API VX_Err VX_MatricesBetween(const VX_TransformParts* from, const VX_TransformParts* to,
                                 int32_t count, M_Matrix3* out);
