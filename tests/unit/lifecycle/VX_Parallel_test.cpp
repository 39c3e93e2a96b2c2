// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The module accel/parallel: the generic iterator on several threads.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cfenv>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <new>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "VX/VX_Iterate.h"
#include "VX/VX_OverrideTable.h"
#include "VX/VX_Package.h"
#include "host/PLUG.h"
#include "hostdouble/HostDouble.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

using Item = std::function<VX_Err(int32_t thread, int32_t i)>;

VX_Err Iterate(int32_t iterations, const Item& item) {
  return VX_IterateGeneric(iterations, const_cast<Item*>(&item),
                           [](void* refcon, int32_t thread, int32_t i, int32_t) {
                             return (*static_cast<Item*>(refcon))(thread, i);
                           });
}

// A first thread is created before threads are counted, because a sanitizer then adds one of its
// own.
int64_t ThreadsOfProcess() {
  [[maybe_unused]] static const bool created = [] {
    std::thread([] {}).join();
    return true;
  }();
  return std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator());
}

// A thread that was joined can be listed for a moment.
bool HasThreads(int64_t count) {
  for (int i = 0; i < 1000 && ThreadsOfProcess() != count; ++i) std::this_thread::sleep_for(1ms);
  return ThreadsOfProcess() == count;
}

void WaitUntil(const std::function<bool()>& condition) {
  while (!condition()) std::this_thread::yield();
}

class VXParallel : public testing::Test {
 protected:
  VXParallel() {
    VX_Death();
    const char* const folder = std::getenv("VX_TEST_PARALLEL");
    VXHost_SetModuleFolders({folder != nullptr ? folder : "lib/vx/modules"});
    Load();
    VXHost_SetNumThreads(4);
  }
  ~VXParallel() override {
    EXPECT_EQ(VX_Death(), 0);
    VXHost_SetNumThreads(1);
    VXHost_SetModuleFolders({});
    EXPECT_TRUE(HasThreads(threads_before));
  }
  static void Load() {
    ASSERT_EQ(VX_Birth(), 0);
    ASSERT_EQ(PLUG_RunScans(), 0);
    const std::vector<VXHost_Module> modules = VXHost_ListModules();
    ASSERT_EQ(modules.size(), 1u);
    ASSERT_EQ(modules[0].error, "");
    ASSERT_NE(VXp_G_OverFuncs.VX_IterateGeneric_Static, VX_IterateGeneric_Static);
  }

  const int64_t threads_before = ThreadsOfProcess();
};

// Every item once; thread 0 is the caller and only the caller; the others have numbers below
// U_GetNumThreads() that are unique. Items wait for each other, so that all threads take part.
TEST_F(VXParallel, EachItemOnceAndThreadsNumbered) {
  for (const int32_t threads : {1, 2, 3, 7}) {
    VXHost_SetNumThreads(threads);
    for (const int32_t iterations : {-7, -1, 0, 1, 2, 7, 1000}) {
      const int32_t count = iterations == -1 ? 1 : std::max(iterations, 0);
      const int32_t together = std::min(threads, count);
      std::vector<std::atomic<int>> calls(static_cast<size_t>(count));
      std::vector<std::atomic<std::thread::id>> ids(static_cast<size_t>(threads));
      std::atomic<int32_t> begun{0}, wrong{0};
      EXPECT_EQ(Iterate(iterations,
                        [&](int32_t thread, int32_t i) -> VX_Err {
                          if (thread < 0 || thread >= together) return ++wrong;
                          ++calls[static_cast<size_t>(i)];
                          const auto id = std::this_thread::get_id();
                          const auto earlier = ids[static_cast<size_t>(thread)].exchange(id);
                          if (earlier != std::thread::id() && earlier != id) ++wrong;
                          if (begun++ < together) WaitUntil([&] { return begun >= together; });
                          return VX_Ok;
                        }),
                0);
      EXPECT_EQ(wrong, 0);
      for (const auto& called : calls) ASSERT_EQ(called, 1) << threads << " " << iterations;
      std::set<std::thread::id> distinct;
      for (int32_t thread = 0; thread < together; ++thread) {
        distinct.insert(ids[static_cast<size_t>(thread)]);
      }
      EXPECT_EQ(static_cast<int32_t>(distinct.size()), together);
      EXPECT_TRUE(together == 0 || ids[0].load() == std::this_thread::get_id());
    }
  }
  EXPECT_EQ(VX_IterateGeneric(5, nullptr, nullptr), VX_ErrBadParameter);
}

// An item fails on each of the threads, by a code or an exception. The result and the report are
// those of the built-in iterator, on the calling thread, and no item starts afterwards.
TEST_F(VXParallel, FirstFailureEndsTheCall) {
  struct Case {
    const char* name;
    std::function<VX_Err()> fail;
  };
  const Case cases[] = {
      {"a code", [] { return 517; }},
      {"a thrown code", []() -> VX_Err { throw int32_t{99}; }},
      {"an exception", []() -> VX_Err { throw std::runtime_error("thrown by an item"); }},
      {"out of memory", []() -> VX_Err { throw std::bad_alloc(); }},
      {"another type", []() -> VX_Err { throw 'x'; }},
  };
  for (const Case& c : cases) {
    VXHost_TakeReports();
    const auto serial = [&](int32_t, int32_t) { return c.fail(); };
    VXHost_SetNumThreads(1);
    const VX_Err expected = Iterate(3, serial);
    const std::vector<VXHost_Report> reports = VXHost_TakeReports();
    VXHost_SetNumThreads(4);
    for (const int32_t failing : {0, 1, 3}) {
      std::atomic<int32_t> begun{0};
      const VX_Err error = Iterate(20000, [&](int32_t thread, int32_t) -> VX_Err {
        // The four threads wait for each other, then one of them fails.
        ++begun;
        WaitUntil([&] { return begun >= 4; });
        if (thread == failing) return c.fail();
        std::this_thread::sleep_for(1ms);
        return VX_Ok;
      });
      EXPECT_EQ(error, expected) << c.name;
      EXPECT_LT(begun, 20000) << c.name;
      const std::vector<VXHost_Report> again = VXHost_TakeReports();
      ASSERT_EQ(again.size(), reports.size()) << c.name << " on thread " << failing;
      for (size_t i = 0; i < again.size(); ++i) EXPECT_EQ(again[i].text, reports[i].text);
    }
  }
}

