// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Arrays and worlds as arguments and results.
//
// The library's channel order is alpha, red, green, blue. An array in that order is used without a
// copy. An array in the order red, green, blue, alpha is converted before the call and, if it is
// written, after the call. Arrays with three channels are opaque pictures in either order.
// Functions change only `out`. A converted `out` changes only when the operation has succeeded; a
// world or an ARGB array is drawn on directly.

#include <memory>
#include <optional>
#include <string>

#include "Layout.h"

namespace vxpy {

// vx.World: owns its pixels, or is a view of an array and keeps the array alive.
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

// A picture to read: a World, or an array of height x width x 4 or 3.
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

// The destination of a result. Without `out` it is a new array in the requested order, or a new
// World if the model is a World. Operations draw on world().
class Target {
 public:
  // Makes a target with the size, depth and pixels of the model. `out` may be the model itself.
  static Target CopyOf(const Source& model, const py::object& out);
  // Makes a target of the given size. A new one is cleared to zero; `out` keeps its pixels.
  static Target Sized(const Source& model, const py::object& out, int32_t width, int32_t height,
                      int32_t depth);
  // Makes a target of the given size without a model.
  static Target Sized(const py::object& out, Order order, int32_t width, int32_t height,
                      int32_t depth);

  VX_World* world() const { return world_->get(); }

  // Returns a source that may be read while this target is written: the source itself, or a copy if
  // their pixels may overlap.
  WorldPtr Apart(const Source& source) const;

  // Converts the pixels to the requested order if necessary, and returns the result object.
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

// Throws ValueError, with the name of the second picture, if the depths differ.
void RequireSameDepth(const VX_World& a, const VX_World& b, const char* a_name, const char* b_name);

// Makes a world that owns its pixels, inside a Call, so that no birth or death runs meanwhile.
std::unique_ptr<VX_World> NewPixels(int32_t width, int32_t height, int32_t depth, uint32_t flags);

// Returns the argument as an array; throws TypeError if it is not one.
const py::array& AsArray(const py::object& object, const char* name);

// Makes an array of height x width x 4 with the pixels of a world.
py::array ArrayOf(const World& world, Order order);

void AddWorld(py::module_& module);

}  // namespace vxpy
