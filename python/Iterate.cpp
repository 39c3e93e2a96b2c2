// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Calls a Python function for pixels, for bands of rows, and for numbers.
//
// Pixels and bands are processed on the calling thread. The generic iterator may call back on any
// thread, so each callback acquires the interpreter's lock. An exception in the function ends the
// iteration; the vx function raises it unchanged.

#include "VX/VX_Iterate.h"

#include <algorithm>
#include <cstring>

#include "Arguments.h"
#include "Errors.h"
#include "Pictures.h"
#include "Subjects.h"

namespace vxpy {

namespace {

// The Python function and the exception that it raised. The interpreter's lock is required for all
// members except the constructor.
class Iteration {
 public:
  Iteration(const py::object& function, Progress* progress)
      : function_(function), progress_(progress) {
    if (PyCallable_Check(function.ptr()) == 0) {
      throw py::type_error("function: cannot be called: " + std::string(py::repr(function)));
    }
  }

  // Runs work() -> VX_Err with the interpreter's lock. Does nothing after a callback has failed.
  template <class Work>
  VX_Err Step(Work&& work) {
    const py::gil_scoped_acquire acquire;
    if (thrown_) return VX_ErrStopped;
    try {
      return work();
    } catch (...) {
      thrown_ = std::current_exception();
      return VX_ErrStopped;
    }
  }

  template <class... Arguments>
  py::object operator()(Arguments&&... arguments) const {
    return function_(std::forward<Arguments>(arguments)...);
  }

  void Rethrow() {
    if (thrown_) std::rethrow_exception(std::exchange(thrown_, nullptr));
    if (progress_ != nullptr) progress_->Rethrow();
  }

 private:
  py::object function_;
  Progress* progress_;
  std::exception_ptr thrown_;
};

// The arguments that iterate() and iterate_rows() share.
struct IterationArguments {
  IterationArguments(const py::object& dst, const py::object& src, const py::object& at_arg,
                     const py::object& rect, const py::object& uncovered_arg, const py::object& out,
                     const py::object& order_arg)
      : order(ParseOrder(order_arg)),
        at(ParsePoint("at", at_arg)),
        area(ParseRect("rect", rect)),
        uncovered(ParseFlag("uncovered", uncovered_arg)),
        below(dst, order, "dst", out) {
    if (src.is_none()) return;
    above.emplace(src, order, "src");
    RequireSameDepth(*below.world(), *above->world(), "dst", "src");
  }

  Order order;
  M_Point at;
  std::optional<M_Rect> area;
  bool uncovered;
  Source below;
  std::optional<Source> above;
};

// --- pixels --------------------------------------------------------------------------------------

template <class Pixel>
py::tuple Channels(const void* pixel, Order order) {
  Pixel p;
  std::memcpy(&p, pixel, sizeof p);
  if (order == Order::Argb) return py::make_tuple(p.alpha, p.red, p.green, p.blue);
  return py::make_tuple(p.red, p.green, p.blue, p.alpha);
}

struct PixelIteration : Iteration {
  using Iteration::Iteration;
  Order order = Order::Rgba;
};

template <class Pixel>
VX_Err VisitPixel(void* refcon, int32_t x, int32_t y, void* in, void* out) {
  auto& iteration = *static_cast<PixelIteration*>(refcon);
  return iteration.Step([&] {
    const py::tuple pixel = Channels<Pixel>(out, iteration.order);
    const py::object result = in == nullptr
                                  ? iteration(x, y, pixel)
                                  : iteration(x, y, Channels<Pixel>(in, iteration.order), pixel);
    if (result.is_none()) return VX_Ok;
    const auto p = ParsePixel<Pixel>("the pixel that function gave", result, iteration.order);
    std::memcpy(out, &p, sizeof p);
    return VX_Ok;
  });
}

py::object Iterate(const py::object& dst, const py::object& function, const py::object& src,
                   const py::object& at, const py::object& rect, const py::object& uncovered,
                   const py::object& progress, const py::object& out, const py::object& order_arg) {
  const IterationArguments arguments(dst, src, at, rect, uncovered, out, order_arg);
  Progress polled(progress);
  PixelIteration iteration(function, &polled);
  iteration.order = arguments.order;
  Target target = Target::CopyOf(arguments.below, out);
  VX_World* const world = target.world();
  const WorldPtr above = arguments.above ? target.WithoutOverlap(*arguments.above) : nullptr;
  const VX_PixelFunc visit = vx::visit_depth(
      world->Depth(), []<class Pixel>() -> VX_PixelFunc { return VisitPixel<Pixel>; });
  const VX_World* const from = above ? above->get() : nullptr;
  const M_Rect* const area = arguments.area ? &*arguments.area : nullptr;
  Run(iteration, [&] {
    if (from == nullptr) {
      return VX_Iterate(polled.info(), 0, world->height, from, area, &iteration, visit, world);
    }
    const auto iterate = arguments.uncovered ? VX_IterateOriginAll : VX_IterateOrigin;
    return iterate(polled.info(), 0, world->height, from, area, &arguments.at, &iteration, visit,
                   world);
  });
  return target.Finish();
}

// --- bands of rows -------------------------------------------------------------------------------

struct Box {
  int32_t left, top, right, bottom;
  bool Empty() const { return right <= left || bottom <= top; }
  Box Meet(const Box& other) const {
    return {std::max(left, other.left), std::max(top, other.top), std::min(right, other.right),
            std::min(bottom, other.bottom)};
  }
};

Box BoundsOf(const VX_World& world, M_Point at) {
  return {at.h, at.v, at.h + world.width, at.v + world.height};
}

// Returns the pixels of a world in `box`. `at` is the position of pixel (0, 0) of the world in the
// coordinates of `box`.
Pixels PartOf(const VX_World& world, M_Point at, const Box& box) {
  Pixels part = PixelsOf(world);
  part.data += (box.top - at.v) * part.rowbytes + ptrdiff_t{box.left - at.h} * world.PixelSize();
  part.width = box.right - box.left;
  part.height = box.bottom - box.top;
  return part;
}

struct BandIteration : Iteration {
  using Iteration::Iteration;

