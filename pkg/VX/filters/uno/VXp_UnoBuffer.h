// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What all operations on one-channel buffers share: the check of a buffer, its addresses, its
// areas, and the walk over rows.
//
// The sample of a depth is the channel of the pixel of that depth, so VXp_WithPixel is the switch:
//
//   VX_Err error = VXp_CheckUno(buffer);
//   if (error != VX_Ok) return error;
//   return VXp_WithPixel(buffer->depth, kVXp_UnknownDepthText, [&](auto tag) -> VX_Err {
//     using Sample = VX_ChannelOf<typename decltype(tag)::Pixel>;
//     ...
//   });

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "VX/VX_OverrideTable.h"
#include "VX/VX_UnoBuffer.h"
#include "frame/VXp_Dispatch.h"
#include "frame/VXp_Rects.h"
#include "frame/VXp_Report.h"
#include "frame/VXp_Rows.h"

inline constexpr uint32_t kVXp_UnoNumber = 0x52;
inline constexpr int32_t kVXp_DamagedMaskText = 12;  // entries of the string table
inline constexpr int32_t kVXp_MaskMemoryText = 11;

// --- checks --------------------------------------------------------------------------------------

// Reports a buffer that is null, has a wrong magic or no samples. 3 where samples cannot be
// reached; 0 for a wrong magic alone, with which work goes on.
VX_Err VXp_CheckUno(const VX_UnoBuffer* buffer, int32_t line = __builtin_LINE());

// The same, and 3 after a report for another depth than the one that the call is for.
VX_Err VXp_CheckUnoOfDepth(const VX_UnoBuffer* buffer, int32_t depth,
                           int32_t line = __builtin_LINE());

// --- places --------------------------------------------------------------------------------------

// The address of sample (x, y). A buffer that somebody described may start at any byte: VXp_Load
// and VXp_Store reach its samples.
template <class Sample>
char* VXp_UnoAddress(const VX_UnoBuffer& buffer, int32_t x, int32_t y) {
  const ptrdiff_t index = ptrdiff_t{y} * buffer.width + x;
  return static_cast<char*>(*buffer.data) + index * static_cast<ptrdiff_t>(sizeof(Sample));
}

// The same for row functions. They read and write by VXp_Load and VXp_Store.
template <class Sample>
Sample* VXp_UnoRow(const VX_UnoBuffer& buffer, int32_t x, int32_t y) {
  return reinterpret_cast<Sample*>(VXp_UnoAddress<Sample>(buffer, x, y));
}

inline M_LRect VXp_UnoWhole(const VX_UnoBuffer& buffer) {
  return {0, 0, std::max(buffer.width, 0), std::max(buffer.height, 0)};
}

// The common part; may come out empty, and then with an edge before the other.
inline M_LRect VXp_Section(const M_LRect& a, const M_LRect& b) {
  return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
          std::min(a.bottom, b.bottom)};
}

// `rect` clipped to the buffer; null is the whole buffer.
inline M_LRect VXp_UnoArea(const M_Rect* rect, const VX_UnoBuffer& buffer) {
  const M_LRect whole = VXp_UnoWhole(buffer);
  return rect == nullptr ? whole : VXp_Section(VXp_LRectOf(*rect), whole);
}

// --- rows ----------------------------------------------------------------------------------------

// Runs `work(thread, i)`, which gives a code, for i from 0 to `count` - 1 through `iterate`, which
// may run it on several threads. The first code that is not 0 is the result; other threads see it
// before their next item, and stop. Thread 0 tells progress after each of its items how many are
// done by all; what progress answers ends the work as well. Nothing is thrown through `iterate`.
template <class Work>
VX_Err VXp_ForUnoRows(VX_IterateGenericFunc iterate, const VX_ProgressInfo* progress, int32_t count,
                      const Work& work) {
  struct Run {
    const VX_ProgressInfo* progress;
    const Work& work;
    std::atomic<VX_Err> first_error{VX_Ok};
    std::atomic<int32_t> done{0};

    VX_Err Tell(int32_t thread, int32_t all) {
      if (progress == nullptr || progress->progress_func == nullptr) return VX_Ok;
      const int32_t step = done.fetch_add(1, std::memory_order_relaxed) + 1;
      return thread == 0 ? progress->progress_func(progress->progress_refcon, step, all) : VX_Ok;
    }
    VX_Err Item(int32_t thread, int32_t i, int32_t all) {
      const VX_Err stopped = first_error.load(std::memory_order_relaxed);
      if (stopped != VX_Ok) return stopped;
      const VX_Err error = VXp_Guarded([&]() -> VX_Err {
        const VX_Err own = work(thread, i);
        return own != VX_Ok ? own : Tell(thread, all);
      });
      VX_Err none = VX_Ok;
      if (error != VX_Ok) first_error.compare_exchange_strong(none, error);
      return error;
    }
  };
  if (count <= 0) return VX_Ok;
  Run run{progress, work};
  const VX_Err error =
      iterate(count, &run, [](void* refcon, int32_t thread, int32_t i, int32_t all) -> VX_Err {
        return static_cast<Run*>(refcon)->Item(thread, i, all);
      });
  const VX_Err first = run.first_error.load();
  return first != VX_Ok ? first : error;
}

// Through the generic iterator's slot.
template <class Work>
VX_Err VXp_ForUnoRows(const VX_ProgressInfo* progress, int32_t count, const Work& work) {
  return VXp_ForUnoRows(VXp_G_OverFuncs.VX_IterateGeneric_Static, progress, count, work);
}
