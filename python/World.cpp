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
      R"(A picture in the channel order of the library: alpha, red, green, blue; straight alpha.

World(picture, order="rgba") copies an array, which may be any picture, or a World. World.new()
makes a transparent picture. World.view() uses the memory of an array in the order ARGB.
numpy.asarray(world) is an array of height x width x 4 in the order ARGB that uses the memory of
the World. The memory exists as long as the World or one of these arrays.)")
      .def(py::init(&Copied), py::arg("picture"), py::kw_only(), py::arg("order") = "rgba")
      .def_static(
          "new", &Cleared, py::arg("width"), py::arg("height"), py::arg("depth") = 8,
          "Returns a World of transparent black. width, height: 1..30000 pixels. depth: 8, 16 "
          "or 32 bits per channel. Raises TypeError, ValueError, MemoryError.")
      .def_static(
          "view",
          [](const py::object& array) { return World::View(AsArray(array, "array"), "array"); },
          py::arg("array"),
          "Returns a World that uses the memory of an array. array: height x width x 4 in the "
          "order "
          "ARGB; pixels and channels must be contiguous, rows may have padding. The World keeps "
          "the array alive. A World of a read-only array cannot be a destination. Values of uint16 "
          "above 32768 are not detected. Raises TypeError, ValueError.")
      .def(
          "array",
          [](const World& world, const py::object& order) {
            return ArrayOf(world, ParseOrder(order));
          },
          py::kw_only(), py::arg("order") = "rgba",
          "Returns a copy as an array of height x width x 4. order: \"rgba\" or \"argb\".")
      .def_property_readonly(
          "width", [](const World& w) { return w.get()->width; }, "Width in pixels.")
      .def_property_readonly(
          "height", [](const World& w) { return w.get()->height; }, "Height in pixels.")
      .def_property_readonly(
          "depth", [](const World& w) { return w.get()->Depth(); }, "8, 16 or 32 bits per channel.")
      .def_property_readonly("writable", &World::writable, "False for a view of a read-only array.")
      .def("__repr__",
           [](const World& w) {
             return "<vx.World " + std::to_string(w.get()->width) + " x " +
                    std::to_string(w.get()->height) + ", " + std::to_string(w.get()->Depth()) +
                    " bits>";
           })
      .def_buffer(&BufferOf);
}

}  // namespace vxpy
