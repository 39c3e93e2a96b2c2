// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Parsers for arguments: names, numbers, rectangles and colours. Every function throws ValueError
// or TypeError with one sentence that begins with the argument's name. Bindings therefore take
// py::object and do not use pybind11's conversions, whose messages lack the name.

#include <pybind11/pybind11.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Pictures.h"
#include "VX/cpp/Mode.hpp"

namespace vxpy {

// Returns the argument's repr, shortened to one line, for use in an error message.
std::string Quoted(const py::handle& object);

// Returns the number of a transfer mode given by name ("screen") or by number.
int32_t ParseMode(const py::object& mode);

// Returns the index of the argument in `choices`.
int32_t ParseChoice(const char* name, const py::object& arg,
                    std::initializer_list<const char*> choices);

// Converts "both", "even" or "odd" to VX_Field_...
int32_t ParseField(const py::object& arg);
// Converts "draft" or "high" to VX_Quality_...
int32_t ParseQuality(const py::object& arg);

// Accepts 8, 16 or 32.
int32_t ParseDepth(const py::object& depth);

// Accepts any number that fits a double. Throws ValueError for larger numbers.
double ParseDouble(const char* name, const py::object& number);
// Accept a number or an integer in least..largest. NaN is refused with ValueError.
double ParseNumber(const char* name, const py::object& number, double least, double largest);
int64_t ParseWhole(const char* name, const py::handle& number, int64_t least, int64_t largest);

// Accepts the width or height of a picture, 1..30000.
int32_t ParseSide(const char* name, const py::object& side);
// Accepts True or False only.
bool ParseFlag(const char* name, const py::object& flag);
// Converts letters of "argb" to bits: a = 1, r = 2, g = 4, b = 8.
int32_t ParseChannels(const py::object& channels);

// Converts (left, top, right, bottom) to the library's rectangle; None gives no value. Right and
// bottom are exclusive and must be larger than left and top.
std::optional<M_Rect> ParseRect(const char* name, const py::object& rect);

// Accepts a sequence of two objects. `what` describes them in the error message.
std::pair<py::object, py::object> ParsePair(const char* name, const py::object& pair,
                                            const char* what);

// A position (x, y) of 32-bit integers.
struct Position {
  int32_t x = 0, y = 0;
};
Position ParsePosition(const char* name, const py::object& at);
// Accepts (x, y) as 16-bit integers.
M_Point ParsePoint(const char* name, const py::object& at);

// Returns the argument as an object of Class, a class of this module. Throws TypeError for other
// objects.
template <class Class>
const Class& ParseObject(const char* name, const py::handle& object) {
  if (!py::isinstance<Class>(object)) {
    throw py::type_error(std::string(name) + ": needs vx." +
                         std::string(py::str(py::type::of<Class>().attr("__name__"))) + ", not " +
                         Quoted(object));
  }
  return object.cast<const Class&>();
}

// Accepts four channel values in the given order and in the range of the pixel type: 0..255,
// 0..32768, or any float. With three values alpha is full scale.
template <class Pixel>
Pixel ParsePixel(const char* name, const py::object& pixel, Order order);
// Accepts a pixel as the argument "color"; float values must be finite.
template <class Pixel>
Pixel ParseColor(const py::object& color, Order order);

}  // namespace vxpy
