// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once
// Shorter forms of VX_TransferRect, and the mix of two worlds. All call through slots of the
// override table.
//
// Common to all: `progress` may be null. Return VX_ErrBadParameter for null worlds or different
// depths, VX_ErrUnsupported for an unknown mode, or the result of the progress function.
// Thread-safe for destinations that do not overlap.

#include "VX/VX_Transfer.h"

// Composites a rectangle of one world over another.
//
//   src_rect  in the source; null is all of it
//   opacity   0..255; clamped
//   x, y      destination position of the top left corner of the rectangle
//   field     VX_Field_...
//   mode      VX_Xfer_...
//
// The Premul forms differ only for VX_Xfer_InFront: they expect a source whose colours are
// multiplied by alpha, and draw it with VX_Xfer_PremulOver. The Draft and Best forms give the same
// result.
VX_API VX_Err VX_CompositeRectDraft_Straight(VX_ProgressInfo* progress, const M_Rect* src_rect,
                                             int32_t opacity, const VX_LayerDef* src, int32_t x,
                                             int32_t y, int32_t field, int32_t mode,
                                             VX_LayerDef* dst);
VX_API VX_Err VX_CompositeRectDraft_Premul(VX_ProgressInfo* progress, const M_Rect* src_rect,
                                           int32_t opacity, const VX_LayerDef* src, int32_t x,
                                           int32_t y, int32_t field, int32_t mode,
                                           VX_LayerDef* dst);
VX_API VX_Err VX_CompositeRectBest_Straight(VX_ProgressInfo* progress, const M_Rect* src_rect,
                                            int32_t opacity, const VX_LayerDef* src, int32_t x,
                                            int32_t y, int32_t field, int32_t mode,
                                            VX_LayerDef* dst);
VX_API VX_Err VX_CompositeRectBest_Premul(VX_ProgressInfo* progress, const M_Rect* src_rect,
                                          int32_t opacity, const VX_LayerDef* src, int32_t x,
                                          int32_t y, int32_t field, int32_t mode, VX_LayerDef* dst);

// Mixes two worlds into a third, in the area that all three cover. The straight form weights
// colours by alpha, like VX_Xfer_MaskMix; the Premul form mixes all channels equally.
//   ratio   0 (a only) .. 65536 (b only); clamped
//   dst     may be a or b
// Progress is polled once per row.
VX_API VX_Err VX_Blend_Straight(VX_ProgressInfo* progress, const VX_LayerDef* a,
                                const VX_LayerDef* b, VX_Fixed ratio, VX_LayerDef* dst);
VX_API VX_Err VX_Blend_Premul(VX_ProgressInfo* progress, const VX_LayerDef* a, const VX_LayerDef* b,
                              VX_Fixed ratio, VX_LayerDef* dst);
