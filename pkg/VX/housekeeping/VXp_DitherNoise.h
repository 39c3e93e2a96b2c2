// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The dither noise: what conversions use of the host's table of random words, and the position of
// the next word. Only the low 15 bits of a word are used, so the table kept here is half as large,
// which leaves more of the caches to the pictures.
//
// The position moves on with every dithered conversion and wraps at the end of the table. Claims
// are atomic, so conversions may run on several threads; their pictures then depend on who came
// first.

#include <cstddef>
#include <cstdint>

#include "VX/VX_Types.h"

struct VXp_Noise {
  const uint16_t* words;  // 0..32767; null before birth and after death
  size_t size;
};

// Takes a copy of the host's table. 0, 4 without a table, or the host's error; throws without
// memory.
VX_Err VXp_LoadNoise();
void VXp_DropNoise();
VXp_Noise VXp_NoiseTable();

// The position of the first of `count` words, which are the caller's; they wrap at the table's end.
size_t VXp_ClaimNoise(size_t count);
