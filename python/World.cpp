// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// vx.World.

#include "Arguments.h"
#include "Errors.h"
#include "Pictures.h"

namespace vxpy {

namespace {

std::unique_ptr<VX_World> ReferenceTo(const Pixels& pixels) {
  const Call call;
  std::unique_ptr<VX_World> world;
  Check(CodeOf([&] {
    world.reset(VX_World::NewReference(pixels.data, pixels.width, pixels.height,
                                       static_cast<int16_t>(pixels.depth),
                                       static_cast<int32_t>(pixels.rowbytes)));
    return world ? VX_Ok : VX_ErrOutOfMemory;
  }));
  return world;
}

}  // namespace

std::unique_ptr<VX_World> NewPixels(int32_t width, int32_t height, int32_t depth, uint32_t flags) {
  const Call call;
  std::unique_ptr<VX_World> world;
  Check(CodeOf([&] {
    world.reset(VX_World::New(width, height, static_cast<int16_t>(depth), flags));
    return world ? VX_Ok : VX_ErrOutOfMemory;
  }));
  return world;
}

WorldPtr World::New(int32_t width, int32_t height, int32_t depth) {
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

py::array ArrayOf(const World& world, Order order) {
  const VX_World& from = *world.get();
  py::array array = NewArray(from.width, from.height, from.Depth());
  Move(PixelsOf(from), Order::Argb, PixelsOf(array, "array"), order);
  return array;
}

namespace {

WorldPtr Copied(const py::object& picture, const py::object& order) {
  const Source source(picture, ParseOrder(order), "picture");
  const VX_World& from = *source.world();
  auto world = std::make_shared<World>(NewPixels(from.width, from.height, from.Depth(), 0),
                                       py::none(), /*writable=*/true);
  Move(PixelsOf(from), Order::Argb, PixelsOf(*world->get()), Order::Argb);
  return world;
}

WorldPtr Cleared(const py::object& width, const py::object& height, const py::object& depth) {
  return World::New(ParseSide("width", width), ParseSide("height", height), ParseDepth(depth));
}

py::buffer_info BufferOf(World& world) {
  const Pixels p = PixelsOf(*world.get());
  const py::ssize_t item = p.depth / 8;
  return py::buffer_info(p.data, item, FormatOf(p.depth), 3, {p.height, p.width, 4},
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
      .def_static("new", &Cleared, py::arg("width"), py::arg("height"), py::arg("depth") = 8,
                  "A world of transparent black, sides 1 to 30000 pixels, of 8, 16 or 32 bits a "
                  "channel.")
      .def_static(
          "view",
          [](const py::object& array) { return World::View(AsArray(array, "array"), "array"); },
          py::arg("array"),
          "A world over the memory of an array of height x width x 4 in the order ARGB. Rows may "
          "be further apart than they are long; pixels and channels must follow each other. The "
          "array "
          "lives as long as the world. A read-only array makes a world that is no destination.")
      .def(
          "array",
          [](const World& world, const py::object& order) {
            return ArrayOf(world, ParseOrder(order));
          },
          py::kw_only(), py::arg("order") = "rgba",
          "A new array of height x width x 4 in the order asked for.")
      .def_property_readonly(
          "width", [](const World& w) { return w.get()->width; }, "Pixels in a row.")
      .def_property_readonly(
          "height", [](const World& w) { return w.get()->height; }, "Rows.")
      .def_property_readonly(
          "depth", [](const World& w) { return w.get()->Depth(); }, "8, 16 or 32 bits a channel.")
      .def_property_readonly("writable", &World::writable, "False for a view on a read-only array.")
      .def("__repr__",
           [](const World& w) {
             return "<vx.World " + std::to_string(w.get()->width) + " x " +
                    std::to_string(w.get()->height) + ", " + std::to_string(w.get()->Depth()) +
                    " bits>";
           })
      .def_buffer(&BufferOf);
}

}  // namespace vxpy
