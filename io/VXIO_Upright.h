// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Samples of files to channels, and rows of files to places in an upright world.

#include <cstddef>
#include <cstdint>

#include "VX/VX_World.h"

inline uint16_t VXIOp_ChannelOfSample(uint16_t sample) {
  return static_cast<uint16_t>((sample * uint32_t{32768} + 32767) / 65535);
}
inline uint8_t VXIOp_ChannelOfSample(uint8_t sample) { return sample; }
inline float VXIOp_ChannelOfSample(float sample) { return sample; }

// Where pixel (x, y) of the file lands in an upright world: origin + x * step_x + y * step_y.
struct VXIOp_Placement {
  char* origin;
  ptrdiff_t step_x, step_y;
};

// `orientation` is 1..8 as in EXIF; the world has the size that the picture has upright.
inline VXIOp_Placement VXIOp_PlacementOf(const VX_LayerDef& world, int32_t orientation,
                                         ptrdiff_t pixel_size) {
  bool turned = orientation >= 5;
  bool flip_x = orientation == 2 || orientation == 3 || orientation == 6 || orientation == 7;
  bool flip_y = orientation == 3 || orientation == 4 || orientation == 7 || orientation == 8;
  ptrdiff_t column = flip_x ? -pixel_size : pixel_size;
  ptrdiff_t row = flip_y ? -ptrdiff_t{world.rowbytes} : ptrdiff_t{world.rowbytes};
  char* origin = static_cast<char*>(world.data);
  if (flip_x) origin += (world.width - 1) * pixel_size;
  if (flip_y) origin += (world.height - 1) * ptrdiff_t{world.rowbytes};
  return turned ? VXIOp_Placement{origin, row, column} : VXIOp_Placement{origin, column, row};
}
