// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Samples a picture at a grid of positions, with the sampling inline in the loop. All arithmetic is
// single precision, so the rounding of results differs from the library's.

#include <cstdint>

#include "VX/VX_Types.h"

// Column i and row j of the result are sampled at (x + i * x_step, y + j * y_step). The radii are
// half the sides of a box.
struct SampleGrid {
  VX_Fixed x, y, x_step, y_step;
  int32_t width, height;
  VX_Fixed x_radius = 32768, y_radius = 32768;
};

// The source is 0 outside. `dst` has width * height pixels.
template <class Pixel>
using NaiveSampler = void (*)(const VX_LayerDef& src, const SampleGrid& grid, Pixel* dst);

template <class Pixel>
void NaiveNearest(const VX_LayerDef& src, const SampleGrid& grid, Pixel* dst);
// Bilinear; colours are weighted by alpha.
template <class Pixel>
void NaiveStraight(const VX_LayerDef& src, const SampleGrid& grid, Pixel* dst);
// Bilinear; colours are not weighted by alpha.
template <class Pixel>
void NaivePremultiplied(const VX_LayerDef& src, const SampleGrid& grid, Pixel* dst);
// The mean over a box; colours are weighted by alpha in the first and not in the second.
template <class Pixel>
void NaiveBox(const VX_LayerDef& src, const SampleGrid& grid, Pixel* dst);
template <class Pixel>
void NaiveBoxPremultiplied(const VX_LayerDef& src, const SampleGrid& grid, Pixel* dst);
