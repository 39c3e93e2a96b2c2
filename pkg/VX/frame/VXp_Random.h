// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The generator of VX_Rand, where a loop can see into it. Dissolve draws its numbers from it.

#include <cstdint>

// Steps the state and gives a value 0..32767. The two products are added, where the well-known form
// subtracts them: patterns depend on it.
inline uint32_t VXp_Random(uint32_t* state) {
  const uint32_t q = *state / 44488u;
  const uint32_t r = *state % 44488u;
  const uint32_t next = 48271u * r + 3399u * q;
  *state = next == 0 ? 0x7FFFFFFFu : next;
  return (*state >> 7) & 0x7FFFu;
}
