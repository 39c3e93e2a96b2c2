// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Compares two pictures. All four channels are compared as stored, including the colours of
// transparent pixels.

#include <cstdint>

#include "VXIO/VXIO_Picture.h"

struct VXIO_ChannelDifference {
  double largest = 0;  // largest absolute difference: 0..255, 0..32768, or float
  double mean = 0;
};

struct VXIO_Comparison {
  bool equal = false;  // all samples are equal; in float -0 equals 0 and NaN equals NaN
  VXIO_ChannelDifference alpha, red, green, blue;
  double largest = 0;  // over all channels; infinite if a value is NaN in one picture only
  double psnr = 0;     // in decibels over all channels, peak is full scale; infinite if equal
  int64_t different_pixels = 0;
  int32_t x = -1, y = -1;  // first pixel with the largest difference; -1 if equal
};

// Compares two worlds. Throws std::invalid_argument unless both have the same size and depth.
VXIO_API VXIO_Comparison VXIO_Compare(const VX_LayerDef& a, const VX_LayerDef& b);

// Returns an opaque picture of the absolute differences, of the same size and depth. Each of red,
// green and blue is the larger of the difference of that channel and the difference of alpha.
// Throws like VXIO_Compare.
VXIO_API VXIO_WorldPtr VXIO_DifferencePicture(const VX_LayerDef& a, const VX_LayerDef& b);
