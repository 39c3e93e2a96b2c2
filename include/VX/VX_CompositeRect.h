// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once
// Short forms over the general transfer, and the mix of two worlds. All of them go through slots of
// the override table.
//
// Common to all: `progress` may be null. 0; 3 for null worlds or unequal depths; 5 for an unknown
// mode; or what progress returned. Safe on several threads for destinations that do not overlap.

#include "VX/VX_Transfer.h"

// Composites a rectangle of one world over another; null is all of it.
//
//   opacity  0..255, held in that range
//   x, y     destination position of the rectangle's corner
//   field    VX_Field_...
//   mode     VX_Xfer_...
//
// The premultiplied forms take sources whose colour is already multiplied by alpha: for
// VX_Xfer_InFront they use VX_Xfer_PremulOver; other modes are as in the straight forms. Draft and
// best draw alike.
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

// Mixes two worlds into a third, over the part that all three cover: ratio 0 gives a, 65536 gives
// b, and values outside are held. The straight form weights colours by alpha, as VX_Xfer_MaskMix
// does; the premultiplied one mixes every channel alike. The destination may be a or b. Progress is
// polled once a row.
VX_API VX_Err VX_Blend_Straight(VX_ProgressInfo* progress, const VX_LayerDef* a,
                                const VX_LayerDef* b, VX_Fixed ratio, VX_LayerDef* dst);
VX_API VX_Err VX_Blend_Premul(VX_ProgressInfo* progress, const VX_LayerDef* a, const VX_LayerDef* b,
                              VX_Fixed ratio, VX_LayerDef* dst);
