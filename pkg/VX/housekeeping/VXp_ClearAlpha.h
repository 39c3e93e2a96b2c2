// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "VX/VX_Types.h"

// Sets alpha to 0 everywhere but in `keep`; colours stay. Null keeps nothing, unlike the null area
// of VX_ClearAlphaExceptRect, which keeps everything. 0, or 3 after a report for a world of unknown
// depth, or without pixels where pixels would be cleared.
VX_Err VXp_ClearAlphaExceptRect(VX_LayerDef* world, const M_LRect* keep);
