// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Calls a function for every pixel of a rectangle: the C++ form of VX_Iterate.h.
//
//   VX_ForEachPixel<VX_Pixel8>(src, dst, [&](int32_t x, int32_t y, const VX_Pixel8* in,
//                                            VX_Pixel8* out) { out->red = in->red / 2; });
//
// There are four forms: with or without a source, and with the pixel type given or with a generic
// lambda. A generic lambda is called with the pixel type of the destination's depth and must
// compile for all three types:
//
//   VX_ForEachPixel<Pixel>(src, dst, f, options)    f(x, y, const Pixel* in, Pixel* out)
//   VX_ForEachPixel<Pixel>(dst, f, options)         f(x, y, Pixel* out)
//   VX_ForEachPixel(src, dst, f, options)           f(x, y, const auto* in, auto* out)
//   VX_ForEachPixel(dst, f, options)                f(x, y, auto* out)
//
//   src       a world of the destination's depth; may be the destination. Null: `in` is null
//   dst       the world to visit and modify
//   f         any callable; x and y are the column and row in the destination. It returns nothing,
//             or a VX_Err: the first value other than VX_Ok ends the iteration and is returned. A
//             lambda with several return statements needs [&](...) -> VX_Err { ... }
//   options   optional, usually `{.area = &area}`
//
// Order, clipping, progress and errors are those of VX_Iterate. If Pixel does not match the depth
// of the destination, VX_ErrBadParameter is returned with a report and f is not called.
//
// Exceptions. An exception of f or of the progress function ends the iteration and propagates
// unchanged; pixels written before remain.
//
// Alignment. `in` and `out` point into the worlds. Rows of worlds that the library allocated are
// aligned. If the rows of a caller's own memory are not, copy 16-bit and float pixels with
// std::memcpy instead of dereferencing.
//
// Threads. f is called on the calling thread. Thread-safe on worlds that do not overlap.

#include <cstdint>
#include <exception>
#include <type_traits>

#include "VX/VX_Iterate.h"
#include "host/U.h"

struct VX_ForEachPixelOptions {
  const M_Rect* area = nullptr;  // in the destination; null is all of it
  M_Point origin{};              // destination position of the source's top left corner
  bool visit_uncovered = false;  // also visit pixels outside the source, `in` is then a zero pixel
  VX_ProgressInfo* progress = nullptr;
  int32_t progress_base = 0;   // steps done before this call
  int32_t progress_final = 0;  // number of steps in total; 0: no polling
};

// --- implementation ------------------------------------------------------------------------------

// Adapts a callable to the C callback. The object is passed as refcon. An exception of the callable
// is stored here, because it must not pass through the C code, and thrown again after the
// iteration.
template <class Pixel, class Function>
class VXp_PixelIteration {
 public:
  VXp_PixelIteration(Function& function, const VX_ForEachPixelOptions& options)
      : function_(function), options_(options) {}

  VX_Err Run(const VX_LayerDef* src, VX_LayerDef* dst) {
    VX_ProgressInfo forwarded{};
    const bool polls = options_.progress != nullptr && options_.progress->progress_func != nullptr;
    if (polls) {
      forwarded = *options_.progress;
      forwarded.progress_func = Poll;
      forwarded.progress_refcon = this;
    }
    const VX_Err error = Iterate(polls ? &forwarded : nullptr, src, dst);
    if (thrown_ != nullptr) std::rethrow_exception(thrown_);
    return error;
  }

 private:
  using Result = std::invoke_result_t<Function&, int32_t, int32_t, const Pixel*, Pixel*>;
  static_assert(std::is_void_v<Result> ||
                    (std::is_convertible_v<Result, VX_Err> && !std::is_same_v<Result, bool>),
                "the function returns nothing or a VX_Err");

