// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Words, numbers, rectangles and colours as arguments. Every function throws ValueError or
// TypeError with one sentence that begins with the argument's name; so bindings take objects, and
// not what pybind11 would convert with words of its own.

#include <pybind11/pybind11.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Pictures.h"
#include "VX/VX_Transfer.h"

namespace vxpy {

// What was given, as far as it can be told in a line.
std::string Quoted(const py::handle& object);

// "screen" or its number.
int32_t ParseMode(const py::object& mode);

struct ModeName {
  int32_t number;
  const char* name;
};
const std::vector<ModeName>& Modes();

// One of a few words; gives its place in the list.
int32_t ParseChoice(const char* name, const py::object& word,
                    std::initializer_list<const char*> choices);

// "both", "even" or "odd" as VX_Field_...
int32_t ParseField(const py::object& word);
// "draft" or "high" as VX_Quality_...
int32_t ParseQuality(const py::object& word);

// 8, 16 or 32.
int32_t ParseDepth(const py::object& depth);

// Any number of double precision. What is too large for it is a ValueError.
double ParseDouble(const char* name, const py::object& number);
// A number of a range, which also keeps out what is not a number; and a whole one.
double ParseNumber(const char* name, const py::object& number, double least, double largest);
int64_t ParseWhole(const char* name, const py::handle& number, int64_t least, int64_t largest);

// Width or height of a picture, 1..30000.
int32_t ParseSide(const char* name, const py::object& side);
// True or False; other things are mistakes.
bool ParseFlag(const char* name, const py::object& flag);
// Letters of "argb" as bits from 1 on, in this order.
int32_t ParseChannels(const py::object& channels);

// (left, top, right, bottom) as the library has it; None gives none. Right and bottom are exclusive
// and must lie beyond left and top.
std::optional<M_Rect> ParseRect(const char* name, const py::object& rect);

// Two things; what they are is told in brackets.
std::pair<py::object, py::object> ParsePair(const char* name, const py::object& pair,
                                            const char* what);

// (x, y), whole numbers of 32 bits.
struct Place {
  int32_t x = 0, y = 0;
};
Place ParsePlace(const char* name, const py::object& at);
// The same in 16 bits.
M_Point ParsePoint(const char* name, const py::object& at);

// An object of a class of this module.
template <class Class>
const Class& ParseObject(const char* name, const py::handle& object) {
  if (!py::isinstance<Class>(object)) {
    throw py::type_error(std::string(name) + ": needs vx." +
                         std::string(py::str(py::type::of<Class>().attr("__name__"))) + ", not " +
                         Quoted(object));
  }
  return object.cast<const Class&>();
}

// Four numbers in an order, at the scale of a pixel: 0..255, 0..32768, any floats. Three are
// opaque.
template <class Pixel>
Pixel ParsePixel(const char* name, const py::object& pixel, Order order);
// The same, named "color", of finite numbers.
template <class Pixel>
Pixel ParseColor(const py::object& color, Order order);

}  // namespace vxpy
