// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Loops as a programmer writes them who needs only one mode: one pass over the pixels, with the
// formula inline. They round like the library, so that both do the same work and their results can
// be compared.

#include <cstdint>

#include "VX/VX_Transfer.h"

template <class Pixel>
struct NaiveJob {
  const Pixel* src;
  const Pixel* mask;  // null if there is none
  Pixel* dst;
  int32_t width;
  int32_t height;
  uint32_t seed;  // used by dissolve
};

template <class Pixel>
using NaiveLoop = void (*)(const NaiveJob<Pixel>&);

// Returns the loop of one of the six modes of the section "composite".
template <class Pixel>
NaiveLoop<Pixel> NaiveLoopOf(int32_t mode, bool masked);

// Returns the loop of luminosity.
template <class Pixel>
NaiveLoop<Pixel> NaiveLuminosity(bool masked);
