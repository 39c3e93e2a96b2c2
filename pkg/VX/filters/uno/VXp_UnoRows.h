// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Rows of samples, as they stand in the override table. A count below 1 does nothing; rows may
// start at any byte. They give 0 unless told otherwise.

#include <cstdint>

#include "VX/VX_Types.h"

// v becomes v times `opacity`, which is at the depth's scale and not above full.
VX_Err VXp_UnoFadeRow8(int32_t count, uint8_t opacity, uint8_t* row);
VX_Err VXp_UnoFadeRow16(int32_t count, uint16_t opacity, uint16_t* row);
VX_Err VXp_UnoFadeRowFloat(int32_t count, float opacity, float* row);

// v becomes full scale minus v; a 16-bit sample above full scale becomes 0.
void VXp_UnoInvertRow(int32_t count, uint8_t* row);
void VXp_UnoInvertRow(int32_t count, uint16_t* row);
void VXp_UnoInvertRow(int32_t count, float* row);

// d becomes d + m (s - d). A null mask is full scale everywhere. Source and destination may be the
// same row.
VX_Err VXp_UnoTransferRow8(int32_t count, const uint8_t* src, const uint8_t* mask, uint8_t* dst);
VX_Err VXp_UnoTransferRow16(int32_t count, const uint16_t* src, const uint16_t* mask,
                            uint16_t* dst);
VX_Err VXp_UnoTransferRowFloat(int32_t count, const float* src, const float* mask, float* dst);

// Between any two depths, and inverted afterwards when `flag` is not 0. 3 after a report for an
// unknown depth.
VX_Err VXp_UnoConvertRow(int32_t count, int32_t src_depth, const void* src, int16_t flag,
                         int32_t dst_depth, void* dst);

// See VX_AccumulateUnoBuffers. Gains are from 0 on, at the scale of the source. 3 after a report
// for a mode or a pair of depths that is none.
VX_Err VXp_UnoAccumulateRow(int32_t count, int32_t mode, int32_t src_depth, const void* src,
                            int32_t gain_src, int32_t gain_dst, int32_t dst_depth, void* dst);
