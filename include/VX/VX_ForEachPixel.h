// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A lambda over every pixel of a rectangle: the C++ form of VX_Iterate.h.
//
//   VX_ForEachPixel<VX_Pixel8>(src, dst, [&](int32_t x, int32_t y, const VX_Pixel8* in,
//                                            VX_Pixel8* out) { out->red = in->red / 2; });
//
// There are four forms. With or without a source; and with the pixel type named, or with a generic
// lambda, which then runs with the pixel type of the destination's depth and must compile for all
// three:
//
//   VX_ForEachPixel<Pixel>(src, dst, f, options)    f(x, y, const Pixel* in, Pixel* out)
//   VX_ForEachPixel<Pixel>(dst, f, options)         f(x, y, Pixel* out)
//   VX_ForEachPixel(src, dst, f, options)           f(x, y, const auto* in, auto* out)
//   VX_ForEachPixel(dst, f, options)                f(x, y, auto* out)
//
//   src       a world of the destination's depth, or null, which makes `in` null; it may be the
//             destination itself
//   dst       the world that is walked and may be written
//   f         anything that can be called so; x and y are the column and row in the destination. It
//             returns nothing, or a VX_Err: the first that is not 0 ends the walk and is returned.
//             A lambda with several returns says so: [&](...) -> VX_Err { ... }
//   options   may be left out; as a rule `{.area = &area}`
//
// Order, clipping, progress and the codes returned are those of VX_Iterate. A Pixel that is not
// that of the destination's depth gives 3, after a report and before any call.
//
// Exceptions. What f throws ends the walk, and comes out of VX_ForEachPixel unchanged; what was
// written stays. So does what the progress function throws.
//
// Alignment. `in` and `out` point into the worlds. In worlds that the library made they are
// aligned; rows described by a caller may start at any byte, and pixels of 16 bits and float must
// then be copied with std::memcpy instead of being dereferenced.
//
// Threads. f is called on the calling thread. Several threads may walk worlds that do not overlap.

#include <cstdint>
#include <exception>
#include <type_traits>

#include "VX/VX_Iterate.h"
#include "host/U.h"

struct VX_ForEachPixelOptions {
  const M_Rect* area = nullptr;  // of the destination; null is all of it
  M_Point origin{};              // where the source's corner lies in the destination
  bool visit_uncovered = false;  // also pixels beyond the source, with a zero pixel as `in`
  VX_ProgressInfo* progress = nullptr;
  int32_t progress_base = 0;   // steps done before this walk
  int32_t progress_final = 0;  // steps of the whole job; 0 polls nothing
};

// --- what stands between a lambda and the C entry ------------------------------------------------

// Is the refcon of pixel and progress function, and keeps an exception while the walk ends.
template <class Pixel, class Function>
class VXp_PixelWalk {
 public:
  VXp_PixelWalk(Function& function, const VX_ForEachPixelOptions& options)
      : function_(function), options_(options) {}

  VX_Err Run(const VX_LayerDef* src, VX_LayerDef* dst) {
    VX_ProgressInfo watched{};
    const bool polls = options_.progress != nullptr && options_.progress->progress_func != nullptr;
    if (polls) {
      watched = *options_.progress;
      watched.progress_func = Poll;
      watched.progress_refcon = this;
    }
    const VX_Err error = Iterate(polls ? &watched : nullptr, src, dst);
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
    auto& walk = *static_cast<VXp_PixelWalk*>(refcon);
    try {
      const auto* const from = static_cast<const Pixel*>(in);
      auto* const to = static_cast<Pixel*>(out);
      if constexpr (std::is_void_v<Result>) {
        walk.function_(x, y, from, to);
        return VX_Ok;
      } else {
        return walk.function_(x, y, from, to);
      }
    } catch (...) {
      walk.thrown_ = std::current_exception();
      return VX_ErrStopped;
    }
  }

  static VX_Err Poll(void* refcon, int32_t step, int32_t final_step) {
    auto& walk = *static_cast<VXp_PixelWalk*>(refcon);
    const VX_ProgressInfo& progress = *walk.options_.progress;
    try {
      return progress.progress_func(progress.progress_refcon, step, final_step);
    } catch (...) {
      walk.thrown_ = std::current_exception();
      return VX_ErrStopped;
    }
  }

  Function& function_;
  const VX_ForEachPixelOptions& options_;
  std::exception_ptr thrown_;
};

template <class Pixel, class Function>
VX_Err VXp_WalkPixels(const VX_LayerDef* src, VX_LayerDef* dst, Function& function,
                      const VX_ForEachPixelOptions& options) {
  return VXp_PixelWalk<Pixel, Function>(function, options).Run(src, dst);
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
  return VXp_WalkPixels<Pixel>(src, dst, function, options);
}

template <class Function>
VX_Err VX_ForEachPixel(const VX_LayerDef* src, VX_LayerDef* dst, Function&& function,
                       const VX_ForEachPixelOptions& options = {}) {
  // VX_Iterate refuses what is neither of these.
  const int32_t depth = dst != nullptr ? VXp_WorldDepth(dst) : 8;
  if (depth == 16) return VXp_WalkPixels<VX_Pixel16>(src, dst, function, options);
  if (depth == 32) return VXp_WalkPixels<VX_PixelFloat>(src, dst, function, options);
  return VXp_WalkPixels<VX_Pixel8>(src, dst, function, options);
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
