// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "VX/VX_Types.h"

// Sets alpha to 0 outside `keep`; colours are unchanged. Null clears all alpha (unlike a null area
// of VX_ClearAlphaExceptRect, which clears nothing). Returns VX_ErrBadParameter, with a report, for
// a world of unknown depth, and for a world without pixels if there is something to clear.
VX_Err VXp_ClearAlphaExceptRect(VX_LayerDef* world, const M_LRect* keep);
