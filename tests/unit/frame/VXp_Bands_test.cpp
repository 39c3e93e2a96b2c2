// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Bands of rows on several threads: errors, stops, exceptions, and operations within one world. The
// random commands compare the results of all operations (vx_commands --iterator).

#include "frame/VXp_Bands.h"

#include <gtest/gtest.h>

#include <functional>
#include <mutex>
#include <numeric>
#include <set>
#include <stdexcept>

#include "VX/VX_Copy.h"
#include "VX/VX_DepthConvert.h"
#include "VX/VX_Package.h"
#include "VX/VX_Transfer.h"
#include "frame/VXp_RowMemory.h"
#include "unit/GuardedWorld.h"
#include "unit/ThreadIterator.h"

namespace {

constexpr int32_t kRows = 100;

// Runs rows of an operation that writes down its rows, and its calls of progress.
struct Operation {
  std::function<VX_Err(int32_t row)> row = [](int32_t) { return VX_Ok; };
  std::function<VX_Err(int32_t row)> report = [](int32_t) { return VX_Ok; };
  std::vector<int32_t> rows = std::vector<int32_t>(kRows);
  std::vector<int32_t> reported;
  std::set<std::thread::id> reporters;

  VX_Err Run(VXp_Bands bands) {
    std::mutex mutex;
    const auto note = [&](int32_t at) -> VX_Err {
      reported.push_back(at);
      reporters.insert(std::this_thread::get_id());
      return report(at);
    };
    return VXp_ForBands(bands, /*reports=*/true, note, [&](int32_t, int32_t at) -> VX_Err {
      {
        const std::lock_guard lock(mutex);
        ++rows[static_cast<size_t>(at)];
      }
      return row(at);
    });
  }
  VX_Err Run() { return Run(VXp_PlanBands(kRows, 1000, /*independent=*/true)); }
};

std::vector<int32_t> UpTo(int32_t count) {
  std::vector<int32_t> numbers(static_cast<size_t>(count));
  std::iota(numbers.begin(), numbers.end(), 0);
  return numbers;
}

TEST(Bands, EachRowOnceAndProgressOnTheCallingThread) {
  for (const int32_t threads : {1, 2, 3, 7}) {
    const ThreadIterator iterator(threads);
    for (const VXp_Bands& bands :
         {VXp_PlanBands(kRows, 1000, true), VXp_PlanItems(kRows, 1000), VXp_PlanItems(kRows, 10, 7),
          VXp_PlanBands(kRows, 1000, false)}) {
      Operation all;
      EXPECT_EQ(all.Run(bands), VX_Ok);
      EXPECT_EQ(all.rows, std::vector<int32_t>(kRows, 1));
      EXPECT_EQ(all.reported, UpTo(kRows));
      EXPECT_EQ(all.reporters, std::set{std::this_thread::get_id()});
    }
  }
}

TEST(Bands, TheFirstErrorIsTheResult) {
  for (const int32_t threads : {1, 3}) {
    const ThreadIterator iterator(threads);
    Operation fails;
    fails.row = [](int32_t row) { return row == 40 ? 77 : VX_Ok; };
    EXPECT_EQ(fails.Run(), 77);
    EXPECT_EQ(fails.rows[40], 1);
    EXPECT_LT(std::accumulate(fails.rows.begin(), fails.rows.end(), 0), kRows);

    Operation stops;
    stops.report = [](int32_t row) { return row == 5 ? VX_ErrStopped : VX_Ok; };
    EXPECT_EQ(stops.Run(), VX_ErrStopped);
    EXPECT_EQ(stops.reported, UpTo(6));
  }
  const ThreadIterator iterator(3);
  VXp_G_OverFuncs.VX_IterateGeneric_Static = [](int32_t, void*, VX_GenericFunc) -> VX_Err {
    return 99;
  };
  Operation none;
  EXPECT_EQ(none.Run(), 99);
  EXPECT_TRUE(none.reported.empty());
  VXp_G_OverFuncs.VX_IterateGeneric_Static = [](int32_t, void* refcon, VX_GenericFunc f) -> VX_Err {
    return f(refcon, /*thread=*/3, 0, 1);
  };
  EXPECT_EQ(none.Run(), VX_ErrBadParameter);
}

// Exceptions do not pass through the iterator; the calling thread reports them.
TEST(Bands, ExceptionsBecomeCodes) {
  for (const int32_t threads : {1, 3}) {
    const ThreadIterator iterator(threads);
    Operation throws;
    throws.row = [](int32_t row) -> VX_Err {
      if (row == 50) throw std::runtime_error("row 50");
      return VX_Ok;
    };
    VX_ForgetReport();
    EXPECT_EQ(throws.Run(), VX_ErrReported);
    EXPECT_STREQ(VX_LastReport(), "row 50");
    throws.row = [](int32_t row) -> VX_Err { return row == 50 ? throw int32_t{55} : VX_Ok; };
    EXPECT_EQ(throws.Run(), 55);
  }
  VXHost_TakeReports();
}

TEST(Bands, SmallWorkAndOneThreadStayOnTheCallingThread) {
  const ThreadIterator iterator(3);
  VXp_G_BandSizes = {5000, 600};
  EXPECT_EQ(VXp_PlanBands(50, 99, true).iterate, nullptr);
  EXPECT_NE(VXp_PlanBands(50, 100, true).iterate, nullptr);
  EXPECT_EQ(VXp_PlanBands(50, 100, true).band, 6);      // the least work
  EXPECT_EQ(VXp_PlanBands(2400, 100, true).band, 100);  // eight bands for each thread
  EXPECT_EQ(VXp_PlanBands(1, 9000, true).iterate, nullptr);
  EXPECT_EQ(VXp_PlanBands(50, 100, false).iterate, nullptr);
  EXPECT_EQ(VXp_PlanBands(INT32_MAX, INT64_MAX, true).threads, 3);
  EXPECT_EQ(VXp_PlanItems(50, 99).band, 50);  // one item
  EXPECT_EQ(VXp_PlanItems(50, 100, 4).band, 8);
  VXHost_SetNumThreads(1);
  EXPECT_EQ(VXp_PlanBands(50, 100, true).iterate, nullptr);
}

// --- memory of rows ------------------------------------------------------------------------------

TEST(RowMemory, RowsThatShareBytes) {
  char bytes[4096];
  char* const at = bytes + 1024;
  const VXp_RowMemory area = {at, 64, 40, 10};
  const auto moved = [&](ptrdiff_t by) { return VXp_RowMemory{at + by, 64, 40, 10}; };
  struct Case {
    VXp_RowMemory other;
    bool shares, independent;
  };
  const Case cases[] = {{area, true, true},
                        {moved(1), true, false},
                        {moved(64), true, false},
                        {moved(-64 * 9), true, false},
                        {moved(64 * 10), false, true},
                        {moved(-64 * 10), false, true},
                        {{at + 40, 64, 24, 10}, false, true},  // the padding of the rows
                        {{at + 40, 64, 25, 10}, true, false},  // and a byte of the next row
                        {{at - 24, 64, 24, 10}, false, true},
                        {{at, 128, 40, 5}, true, false},  // every other row
                        {{at + 64 * 9, -64, 40, 10}, true, false},
                        {{at, 64, 64, 10}, true, true},  // longer, but the same rows
                        {{at, 64, 65, 10}, true, false},
                        {{at, 64, 0, 10}, false, true},
                        {{at, 64, 40, 0}, false, true}};
  for (const Case& c : cases) {
    SCOPED_TRACE(&c - cases);
    EXPECT_EQ(VXp_ShareMemory(area, c.other), c.shares);
    EXPECT_EQ(VXp_ShareMemory(c.other, area), c.shares);
    EXPECT_EQ(VXp_RowsAreIndependent(area, {c.other}), c.independent);
  }
  EXPECT_FALSE(VXp_RowsAreIndependent({at, 39, 40, 10}));
  EXPECT_TRUE(VXp_RowsAreIndependent({at, -40, 40, 10}));
}

// Within one world the order of rows is part of the result, so threads must not change it.
TEST(Bands, OperationsWithinAWorldKeepTheOrderOfRows) {
  const VX_CompositeModePlus mode(VX_Xfer_InFront, 0.5f, nullptr, false, 0);
  const auto transfer = [&](int32_t x, int32_t y, VX_LayerDef* world) {
    return VX_TransferRect(nullptr, 1, 0, 0, nullptr, world, &mode, nullptr, nullptr, x, y, world);
  };
  const auto convert = [](int32_t x, int32_t y, VX_LayerDef* world) {
    return VX_DepthConvertWorld(nullptr, world, nullptr, 0, x, y, world);
  };
  const auto scale = [](int32_t x, int32_t y, VX_LayerDef* world) {
    const M_Rect to{static_cast<int16_t>(y), static_cast<int16_t>(x), 40, 30};
    return VX_CopyBits_Draft(nullptr, world, world, nullptr, &to);
  };
  const std::function<VX_Err(int32_t, int32_t, VX_LayerDef*)> operations[] = {transfer, convert,
                                                                              scale};
  for (const auto& operation : operations) {
    for (const auto& [x, y] : {std::pair{0, 0}, {0, 1}, {0, -1}, {1, 0}, {-2, 3}}) {
      GuardedWorld<VX_Pixel8> want(30, 40, 3, 5), got(30, 40, 3, 5);
      EXPECT_EQ(operation(x, y, &want.world), VX_Ok);
      const ThreadIterator iterator(3);
      EXPECT_EQ(operation(x, y, &got.world), VX_Ok);
      EXPECT_EQ(got.bytes, want.bytes) << x << ", " << y;
    }
  }
}

}  // namespace
