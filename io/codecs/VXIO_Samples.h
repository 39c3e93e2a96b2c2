// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Conversion of file samples, and orientation.

#include <cstddef>
#include <cstdint>
#include <new>

#include "VX/VX.hpp"

// Calls `work` and returns its result. Throws vx::Error (out_of_memory) if it throws
// std::bad_alloc.
template <class Work>
auto VXIOp_WithMemoryErrors(Work&& work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    throw vx::Error(vx::ErrorCode::out_of_memory);
  }
}

// Converts a file's sample to a channel, rounded to nearest. The overloads are for 8, 16 and 32
// bits.
inline uint16_t VXIOp_ChannelOfSample(uint16_t sample) {
  return static_cast<uint16_t>((sample * uint32_t{32768} + 32767) / 65535);
}
inline uint8_t VXIOp_ChannelOfSample(uint8_t sample) { return sample; }
inline float VXIOp_ChannelOfSample(float sample) { return sample; }

// The address of pixel (x, y) of the file in an upright picture is
// origin + x * step_x + y * step_y.
struct VXIOp_Placement {
  char* origin;
  ptrdiff_t step_x, step_y;
};

//   view         the upright picture
//   orientation  1..8 as in EXIF
template <class Pixel>
VXIOp_Placement VXIOp_PlacementOf(vx::View<Pixel> view, int32_t orientation) {
  bool turned = orientation >= 5;
  bool flip_x = orientation == 2 || orientation == 3 || orientation == 6 || orientation == 7;
  bool flip_y = orientation == 3 || orientation == 4 || orientation == 7 || orientation == 8;
  const auto pixel_size = static_cast<ptrdiff_t>(sizeof(Pixel));
  ptrdiff_t column = flip_x ? -pixel_size : pixel_size;
  ptrdiff_t row = flip_y ? -view.pitch() : view.pitch();
  auto* first =
      &view.row(flip_y ? view.height() - 1 : 0)[flip_x ? static_cast<size_t>(view.width()) - 1 : 0];
  char* origin = reinterpret_cast<char*>(first);
  return turned ? VXIOp_Placement{origin, row, column} : VXIOp_Placement{origin, column, row};
}
