// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Arguments.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

namespace vxpy {

namespace {

py::sequence Items(const char* name, const py::object& object, const char* what) {
  if (PySequence_Check(object.ptr()) == 0 || PyUnicode_Check(object.ptr()) != 0) {
    throw py::type_error(std::string(name) + ": needs " + what + ", not " + Quoted(object));
  }
  return py::reinterpret_borrow<py::sequence>(object);
}

[[noreturn]] void WrongCount(const char* name, const char* what, const py::object& object) {
  throw py::value_error(std::string(name) + ": needs " + what + ", not " + Quoted(object));
}

// Converts a number to float. Values that are too large become infinite.
float AsFloat(const char* name, const py::object& number) {
  const double value = ParseDouble(name, number);
  if (std::abs(value) > std::numeric_limits<float>::max()) {
    return std::copysign(std::numeric_limits<float>::infinity(),
                         static_cast<float>(value > 0 ? 1 : -1));
  }
  return static_cast<float>(value);
}

}  // namespace

std::string Quoted(const py::handle& object) {
  constexpr size_t kLongest = 80;
  const auto text = py::reinterpret_steal<py::object>(PyObject_Repr(object.ptr()));
  if (!text) {  // fails for integers with thousands of digits
    PyErr_Clear();
    return std::string("<") + Py_TYPE(object.ptr())->tp_name + ">";
  }
  auto quoted = text.cast<std::string>();
  std::replace(quoted.begin(), quoted.end(), '\n', ' ');
  if (quoted.size() > kLongest) quoted = quoted.substr(0, kLongest) + "...";
  return quoted;
}

int32_t ParseMode(const py::object& mode) {
  if (!py::isinstance<py::str>(mode)) {
    if (PyIndex_Check(mode.ptr()) == 0) {
      throw py::type_error("mode: a name or a number of modes(), not " + Quoted(mode));
    }
    const auto number = static_cast<int32_t>(ParseWhole("mode", mode, INT32_MIN, INT32_MAX));
    if (vx::name(static_cast<vx::Mode>(number)) != nullptr) return number;
    throw py::value_error("mode: no transfer mode " + std::to_string(number));
  }
  const std::string name = py::str(mode);
  if (const auto known = vx::find_mode(name)) return static_cast<int32_t>(*known);
  std::string all;
  py::list names;
  for (const vx::ModeInfo& known : vx::modes()) {
    all += (all.empty() ? "" : ", ") + std::string(known.name);
    names.append(known.name);
  }
  for (const vx::ModeAlias& alias : vx::mode_aliases()) names.append(alias.name);
  const py::list near = py::module_::import("difflib").attr("get_close_matches")(name, names, 1);
  const std::string hint =
      near.empty() ? "" : " (did you mean " + std::string(py::str(near[0])) + "?)";
  throw py::value_error("mode: no transfer mode \"" + name + "\"" + hint + "; there are " + all);
}

int32_t ParseChoice(const char* name, const py::object& arg,
                    std::initializer_list<const char*> choices) {
  const bool is_text = py::isinstance<py::str>(arg);
  const std::string wanted = is_text ? std::string(py::str(arg)) : "";
  int32_t index = 0;
  std::string all;
  for (const char* choice : choices) {
    if (is_text && wanted == choice) return index;
    all += std::string(index == 0 ? "" : ", ") + "\"" + choice + "\"";
    ++index;
  }
  const std::string text = std::string(name) + ": one of " + all + ", not " + Quoted(arg);
  if (!is_text) throw py::type_error(text);
  throw py::value_error(text);
}

int32_t ParseField(const py::object& arg) {
  return ParseChoice("field", arg, {"both", "even", "odd"});
}

int32_t ParseQuality(const py::object& arg) {
  return ParseChoice("quality", arg, {"draft", "high"});
}

double ParseDouble(const char* name, const py::object& number) {
  const double value = PyFloat_AsDouble(number.ptr());
  if (value != -1.0 || PyErr_Occurred() == nullptr) return value;
  const bool too_large = PyErr_ExceptionMatches(PyExc_OverflowError) != 0;
  PyErr_Clear();
  if (too_large) throw py::value_error(std::string(name) + ": too large: " + Quoted(number));
  throw py::type_error(std::string(name) + ": needs a number, not " + Quoted(number));
}

double ParseNumber(const char* name, const py::object& number, double least, double largest) {
  const double value = ParseDouble(name, number);
  if (value >= least && value <= largest) return value;
  char text[128];
  std::snprintf(text, sizeof text, "%g is not within %g..%g", value, least, largest);
  throw py::value_error(std::string(name) + ": " + text);
}

int64_t ParseWhole(const char* name, const py::handle& object, int64_t least, int64_t largest) {
  const auto number = py::reinterpret_steal<py::object>(PyNumber_Index(object.ptr()));
  if (!number) {
    PyErr_Clear();
    throw py::type_error(std::string(name) + ": needs whole numbers, not " + Quoted(object));
  }
  int overflow = 0;
  const int64_t value = PyLong_AsLongLongAndOverflow(number.ptr(), &overflow);
  if (overflow != 0 || value < least || value > largest) {
    throw py::value_error(std::string(name) + ": " + Quoted(object) + " is not within " +
                          std::to_string(least) + ".." + std::to_string(largest));
  }
  return value;
}

int32_t ParseDepth(const py::object& depth) {
  const int64_t value = ParseWhole("depth", depth, 8, 32);
  if (value == 8 || value == 16 || value == 32) return static_cast<int32_t>(value);
  throw py::value_error("depth: 8, 16 or 32 bits a channel, not " + std::to_string(value));
}

int32_t ParseSide(const char* name, const py::object& side) {
  return static_cast<int32_t>(ParseWhole(name, side, 1, kLargestSide));
}

bool ParseFlag(const char* name, const py::object& flag) {
  if (PyBool_Check(flag.ptr())) return flag.ptr() == Py_True;
  const std::string type = Py_TYPE(flag.ptr())->tp_name;
  if (type == "numpy.bool_" || type == "numpy.bool") return PyObject_IsTrue(flag.ptr()) == 1;
  throw py::type_error(std::string(name) + ": True or False, not " + Quoted(flag));
}

int32_t ParseChannels(const py::object& channels) {
  constexpr char kLetters[] = "argb";
  if (!py::isinstance<py::str>(channels)) {
    throw py::type_error("channels: letters of argb, not " + Quoted(channels));
  }
  int32_t bits = 0;
  for (const char letter : std::string(py::str(channels))) {
    const char* const found = letter != 0 ? std::strchr(kLetters, letter) : nullptr;
    if (found == nullptr) {
      throw py::value_error("channels: letters of argb, not " + Quoted(channels));
    }
    bits |= 1 << (found - kLetters);
  }
  return bits;
}

std::optional<M_Rect> ParseRect(const char* name, const py::object& rect) {
  constexpr char kWhat[] = "(left, top, right, bottom)";
  if (rect.is_none()) return std::nullopt;
  const py::sequence items = Items(name, rect, kWhat);
  if (items.size() != 4) WrongCount(name, kWhat, rect);
  int16_t sides[4];
  for (size_t i = 0; i < 4; ++i) {
    sides[i] = static_cast<int16_t>(ParseWhole(name, py::object(items[i]), INT16_MIN, INT16_MAX));
  }
  if (sides[2] <= sides[0] || sides[3] <= sides[1]) {
    throw py::value_error(std::string(name) + ": right and bottom must lie beyond left and top, " +
                          Quoted(rect) + " is empty");
  }
  M_Rect result{};
  result.left = sides[0];
  result.top = sides[1];
  result.right = sides[2];
  result.bottom = sides[3];
  return result;
}

std::pair<py::object, py::object> ParsePair(const char* name, const py::object& pair,
                                            const char* what) {
  const py::sequence items = Items(name, pair, what);
  if (items.size() != 2) WrongCount(name, what, pair);
  return {items[0], items[1]};
}

Position ParsePosition(const char* name, const py::object& at) {
  const py::sequence items = Items(name, at, "(x, y)");
  if (items.size() != 2) WrongCount(name, "(x, y)", at);
  return {static_cast<int32_t>(ParseWhole(name, py::object(items[0]), INT32_MIN, INT32_MAX)),
          static_cast<int32_t>(ParseWhole(name, py::object(items[1]), INT32_MIN, INT32_MAX))};
}

M_Point ParsePoint(const char* name, const py::object& at) {
  const Position position = ParsePosition(name, at);
  M_Point point{};
  point.h = static_cast<int16_t>(ParseWhole(name, py::int_(position.x), INT16_MIN, INT16_MAX));
  point.v = static_cast<int16_t>(ParseWhole(name, py::int_(position.y), INT16_MIN, INT16_MAX));
  return point;
}

template <class Pixel>
Pixel ParsePixel(const char* name, const py::object& pixel, Order order) {
  using Channel = VX_ChannelOf<Pixel>;
  constexpr char kWhat[] = "three or four numbers";
  const py::sequence items = Items(name, pixel, kWhat);
  const size_t count = items.size();
  if (count != 3 && count != 4) WrongCount(name, kWhat, pixel);
  constexpr auto kFull = vx::PixelTraits<Pixel>::full_scale;
  Channel channels[4];
  for (size_t i = 0; i < count; ++i) {
    const py::object item = items[i];
    if constexpr (std::is_same_v<Channel, float>) {
      channels[i] = AsFloat(name, item);
    } else {
      channels[i] = static_cast<Channel>(ParseWhole(name, item, 0, int64_t{kFull}));
    }
  }
  if (count == 3) return {kFull, channels[0], channels[1], channels[2]};
  if (order == Order::Argb) return {channels[0], channels[1], channels[2], channels[3]};
  return {channels[3], channels[0], channels[1], channels[2]};
}

template <class Pixel>
Pixel ParseColor(const py::object& color, Order order) {
  const auto pixel = ParsePixel<Pixel>("color", color, order);
  if (std::isfinite(pixel.alpha) && std::isfinite(pixel.red) && std::isfinite(pixel.green) &&
      std::isfinite(pixel.blue)) {
    return pixel;
  }
  throw py::value_error("color: " + Quoted(color) + " is not finite");
}

template VX_Pixel8 ParsePixel(const char*, const py::object&, Order);
template VX_Pixel16 ParsePixel(const char*, const py::object&, Order);
template VX_PixelFloat ParsePixel(const char*, const py::object&, Order);
template VX_Pixel8 ParseColor(const py::object&, Order);
template VX_Pixel16 ParseColor(const py::object&, Order);
template VX_PixelFloat ParseColor(const py::object&, Order);

}  // namespace vxpy
