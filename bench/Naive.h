// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The loops that somebody would write who needs one mode and has no library: one pass over the
// pixels, the formula in the middle, everything inlined. They follow the library's roundings, so
// that both sides of a ratio do the same work and their results can be compared.

#include <cstdint>

#include "VX/VX_Transfer.h"

template <class Pixel>
struct NaiveJob {
  const Pixel* src;
  const Pixel* mask;  // null: none
  Pixel* dst;
  int32_t width;
  int32_t height;
  uint32_t seed;  // of dissolve
};

template <class Pixel>
using NaiveLoop = void (*)(const NaiveJob<Pixel>&);

// The loop of one of the six modes of the composite section.
template <class Pixel>
NaiveLoop<Pixel> NaiveLoopOf(int32_t mode, bool masked);

// The same for luminosity, which has a file of its own.
template <class Pixel>
NaiveLoop<Pixel> NaiveLuminosity(bool masked);
