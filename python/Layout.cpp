// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Layout.h"

#include <cstring>

#include "Arguments.h"

namespace vxpy {

namespace {

// --- conversion between channel orders -----------------------------------------------------------

// The order of channels in memory.
enum class Layout { Argb, Rgba, Rgb };

template <Layout layout>
constexpr size_t kChannels = layout == Layout::Rgb ? 3 : 4;
template <Layout layout>
constexpr size_t kRed = layout == Layout::Argb ? 1 : 0;
template <Layout layout>
constexpr size_t kAlpha = layout == Layout::Argb ? 0 : 3;

Layout LayoutOf(Order order, int32_t channels) {
  if (channels == 3) return Layout::Rgb;
  return order == Order::Argb ? Layout::Argb : Layout::Rgba;
}

// Converts one row. It uses memcpy because rows of arrays may be unaligned. `full` is the alpha of
// opaque pixels.
template <class Channel, Layout kFrom, Layout kTo>
void MoveRow(const char* from, char* to, Channel full, int32_t width) {
  for (ptrdiff_t x = 0; x < width; ++x) {
    Channel s[kChannels<kFrom>], d[kChannels<kTo>];
    std::memcpy(s, from + x * static_cast<ptrdiff_t>(sizeof s), sizeof s);
    for (size_t i = 0; i < 3; ++i) d[kRed<kTo> + i] = s[kRed<kFrom> + i];
    if constexpr (kTo != Layout::Rgb) {
      d[kAlpha<kTo>] = full;
      if constexpr (kFrom != Layout::Rgb) d[kAlpha<kTo>] = s[kAlpha<kFrom>];
    }
    std::memcpy(to + x * static_cast<ptrdiff_t>(sizeof d), d, sizeof d);
  }
}

template <class Channel, Layout kFrom, Layout kTo>
void MoveRows(const Pixels& from, const Pixels& to, Channel full) {
  for (ptrdiff_t y = 0; y < from.height; ++y) {
    const char* const s = from.data + y * from.rowbytes;
    char* const d = to.data + y * to.rowbytes;
    if constexpr (kFrom == kTo) {
      std::memcpy(d, s, static_cast<size_t>(from.width) * kChannels<kFrom> * sizeof(Channel));
    } else {
      MoveRow<Channel, kFrom, kTo>(s, d, full, from.width);
    }
  }
}

// Selects MoveRow for two layouts and calls it for all rows. One of the layouts is always ARGB.
template <class Channel>
void MoveAll(const Pixels& from, Layout in, const Pixels& to, Layout out, Channel full) {
  if (out == Layout::Argb) {
    if (in == Layout::Argb) return MoveRows<Channel, Layout::Argb, Layout::Argb>(from, to, full);
    if (in == Layout::Rgba) return MoveRows<Channel, Layout::Rgba, Layout::Argb>(from, to, full);
    return MoveRows<Channel, Layout::Rgb, Layout::Argb>(from, to, full);
  }
  if (out == Layout::Rgba) return MoveRows<Channel, Layout::Argb, Layout::Rgba>(from, to, full);
  MoveRows<Channel, Layout::Argb, Layout::Rgb>(from, to, full);
}
}  // namespace

Order ParseOrder(const py::object& arg) {
  return ParseChoice("order", arg, {"rgba", "argb"}) == 0 ? Order::Rgba : Order::Argb;
}

std::string Describe(const py::array& array) {
  return "shape " + std::string(py::str(array.attr("shape"))) + ", dtype " +
         std::string(py::str(array.dtype())) + ", strides " +
         std::string(py::str(array.attr("strides")));
}
std::string Sentence(const char* name, const py::array& array, const char* rest) {
  return std::string(name) + ": " + Describe(array) + "; " + rest;
}

int32_t DepthOf(const py::array& array, const char* name) {
  if (py::isinstance<py::array_t<uint8_t>>(array)) return 8;
  if (py::isinstance<py::array_t<uint16_t>>(array)) return 16;
  if (py::isinstance<py::array_t<float>>(array)) return 32;
  throw py::type_error(
      Sentence(name, array, "pixels are uint8 (0..255), uint16 (0..32768) or float32"));
}
py::dtype TypeOf(int32_t depth) {
  return vx::visit_depth(depth, []<class Pixel> { return py::dtype::of<VX_ChannelOf<Pixel>>(); });
}
std::string FormatOf(int32_t depth) {
  return vx::visit_depth(
      depth, []<class Pixel> { return py::format_descriptor<VX_ChannelOf<Pixel>>::format(); });
}

py::array NewArray(int32_t width, int32_t height, int32_t depth) {
  return py::array(TypeOf(depth), {height, width, 4});
}

Pixels PixelsOf(const py::array& array, const char* name) {
  const int32_t depth = DepthOf(array, name);
  if (array.ndim() != 3 || (array.shape(2) != 4 && array.shape(2) != 3)) {
    throw py::value_error(
        Sentence(name, array, "a picture is height x width x 4, or x 3 (opaque)"));
  }
  const py::ssize_t height = array.shape(0), width = array.shape(1), channels = array.shape(2);
  if (height < 1 || width < 1 || height > kLargestSide || width > kLargestSide) {
    throw py::value_error(Sentence(name, array, "sides are 1 to 30000 pixels"));
  }
  const py::ssize_t item = array.itemsize(), pixel = channels * item;
  const py::ssize_t row = height > 1 ? array.strides(0) : width * pixel;
  if (array.strides(2) != item || (width > 1 && array.strides(1) != pixel) || row < width * pixel ||
      row > INT32_MAX) {
    throw py::value_error(
        Sentence(name, array,
                 "channels and pixels must be contiguous in memory, and rows must "
                 "have increasing addresses; numpy.ascontiguousarray makes such a copy"));
  }
  return {const_cast<char*>(static_cast<const char*>(array.data())),
          row,
          static_cast<int32_t>(width),
          static_cast<int32_t>(height),
          static_cast<int32_t>(channels),
          depth};
}

Pixels PixelsOf(const VX_World& world) {
  return {
      static_cast<char*>(world.data), world.rowbytes, world.width, world.height, 4, world.Depth()};
}

void Move(const Pixels& from, Order from_order, const Pixels& to, Order to_order) {
  const py::gil_scoped_release release;
  const Layout in = LayoutOf(from_order, from.channels), out = LayoutOf(to_order, to.channels);
  vx::visit_depth(from.depth, [&]<class Pixel> {
    MoveAll(from, in, to, out, vx::PixelTraits<Pixel>::full_scale);
  });
}
bool MayOverlap(const Pixels& p, const Pixels& q) {
  const auto a_first = reinterpret_cast<intptr_t>(p.data);
  const auto b_first = reinterpret_cast<intptr_t>(q.data);
  const intptr_t a_row = intptr_t{p.width} * p.channels * (p.depth / 8);
  const intptr_t b_row = intptr_t{q.width} * q.channels * (q.depth / 8);
  if (a_first + (p.height - 1) * p.rowbytes + a_row <= b_first) return false;
  if (b_first + (q.height - 1) * q.rowbytes + b_row <= a_first) return false;
  if (p.rowbytes != q.rowbytes) return true;
  const intptr_t stride = p.rowbytes;
  const intptr_t column = ((b_first - a_first) % stride + stride) % stride;
  return column < a_row || column + b_row > stride;
}
}  // namespace vxpy
