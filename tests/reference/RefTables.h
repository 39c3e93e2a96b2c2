// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Creates tables for linear light from 256 values or from a curve, and reads such tables.

#include <functional>

#include "VX/VX_LinearBlendingTables.h"

namespace vxref {

// `linearize` may have any values 0..32768, increasing or not.
VX_LinearBlendingTables TablesOf(const uint16_t (&linearize)[256], float gamma);

// `curve` maps stored 0..1 to linear 0..1 and is evaluated at 256 stored values. It may decrease.
VX_LinearBlendingTables BuildTables(const std::function<double(double)>& curve, float gamma);

int64_t ByteToLinear(const VX_LinearBlendingTables& tables,
                     int64_t c);  // c: 0..255; result: 0..32768
int64_t WordToLinear(const VX_LinearBlendingTables& tables, int64_t c);  // c: clamped to 0..32768
int64_t LinearToWord(const VX_LinearBlendingTables& tables, int64_t x);
int64_t LinearToByte(const VX_LinearBlendingTables& tables, int64_t x);

// v|^exponent with the sign of v.
float SignedPower(float v, float exponent);

}  // namespace vxref
