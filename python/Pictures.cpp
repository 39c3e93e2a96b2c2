// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Pictures.h"

#include <cstring>

#include "Arguments.h"
#include "Errors.h"

namespace vxpy {

namespace {

constexpr py::ssize_t kLargestSide = 30000;

// A picture's memory, as an array or a world has it.
struct Pixels {
  char* data;
  ptrdiff_t rowbytes;
  int32_t width, height, channels, depth;
};

std::string Sentence(const char* name, const py::array& array, const char* rest) {
  return std::string(name) + ": " + Describe(array) + "; " + rest;
}

// Checks the layout of an array and tells where its pixels lie.
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
    throw py::value_error(Sentence(name, array,
                                   "channels and pixels must follow each other in memory and rows "
                                   "go down; numpy.ascontiguousarray makes such a copy"));
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

// --- between orders ------------------------------------------------------------------------------

// How pixels lie in memory.
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

// One row, through memcpy: rows of arrays need not be aligned. Full is the alpha of opaque pixels.
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

// One side is always in the library's order.
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

void Move(const Pixels& from, Order from_order, const Pixels& to, Order to_order) {
  const py::gil_scoped_release release;
  const Layout in = LayoutOf(from_order, from.channels), out = LayoutOf(to_order, to.channels);
  if (from.depth == 8) return MoveAll<uint8_t>(from, in, to, out, 255);
  if (from.depth == 16) return MoveAll<uint16_t>(from, in, to, out, 32768);
  MoveAll<float>(from, in, to, out, 1);
}

// Made within a call of the library: births and deaths must not cross it.
std::unique_ptr<VX_World> NewPixels(int32_t width, int32_t height, int32_t depth, uint32_t flags) {
  const Call call;
  std::unique_ptr<VX_World> world;
  Check(CodeOf([&] {
    world.reset(VX_World::New(width, height, static_cast<int16_t>(depth), flags));
    return world ? VX_Ok : VX_ErrOutOfMemory;
  }));
  return world;
}

std::unique_ptr<VX_World> ReferenceTo(const Pixels& pixels) {
  std::unique_ptr<VX_World> world;
  Check(CodeOf([&] {
    world.reset(VX_World::NewReference(pixels.data, pixels.width, pixels.height,
                                       static_cast<int16_t>(pixels.depth),
                                       static_cast<int32_t>(pixels.rowbytes)));
    return world ? VX_Ok : VX_ErrOutOfMemory;
  }));
  return world;
}

// Whether writing one may change the other. Crops side by side in one picture do not touch.
bool MayOverlap(const VX_World& a, const VX_World& b) {
  const Pixels p = PixelsOf(a), q = PixelsOf(b);
  const auto a_first = reinterpret_cast<intptr_t>(p.data);
  const auto b_first = reinterpret_cast<intptr_t>(q.data);
  const intptr_t a_row = intptr_t{p.width} * a.PixelSize();
  const intptr_t b_row = intptr_t{q.width} * b.PixelSize();
  if (a_first + (p.height - 1) * p.rowbytes + a_row <= b_first) return false;
  if (b_first + (q.height - 1) * q.rowbytes + b_row <= a_first) return false;
  if (p.rowbytes != q.rowbytes) return true;
  const intptr_t stride = p.rowbytes;
  const intptr_t column = ((b_first - a_first) % stride + stride) % stride;
  return column < a_row || column + b_row > stride;
}

py::array NewArray(int32_t width, int32_t height, int32_t depth) {
  const py::dtype type = depth == 8    ? py::dtype::of<uint8_t>()
                         : depth == 16 ? py::dtype::of<uint16_t>()
                                       : py::dtype::of<float>();
  return py::array(type, {height, width, 4});
}

void RequireWritable(const py::array& array, const char* name) {
  if (!array.writeable()) {
    throw py::value_error(Sentence(name, array, "it is read-only and cannot take a result"));
  }
}

const py::array& AsArray(const py::object& object, const char* name) {
  if (!py::isinstance<py::array>(object)) {
    throw py::type_error(std::string(name) + ": needs a NumPy array or a vx.World, not " +
                         std::string(py::str(py::type::of(object).attr("__name__"))));
  }
  return static_cast<const py::array&>(object);
}

}  // namespace

Order ParseOrder(const py::object& word) {
  return ParseChoice("order", word, {"rgba", "argb"}) == 0 ? Order::Rgba : Order::Argb;
}

std::string Describe(const py::array& array) {
  return "shape " + std::string(py::str(array.attr("shape"))) + ", dtype " +
         std::string(py::str(array.dtype())) + ", strides " +
         std::string(py::str(array.attr("strides")));
}

int32_t DepthOf(const py::array& array, const char* name) {
  if (py::isinstance<py::array_t<uint8_t>>(array)) return 8;
  if (py::isinstance<py::array_t<uint16_t>>(array)) return 16;
  if (py::isinstance<py::array_t<float>>(array)) return 32;
  throw py::type_error(
      Sentence(name, array, "pixels are uint8 (0..255), uint16 (0..32768) or float32"));
}

// --- worlds --------------------------------------------------------------------------------------

WorldPtr World::New(int32_t width, int32_t height, int32_t depth) {
  if (depth != 8 && depth != 16 && depth != 32) {
    throw py::value_error("depth: 8, 16 or 32 bits a channel, not " + std::to_string(depth));
  }
  if (width < 1 || height < 1 || width > kLargestSide || height > kLargestSide) {
    throw py::value_error("a world's sides are 1 to 30000 pixels, not " + std::to_string(width) +
                          " x " + std::to_string(height));
  }
  return std::make_shared<World>(NewPixels(width, height, depth, VX_WorldFlag_Clear), py::none(),
                                 /*writable=*/true);
}

WorldPtr World::View(const py::array& array, const char* name) {
  const Pixels pixels = PixelsOf(array, name);
  if (pixels.channels != 4) {
    throw py::value_error(Sentence(name, array, "a view needs four channels, alpha first"));
  }
  return std::make_shared<World>(ReferenceTo(pixels), array, array.writeable());
}

// --- sources -------------------------------------------------------------------------------------

Source::Source(const py::object& object, Order order, const char* name)
    : object_(object), order_(order) {
  if (py::isinstance<World>(object)) {
    is_world_ = true;
    world_ = object.cast<WorldPtr>();
    return;
  }
  const py::array& array = AsArray(object, name);
  const Pixels pixels = PixelsOf(array, name);
  if (pixels.channels == 4 && order == Order::Argb) {
    world_ = World::View(array, name);
    return;
  }
  world_ = std::make_shared<World>(NewPixels(pixels.width, pixels.height, pixels.depth, 0),
                                   py::none(), /*writable=*/true);
  Move(pixels, order, PixelsOf(*world_->get()), Order::Argb);
}

// --- targets -------------------------------------------------------------------------------------

Target Target::For(const py::object& out, Order order, bool as_world, int32_t width, int32_t height,
                   int32_t depth) {
  Target target;
  target.order_ = order;
  if (out.is_none() && as_world) {
    target.world_ = World::New(width, height, depth);
    target.result_ = py::cast(target.world_);
    return target;
  }
  if (py::isinstance<World>(out)) {
    target.world_ = out.cast<WorldPtr>();
    target.result_ = out;
    if (!target.world_->writable()) {
      throw py::value_error("out: the world views a read-only array");
    }
    const VX_World& world = *target.world();
    if (world.width != width || world.height != height || world.Depth() != depth) {
      throw py::value_error("out: needs " + std::to_string(width) + " x " + std::to_string(height) +
                            " pixels of " + std::to_string(depth) + " bits a channel");
    }
    return target;
  }
  target.result_ = out.is_none() ? NewArray(width, height, depth) : out;
  const py::array& array = AsArray(target.result_, "out");
  RequireWritable(array, "out");
  const Pixels pixels = PixelsOf(array, "out");
  if (pixels.width != width || pixels.height != height || pixels.depth != depth) {
    throw py::value_error(Sentence("out", array, "the result is ") + std::to_string(height) +
                          " x " + std::to_string(width) + " pixels of " + std::to_string(depth) +
                          " bits a channel");
  }
  if (pixels.channels == 4 && order == Order::Argb) {
    target.world_ = World::View(array, "out");
    return target;
  }
  target.world_ = std::make_shared<World>(NewPixels(width, height, depth, VX_WorldFlag_Clear),
                                          py::none(), /*writable=*/true);
  target.converts_ = true;
  return target;
}

Target Target::CopyOf(const Source& model, const py::object& out) {
  const VX_World& world = *model.world();
  Target target =
      For(out, model.order(), model.is_world(), world.width, world.height, world.Depth());
  if (target.world()->data != world.data || target.world()->rowbytes != world.rowbytes) {
    const WorldPtr from = target.Apart(model);
    Move(PixelsOf(*from->get()), Order::Argb, PixelsOf(*target.world()), Order::Argb);
  }
  return target;
}

Target Target::Sized(const Source& model, const py::object& out, int32_t width, int32_t height,
                     int32_t depth) {
  return For(out, model.order(), model.is_world(), width, height, depth).Begun(out);
}

Target Target::Sized(const py::object& out, Order order, int32_t width, int32_t height,
                     int32_t depth) {
  return For(out, order, /*as_world=*/false, width, height, depth).Begun(out);
}

Target Target::Begun(const py::object& out) {
  if (!converts_ && out.is_none() && !py::isinstance<World>(result_)) {
    world()->Clear(nullptr);
  } else if (converts_ && !out.is_none()) {
    Move(PixelsOf(AsArray(out, "out"), "out"), order_, PixelsOf(*world()), Order::Argb);
  }
  return std::move(*this);
}

WorldPtr Target::Apart(const Source& source) const {
  if (!MayOverlap(*world(), *source.world())) return source.shared();
  const VX_World& from = *source.world();
  auto copy = std::make_shared<World>(NewPixels(from.width, from.height, from.Depth(), 0),
                                      py::none(), /*writable=*/true);
  Move(PixelsOf(from), Order::Argb, PixelsOf(*copy->get()), Order::Argb);
  return copy;
}

py::object Target::Finish() {
  if (converts_) {
    Move(PixelsOf(*world()), Order::Argb, PixelsOf(AsArray(result_, "out"), "out"), order_);
  }
  return result_;
}

void RequireSameDepth(const VX_World& a, const VX_World& b, const char* a_name,
                      const char* b_name) {
  if (a.Depth() == b.Depth()) return;
  throw py::value_error(std::string(a_name) + " has " + std::to_string(a.Depth()) +
                        " bits a channel and " + b_name + " " + std::to_string(b.Depth()) +
                        "; vx.convert brings them together");
}

py::array ArrayOf(const World& world, Order order) {
  const VX_World& from = *world.get();
  py::array array = NewArray(from.width, from.height, from.Depth());
  Move(PixelsOf(from), Order::Argb, PixelsOf(array, "array"), order);
  return array;
}

// --- vx.World ------------------------------------------------------------------------------------

namespace {

WorldPtr Copied(const py::object& picture, const py::object& order) {
  const Source source(picture, ParseOrder(order), "picture");
  const VX_World& from = *source.world();
  auto world = std::make_shared<World>(NewPixels(from.width, from.height, from.Depth(), 0),
                                       py::none(), /*writable=*/true);
  Move(PixelsOf(from), Order::Argb, PixelsOf(*world->get()), Order::Argb);
  return world;
}

py::buffer_info BufferOf(World& world) {
  const Pixels p = PixelsOf(*world.get());
  const py::ssize_t item = p.depth / 8;
  const std::string format = p.depth == 8    ? py::format_descriptor<uint8_t>::format()
                             : p.depth == 16 ? py::format_descriptor<uint16_t>::format()
                                             : py::format_descriptor<float>::format();
  return py::buffer_info(p.data, item, format, 3, {p.height, p.width, 4},
                         {p.rowbytes, 4 * item, item}, /*readonly=*/!world.writable());
}

}  // namespace

void AddWorld(py::module_& module) {
  py::class_<World, WorldPtr>(
      module, "World", py::buffer_protocol(),
      R"(Pixels in the library's own order: alpha, red, green, blue, straight alpha.

World(picture, order="rgba") copies an array or another world. World.new makes one of zeros,
World.view looks at an array in the order ARGB without a copy. numpy.asarray(world) is an array of
height x width x 4 over the same memory, in the order ARGB; array, world and the array under a view
keep each other alive.)")
      .def(py::init(&Copied), py::arg("picture"), py::kw_only(), py::arg("order") = "rgba")
      .def_static("new", &World::New, py::arg("width"), py::arg("height"), py::arg("depth") = 8,
                  "A world of transparent black, sides 1 to 30000 pixels, of 8, 16 or 32 bits a "
                  "channel.")
      .def_static(
          "view", [](const py::array& array) { return World::View(array, "array"); },
          py::arg("array"),
          "A world over the memory of an array of height x width x 4 in the order ARGB. Rows may "
          "be "
          "further apart than they are long; pixels and channels must follow each other. The array "
          "lives as long as the world. A read-only array makes a world that is no destination.")
      .def(
          "array",
          [](const World& world, const py::object& order) {
            return ArrayOf(world, ParseOrder(order));
          },
          py::kw_only(), py::arg("order") = "rgba",
          "A new array of height x width x 4 in the order asked for.")
      .def_property_readonly("width", [](const World& w) { return w.get()->width; })
      .def_property_readonly("height", [](const World& w) { return w.get()->height; })
      .def_property_readonly(
          "depth", [](const World& w) { return w.get()->Depth(); }, "8, 16 or 32 bits a channel.")
      .def_property_readonly("writable", &World::writable)
      .def("__repr__",
           [](const World& w) {
             return "<vx.World " + std::to_string(w.get()->width) + " x " +
                    std::to_string(w.get()->height) + ", " + std::to_string(w.get()->Depth()) +
                    " bits>";
           })
      .def_buffer(&BufferOf);
}

}  // namespace vxpy
