// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A picture read at positions in rows and columns, with the sampling written into the loop. The
// arithmetic is single precision throughout, so results differ from the library's in rounding.

#include <cstdint>

#include "VX/VX_Types.h"

// Position (x + i * x_step, y + j * y_step) for column i and row j of the result. The radii are
// half the sides of a box.
struct SampleGrid {
  VX_Fixed x, y, x_step, y_step;
  int32_t width, height;
  VX_Fixed x_radius = 32768, y_radius = 32768;
};

// Outside is zero. `dst` takes width * height pixels.
template <class Pixel>
using NaiveSampler = void (*)(const VX_LayerDef& src, const SampleGrid& grid, Pixel* dst);

template <class Pixel>
void NaiveNearest(const VX_LayerDef& src, const SampleGrid& grid, Pixel* dst);
// Bilinear; colour weighted by alpha.
template <class Pixel>
void NaiveStraight(const VX_LayerDef& src, const SampleGrid& grid, Pixel* dst);
// Bilinear; four channels mixed alike.
template <class Pixel>
void NaivePremultiplied(const VX_LayerDef& src, const SampleGrid& grid, Pixel* dst);
// The average over a box; colour weighted by alpha, and all four channels alike.
template <class Pixel>
void NaiveBox(const VX_LayerDef& src, const SampleGrid& grid, Pixel* dst);
template <class Pixel>
void NaiveBoxPremultiplied(const VX_LayerDef& src, const SampleGrid& grid, Pixel* dst);
