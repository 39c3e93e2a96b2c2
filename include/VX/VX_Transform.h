// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Draws one world into another through one matrix or several, with any transfer mode. Several
// matrices describe the positions of a moving source and give motion blur.
//
// Positions. Pixel centres are at whole numbers, without a shift by half a pixel. Destination pixel
// (x, y) shows the source at the position to which (x, y, 1) is mapped. M_Matrix3 (host/M.h) is
// applied to row vectors. Only the position of the first pixel drawn is computed from the matrix.
// Each row and each column adds a constant step in units of 1/65536 pixel, which is rounded once,
// half away from zero. A perspective is therefore drawn as the affine map at the first pixel.
// Positions outside the range of 16.16 fixed point are transparent; they do not wrap. An affine
// matrix (m[2] and m[5] are 0) is divided by m[8] first, if that is not 0.
//
// Area. Each matrix contributes two bounds: those of the image of the source rectangle (0, 0) to
// (w, h), rounded outwards to whole pixels and enlarged by one pixel, and those of the image of
// (-1, -1) to (w, h), rounded outwards, over which the edges of an enlarged source fade out. Their
// union is clipped to dst_rect, the destination, and the mask unless the mask is inverted. The area
// is the smallest rectangle around the clipped bounds of all matrices. A source that is outside the
// destination at every matrix is not drawn, even if it crosses the destination between two of them.
// No pixel outside the area is drawn. Dissolve counts its rows from the top of the area. Modes that
// write transparent pixels write them within the area.
//
// Quality. Draft uses the nearest pixel. High is bilinear, or, if the source is reduced, the
// average over the footprint of each pixel. A pure translation is drawn like VX_TransferRect, moved
// by (t + 32768) >> 16 pixels, with t in 65536ths; in high quality this applies only to
// translations by whole pixels. In high quality pixels are also copied, at all depths, if the steps
// and the first position are those of a quarter turn, a mirror, a whole translation or a
// combination of these. For a motion, this must be so at every sub-sample. If a slot of the
// samplers that it uses was replaced, the transform calls the samplers instead.
//
// Outside. The source is transparent outside its rectangle. Pixels whose sample is transparent do
// not change the destination, except in the modes Scale, StencilAlpha, StencilLuma and PremulOver.
// The two stencil modes set alpha to 0 in all pixels that the source does not cover, inside and
// outside dst_rect.

#include "VX/VX_Transfer.h"
#include "host/M.h"

inline constexpr int32_t VX_Transform_MaxMatrices = 257;

// Row buffers and memory blocks of a transform; see VX_Transfer.h.
using VX_MotionBlurScratch = VX_BlendScratch;

// Allocates the seven memory blocks of the motion blur, for 256 matrices. Returns VX_Ok, or
// VX_ErrOutOfMemory; all blocks are then freed.
VX_API VX_Err VX_AllocateMotionBlurScratch(void* (&blocks)[7]);
// Frees the blocks that are not null and sets the pointers to null.
VX_API void VX_DisposeMotionBlurScratch(void* (&blocks)[7]);

