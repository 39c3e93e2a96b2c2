// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/imgproc/FnThreads.h"

#include <sched.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <exception>
#include <mutex>
#include <new>
#include <thread>

#include "frame/VXp_Report.h"
#include "frameblend/imgproc/FnInterrupt.h"
#include "host/U.h"

namespace {

constexpr char kThreadFailure[] =
    "$$$/RZ/PIN/Veltor/CreateThreadErrWin=Frame Blending - Failed to create thread.";
constexpr int64_t kBytesOfThread = 3145728;  // what the host is asked to free for a new thread

std::atomic<int32_t> thread_count = 0;  // 0: not read from the system yet
std::atomic<bool> multi_processing = true;
std::atomic<bool> running = false;

// The calling thread's place in its fan-out; count 0 outside of one.
struct Place {
  int32_t index = 0, count = 0;
};
thread_local Place place;

std::recursive_mutex& FanOutMutex() {
  static std::recursive_mutex mutex;
  return mutex;
}

int32_t ProcessorCount() {
  cpu_set_t allowed;
  if (sched_getaffinity(0, sizeof allowed, &allowed) == 0) return CPU_COUNT(&allowed);
  return static_cast<int32_t>(std::thread::hardware_concurrency());
}

struct Job {
  FnParallelFunction function;
  int32_t count;
  std::array<void*, kFnMaxArguments> arguments;
  std::atomic<bool> failed = false;

  void Run(Place here) {
    const Place before = place;
    place = here;
    const VX_Err code = VXp_Guarded([&] {
      try {
        function(arguments.data(), count);
      } catch (const std::bad_alloc&) {
        failed = true;
      }
    });
    if (code != VX_Ok) failed = true;
    place = before;
  }
};

struct Creation {
  Job* job;
  Place place;
  std::thread* thread;
};

U_Err CreateThread(void* context) {
  const Creation creation = *static_cast<Creation*>(context);
  try {
    *creation.thread = std::thread([creation] { creation.job->Run(creation.place); });
    return VX_Ok;
  } catch (const std::exception&) {  // no thread, or no memory for its arguments
    return VX_ErrOutOfMemory;
  }
}

}  // namespace

std::recursive_mutex& FnGlobalMutex() {
  static std::recursive_mutex mutex;
  return mutex;
}

VX_Err FnInterruptState::poll() {
  if (abortFunc != nullptr && FnThreadIndex() == 0 &&
      tripped.load(std::memory_order_relaxed) == 0) {
    const std::lock_guard lock(FnGlobalMutex());
    if (const VX_Err code = abortFunc(refcon); code != VX_Ok) set(code);
  }
  return error.load(std::memory_order_relaxed);
}

bool FnRunInParallelWith(FnParallelFunction function, int32_t count, void* const* arguments) {
  Job job;
  job.function = function;
  job.count = std::clamp(count, 0, kFnMaxArguments);
  job.arguments.fill(nullptr);
  std::copy_n(arguments, job.count, job.arguments.begin());
  if (place.count > 0 || FnThreadCount() < 2) {
    job.Run({0, 1});
    return !job.failed;
  }

  const std::lock_guard lock(FanOutMutex());
  const int32_t threads = FnThreadCount();
  running = true;
  std::array<std::thread, kFnMaxThreads - 1> workers;
  bool created = true;
  for (int32_t i = 1; i < threads && created; ++i) {
    Creation creation{&job, {i, threads}, &workers[static_cast<size_t>(i - 1)]};
    created = U_PurgeLoop(kBytesOfThread, 0, CreateThread, &creation) == VX_Ok;
  }
  if (created) job.Run({0, threads});
  for (std::thread& worker : workers) {
    if (worker.joinable()) worker.join();
  }
  running = false;
  if (!created) {
    const char* const text = U_ZStringToMBString(kThreadFailure);
    VXp_StoreReport(text);
    Up_ReportErrString(0, VX_ErrOutOfMemory, text);
  }
  return created && !job.failed;
}

int32_t FnThreadIndex() { return place.index; }

int32_t FnThreadCount() {
  if (!multi_processing) return 1;
  int32_t count = thread_count;
  if (count == 0) {
    count = std::clamp(ProcessorCount(), 1, kFnMaxThreads);
    int32_t unknown = 0;
    if (!thread_count.compare_exchange_strong(unknown, count)) count = unknown;
  }
  return count;
}

void FnSetThreadCount(int32_t count) {
  if (!running) thread_count = std::clamp(count, 1, kFnMaxThreads);
}

void FnSetMultiProcessing(bool on) { multi_processing = on; }

bool FnIsInParallel() { return running; }

FnBand FnBandOf(int32_t rows, int32_t index, int32_t count) {
  if (index < 0 || count < 1) return {0, rows};
  const int64_t band = (int64_t{rows} + count - 1) / count;
  const auto limited = [&](int64_t row) {
    return static_cast<int32_t>(std::min<int64_t>(row, rows));
  };
  return {static_cast<int32_t>(index * band),
          index == count - 1 ? rows : limited((index + 1) * band)};
}

FnBand FnBandOfThread(int32_t rows) { return FnBandOf(rows, place.index, place.count); }
