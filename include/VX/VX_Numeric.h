// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Numeric helpers without state.

#include "VX/VX_Types.h"

// Advances the caller's generator state and returns bits 7..21 of the new state, a value in
// 0..32767. Any state is valid. With s the old state, q = s / 44488 and r = s mod 44488, the new
// state is 48271 r + 3399 q modulo 2^32, or 0x7FFFFFFF if that is 0. (The well-known generator with
// these constants subtracts the second product.) State 1 becomes 48271 and returns 377.
VX_API uint32_t VX_Rand(uint32_t* state);

// Returns sqrt(x x + y y), without protection against overflow.
VX_API double VX_Hypot(double x, double y);
