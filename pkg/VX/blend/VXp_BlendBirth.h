// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The built-in routines of this component that VX_OverrideSlots.def names. Routines that are
// exported are declared in public headers instead.

#include "VX/VX_Blend.h"
#include "VX/VX_OverrideTable.h"
#include "blend/VXp_CompositeRect.h"
#include "blend/VXp_RowStages.h"
#include "blend/mask/VXp_MergeMaskRow.h"

template <class Pixel>
inline constexpr VX_GetInnerBlendingSlot<Pixel> VXp_GetRowLoop =
    &VX_GetInnerBlendingFunc<Pixel, false, false>;
template <class Pixel>
inline constexpr VX_GetInnerBlendingSlot<Pixel> VXp_GetRowLoopMask =
    &VX_GetInnerBlendingFunc<Pixel, true, false>;
template <class Pixel>
inline constexpr VX_GetInnerBlendingSlot<Pixel> VXp_GetRowLoopLinear =
    &VX_GetInnerBlendingFunc<Pixel, false, true>;
template <class Pixel>
inline constexpr VX_GetInnerBlendingSlot<Pixel> VXp_GetRowLoopMaskLinear =
    &VX_GetInnerBlendingFunc<Pixel, true, true>;
