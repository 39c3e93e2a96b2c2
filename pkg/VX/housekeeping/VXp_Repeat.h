// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Fills memory with a repeated pixel, as fast as memset.

#include <cstddef>

// Returns the size of a pattern for pixels of `period` bytes. Larger patterns are slower, because
// the C library uses another method for long copies.
constexpr size_t VXp_PatternBytes(size_t period) { return 512 + period; }

// Writes `bytes` bytes, a multiple of `period` (2, 4, 8 or 16). `pattern` contains the pixel,
// repeated to `pattern_bytes` bytes.
void VXp_Repeat(const char* pattern, size_t pattern_bytes, size_t period, char* to, size_t bytes);
