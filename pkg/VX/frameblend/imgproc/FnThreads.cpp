// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/imgproc/FnThreads.h"

#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cfenv>
#include <chrono>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

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

// Waking a thread takes about 50 microseconds, longer than many stages and the work between them.
// So a thread spins for this time before it sleeps.
constexpr std::chrono::microseconds kSpinTime{200};

// Returns the value as soon as it differs from `old`. Yields the processor while it spins, because
// the thread that will change the value may wait for this processor.
template <class Value>
Value ChangedFrom(Value old, const std::atomic<Value>& value, std::chrono::microseconds spin_time) {
  const auto end = std::chrono::steady_clock::now() + spin_time;
  do {
    for (int32_t i = 0; i < 8; ++i) {
      if (const Value now = value.load(); now != old) return now;
#ifdef __SSE2__
      _mm_pause();
#endif
    }
    sched_yield();
  } while (std::chrono::steady_clock::now() < end);
  value.wait(old);
  return value.load();
}

// The threads of fan-outs besides the calling one. They are created by the first fan-out that needs
// them, wait for the next one, and end at the death of the library. Used under FanOutMutex.
class Workers {
 public:
  // Creates the workers that `threads` threads need. Returns false if the system refuses one.
  bool Create(int32_t threads) {
    ForgetAfterFork();
    while (Count() < threads - 1) {
      if (U_PurgeLoop(kBytesOfThread, 0, CreateOne, this) != VX_Ok) return false;
    }
    return true;
  }

  // Offers the shares 1, 2, ... of the job to the workers that exist, at most threads - 1.
  void Start(Job* job, int32_t threads) {
    job_ = job;
    count_ = threads;
    // With fewer processors than threads, a thread that spins delays the others.
    spin_time_ = threads <= ProcessorCount() ? kSpinTime : kSpinTime.zero();
    std::fegetenv(&floating_point_);
    offered_ = std::min(Count(), threads - 1);
    unfinished_ = offered_;
    for (int32_t i = 0; i < offered_; ++i) {
      Worker& worker = *workers_[static_cast<size_t>(i)];
      worker.has_offer = true;
      worker.Signal();
    }
  }
  // Does the shares of workers that have not begun, because they have not woken up or have no
  // processor.
  void Help() {
    for (int32_t i = 0; i < offered_; ++i) {
      if (!workers_[static_cast<size_t>(i)]->has_offer.exchange(false)) continue;
      job_->Run({i + 1, count_});
      unfinished_.fetch_sub(1);
    }
  }
  // Waits until the workers have ended the job.
  void Join() {
    int32_t left = unfinished_;
    while (left != 0) left = ChangedFrom(left, unfinished_, spin_time_);
  }

  void End() {
    ForgetAfterFork();
    ending_ = true;
    for (const auto& worker : workers_) worker->Signal();
    for (const auto& worker : workers_) worker->thread.join();
    workers_.clear();
    ending_ = false;
  }

 private:
  struct Worker {
    std::atomic<uint32_t> signals{0};  // offers, and the end
    // Whether there is a share that neither this worker nor the caller has begun.
    std::atomic<bool> has_offer{false};
    std::thread thread;

    void Signal() {
      signals.fetch_add(1);
      signals.notify_one();
    }
  };

  int32_t Count() const { return static_cast<int32_t>(workers_.size()); }

  static U_Err CreateOne(void* context) {
    auto* const all = static_cast<Workers*>(context);
    try {
      auto made = std::make_unique<Worker>();
      all->workers_.reserve(all->workers_.size() + 1);
      Worker* const worker = made.get();
      worker->thread =
          std::thread([all, worker, index = all->Count() + 1] { all->Work(worker, index); });
      all->workers_.push_back(std::move(made));
      return VX_Ok;
    } catch (const std::exception&) {  // no thread, or no memory for its arguments
      return VX_ErrOutOfMemory;
    }
  }

  // The members for the job do not change while a share of it is not finished.
  void Work(Worker* worker, int32_t index) {
    std::chrono::microseconds spin_time{0};
    for (uint32_t seen = 0;;) {
      seen = ChangedFrom(seen, worker->signals, spin_time);
      if (ending_) return;
      if (!worker->has_offer.exchange(false)) continue;
      spin_time = spin_time_;
      std::fesetenv(&floating_point_);
      job_->Run({index, count_});
      if (unfinished_.fetch_sub(1) == 1) unfinished_.notify_one();
    }
  }

  // A process that was created by fork has no workers, and cannot join those of its parent.
  void ForgetAfterFork() {
    const pid_t process = getpid();
    if (process == process_) return;
    for (auto& worker : workers_) static_cast<void>(worker.release());
    workers_.clear();
    process_ = process;
  }

  std::vector<std::unique_ptr<Worker>> workers_;
  pid_t process_ = 0;
  Job* job_ = nullptr;
  int32_t count_ = 0;    // threads of the fan-out
  int32_t offered_ = 0;  // shares that were offered to workers
  std::chrono::microseconds spin_time_{0};
  std::fenv_t floating_point_{};
  std::atomic<int32_t> unfinished_{0};  // shares that were offered and are not finished
  std::atomic<bool> ending_{false};
};

// Never destroyed: at the end of a process without VX_Death, workers may still wait.
Workers& TheWorkers() {
  static Workers* const workers = new Workers;
  return *workers;
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
  Workers& workers = TheWorkers();
  running = true;
  const bool created = workers.Create(threads);
  workers.Start(&job, threads);
  if (created) {
    job.Run({0, threads});
    workers.Help();
  }
  workers.Join();
  running = false;
  if (!created) {
    const char* const text = U_ZStringToMBString(kThreadFailure);
    VXp_StoreReport(text);
    Up_ReportErrString(0, VX_ErrOutOfMemory, text);
  }
  return created && !job.failed;
}

void FnEndThreads() {
  const std::lock_guard lock(FanOutMutex());
  TheWorkers().End();
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
