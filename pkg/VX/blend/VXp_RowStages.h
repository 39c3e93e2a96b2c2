// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The stages before and after the scan of a row: matting onto a neutral colour, unmatting, and the
// union of alphas. See VX_MatteStage and VX_AlphaUnionStage.

#include "VX/VX_Blend.h"

template <class Pixel>
VX_Err VXp_MatteBlackRow(int32_t count, const Pixel* src, Pixel* dst);
template <class Pixel>
VX_Err VXp_MatteWhiteRow(int32_t count, const Pixel* src, Pixel* dst);
template <class Pixel>
VX_Err VXp_MatteGrayRow(int32_t count, const Pixel* src, Pixel* dst);
template <class Pixel>
VX_Err VXp_UnmatteBlackRow(int32_t count, const Pixel* src, Pixel* dst);
template <class Pixel>
VX_Err VXp_UnmatteWhiteRow(int32_t count, const Pixel* src, Pixel* dst);
template <class Pixel>
VX_Err VXp_UnmatteGrayRow(int32_t count, const Pixel* src, Pixel* dst);
template <class Pixel>
VX_Err VXp_AlphaUnionRow(int32_t count, const Pixel* src, VX_ChannelOf<Pixel> opacity,
                         const Pixel* mask, Pixel* dst);
