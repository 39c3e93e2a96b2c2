// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The generator of VX_Rand as an inline function, for loops such as dissolve.

#include <cstdint>

// Advances the state and returns a value 0..32767. The second product is added; the well-known form
// of this generator subtracts it, but the noise patterns depend on the sum.
inline uint32_t VXp_Random(uint32_t* state) {
  const uint32_t q = *state / 44488u;
  const uint32_t r = *state % 44488u;
  const uint32_t next = 48271u * r + 3399u * q;
  *state = next == 0 ? 0x7FFFFFFFu : next;
  return (*state >> 7) & 0x7FFFu;
}
