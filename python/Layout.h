// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Memory layout of arrays and worlds, and conversion between channel orders.

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <string>

#include "VX/cpp/View.hpp"

namespace vxpy {

namespace py = pybind11;

inline constexpr int32_t kLargestSide = 30000;

enum class Order { Rgba, Argb };
Order ParseOrder(const py::object& arg);

// The memory of a picture, which is an array or a world. Distances are in bytes and may be
// negative.
struct Pixels {
  char* data;
  ptrdiff_t rowbytes;
  int32_t width, height, channels, depth;  // one channel: grey
  ptrdiff_t pixelbytes, channelbytes;

  // Pixels and channels of a row are contiguous, and rows have increasing addresses.
  bool IsPacked() const {
    const ptrdiff_t pixel = ptrdiff_t{channels} * (depth / 8);
    return channelbytes == depth / 8 && pixelbytes == pixel && rowbytes >= width * pixel &&
           rowbytes <= INT32_MAX;
  }
};

// Returns the depth (8, 16 or 32) of an array. Throws TypeError for other dtypes; the message
// contains shape, dtype and strides.
int32_t DepthOf(const py::array& array, const char* name);
// Return the dtype of a depth, and its format string of the buffer protocol.
py::dtype TypeOf(int32_t depth);
std::string FormatOf(int32_t depth);

// Returns an uninitialised array of height x width x 4.
py::array NewArray(int32_t width, int32_t height, int32_t depth);

// Returns a text like "shape (4, 4, 2), dtype float64, strides (64, 16, 8)".
std::string Describe(const py::array& array);
// Returns an error message: the argument's name, its description, then `rest`.
std::string Sentence(const char* name, const py::array& array, const char* rest);

// Checks an array that is converted: height x width x 4 or x 3, or height x width (grey), with any
// strides. Returns its memory.
Pixels InputPixelsOf(const py::array& array, const char* name);
// Checks an array whose memory is used: height x width x 4 or 3, packed. Returns its memory.
Pixels PixelsOf(const py::array& array, const char* name);
Pixels PixelsOf(const VX_World& world);

// Copies pixels between pictures of equal size and depth, without the interpreter's lock. At least
// one of the two must be packed and in the order ARGB; only `from` may be grey. Returns false if
// the channel order was converted to ARGB and a value is above full scale (16 bits only).
bool Move(const Pixels& from, Order from_order, const Pixels& to, Order to_order);

// Throws ValueError for an array of uint16 with values above 32768. The array is packed, or a
// contiguous array of any shape.
void RequireScale(const py::array& array, const char* name);
// Throws the error of RequireScale.
[[noreturn]] void RefuseScale(const py::array& array, const char* name);

// Returns true if the pixels of the two overlap in memory. Disjoint crops of one picture do not
// overlap.
bool MayOverlap(const Pixels& p, const Pixels& q);

}  // namespace vxpy
