// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Addresses of pixels, and unaligned loads and stores.
//
// Rows of 16-bit and float pixels may start at any byte, because callers may pass any rowbytes.
// Loads and stores use memcpy, which compiles to one instruction.

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "VX/VX_Types.h"

// Returns the address of pixel (x, y). The world must have pixels.
template <class Pixel>
char* VXp_PixelAddress(const VX_LayerDef& world, int32_t x, int32_t y) {
  return static_cast<char*>(world.data) + static_cast<ptrdiff_t>(y) * world.rowbytes +
         static_cast<ptrdiff_t>(x) * static_cast<ptrdiff_t>(sizeof(Pixel));
}

template <class T>
T VXp_Load(const void* from) {
  T value;
  std::memcpy(&value, from, sizeof value);
  return value;
}

template <class T>
void VXp_Store(void* to, const T& value) {
  std::memcpy(to, &value, sizeof value);
}