// A nested call runs on the thread of its item, with index 0 and in order.
TEST_F(VXParallel, NestedCallsAreSerial) {
  // With 2 items, other helpers are free and could join the nested calls.
  for (const int32_t outer : {2, 20}) {
    std::atomic<int32_t> wrong{0}, items{0};
    const auto nested = [&](int32_t, int32_t) {
      int32_t next = 0;
      const auto id = std::this_thread::get_id();
      return Iterate(20, [&](int32_t thread, int32_t i) -> VX_Err {
        if (id != std::this_thread::get_id() || thread != 0 || i != next++) ++wrong;
        ++items;
        std::this_thread::sleep_for(1ms);
        return VX_Ok;
      });
    };
    EXPECT_EQ(Iterate(outer, nested), 0);
    EXPECT_EQ(items, 20 * outer);
    EXPECT_EQ(wrong, 0);
  }
  // The calling thread is in no call any more.
  std::atomic<int32_t> begun{0};
  EXPECT_EQ(Iterate(4,
                    [&](int32_t, int32_t) -> VX_Err {
                      ++begun;
                      WaitUntil([&] { return begun >= 4; });
                      return VX_Ok;
                    }),
            0);
}

// Several callers at once: each gets its own result, and has index 0.
TEST_F(VXParallel, ConcurrentCalls) {
  std::atomic<int32_t> wrong{0};
  std::vector<std::thread> callers;
  for (int32_t caller = 0; caller < 8; ++caller) {
    callers.emplace_back([&, caller] {
      for (int round = 0; round < 200; ++round) {
        const auto id = std::this_thread::get_id();
        std::atomic<int64_t> sum{0};
        const int32_t fails_at = round % 3 == 0 ? 17 : -1;
        const VX_Err error = Iterate(40, [&](int32_t thread, int32_t i) -> VX_Err {
          if ((thread == 0) != (id == std::this_thread::get_id()) || thread > 3) ++wrong;
          sum += i;
          return i == fails_at ? 1000 + caller : VX_Ok;
        });
        const bool good = fails_at >= 0 ? error == 1000 + caller : error == 0 && sum == 780;
        if (!good) ++wrong;
      }
    });
  }
  for (std::thread& caller : callers) caller.join();
  EXPECT_EQ(wrong, 0);
}

// Items run with the rounding mode of their caller.
TEST_F(VXParallel, FloatingPointEnvironmentOfTheCaller) {
  for (const int mode : {FE_UPWARD, FE_TOWARDZERO, FE_TONEAREST}) {
    std::fesetround(mode);
    std::atomic<int32_t> begun{0}, wrong{0};
    EXPECT_EQ(Iterate(4,
                      [&](int32_t, int32_t) -> VX_Err {
                        ++begun;
                        WaitUntil([&] { return begun >= 4; });
                        if (std::fegetround() != mode) ++wrong;
                        return VX_Ok;
                      }),
              0);
    EXPECT_EQ(wrong, 0);
  }
}

// Death ends all helpers, also if a thread that made calls still exists; the slot has the built-in
// iterator again. A second scan does not load the module again.
TEST_F(VXParallel, NoThreadRemainsAfterDeath) {
  std::atomic<bool> called{false}, end{false};
  std::thread other([&] {
    EXPECT_EQ(Iterate(100, [](int32_t, int32_t) { return VX_Ok; }), 0);
    called = true;
    WaitUntil([&] { return end.load(); });
  });
  WaitUntil([&] { return called.load(); });
  EXPECT_GE(ThreadsOfProcess(), threads_before + 2);
  EXPECT_EQ(PLUG_RunScans(), 0);
  EXPECT_EQ(Iterate(100, [](int32_t, int32_t) { return VX_Ok; }), 0);
  EXPECT_EQ(VX_Death(), 0);
  EXPECT_TRUE(HasThreads(threads_before + 1));
  end = true;
  other.join();
  for (int i = 0; i < 100; ++i) {
    Load();
    std::atomic<int32_t> items{0};
    EXPECT_EQ(Iterate(9, [&](int32_t, int32_t) { return items++ < 0; }), 0);
    EXPECT_EQ(items, 9);
    ASSERT_EQ(VX_Death(), 0);
    ASSERT_TRUE(HasThreads(threads_before));
  }
  Load();
}

#if !defined(__SANITIZE_THREAD__)
// A process that fork() created has helpers of its own, and ends them.
TEST_F(VXParallel, AfterFork) {
  EXPECT_EQ(Iterate(100, [](int32_t, int32_t) { return VX_Ok; }), 0);
  const pid_t child = fork();
  if (child == 0) {
    alarm(20);
    std::atomic<int32_t> begun{0};
    const VX_Err error = Iterate(4, [&](int32_t, int32_t) -> VX_Err {
      ++begun;
      WaitUntil([&] { return begun >= 4; });
      return VX_Ok;
    });
    _exit(error == 0 && VX_Death() == 0 && HasThreads(1) ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}
#endif

}  // namespace
