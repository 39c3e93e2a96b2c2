// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// An iterator for the slot of VX_IterateGeneric that uses several threads.

#include <atomic>
#include <thread>
#include <utility>
#include <vector>

#include "VX/VX_Iterate.h"
#include "VX/VX_OverrideTable.h"
#include "frame/VXp_Bands.h"
#include "host/VXHost.h"

// From construction to destruction, the library processes rows on `count` threads, and also divides
// the smallest worlds. Thread t gets the items t, t + count, ... The calling thread is thread 0. If
// a module has replaced the slot, the iterator of the module is used instead.
class ThreadIterator {
 public:
  explicit ThreadIterator(int32_t count) {
    threads_ = count;
    before_ = VXp_G_OverFuncs.VX_IterateGeneric_Static;
    VXHost_SetNumThreads(count);
    VXp_G_OverFuncs.VX_IterateGeneric_Static = &Iterate;
    VXp_G_BandSizes = {1, 1};
  }
  ~ThreadIterator() {
    VXp_G_BandSizes = sizes_;
    VXp_G_OverFuncs.VX_IterateGeneric_Static = before_;
    VXHost_SetNumThreads(1);
  }
  ThreadIterator(const ThreadIterator&) = delete;

  // The number of items that threads other than the calling thread have processed.
  static int64_t OtherItems() { return other_items_; }

 private:
  static VX_Err Iterate(int32_t iterations, void* refcon, VX_GenericFunc function) {
    if (function == nullptr || iterations < 2) {
      return VX_IterateGeneric_Static(iterations, refcon, function);
    }
    if (before_ != &VX_IterateGeneric_Static) {
      std::pair<void*, VX_GenericFunc> counted{refcon, function};
      return before_(iterations, &counted, [](void* of, int32_t thread, int32_t i, int32_t count) {
        const auto& [inner_refcon, inner] = *static_cast<std::pair<void*, VX_GenericFunc>*>(of);
        if (thread != 0) ++other_items_;
        return inner(inner_refcon, thread, i, count);
      });
    }
    std::atomic<VX_Err> error = VX_Ok;
    const auto process = [&](int32_t thread) {
      for (int64_t i = thread; i < iterations && error == VX_Ok; i += threads_) {
        const VX_Err code = function(refcon, thread, static_cast<int32_t>(i), iterations);
        if (thread != 0) ++other_items_;
        VX_Err none = VX_Ok;
        if (code != VX_Ok) error.compare_exchange_strong(none, code);
      }
    };
    std::vector<std::thread> others;
    for (int32_t t = 1; t < threads_ && t < iterations; ++t) others.emplace_back(process, t);
    process(0);
    for (std::thread& other : others) other.join();
    return error;
  }

  static inline int32_t threads_ = 1;
  static inline std::atomic<int64_t> other_items_ = 0;
  const VXp_BandSizes sizes_ = VXp_G_BandSizes;
  static inline VX_IterateGenericFunc before_ = nullptr;
};
