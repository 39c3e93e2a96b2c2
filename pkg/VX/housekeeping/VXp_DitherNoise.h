// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The dither noise: a table of random words that the host lends, and the position of the next word.
//
// The position moves on with every dithered conversion and wraps at the end of the table. Claims
// are atomic, so conversions may run on several threads; their pictures then depend on who came
// first.

#include <cstddef>
#include <cstdint>

#include "VX/VX_Types.h"

struct VXp_Noise {
  const uint32_t* words;  // null before birth
  size_t size;
};

VX_Err VXp_LoadNoise();
VXp_Noise VXp_NoiseTable();

// The position of the first of `count` words, which are the caller's; they wrap at the table's end.
size_t VXp_ClaimNoise(size_t count);
