// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Pictures.h"

#include <cstring>
#include <type_traits>

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

// Where alpha, red, green and blue stand in a pixel; alpha -1 where there is none.
struct Places {
  int32_t alpha, red, green, blue;
};

Places PlacesOf(Order order, int32_t channels) {
  if (channels == 3) return {-1, 0, 1, 2};
  return order == Order::Argb ? Places{0, 1, 2, 3} : Places{3, 0, 1, 2};
}

// One row, pixel by pixel, through memcpy: rows of arrays need not be aligned.
template <class Channel, int32_t kFrom, int32_t kTo>
void MoveRow(const char* from, const Places& in, char* to, const Places& out, Channel full,
             int32_t width) {
  for (int32_t x = 0; x < width; ++x) {
    Channel s[kFrom], d[kTo];
    std::memcpy(s, from + sizeof s * static_cast<size_t>(x), sizeof s);
    if (out.alpha >= 0) d[out.alpha] = in.alpha >= 0 ? s[in.alpha] : full;
    d[out.red] = s[in.red];
    d[out.green] = s[in.green];
    d[out.blue] = s[in.blue];
    std::memcpy(to + sizeof d * static_cast<size_t>(x), d, sizeof d);
  }
}

template <class Channel, int32_t kFrom, int32_t kTo>
void MoveRows(const Pixels& from, const Places& in, const Pixels& to, const Places& out) {
  const auto full = static_cast<Channel>(std::is_same_v<Channel, uint8_t>    ? 255
                                         : std::is_same_v<Channel, uint16_t> ? 32768
                                                                             : 1);
  for (ptrdiff_t y = 0; y < from.height; ++y) {
    MoveRow<Channel, kFrom, kTo>(from.data + y * from.rowbytes, in, to.data + y * to.rowbytes, out,
                                 full, from.width);
  }
}

template <class Channel>
void MoveAll(const Pixels& from, Order from_order, const Pixels& to, Order to_order) {
  const Places in = PlacesOf(from_order, from.channels), out = PlacesOf(to_order, to.channels);
  if (from.channels == 3) {
    MoveRows<Channel, 3, 4>(from, in, to, out);
  } else if (to.channels == 3) {
    MoveRows<Channel, 4, 3>(from, in, to, out);
  } else {
    MoveRows<Channel, 4, 4>(from, in, to, out);
  }
}

void Move(const Pixels& from, Order from_order, const Pixels& to, Order to_order) {
  const py::gil_scoped_release release;
  if (from.depth == 8) return MoveAll<uint8_t>(from, from_order, to, to_order);
  if (from.depth == 16) return MoveAll<uint16_t>(from, from_order, to, to_order);
  MoveAll<float>(from, from_order, to, to_order);
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
