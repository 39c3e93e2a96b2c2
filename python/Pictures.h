// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Arrays and worlds as arguments and results.
//
// The library works on pixels in the order alpha, red, green, blue. An array in that order is
// worked on where it lies; one in the order red, green, blue, alpha is converted on the way in and,
// when it is written to, on the way out. Three channels are opaque pictures in either order.
// Nothing but `out` is changed, and `out` only when the work was done, unless it is a world or an
// ARGB array, which are drawn on directly.

#include <memory>
#include <optional>
#include <string>

#include "Layout.h"

namespace vxpy {

// vx.World: pixels of its own, or a view on an array that it keeps alive.
class World {
 public:
  World(std::unique_ptr<VX_World> world, py::object base, bool writable)
      : world_(std::move(world)), base_(std::move(base)), writable_(writable) {}

  static std::shared_ptr<World> New(int32_t width, int32_t height, int32_t depth);
  static std::shared_ptr<World> View(const py::array& array, const char* name);

  VX_World* get() const { return world_.get(); }
  const py::object& base() const { return base_; }
  bool writable() const { return writable_; }

 private:
  std::unique_ptr<VX_World> world_;
  py::object base_;
  bool writable_;
};
using WorldPtr = std::shared_ptr<World>;

// A picture to read from: a World, or an array of height x width x 4 or 3.
class Source {
 public:
  Source(const py::object& object, Order order, const char* name);

  VX_World* world() const { return world_->get(); }
  int32_t depth() const { return world()->Depth(); }
  const py::object& object() const { return object_; }
  bool is_world() const { return is_world_; }
  Order order() const { return order_; }
  const WorldPtr& shared() const { return world_; }

 private:
  py::object object_;
  Order order_;
  bool is_world_ = false;
  WorldPtr world_;  // the argument, a view on it, or a converted copy
};

// Where a result goes. Without `out` it is a new array of the order asked for, or a new World when
// the model is one. What is drawn on is world().
class Target {
 public:
  // A picture of the size and depth of the model that begins as a copy of it. `out` may be the
  // model itself.
  static Target CopyOf(const Source& model, const py::object& out);
  // A picture of a size that begins with zeros (when new) or with what stands in `out`.
  static Target Sized(const Source& model, const py::object& out, int32_t width, int32_t height,
                      int32_t depth);
  // The same without a model.
  static Target Sized(const py::object& out, Order order, int32_t width, int32_t height,
                      int32_t depth);

  VX_World* world() const { return world_->get(); }

  // A source that may be read while this is written: itself, or a copy where their pixels may
  // overlap.
  WorldPtr Apart(const Source& source) const;

  // Brings the pixels to the array that was asked for, and gives it.
  py::object Finish();

 private:
  static Target For(const py::object& out, Order order, bool as_world, int32_t width,
                    int32_t height, int32_t depth);
  Target Begun(const py::object& out);

  py::object result_;
  Order order_ = Order::Rgba;
  WorldPtr world_;
  bool converts_ = false;
};

// Both of a pair of pictures must have one depth: ValueError about the second.
void RequireSameDepth(const VX_World& a, const VX_World& b, const char* a_name, const char* b_name);

// Pixels of a world's own, made within a call of the library: births and deaths must not cross it.
std::unique_ptr<VX_World> NewPixels(int32_t width, int32_t height, int32_t depth, uint32_t flags);

// The argument as an array: TypeError.
const py::array& AsArray(const py::object& object, const char* name);

// A new array of height x width x 4 with the pixels of a world.
py::array ArrayOf(const World& world, Order order);

void AddWorld(py::module_& module);

}  // namespace vxpy
