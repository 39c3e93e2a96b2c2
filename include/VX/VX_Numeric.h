// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Numeric helpers. They keep no state: callers with states of their own do not meet.

#include "VX/VX_Types.h"

// Steps the caller's state, any value, and gives a value 0..32767. With q = s / 44488 and r = s mod
// 44488 the new state is 48271 r + 3399 q, wrapping, or 0x7FFFFFFF when that is 0; the value is
// bits 7..21 of it. The two products are added, where the well-known generator of these constants
// subtracts them. State 1 gives 48271 and the value 377.
VX_API uint32_t VX_Rand(uint32_t* state);

// sqrt(x x + y y), with no guard against overflow.
VX_API double VX_Hypot(double x, double y);
