// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Pictures.h"

#include "Errors.h"

namespace vxpy {

namespace {

void RequireWritable(const py::array& array, const char* name) {
  if (!array.writeable()) {
    throw py::value_error(Sentence(name, array, "is read-only and cannot receive a result"));
  }
}

}  // namespace

const py::array& AsArray(const py::object& object, const char* name) {
  if (!py::isinstance<py::array>(object)) {
    throw py::type_error(std::string(name) + ": needs a NumPy array or a vx.World, not " +
                         std::string(py::str(py::type::of(object).attr("__name__"))));
  }
  return static_cast<const py::array&>(object);
}

// --- sources -------------------------------------------------------------------------------------

Source::Source(const py::object& object, Order order, const char* name, const py::object& out)
    : object_(object), order_(order) {
  if (py::isinstance<World>(object)) {
    is_world_ = true;
    world_ = object.cast<WorldPtr>();
    return;
  }
  const py::array& array = AsArray(object, name);
  const Pixels pixels = InputPixelsOf(array, name);
  if (pixels.channels == 4 && order == Order::Argb) {
    world_ = World::View(array, name);
    if (!object.is(out)) RequireScale(array, name);
    return;
  }
  is_grey_ = pixels.channels == 1;
  world_ = std::make_shared<World>(NewPixels(pixels.width, pixels.height, pixels.depth, 0),
                                   py::none(), /*writable=*/true);
  if (!Move(pixels, order, PixelsOf(*world_->get()), Order::Argb)) RefuseScale(array, name);
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
      throw py::value_error("out: is a World of a read-only array");
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
    const WorldPtr from = target.WithoutOverlap(model);
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

WorldPtr Target::WithoutOverlap(const Source& source) const {
  if (!MayOverlap(PixelsOf(*world()), PixelsOf(*source.world()))) return source.shared();
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
  throw py::value_error(std::string(b_name) + ": has " + std::to_string(b.Depth()) +
                        " bits a channel, and " + a_name + " " + std::to_string(a.Depth()) +
                        "; vx.convert changes the depth");
}
}  // namespace vxpy
