// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Conversion between RGB and other colour spaces at the three depths. vx/_color.py passes
// contiguous arrays: n x 4 pixels in the order ARGB, and n x 3 doubles for the other space.

#include "VX/VX_ColorSpaces.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

#include "Arguments.h"
#include "Errors.h"
#include "Layout.h"
#include "Subjects.h"

namespace vxpy {

namespace {

// The type of a component of the other space: 16.16 for integer pixels, float for float pixels.
template <class Pixel>
using Component = std::conditional_t<std::is_same_v<Pixel, VX_PixelFloat>, float, VX_Fixed>;
// The type of a single value that is computed from a colour, such as its luminance.
template <class Pixel>
using Measure = std::conditional_t<std::is_same_v<Pixel, VX_PixelFloat>, float, int32_t>;

template <class Pixel>
struct Functions {
  using To = VX_Err (*)(void*, const Pixel*, Component<Pixel>*);
  using From = VX_Err (*)(void*, const Component<Pixel>*, Pixel*);
  using Read = VX_Err (*)(void*, const Pixel*, Measure<Pixel>*);
  To to[2];
  From from[2];
  Read read[4];
};

template <class Pixel>
const Functions<Pixel> kFunctions{};
template <>
const Functions<VX_Pixel8> kFunctions<VX_Pixel8>{
    {VX_RGBtoHLS_Straight, VX_RGBtoYIQ_Straight},
    {VX_HLStoRGB_Straight, VX_YIQtoRGB_Straight},
    {VX_Luminance_Straight, VX_Hue_Straight, VX_Lightness_Straight, VX_Saturation_Straight}};
template <>
const Functions<VX_Pixel16> kFunctions<VX_Pixel16>{
    {VX_RGBtoHLS_Straight16, VX_RGBtoYIQ_Straight16},
    {VX_HLStoRGB_Straight16, VX_YIQtoRGB_Straight16},
    {VX_Luminance_Straight16, VX_Hue_Straight16, VX_Lightness_Straight16,
     VX_Saturation_Straight16}};
template <>
const Functions<VX_PixelFloat> kFunctions<VX_PixelFloat>{
    {VX_RGBtoHLS_StraightFloat, VX_RGBtoYIQ_StraightFloat},
    {VX_HLStoRGB_StraightFloat, VX_YIQtoRGB_StraightFloat},
    {VX_Luminance_StraightFloat, VX_Hue_StraightFloat, VX_Lightness_StraightFloat,
     VX_Saturation_StraightFloat}};

double ToDouble(VX_Fixed value) { return value / 65536.0; }
double ToDouble(float value) { return static_cast<double>(value); }

// Converts a double to the component type. 16.16 values are clamped; NaN becomes 0.
template <class Number>
Number FromDouble(double value) {
  if constexpr (std::is_same_v<Number, float>) return static_cast<float>(value);
  if (std::isnan(value)) return 0;
  return static_cast<Number>(
      std::floor(std::clamp(value * 65536 + 0.5, -2147483648.0, 2147483647.0)));
}

template <class Pixel>
void ToAll(int32_t space, const py::array& pixels, double* out) {
  const auto* const in = static_cast<const Pixel*>(pixels.data());
  Run([&, n = pixels.shape(0)] {
    VX_Err code = VX_Ok;
    for (py::ssize_t i = 0; i < n && code == VX_Ok; ++i) {
      Component<Pixel> parts[3] = {};
      code = kFunctions<Pixel>.to[space](nullptr, in + i, parts);
      for (py::ssize_t k = 0; k < 3; ++k) out[3 * i + k] = ToDouble(parts[k]);
    }
    return code;
  });
}

template <class Pixel>
void FromAll(int32_t space, const double* in, const py::array& pixels) {
  auto* const out = static_cast<Pixel*>(const_cast<void*>(pixels.data()));
  Run([&, n = pixels.shape(0)] {
    VX_Err code = VX_Ok;
    for (py::ssize_t i = 0; i < n && code == VX_Ok; ++i) {
      Component<Pixel> parts[3];
      for (py::ssize_t k = 0; k < 3; ++k) {
        parts[k] = FromDouble<Component<Pixel>>(in[3 * i + k]);
      }
      code = kFunctions<Pixel>.from[space](nullptr, parts, out + i);
    }
    return code;
  });
}

template <class Pixel>
py::array ReadAll(int32_t what, const py::array& pixels) {
  const auto* const in = static_cast<const Pixel*>(pixels.data());
  py::array_t<Measure<Pixel>> out(pixels.shape(0));
  Measure<Pixel>* const numbers = out.mutable_data();
  Run([&, n = pixels.shape(0)] {
    VX_Err code = VX_Ok;
    for (py::ssize_t i = 0; i < n && code == VX_Ok; ++i) {
      code = kFunctions<Pixel>.read[what](nullptr, in + i, numbers + i);
    }
    return code;
  });
  return out;
}

int32_t ParseSpace(const py::object& word) { return ParseChoice("space", word, {"hls", "yiq"}); }

py::array ToSpace(const py::object& space_arg, const py::array& pixels) {
  const int32_t space = ParseSpace(space_arg);
  py::array_t<double> out({pixels.shape(0), py::ssize_t{3}});
  vx::visit_depth(DepthOf(pixels, "color"),
                  [&]<class Pixel> { ToAll<Pixel>(space, pixels, out.mutable_data()); });
  return out;
}

// Converts components of a colour space to `pixels`, which become opaque.
void FromSpace(const py::object& space_arg, const py::array_t<double>& parts,
               const py::array& pixels) {
  const int32_t space = ParseSpace(space_arg);
  vx::visit_depth(DepthOf(pixels, "color"),
                  [&]<class Pixel> { FromAll<Pixel>(space, parts.data(), pixels); });
}

py::array ReadColor(const py::object& word, const py::array& pixels) {
  const int32_t what = ParseChoice("what", word, {"luminance", "hue", "lightness", "saturation"});
  return vx::visit_depth(DepthOf(pixels, "color"),
                         [&]<class Pixel> { return ReadAll<Pixel>(what, pixels); });
}

}  // namespace

void AddSpaces(py::module_& module) {
  module.def("to_space", &ToSpace);
  module.def("from_space", &FromSpace);
  module.def("read_color", &ReadColor);
}

}  // namespace vxpy
