// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The integer and fractional parts of a position, and the pixels around it as they are stored.

#include <cstdint>

#include "VX/VX_Package.h"
#include "VX/VX_Sampling.h"
#include "frame/VXp_LaneTraits.h"
#include "frame/VXp_Rows.h"

// A pixel as one integer or vector with alpha in the low bits, so that integer pixels are compared
// in one operation.
template <class Pixel>
struct VXp_RawPixelOf;
template <>
struct VXp_RawPixelOf<VX_Pixel8> {
  using Type = uint32_t;
};
template <>
struct VXp_RawPixelOf<VX_Pixel16> {
  using Type = uint64_t;
};
template <>
struct VXp_RawPixelOf<VX_PixelFloat> {
  using Type = VXp_FloatLanes;
};
template <class Pixel>
using VXp_RawPixel = typename VXp_RawPixelOf<Pixel>::Type;

// A position, split into the column and row of the upper left neighbour and the fractions. Columns
// and rows are rounded down, so fractions are never negative. Columns and rows fit 16 bits, so
// adding 1 does not overflow.
struct VXp_Position {
  VXp_Position(VX_Fixed x, VX_Fixed y)
      : column(x >> 16),
        row(y >> 16),
        fx(static_cast<uint32_t>(x) & 0xFFFF),
        fy(static_cast<uint32_t>(y) & 0xFFFF) {}

  bool IsWhole() const { return (fx | fy) == 0; }

  int32_t column, row;
  uint32_t fx, fy;  // in units of 1/65536
};

// The four neighbours of a position. The digits are the column and the row.
template <class Pixel>
struct VXp_Quad {
  using Raw = VXp_RawPixel<Pixel>;

  // For integer pixels only.
  Raw Differences() const { return (p00 ^ p10) | (p00 ^ p01) | (p00 ^ p11); }
  bool SamePixels() const { return Differences() == 0; }
  bool SameAlphas() const { return static_cast<VX_ChannelOf<Pixel>>(Differences()) == 0; }

  Raw p00, p10, p01, p11;
};

// The result is false if an alpha is NaN.
template <>
inline bool VXp_Quad<VX_PixelFloat>::SameAlphas() const {
  return p00[0] == p10[0] && p00[0] == p01[0] && p00[0] == p11[0];
}

inline bool VXp_AllIn(const VX_LayerDef& src, const VXp_Position& at) {
  return at.column >= 0 && at.column + 1 < src.width && at.row >= 0 && at.row + 1 < src.height;
}

// --- loading neighbours --------------------------------------------------------------------------

// Loads pixels without tests. The caller guarantees that they are in the world.
struct VXp_Unclipped {
  template <class Pixel>
  static VXp_RawPixel<Pixel> One(const VX_LayerDef& src, int32_t column, int32_t row) {
    return VXp_Load<VXp_RawPixel<Pixel>>(VXp_PixelAddress<Pixel>(src, column, row));
  }

  // `upper` is the address of the upper left neighbour.
  template <class Pixel>
  static VXp_Quad<Pixel> Four(const char* upper, int32_t rowbytes) {
    using Raw = VXp_RawPixel<Pixel>;
    const char* lower = upper + rowbytes;
    return {VXp_Load<Raw>(upper), VXp_Load<Raw>(upper + sizeof(Pixel)), VXp_Load<Raw>(lower),
            VXp_Load<Raw>(lower + sizeof(Pixel))};
  }

  template <class Pixel>
  static VXp_Quad<Pixel> Four(const VX_LayerDef& src, const VXp_Position& at) {
    return Four<Pixel>(VXp_PixelAddress<Pixel>(src, at.column, at.row), src.rowbytes);
  }
};

// Loads pixels; a pixel outside the world is zero.
struct VXp_Clipped {
  template <class Pixel>
  static VXp_RawPixel<Pixel> One(const VX_LayerDef& src, int32_t column, int32_t row) {
    const bool inside = column >= 0 && column < src.width && row >= 0 && row < src.height;
    const void* from = inside ? VXp_PixelAddress<Pixel>(src, column, row)
                              : static_cast<const void*>(VX_G_ZeroData);
    return VXp_Load<VXp_RawPixel<Pixel>>(from);
  }

  template <class Pixel>
  static VXp_Quad<Pixel> Four(const VX_LayerDef& src, const VXp_Position& at) {
    if (VXp_AllIn(src, at)) return VXp_Unclipped::Four<Pixel>(src, at);
    return {One<Pixel>(src, at.column, at.row), One<Pixel>(src, at.column + 1, at.row),
            One<Pixel>(src, at.column, at.row + 1), One<Pixel>(src, at.column + 1, at.row + 1)};
  }
};