  VX_Err Visit(int32_t band) {
    const int32_t top = area.top + band * rows;
    const Box box{area.left, top, area.right, std::min(top + rows, area.bottom)};
    const Pixels part = PartOf(*target->world(), M_Point{}, box);
    py::array below = NewArray(part.width, part.height, part.depth);
    Move(part, Order::Argb, PixelsOf(below, "band"), order);
    const py::object result = from == nullptr ? (*this)(box.left, box.top, below)
                                              : (*this)(box.left, box.top, SourceBand(box), below);
    if (!result.is_none()) below[py::ellipsis()] = result;
    RequireScale(below, "the band that function gave");
    Move(PixelsOf(below, "band"), order, part, Order::Argb);
    return polled->info()->progress_func(polled->info()->progress_refcon, ++done, bands);
  }

  // Returns an array with the pixels of the source in `box`. Pixels outside the source are 0.
  py::array SourceBand(const Box& box) const {
    py::array array = NewArray(box.right - box.left, box.bottom - box.top, from->Depth());
    const Box covered = box.Meet(BoundsOf(*from, at));
    if (covered.Empty() || covered.bottom - covered.top < array.shape(0) ||
        covered.right - covered.left < array.shape(1)) {
      std::memset(array.mutable_data(), 0, static_cast<size_t>(array.nbytes()));
    }
    if (covered.Empty()) return array;
    Pixels part = PixelsOf(array, "band");
    part.data += (covered.top - box.top) * part.rowbytes +
                 ptrdiff_t{covered.left - box.left} * from->PixelSize();
    part.width = covered.right - covered.left;
    part.height = covered.bottom - covered.top;
    Move(PartOf(*from, at, covered), Order::Argb, part, order);
    return array;
  }

  Order order = Order::Rgba;
  const Target* target = nullptr;
  const VX_World* from = nullptr;
  Progress* polled = nullptr;
  M_Point at{};
  Box area{};
  int32_t rows = 1, bands = 0, done = 0;
};

py::object IterateRows(const py::object& dst, const py::object& function, const py::object& src,
                       const py::object& at, const py::object& rect, const py::object& uncovered,
                       const py::object& rows, const py::object& progress, const py::object& out,
                       const py::object& order_arg) {
  const IterationArguments arguments(dst, src, at, rect, uncovered, out, order_arg);
  Progress polled(progress);
  BandIteration iteration(function, &polled);
  iteration.rows = ParseSide("rows", rows);
  Target target = Target::CopyOf(arguments.below, out);
  const WorldPtr above = arguments.above ? target.WithoutOverlap(*arguments.above) : nullptr;
  iteration.order = arguments.order;
  iteration.target = &target;
  iteration.from = above ? above->get() : nullptr;
  iteration.polled = &polled;
  iteration.at = arguments.at;
  iteration.area = BoundsOf(*target.world(), M_Point{});
  if (arguments.area) {
    const M_Rect& r = *arguments.area;
    iteration.area = iteration.area.Meet({r.left, r.top, r.right, r.bottom});
  }
  if (above && !arguments.uncovered)
    iteration.area = iteration.area.Meet(BoundsOf(*iteration.from, iteration.at));
  if (!iteration.area.Empty()) {
    iteration.bands =
        (iteration.area.bottom - iteration.area.top + iteration.rows - 1) / iteration.rows;
    Run(iteration, [&]() -> VX_Err {
      for (int32_t band = 0; band < iteration.bands; ++band) {
        const VX_Err error = iteration.Step([&] { return iteration.Visit(band); });
        if (error != VX_Ok) return error;
      }
      return VX_Ok;
    });
  }
  return target.Finish();
}

// --- numbers -------------------------------------------------------------------------------------

void IterateGeneric(const py::object& iterations, const py::object& function) {
  const auto count = static_cast<int32_t>(ParseWhole("iterations", iterations, -1, INT32_MAX));
  Iteration iteration(function, nullptr);
  Run(iteration, [&] {
    return VX_IterateGeneric(count, &iteration,
                             [](void* refcon, int32_t thread, int32_t i, int32_t n) {
                               auto& one = *static_cast<Iteration*>(refcon);
                               return one.Step([&] {
                                 const int stop = PyObject_IsTrue(one(thread, i, n).ptr());
                                 if (stop < 0) throw py::error_already_set();
                                 if (PyErr_CheckSignals() != 0) throw py::error_already_set();
                                 return stop != 0 ? VX_ErrStopped : VX_Ok;
                               });
                             });
  });
  // Only the calling thread handles signals, and other threads may have made the last calls.
  if (PyErr_CheckSignals() != 0) throw py::error_already_set();
}

}  // namespace

void AddIterate(py::module_& module) {
  module.def("iterate", &Iterate);
  module.def("iterate_rows", &IterateRows);
  module.def("iterate_generic", &IterateGeneric);
}

}  // namespace vxpy
