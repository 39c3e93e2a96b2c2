// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "GuardedWorld.h"

// A GuardedWorld that compares itself with another one. Reads outside of worlds are found by the
// random commands, whose worlds end at the end of accessible memory.
template <class Pixel>
struct EdgeWorld : GuardedWorld<Pixel> {
  EdgeWorld(int32_t width, int32_t height, int32_t padding, bool, uint32_t seed)
      : GuardedWorld<Pixel>(width, height, padding, seed) {}
  bool SameBytes(const EdgeWorld& other) const { return this->bytes == other.bytes; }
};
