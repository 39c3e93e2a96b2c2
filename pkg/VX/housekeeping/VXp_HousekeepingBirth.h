// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The functions of this component that VX_Birth and VX_Death use: the dither noise, and the
// built-in routines of slots that no public header declares.

#include "VX/VX_OverrideTable.h"
#include "housekeeping/VXp_DitherNoise.h"

VX_Err VX_PremulRect_S(void* ref, int32_t forward, const M_Rect* area, VX_LayerDef* world);
VX_Err VX_PremulColorRect_S(void* ref, int32_t forward, const VX_Pixel8* color, const M_Rect* area,
                            VX_LayerDef* world);
VX_Err VX_PremulColorRect16_S(void* ref, int32_t forward, const VX_Pixel16* color,
                              const M_Rect* area, VX_LayerDef* world);
VX_Err VX_PremulColorRectFloat_S(void* ref, int32_t forward, const VX_PixelFloat* color,
                                 const M_Rect* area, VX_LayerDef* world);
VX_Err VX_DepthConvertWorld_S(VX_ProgressInfo* progress, const VX_LayerDef* source,
                              const M_Rect* rect, int32_t dither, int32_t h, int32_t v,
                              VX_LayerDef* dest);
VX_Err VXp_WorldCopy_HQ_Premul(void* ref, BM_World** src, BM_World** dst, const M_Rect* src_rect,
                               const M_Rect* dst_rect);
VX_Err VX_Iterate_S(VX_ProgressInfo* progress, int32_t progress_base, int32_t progress_final,
                    const VX_LayerDef* src, const M_Rect* area, void* refcon, VX_PixelFunc function,
                    VX_LayerDef* dst);
VX_Err VX_IterateOrigin_S(VX_ProgressInfo* progress, int32_t progress_base, int32_t progress_final,
                          const VX_LayerDef* src, const M_Rect* area, const M_Point* origin,
                          void* refcon, VX_PixelFunc function, VX_LayerDef* dst);
VX_Err VX_IterateOriginAll_S(VX_ProgressInfo* progress, int32_t progress_base,
                             int32_t progress_final, const VX_LayerDef* src, const M_Rect* area,
                             const M_Point* origin, void* refcon, VX_PixelFunc function,
                             VX_LayerDef* dst);
VX_Err VX_IterateLUT_S(VX_ProgressInfo* progress, int32_t progress_base, int32_t progress_final,
                       const VX_LayerDef* src, const M_Rect* area, const uint8_t* alpha_table,
                       const uint8_t* red_table, const uint8_t* green_table,
                       const uint8_t* blue_table, VX_LayerDef* dst);
