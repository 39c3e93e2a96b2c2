// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// How pixels of arrays and worlds lie in memory, and how they get from one order to another.

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <string>

#include "VX/VX_World.h"

namespace vxpy {

namespace py = pybind11;

inline constexpr int32_t kLargestSide = 30000;

enum class Order { Rgba, Argb };
Order ParseOrder(const py::object& word);

// A picture's memory, as an array or a world has it.
struct Pixels {
  char* data;
  ptrdiff_t rowbytes;
  int32_t width, height, channels, depth;
};

// Depth of an array: 8, 16 or 32 by its dtype; TypeError for others, with shape, dtype and strides.
int32_t DepthOf(const py::array& array, const char* name);
// And back.
py::dtype TypeOf(int32_t depth);

// A new array of height x width x 4.
py::array NewArray(int32_t width, int32_t height, int32_t depth);

// "shape (4, 4, 2), dtype float64, strides (64, 16, 8)"
std::string Describe(const py::array& array);
// The argument's name, that, and what is wrong with it.
std::string Sentence(const char* name, const py::array& array, const char* rest);

// Checks the layout of an array, height x width x 4 or 3, and tells where its pixels lie.
Pixels PixelsOf(const py::array& array, const char* name);
Pixels PixelsOf(const VX_World& world);

// Copies pixels of one size and depth, one of the two in the library's order. Without the
// interpreter's lock.
void Move(const Pixels& from, Order from_order, const Pixels& to, Order to_order);

// Whether writing one may change the other. Crops side by side in one picture do not touch.
bool MayOverlap(const Pixels& p, const Pixels& q);

}  // namespace vxpy
