// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The built-in routines of the slots that the calls of VX_CompositeRect.h use. The draft and best
// slots have the same routine.

#include "VX/VX_CompositeRect.h"

VX_Err VXp_CompositeRect_Straight(VX_ProgressInfo* progress, const M_Rect* src_rect,
                                  int32_t opacity, const VX_LayerDef* src, int32_t x, int32_t y,
                                  int32_t field, int32_t mode, VX_LayerDef* dst);
VX_Err VXp_CompositeRect_Premul(VX_ProgressInfo* progress, const M_Rect* src_rect, int32_t opacity,
                                const VX_LayerDef* src, int32_t x, int32_t y, int32_t field,
                                int32_t mode, VX_LayerDef* dst);

VX_Err VXp_Blend_Straight(VX_ProgressInfo* progress, const VX_LayerDef* a, const VX_LayerDef* b,
                          VX_Fixed ratio, VX_LayerDef* dst);
VX_Err VXp_Blend_Premul(VX_ProgressInfo* progress, const VX_LayerDef* a, const VX_LayerDef* b,
                        VX_Fixed ratio, VX_LayerDef* dst);
