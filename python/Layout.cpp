// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Layout.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

#include "Arguments.h"

namespace vxpy {

namespace {

// --- conversion between channel orders -----------------------------------------------------------

// The order of channels in memory.
enum class Layout { Argb, Rgba, Rgb, Grey };

template <Layout layout>
constexpr size_t kChannels = layout == Layout::Grey  ? 1
                             : layout == Layout::Rgb ? 3
                                                     : 4;
template <Layout layout>
constexpr bool kOpaque = layout == Layout::Rgb || layout == Layout::Grey;
template <Layout layout>
constexpr size_t kRed = layout == Layout::Argb ? 1 : 0;
template <Layout layout>
constexpr size_t kAlpha = layout == Layout::Argb ? 0 : 3;

Layout LayoutOf(Order order, int32_t channels) {
  if (channels == 1) return Layout::Grey;
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
    for (size_t i = 0; i < 3; ++i) {
      d[kRed<kTo> + i] = s[kFrom == Layout::Grey ? 0 : kRed<kFrom> + i];
    }
    if constexpr (!kOpaque<kTo>) {
      d[kAlpha<kTo>] = full;
      if constexpr (!kOpaque<kFrom>) d[kAlpha<kTo>] = s[kAlpha<kFrom>];
    }
    std::memcpy(to + x * static_cast<ptrdiff_t>(sizeof d), d, sizeof d);
  }
}

// Copies one row with any distances between pixels and channels to contiguous memory.
template <class Channel, size_t channels>
void PackRow(const Pixels& from, const char* row, char* to) {
  for (ptrdiff_t x = 0; x < from.width; ++x) {
    for (size_t i = 0; i < channels; ++i, to += sizeof(Channel)) {
      const char* const pixel = row + x * from.pixelbytes;
      std::memcpy(to, pixel + static_cast<ptrdiff_t>(i) * from.channelbytes, sizeof(Channel));
    }
  }
}

// Returns whether `count` values are in 0..full scale. 8-bit and float values always are.
template <class Channel>
bool IsInScale(const char* values, size_t count) {
  if constexpr (std::is_same_v<Channel, uint16_t>) {
    // 0 - value, as a signed number, is positive for 32769..65535 only. SSE2 has a maximum of
    // signed 16-bit numbers, but none of unsigned ones.
    int16_t largest = 0;
    for (size_t i = 0; i < count; ++i) {
      uint16_t value;
      std::memcpy(&value, values + i * sizeof value, sizeof value);
      largest = std::max(largest, static_cast<int16_t>(-value));
    }
    return largest <= 0;
  }
  return true;
}

// Converts rows. Checks the values of each row converted to ARGB, while it is in the cache.
template <class Channel, Layout kFrom, Layout kTo>
bool MoveRows(const Pixels& from, const Pixels& to, Channel full) {
  const size_t width = static_cast<size_t>(from.width);
  std::vector<char> packed(from.IsPacked() ? 0 : width * kChannels<kFrom> * sizeof(Channel));
  bool in_scale = true;
  for (ptrdiff_t y = 0; y < from.height; ++y) {
    const char* s = from.data + y * from.rowbytes;
    char* const d = to.data + y * to.rowbytes;
    if (!packed.empty()) {
      PackRow<Channel, kChannels<kFrom>>(from, s, packed.data());
      s = packed.data();
    }
    if constexpr (kFrom == kTo) {
      std::memcpy(d, s, width * kChannels<kFrom> * sizeof(Channel));
    } else {
      MoveRow<Channel, kFrom, kTo>(s, d, full, from.width);
      if (kTo == Layout::Argb) in_scale = IsInScale<Channel>(d, width * 4) && in_scale;
    }
  }
  return in_scale;
}

// Selects MoveRows for two layouts and calls it. One of the layouts is always ARGB.
template <class Channel>
bool MoveAll(const Pixels& from, Layout in, const Pixels& to, Layout out, Channel full) {
  if (out == Layout::Rgba) return MoveRows<Channel, Layout::Argb, Layout::Rgba>(from, to, full);
  if (out == Layout::Rgb) return MoveRows<Channel, Layout::Argb, Layout::Rgb>(from, to, full);
  if (in == Layout::Argb) return MoveRows<Channel, Layout::Argb, Layout::Argb>(from, to, full);
  if (in == Layout::Rgba) return MoveRows<Channel, Layout::Rgba, Layout::Argb>(from, to, full);
  if (in == Layout::Rgb) return MoveRows<Channel, Layout::Rgb, Layout::Argb>(from, to, full);
  return MoveRows<Channel, Layout::Grey, Layout::Argb>(from, to, full);
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

Pixels InputPixelsOf(const py::array& array, const char* name) {
  const int32_t depth = DepthOf(array, name);
  const bool grey = array.ndim() == 2;
  const py::ssize_t channels = grey ? 1 : array.ndim() == 3 ? array.shape(2) : 0;
  if (!grey && channels != 3 && channels != 4) {
    throw py::value_error(Sentence(
        name, array,
        "a picture is height x width x 4, or x 3 (opaque), or height x width (opaque grey)"));
  }
  const py::ssize_t height = array.shape(0), width = array.shape(1);
  if (height < 1 || width < 1 || height > kLargestSide || width > kLargestSide) {
    throw py::value_error(Sentence(name, array, "sides are 1 to 30000 pixels"));
  }
  // Strides of dimensions of size 1 have no meaning.
  const py::ssize_t item = array.itemsize();
  const py::ssize_t channel = grey ? item : array.strides(2);
  const py::ssize_t pixel = width > 1 ? array.strides(1) : channels * item;
  return {const_cast<char*>(static_cast<const char*>(array.data())),
          height > 1 ? array.strides(0) : width * channels * item,
          static_cast<int32_t>(width),
          static_cast<int32_t>(height),
          static_cast<int32_t>(channels),
          depth,
          pixel,
          channel};
}

Pixels PixelsOf(const py::array& array, const char* name) {
  const Pixels pixels = InputPixelsOf(array, name);
  const bool out = std::string_view(name) == "out";
  if (pixels.channels == 1) {
    throw py::value_error(Sentence(
        name, array,
        out ? "the result has 4 channels; a destination is height x width x 4, or x 3"
            : "a view is height x width x 4; numpy.asarray(vx.World(array)) is a copy of this "
              "form"));
  }
  if (!pixels.IsPacked()) {
    throw py::value_error(Sentence(
        name, array,
        out ? "channels and pixels of a destination must be contiguous in memory, and rows must "
              "have increasing addresses; call without out, and copy the result to the array"
            : "the memory of this array is used, so channels and pixels must be contiguous, and "
              "rows must have increasing addresses; numpy.ascontiguousarray makes such a copy"));
  }
  return pixels;
}

Pixels PixelsOf(const VX_World& world) {
  const int32_t depth = world.Depth();
  return {static_cast<char*>(world.data),
          world.rowbytes,
          world.width,
          world.height,
          4,
          depth,
          depth / 2,
          depth / 8};
}

bool Move(const Pixels& from, Order from_order, const Pixels& to, Order to_order) {
  const py::gil_scoped_release release;
  const Layout in = LayoutOf(from_order, from.channels), out = LayoutOf(to_order, to.channels);
  return vx::visit_depth(from.depth, [&]<class Pixel> {
    return MoveAll(from, in, to, out, vx::PixelTraits<Pixel>::full_scale);
  });
}

void RequireScale(const py::array& array, const char* name) {
  if (DepthOf(array, name) != 16 || array.size() == 0) return;
  const py::ssize_t rows = array.ndim() == 3 ? array.shape(0) : 1;
  const py::ssize_t rowbytes = rows > 1 ? array.strides(0) : 0;
  const auto count = static_cast<size_t>(array.size() / rows);
  const auto* const data = static_cast<const char*>(array.data());
  bool in_scale = true;
  {
    const py::gil_scoped_release release;
    for (py::ssize_t y = 0; y < rows && in_scale; ++y) {
      in_scale = IsInScale<uint16_t>(data + y * rowbytes, count);
    }
  }
  if (!in_scale) RefuseScale(array, name);
}

void RefuseScale(const py::array& array, const char* name) {
  const std::string largest = py::str(array.attr("max")());
  throw py::value_error(std::string(name) + ": has values up to " + largest +
                        ", and pictures of uint16 are 0..32768 (white is 32768); "
                        "vx.from_uint16 converts values of 0..65535");
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
