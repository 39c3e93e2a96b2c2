// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Fills, conversions and scaled copies as a programmer writes them who needs only one of them.
// Their results are equal to the library's.

#include <cstddef>
#include <cstdint>

#include "VX/VX_Types.h"

template <class Pixel>
void NaiveFill(Pixel color, Pixel* dst, size_t count);

template <class To, class From>
void NaiveConvert(const From* src, To* dst, size_t count);

struct NaiveSize {
  int32_t width, height;
};

// Positions are stepped in 16.16 from the first pixel.
template <class Pixel>
void NaiveScale(const Pixel* src, NaiveSize from, Pixel* dst, NaiveSize to);
