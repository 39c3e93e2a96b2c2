// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_Numeric.h"

#include <cmath>

#include "frame/VXp_Random.h"

uint32_t VX_Rand(uint32_t* state) { return VXp_Random(state); }

double VX_Hypot(double x, double y) { return std::sqrt(x * x + y * y); }
