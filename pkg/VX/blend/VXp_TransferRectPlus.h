// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// VX_TransferRect for callers inside the library that provide the row buffers.

#include "VX/VX_Transfer.h"

// Like VX_TransferRect_S. `scratch` is null, or its rows are as wide as the destination.
VX_Err VX_TransferRectPlus(VX_ProgressInfo* progress, int32_t quality, int32_t flags, int32_t field,
                           const M_Rect* rect, const VX_LayerDef* src,
                           const VX_CompositeModePlus* mode, const VX_LinearBlendingTables* tables,
                           const VX_MaskSpec* mask, const VX_BlendScratch* scratch, int32_t x,
                           int32_t y, VX_LayerDef* dst);
