// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The memory of rows, and tests for rows that share memory.

#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "VX/VX_Types.h"

// Rows of an area of a world or buffer.
struct VXp_RowMemory {
  const char* first;    // first byte of the first row
  ptrdiff_t row_bytes;  // from a row to the next; may be negative
  ptrdiff_t width;      // bytes that are used in a row
  int32_t rows;
};

// Returns the memory of all rows of a world whose pixels have `pixel_size` bytes.
inline VXp_RowMemory VXp_MemoryOf(const VX_LayerDef& world, size_t pixel_size) {
  return {static_cast<const char*>(world.data), world.rowbytes,
          world.width * static_cast<ptrdiff_t>(pixel_size), world.height};
}

// Returns the memory of `rows` rows of `width` pixels; `first` is the first pixel.
template <class Pixel>
VXp_RowMemory VXp_MemoryOf(const Pixel* first, ptrdiff_t row_bytes, int32_t width, int32_t rows) {
  return {reinterpret_cast<const char*>(first), row_bytes,
          width * static_cast<ptrdiff_t>(sizeof(Pixel)), rows};
}

// Returns whether two areas share bytes. Two parts of one picture may have rows that alternate in
// memory without overlapping. If the distances of rows differ or are not positive, the ranges of
// addresses decide.
bool VXp_ShareMemory(const VXp_RowMemory& a, const VXp_RowMemory& b);

// Returns whether the rows of an operation can be computed in any order: no two rows of `dst` share
// memory, and no row of `dst` shares memory with another row of one of `sources`. Row i of a source
// may be row i of `dst`.
bool VXp_RowsAreIndependent(const VXp_RowMemory& dst,
                            std::initializer_list<VXp_RowMemory> sources = {});
