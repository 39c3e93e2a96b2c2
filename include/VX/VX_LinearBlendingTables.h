// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Tables for blending in linear light, for one colour profile. A table is not changed after its
// creation, so any number of threads may share it. A lookup with a value above full scale uses the
// last entry; the pixel itself is not clamped.

#include <cstddef>
#include <cstdint>

struct VX_LinearBlendingTables {
  uint16_t linearize[256];     // encoded 8-bit value to linear 0..32768
  uint16_t delinearize[4097];  // linear value >> 3 to encoded value 0..32768
  float gamma;                 // exponent from encoded to linear, for float pixels
  float invGamma;              // 1 / gamma
};
static_assert(sizeof(VX_LinearBlendingTables) == 8716);
static_assert(offsetof(VX_LinearBlendingTables, delinearize) == 512);
static_assert(offsetof(VX_LinearBlendingTables, gamma) == 8708);
