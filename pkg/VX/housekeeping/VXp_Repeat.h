// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Filling memory with a pixel as fast as memset fills it with a byte.

#include <cstddef>

// Bytes of a pattern for pixels of `period` bytes. Longer ones are slower: the C library takes
// another way for long copies.
constexpr size_t VXp_PatternBytes(size_t period) { return 512 + period; }

// Writes `bytes` bytes, whole pixels of `period` bytes (2, 4, 8 or 16). The pattern holds the pixel
// again and again.
void VXp_Repeat(const char* pattern, size_t pattern_bytes, size_t period, char* to, size_t bytes);
