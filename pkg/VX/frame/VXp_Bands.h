// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Bulk operations process their rows in bands through the slot of VX_IterateGeneric, whose
// replacement may use several threads:
//
//   const VXp_Bands bands = VXp_PlanBands(rows, pixels_a_row, VXp_RowsAreIndependent(...));
//   (allocate scratch for bands.threads threads)
//   return VXp_ForBands(bands, progress, [&](int32_t thread, int32_t row) -> VX_Err {...});
//
// Progress is called on the calling thread only, which has the thread index 0. It gets the same
// calls in the same order for any number of threads: those of the first n rows, when n rows are
// complete. With one thread the calls for a row directly follow that row, and a code other than 0
// ends the operation before the next row. With several threads such a code ends each thread before
// its next band.

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <exception>
#include <type_traits>

#include "VX/VX_Iterate.h"
#include "frame/VXp_Report.h"

// How an operation is divided.
struct VXp_Bands {
  VX_IterateGenericFunc iterate;  // null: the calling thread processes all rows
  int32_t threads;                // the thread indices are 0..threads - 1; at least 1
  int32_t rows;
  int32_t band;      // rows in an item of the iteration
  int32_t tile = 0;  // the most rows in a call of the operation's function; 0: any number
};

// The sizes of bands. The unit of work is a pixel of a composite in front.
struct VXp_BandSizes {
  int64_t call;  // calls with less work are processed by the calling thread
  int64_t band;  // the least work of a band
};
// Constant, except in tests that divide small worlds.
extern VX_API VXp_BandSizes VXp_G_BandSizes;

// Returns the work of a row whose pixels are only copied or filled.
constexpr int64_t VXp_MoveWork(int64_t pixels) { return (pixels + 3) / 4; }

// Plans an operation whose rows have `row_work` units of work each: the pixels of a row, or a
// multiple for an operation with more work a pixel. The calling thread processes all rows if there
// is little work, if rows are not independent (VXp_RowMemory.h), if the host has one thread, or if
// the built-in iterator is used.
VXp_Bands VXp_PlanBands(int32_t rows, int64_t row_work, bool independent);

// Plans an operation that is documented to pass all rows through the slot of the iterator, even if
// there is little work. `tile` is as above; with one thread each tile, or row, is an item.
VXp_Bands VXp_PlanItems(int32_t rows, int64_t row_work, int32_t tile = 0);

inline bool VXp_HasProgress(const VX_ProgressInfo* progress) {
  return progress != nullptr && progress->progress_func != nullptr;
}

// One operation in progress.
//
// `work` is called as work(thread, row) for each row, or as work(thread, first, count) for several
// rows, and returns a code. `report(row)` is called for each row in their order, on thread 0.
template <class Report, class Work>
class VXp_BandRun {
 public:
  VXp_BandRun(const VXp_Bands& bands, bool reports, const Report& report, const Work& work)
      : bands_(bands), reports_(reports), report_(report), work_(work) {}

  VX_Err Run() {
    return VXp_Guarded([&]() -> VX_Err {
      if (bands_.rows <= 0) return VX_Ok;
      if (bands_.iterate == nullptr) return Process(/*thread=*/0, 0, bands_.rows);
      const int32_t items = (bands_.rows - 1) / bands_.band + 1;
      const VX_Err error =
          bands_.iterate(items, this, [](void* refcon, int32_t thread, int32_t i, int32_t) {
            return static_cast<VXp_BandRun*>(refcon)->Item(thread, i);
          });
      if (thrown_ != nullptr) std::rethrow_exception(thrown_);
      if (const VX_Err first = first_error_.load(); first != VX_Ok) return first;
      return error != VX_Ok ? error : ReportDone();
    });
  }

 private:
  // Processes one band. The first error of all bands is kept; no exception passes through the
  // iterator, because that may be code of another language.
  VX_Err Item(int32_t thread, int32_t i) noexcept {
    const VX_Err stopped = first_error_.load(std::memory_order_relaxed);
    if (stopped != VX_Ok) return stopped;
    VX_Err error = VX_Ok;
    std::exception_ptr thrown;
    try {
      if (thread < 0 || thread >= bands_.threads) return Keep(VX_ErrBadParameter, nullptr);
      const int32_t first = i * bands_.band;
      error = Process(thread, first, std::min(bands_.band, bands_.rows - first));
    } catch (...) {
      error = VX_ErrReported;
      thrown = std::current_exception();
    }
    return error == VX_Ok ? VX_Ok : Keep(error, thrown);
  }

  VX_Err Keep(VX_Err error, const std::exception_ptr& thrown) {
    VX_Err none = VX_Ok;
    if (first_error_.compare_exchange_strong(none, error)) thrown_ = thrown;
    return error;
  }

  VX_Err Process(int32_t thread, int32_t first, int32_t count) {
    const bool reports = reports_ && thread == 0;
    const int32_t step = bands_.tile > 0 ? bands_.tile : reports ? 1 : count;
    const int32_t end = first + count;
    while (first < end) {
      const int32_t rows = std::min(step, end - first);
      if (const VX_Err error = Call(thread, first, rows)) return error;
      done_.fetch_add(rows, std::memory_order_relaxed);
      if (reports) {
        if (const VX_Err stop = ReportDone()) return stop;
      }
      first += rows;
    }
    return VX_Ok;
  }

  VX_Err Call(int32_t thread, int32_t first, int32_t count) const {
    if constexpr (std::is_invocable_v<const Work&, int32_t, int32_t>) {
      for (int32_t row = first; row < first + count; ++row) {
        if (const VX_Err error = work_(thread, row)) return error;
      }
      return VX_Ok;
    } else {
      return work_(thread, first, count);
    }
  }

  // Makes the calls for as many rows as are complete, whichever rows these are.
  VX_Err ReportDone() {
    if (!reports_) return VX_Ok;
    const int32_t done = done_.load(std::memory_order_relaxed);
    while (reported_ < done) {
      if (const VX_Err stop = report_(reported_++)) return stop;
    }
    return VX_Ok;
  }

  const VXp_Bands& bands_;
  const bool reports_;
  const Report& report_;
  const Work& work_;
  std::atomic<VX_Err> first_error_{VX_Ok};
  std::exception_ptr thrown_;     // written by the thread that set first_error_
  std::atomic<int32_t> done_{0};  // rows that all threads have completed
  int32_t reported_ = 0;          // used by thread 0 only
};

// Processes all rows and returns VX_Ok, the first error of `work`, the code other than 0 of
// `report`, or the error of the iterator. Exceptions are converted on the calling thread
// (VXp_Guarded). If `reports` is false, `report` is not called.
template <class Report, class Work>
VX_Err VXp_ForBands(const VXp_Bands& bands, bool reports, const Report& report, const Work& work) {
  return VXp_BandRun<Report, Work>(bands, reports, report, work).Run();
}

// Calls progress after each row with the number of rows done, and all rows.
template <class Work>
VX_Err VXp_ForBands(const VXp_Bands& bands, const VX_ProgressInfo* progress, const Work& work) {
  const auto report = [&](int32_t row) -> VX_Err {
    return progress->progress_func(progress->progress_refcon, row + 1, bands.rows);
  };
  return VXp_ForBands(bands, VXp_HasProgress(progress), report, work);
}

// Without progress.
template <class Work>
VX_Err VXp_ForBands(const VXp_Bands& bands, const Work& work) {
  return VXp_ForBands(bands, nullptr, work);
}
