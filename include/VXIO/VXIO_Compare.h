// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// How far apart two pictures are. All four channels count as they are stored, colours under alpha 0
// included.

#include <cstdint>

#include "VXIO/VXIO_Picture.h"

struct VXIO_ChannelDifference {
  double largest = 0;  // in the scale of the depth: 0..255, 0..32768, float
  double mean = 0;
};

struct VXIO_Comparison {
  bool equal =
      false;  // every sample is the same; in float -0 equals 0 and a non-number equals itself
  VXIO_ChannelDifference alpha, red, green, blue;
  double largest = 0;  // over all channels; infinite when a number meets a non-number
  double psnr = 0;     // decibels over all channels, full scale as peak; infinite when equal
  int64_t different_pixels = 0;
  int32_t x = -1, y = -1;  // first pixel that has the largest difference; -1 when equal
};

// Both worlds have one size and one depth; anything else throws std::invalid_argument.
VXIO_API VXIO_Comparison VXIO_Compare(const VX_LayerDef& a, const VX_LayerDef& b);

// An opaque picture of the absolute differences of the colours; where alpha differs by more than a
// colour does, that difference stands in its place. The same size and depth as the two.
VXIO_API VXIO_WorldPtr VXIO_DifferencePicture(const VX_LayerDef& a, const VX_LayerDef& b);
