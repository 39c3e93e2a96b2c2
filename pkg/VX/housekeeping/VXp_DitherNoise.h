// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The dither noise: a copy of the host's table of random words, and the position of the next word
// to use. The copy has 16 bits per word, because only 15 bits are used and less cache is needed.
//
// Each dithered conversion advances the position, which wraps at the end of the table. The position
// is atomic, so conversions may run on several threads; their noise then depends on their order.

#include <cstddef>
#include <cstdint>

#include "VX/VX_Types.h"

struct VXp_Noise {
  const uint16_t* words;  // 0..32767 each; null before birth and after death
  size_t size;
};

// Copies the host's table. Returns VX_ErrOutOfMemory if there is no table, or the host's error.
// Throws std::bad_alloc.
VX_Err VXp_LoadNoise();
void VXp_FreeNoise();
VXp_Noise VXp_NoiseTable();

// Reserves `count` words and returns the position of the first; they wrap at the end of the table.
size_t VXp_ReserveNoise(size_t count);

// Returns the part of a reservation that was not used: its words after the first `used`. Does
// nothing if another conversion has reserved words since.
void VXp_ReturnNoise(size_t first, size_t count, size_t used);
