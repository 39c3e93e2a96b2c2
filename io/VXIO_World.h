// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Worlds: allocation, typed rows, conversion of file samples, and orientation.

#include <cstddef>
#include <cstdint>

#include "VX/VX_World.h"
#include "VXIO/VXIO_Picture.h"

// Allocates a world. Throws the error code of VX_World::New, or VX_ErrOutOfMemory if that is null.
inline VXIO_WorldPtr VXIOp_NewWorld(int32_t width, int32_t height, int32_t depth) {
  VXIO_WorldPtr world(VX_World::New(width, height, static_cast<int16_t>(depth), 0));
  if (!world) throw VX_Err{VX_ErrOutOfMemory};
  return world;
}

// Throws `error` unless it is VX_Ok.
inline void VXIOp_Check(VX_Err error) {
  if (error != VX_Ok) throw VX_Err{error};
}

// Calls `body` with a null pointer of the world's pixel type.
template <class Body>
void VXIOp_WithPixel(const VX_LayerDef& world, Body body) {
  switch (VXp_WorldDepth(&world)) {
    case 8: body(static_cast<VX_Pixel8*>(nullptr)); break;
    case 16: body(static_cast<VX_Pixel16*>(nullptr)); break;
    default: body(static_cast<VX_PixelFloat*>(nullptr)); break;
  }
}

template <class Pixel>
Pixel* VXIOp_Row(const VX_LayerDef& world, int32_t y) {
  return reinterpret_cast<Pixel*>(static_cast<char*>(world.data) +
                                  static_cast<ptrdiff_t>(y) * world.rowbytes);
}

// The full scale of a channel.
template <class Pixel>
inline constexpr VX_ChannelOf<Pixel> VXIOp_Full = 1;
template <>
inline constexpr uint8_t VXIOp_Full<VX_Pixel8> = 255;
template <>
inline constexpr uint16_t VXIOp_Full<VX_Pixel16> = 32768;

// Converts a sample of a file, at full range, to a channel, rounded to nearest.
inline uint16_t VXIOp_ChannelOfSample(uint16_t sample) {
  return static_cast<uint16_t>((sample * uint32_t{32768} + 32767) / 65535);
}
inline uint8_t VXIOp_ChannelOfSample(uint8_t sample) { return sample; }
inline float VXIOp_ChannelOfSample(float sample) { return sample; }

// The address of pixel (x, y) of the file in an upright world is origin + x * step_x + y * step_y.
struct VXIOp_Placement {
  char* origin;
  ptrdiff_t step_x, step_y;
};

// `orientation` is 1..8 as in EXIF. The world has the size of the upright picture; pixel_size is in
// bytes.
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
