// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// See VXp_FusedRow.h.

#include "VX/VX_Blend.h"

template <class Pixel>
using VXp_FusedRowFunc = void (*)(int32_t count, const VX_BlendingMode<Pixel>& mode,
                                  const Pixel* src, const Pixel* mask, Pixel* dst);

// Returns the function that runs all stages of the descriptor in one pass; null if there is none,
// because the mode has one stage only, a stage was replaced or the blend is in linear light.
// `masked` says whether the rows have a mask.
template <class Pixel>
VXp_FusedRowFunc<Pixel> VXp_FindFusedRow(const VX_BlendModeDescriptor<Pixel>& descriptor,
                                         bool masked);