// Draws `src` through one matrix, or with motion blur through several.
//
//   progress      may be null; called every few rows with the number of rows done and the number of
//                 all rows
//   quality       0 draft, 1 high
//   flags         not read
//   field         VX_Field_...; rows that are not drawn still count in the seed of dissolve
//   mode, tables  as in VX_TransferRect
//   mask          null for none; positioned in the destination; its world has the depth of the
//                 source
//   matrices      1 to 257, in time order
//   src2dst       non-zero: the matrices map source to destination; 0: destination to source
//   dst_rect      the part of the destination that may be drawn to; null: all of it
//
// Motion: each pixel is the average of its sub-samples, weighted by alpha.
//
//   matrices  quality  motion                  sub-samples of a pixel
//   2         draft    straight                8
//   2         high     straight                16
//   n > 2     draft    straight                n - 1
//   n > 2     high     straight                n - 1
//   n > 2     high     turning or bending      one at each of the first n - 1 matrices
//
// In a straight motion, the sub-samples are in equal steps from the position at the first matrix to
// the position at the last, which is not included; the matrices between them are ignored. A motion
// is turning if an axis of the source has another direction at the last matrix than at the first.
// It is bending if the step of the source's centre from matrix to matrix changes by 0.9 pixels or
// more. As a consequence, a zoom counts as straight, and is drawn at other positions than those of
// its inner matrices. A turn by 360 degrees counts as straight too, and is not blurred.
// VX_TransformMotion does not have these limits.
//
// Returns VX_Ok, also if nothing is drawn: an empty area, a first or last matrix that has no
// inverse or is not finite, a source reduced to a line. Errors:
//   VX_ErrBadParameter  after a report: a null world, mode or matrix; a number of matrices out of
//                       range; different or unknown depths; a destination that shares pixels with
//                       the source; an invalid mask
//   VX_ErrOutOfMemory
//   VX_ErrUnsupported   an unknown mode
//   other               the code that progress returned; the rows done so far are drawn
// Except in the last case the destination is unchanged after an error. Thread-safe for destinations
// that do not overlap.
VX_API VX_Err VX_TransformWorld(VX_ProgressInfo* progress, int32_t quality, int32_t flags,
                                int32_t field, const VX_LayerDef* src,
                                const VX_CompositeModePlus* mode,
                                const VX_LinearBlendingTables* tables, const VX_TransformMask* mask,
                                const M_Matrix3* matrices, int32_t num_matrices, uint8_t src2dst,
                                const M_Rect* dst_rect, VX_LayerDef* dst);

// The built-in routine. VX_TransformWorld calls it through a slot of the override table. A
// replacement of the slot receives as dst_rect the part of the rectangle that can be drawn to.
VX_API VX_Err VX_TransformWorld_S(VX_ProgressInfo* progress, int32_t quality, int32_t flags,
                                  int32_t field, const VX_LayerDef* src,
                                  const VX_CompositeModePlus* mode,
                                  const VX_LinearBlendingTables* tables,
                                  const VX_TransformMask* mask, const M_Matrix3* matrices,
                                  int32_t num_matrices, uint8_t src2dst, const M_Rect* dst_rect,
                                  VX_LayerDef* dst);

// Draws any motion with blur: zooms, full turns, curves. n matrices give n - 1 sub-samples of equal
// weight, one at each matrix except the last, so that the exposures of consecutive frames do not
// overlap. With one or two matrices, the picture is drawn at the first one without blur, like
// VX_TransformWorld with one matrix. The time grows with the number of sub-samples.
//
// In mode InFront at full opacity over an opaque destination, the result is the mean of the
// pictures drawn with each single matrix, except for rounding, also in draft quality. A matrix that
// has no inverse or is not finite contributes a transparent sub-sample. The last matrix does not
// contribute to the area.
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

// A transform as scale, skew, rotation and translation, applied in this order. The anchor is the
// point of the source that scale, skew and rotation do not move.
struct VX_TransformParts {
  // The anchor in pixels of the source; ((w - 1) / 2, (h - 1) / 2) is the middle of w x h pixels.
  double anchor_x = 0, anchor_y = 0;
  double scale_x = 1, scale_y = 1;
  double skew_x = 0, skew_y = 0;            // tangents: skew_x * y is added to x, skew_y * x to y
  double rotation = 0;                      // degrees, clockwise on the screen
  double translate_x = 0, translate_y = 0;  // pixels
};

// Computes the matrix from source to destination. Returns VX_Ok, or VX_ErrBadParameter for a null
// pointer.
VX_API VX_Err VX_MatrixOfParts(const VX_TransformParts* parts, M_Matrix3* out);

// Computes `count` matrices between two sets of parts. Each part changes in equal steps from its
// first value to its last; a rotation thus moves points along an arc. A count of 1 gives the matrix
// of `from`. Returns VX_Ok, or VX_ErrBadParameter for a null pointer or a count below 1.
VX_API VX_Err VX_MatricesBetween(const VX_TransformParts* from, const VX_TransformParts* to,
                                 int32_t count, M_Matrix3* out);
