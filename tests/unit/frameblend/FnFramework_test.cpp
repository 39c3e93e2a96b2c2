// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Edges of textures, the fan-out over threads, and regions, passes and errors of stages.

#include <gtest/gtest.h>

#include <atomic>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "frameblend/imgproc/FnImgProc.h"
#include "unit/PixelTestKit.h"

namespace {

// Restores the number of threads.
class Framework : public testing::Test {
 protected:
  ~Framework() override { FnSetThreadCount(threads_); }
  const int32_t threads_ = FnThreadCount();
};

using Log = std::vector<std::string>;

// Counts how often each pixel is processed.
class CountingProcess : public FnImgProc1<int32_t> {
 public:
  void begin() override { log.push_back("begin"); }
  void beginPass() override { log.push_back("beginPass"); }
  void endPass() override { log.push_back("endPass"); }
  void end() override { log.push_back("end"); }
  void processBand() override {
    if (thrown != nullptr && FnThreadIndex() == FnThreadCount() - 1) thrown();
    const FnBand band = Band();
    for (int32_t y = band.first; y < band.end; ++y) {
      for (int32_t x = x0; x < x1; ++x) ++first->row(y)[x];
    }
  }
  Log log;
  void (*thrown)() = nullptr;
};

struct Map : FnIntMap {
  Map(int32_t w, int32_t h) : FnIntMap(w, h) {
    for (int32_t y = 0; y < h; ++y) std::fill_n(row(y), w, 0);
  }
  std::string Text() const {
    std::string text;
    for (int32_t y = 0; y < height(); ++y, text += '/') {
      for (int32_t x = 0; x < width(); ++x) text += std::to_string(row(y)[x]);
    }
    return text;
  }
};

// The stored index of position i of a range of n elements, by moving it step by step.
int32_t Moved(int32_t mode, int32_t i, int32_t n) {
  switch (mode) {
    case FnEdge_Hold: return std::clamp(i, 0, n - 1);
    case FnEdge_Wrap:
      while (i < 0) i += n;
      while (i >= n) i -= n;
      return i;
    case FnEdge_Mirror:
      while (i < 0 || i >= n) i = i < 0 ? -1 - i : 2 * n - 1 - i;
      return i;
    default: return i < 0 || i >= n ? -1 : i;
  }
}

}  // namespace

TEST_F(Framework, EdgesAndRuns) {
  for (const int32_t size : {1, 2, 5}) {
    for (int32_t lo = 0; lo < size; ++lo) {
      for (int32_t hi = lo; hi < size; ++hi) {
        for (int32_t mode = 0; mode < 4; ++mode) {
          FnTexAxis axis;
          axis.SetSize(size);
          axis.SetRange(hi, lo);
          axis.edgeMode = mode;
          axis.origin = -3;
          const auto expected = [&](int32_t c) {
            const int32_t index = Moved(mode, c + 3 - lo, hi - lo + 1);
            return index < 0 ? -1 : lo + index;
          };
          for (int32_t c = -20; c < 20; ++c) {
            const FnRun run = axis.RunAt(c);
            EXPECT_EQ(axis.IndexAt(c), expected(c));
            ASSERT_GT(run.length, 0);
            for (int32_t k = 0; k < std::min(run.length, 25); ++k) {
              EXPECT_EQ(run.index + k * run.step, expected(c + k)) << size << mode << c << k;
            }
          }
          if (mode <= FnEdge_Hold) {
            EXPECT_EQ(axis.RunAt(hi - 2).length, kFnEndlessRun);
          }
        }
      }
    }
  }
  // Clamped and sorted; an empty texture has one usable index.
  FnIntMap map(7, 4);
  map.setRange(9, -2);
  EXPECT_TRUE(map.x.lo == 0 && map.x.hi == 6 && map.y.hi == 3 && map.y.count == 4);
  FnIntMap empty;
  empty.setRange(-4, 4);
  EXPECT_TRUE(empty.x.lo == 0 && empty.x.hi == 0 && empty.x.count == 1);
}

// Pictures do not show bands of unequal size.
TEST_F(Framework, BandsOfThreads) {
  const auto text = [](int32_t rows, int32_t count) {
    std::string all;
    for (int32_t i = 0; i < count; ++i) {
      const FnBand band = FnBandOf(rows, i, count);
      for (int32_t y = band.first; y < band.end; ++y) all += std::to_string(y);
      all += '|';
    }
    return all;
  };
  EXPECT_EQ(text(10, 4), "012|345|678|9|");
  EXPECT_EQ(text(1, 8), "0||||||||");
}

