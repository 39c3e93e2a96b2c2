// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Linear-light tables from 256 values or a curve that the caller gives, and the reading of such
// tables.

#include <functional>

#include "VX/VX_LinearBlendingTables.h"

namespace vxref {

// Whatever the values are: 0..32768, rising or not.
VX_LinearBlendingTables TablesOf(const uint16_t (&linearize)[256], float gamma);

// `curve` takes stored 0..1 to linear 0..1 at the 256 stored values. It need not rise everywhere.
VX_LinearBlendingTables BuildTables(const std::function<double(double)>& curve, float gamma);

int64_t ByteToLinear(const VX_LinearBlendingTables& tables, int64_t c);  // to 0..32768
int64_t WordToLinear(const VX_LinearBlendingTables& tables, int64_t c);  // c 0..32768, or limited
int64_t LinearToWord(const VX_LinearBlendingTables& tables, int64_t x);
int64_t LinearToByte(const VX_LinearBlendingTables& tables, int64_t x);

// A power that keeps the sign of its base.
float SignedPower(float v, float exponent);

}  // namespace vxref
