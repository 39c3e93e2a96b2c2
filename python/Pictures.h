// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Parses arrays and worlds as arguments, and makes results.
//
// The library's channel order is alpha, red, green, blue (ARGB). An ARGB array is used without a
// copy. An RGBA array is converted before the call and, if it is a result, after the call. An array
// with three channels is an opaque picture in either order, an array of height x width an opaque
// grey one, which cannot be a destination. Converted arrays may have any strides.
//
// 16-bit values above 32768 are refused where an array is read: by Source for pictures, by
// RequireScale for masks, planes and bands. Worlds and the contents of `out` are not checked.
//
// Functions change only `out`. If `out` was converted, it is changed only after the operation has
// succeeded. A World or an ARGB array is drawn on directly, so it may be partly changed after an
// error.

#include <memory>
#include <optional>
#include <string>

#include "Layout.h"

namespace vxpy {

// The C++ class of vx.World. It owns its pixels, or it is a view of an array and keeps a reference
// to that array.
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

// A picture to read: a World, or an array of height x width x 4 or 3, or height x width.
class Source {
 public:
  // `out` is the destination of the same call: if it is the picture itself and its memory is used,
  // its values are not checked, because the call may change a small part of it only.
  Source(const py::object& object, Order order, const char* name,
         const py::object& out = py::none());

  VX_World* world() const { return world_->get(); }
  int32_t depth() const { return world()->Depth(); }
  const py::object& object() const { return object_; }
  bool is_world() const { return is_world_; }
  bool is_grey() const { return is_grey_; }  // an array of height x width
  Order order() const { return order_; }
  const WorldPtr& shared() const { return world_; }

 private:
  py::object object_;
  Order order_;
  bool is_world_ = false;
  bool is_grey_ = false;
  WorldPtr world_;  // the argument itself, a view of an array, or a converted copy
};

// The destination of a result: `out`, or without `out` a new array in the requested order, or a new
// World if the first picture (`model`) is a World. Operations draw on world().
class Target {
 public:
  // Returns a target with size, depth and pixels of the model. `out` may be the model itself.
  static Target CopyOf(const Source& model, const py::object& out);
  // Returns a target of the given size. If it is new, its pixels are 0; `out` is not changed.
  static Target Sized(const Source& model, const py::object& out, int32_t width, int32_t height,
                      int32_t depth);
  // Returns a target of the given size if there is no model.
  static Target Sized(const py::object& out, Order order, int32_t width, int32_t height,
                      int32_t depth);

  VX_World* world() const { return world_->get(); }

  // Returns the world of `source`, or a copy of it if its pixels may overlap those of this target.
  WorldPtr WithoutOverlap(const Source& source) const;

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

// Checks that two worlds have the same depth; throws ValueError otherwise. The message begins with
// b_name.
void RequireSameDepth(const VX_World& a, const VX_World& b, const char* a_name, const char* b_name);

// Returns a world that owns its pixels. Uses a Call, so that Birth and Death throw if they are
// called meanwhile.
std::unique_ptr<VX_World> NewPixels(int32_t width, int32_t height, int32_t depth, uint32_t flags);

// Returns the argument if it is an array, otherwise throws TypeError.
const py::array& AsArray(const py::object& object, const char* name);

// Returns an array of height x width x 4 with the pixels of a world.
py::array ArrayOf(const World& world, Order order);

void AddWorld(py::module_& module);

}  // namespace vxpy