TEST_F(Framework, FanOut) {
  for (const int32_t threads : {0, 1, 2, 7, 300}) {
    FnSetThreadCount(threads);
    const int32_t used = std::clamp(threads, 1, kFnMaxThreads);
    ASSERT_EQ(FnThreadCount(), used);
    std::vector<std::atomic<int32_t>> seen(kFnMaxThreads);
    std::atomic<int32_t> nested = 0, parallel = 0;
    const auto job = [](void* const* arguments, int32_t count) {
      auto& places = *static_cast<std::vector<std::atomic<int32_t>>*>(arguments[0]);
      ++places[static_cast<size_t>(FnThreadIndex())];
      *static_cast<std::atomic<int32_t>*>(arguments[2]) += FnIsInParallel();
      FnSetThreadCount(3);  // has no effect now
      EXPECT_EQ(count, 6);
      // A fan-out inside of it runs once, here, and its bands are whole.
      EXPECT_TRUE(FnRunInParallel(
          [](void* const* inner, int32_t) {
            EXPECT_EQ(FnThreadIndex(), 0);
            EXPECT_EQ(FnBandOfThread(9).end, 9);
            ++*static_cast<std::atomic<int32_t>*>(inner[0]);
          },
          1, static_cast<std::atomic<int32_t>*>(arguments[1])));
    };
    EXPECT_TRUE(FnRunInParallel(job, 9, &seen, &nested, &parallel, &seen, &seen, &seen, &seen,
                                &seen, &seen));
    for (int32_t i = 0; i < kFnMaxThreads; ++i) EXPECT_EQ(seen[static_cast<size_t>(i)], i < used);
    EXPECT_EQ(nested, used);
    EXPECT_EQ(parallel, used > 1 ? used : 0);
    EXPECT_FALSE(FnIsInParallel());
    if (used == 1) FnSetThreadCount(threads);  // without threads the job above could set it
  }
  FnSetMultiProcessing(false);
  EXPECT_EQ(FnThreadCount(), 1);
  FnSetMultiProcessing(true);
  EXPECT_EQ(FnThreadCount(), kFnMaxThreads);
}

TEST_F(Framework, ProcessesAndTheirRegions) {
  struct Row {
    int32_t left, top, right, bottom;
    uint32_t options;
    const char* counts;
  };
  const Row rows[] = {
      {1, 1, 2, 1, FnProcess_MultiThreaded, "0000/0110/0000/"},
      {-5, 1, 0, 9, FnProcess_MultiThreaded, "0000/1000/1000/"},
      {-5, 1, 0, 2, FnProcess_MultiThreaded | FnProcess_Snap, "0000/1111/1111/"},
      {1, -1, 2, 2, FnProcess_Snap, "0110/0110/0110/"},
      {5, 0, 9, 2, FnProcess_MultiThreaded, "0000/0000/0000/"},
  };
  for (const int32_t threads : {1, 2, 8}) {
    FnSetThreadCount(threads);
    for (const Row& row : rows) {
      CountingProcess process;
      process.options = row.options;
      process.setRegion(row.left, row.top, row.right, row.bottom);
      Map map(4, 3);
      process.process(&map);
      EXPECT_EQ(map.Text(), row.counts) << threads;
      process.clearRegion();
      process(&map);
      EXPECT_EQ(map.row(0)[0] + map.row(2)[3], 2 + (row.counts[0] - '0') + (row.counts[13] - '0'));
    }
  }
  CountingProcess process;
  process.process(nullptr);
  EXPECT_TRUE(process.log.empty());
}

TEST_F(Framework, PassesStopAndFail) {
  FnSetThreadCount(3);
  Map map(2, 5);
  CountingProcess process;
  EXPECT_EQ(process.setError(9), 0);
  process.passes = 2;
  process.process(&map);
  EXPECT_EQ(process.log, (Log{"begin", "beginPass", "endPass", "beginPass", "endPass", "end"}));
  EXPECT_EQ(map.Text(), "22/22/22/22/22/");

  // Each poll may stop; the passes that were begun before it are counted.
  static int32_t polls, stop_at;
  for (stop_at = 1; stop_at <= 5; ++stop_at) {
    polls = 0;
    FnInterruptState state;
    state.abortFunc = [](void*) { return ++polls == stop_at ? 99 : 0; };
    process.interrupt = &state;
    process.log.clear();
    process.process(&map);
    const size_t expected[] = {2, 3, 4, 5, 6};
    EXPECT_EQ(process.log.size(), expected[stop_at - 1]) << stop_at;
    EXPECT_EQ(state.error, stop_at <= 4 ? 99 : 0);
    EXPECT_EQ(polls, std::min(stop_at, 4));
  }

  // Of all threads only the first one calls the host.
  FnInterruptState counted;
  static std::atomic<int32_t> calls = 0;
  counted.abortFunc = [](void*) { return ++calls, VX_Err{VX_Ok}; };
  const auto poll = [](void* const* arguments, int32_t) {
    static_cast<FnInterruptState*>(arguments[0])->poll();
  };
  EXPECT_TRUE(FnRunInParallel(poll, 1, &counted));
  EXPECT_EQ(calls, 1);

  FnInterruptState state;
  process.interrupt = &state;
  process.thrown = [] { throw std::runtime_error("a fault"); };
  process.process(&map);
  EXPECT_EQ(state.error, 4);
  for (const bool memory : {false, true}) {  // a lack of memory is reported by the exported call
    FnSetThreadCount(1);
    Reports();
    state.error = 0;
    if (memory) process.thrown = [] { throw std::bad_alloc(); };
    process.process(&map);
    EXPECT_EQ(state.error, 4);
    EXPECT_EQ(Reports().size(), memory ? 0u : 1u);
  }
  EXPECT_EQ(process.setError(7), 1);
  EXPECT_EQ(state.poll(), 7);
}