  VX_Err Iterate(VX_ProgressInfo* progress, const VX_LayerDef* src, VX_LayerDef* dst) {
    const VX_ForEachPixelOptions& o = options_;
    if (!o.visit_uncovered && o.origin.h == 0 && o.origin.v == 0) {
      return VX_Iterate(progress, o.progress_base, o.progress_final, src, o.area, this, Visit, dst);
    }
    const auto iterate = o.visit_uncovered ? VX_IterateOriginAll : VX_IterateOrigin;
    return iterate(progress, o.progress_base, o.progress_final, src, o.area, &o.origin, this, Visit,
                   dst);
  }

  static VX_Err Visit(void* refcon, int32_t x, int32_t y, void* in, void* out) {
    auto& iteration = *static_cast<VXp_PixelIteration*>(refcon);
    try {
      const auto* const from = static_cast<const Pixel*>(in);
      auto* const to = static_cast<Pixel*>(out);
      if constexpr (std::is_void_v<Result>) {
        iteration.function_(x, y, from, to);
        return VX_Ok;
      } else {
        return iteration.function_(x, y, from, to);
      }
    } catch (...) {
      iteration.thrown_ = std::current_exception();
      return VX_ErrStopped;
    }
  }

  static VX_Err Poll(void* refcon, int32_t step, int32_t final_step) {
    auto& iteration = *static_cast<VXp_PixelIteration*>(refcon);
    const VX_ProgressInfo& progress = *iteration.options_.progress;
    try {
      return progress.progress_func(progress.progress_refcon, step, final_step);
    } catch (...) {
      iteration.thrown_ = std::current_exception();
      return VX_ErrStopped;
    }
  }

  Function& function_;
  const VX_ForEachPixelOptions& options_;
  std::exception_ptr thrown_;
};

template <class Pixel, class Function>
VX_Err VXp_IteratePixels(const VX_LayerDef* src, VX_LayerDef* dst, Function& function,
                         const VX_ForEachPixelOptions& options) {
  return VXp_PixelIteration<Pixel, Function>(function, options).Run(src, dst);
}

// --- the four forms ------------------------------------------------------------------------------

template <class Pixel, class Function>
VX_Err VX_ForEachPixel(const VX_LayerDef* src, VX_LayerDef* dst, Function&& function,
                       const VX_ForEachPixelOptions& options = {}) {
  if (dst != nullptr && VXp_WorldDepth(dst) != static_cast<int32_t>(sizeof(Pixel)) * 2) {
    U_ReportFailedVerification(0x2503E7, __LINE__, 0,
                               "Pixel of another depth than the world in VX_ForEachPixel()");
    return VX_ErrBadParameter;
  }
  return VXp_IteratePixels<Pixel>(src, dst, function, options);
}

template <class Function>
VX_Err VX_ForEachPixel(const VX_LayerDef* src, VX_LayerDef* dst, Function&& function,
                       const VX_ForEachPixelOptions& options = {}) {
  // If the depth is not one of the three, VX_Iterate reports and returns the error.
  const int32_t depth = dst != nullptr ? VXp_WorldDepth(dst) : 8;
  if (depth == 16) return VXp_IteratePixels<VX_Pixel16>(src, dst, function, options);
  if (depth == 32) return VXp_IteratePixels<VX_PixelFloat>(src, dst, function, options);
  return VXp_IteratePixels<VX_Pixel8>(src, dst, function, options);
}

template <class Pixel, class Function>
VX_Err VX_ForEachPixel(VX_LayerDef* dst, Function&& function,
                       const VX_ForEachPixelOptions& options = {}) {
  const auto without_in = [&](int32_t x, int32_t y, const Pixel*, Pixel* out) {
    return function(x, y, out);
  };
  return VX_ForEachPixel<Pixel>(nullptr, dst, without_in, options);
}

template <class Function>
VX_Err VX_ForEachPixel(VX_LayerDef* dst, Function&& function,
                       const VX_ForEachPixelOptions& options = {}) {
  const auto without_in = [&](int32_t x, int32_t y, const auto*, auto* out) {
    return function(x, y, out);
  };
  return VX_ForEachPixel(nullptr, dst, without_in, options);
}
