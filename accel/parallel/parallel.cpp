// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The module "parallel": the generic iterator (slot 53) on several threads. Operations of the
// library divide their rows or lines into items and pass them to this slot.
//
//   Threads   The calling thread takes part as thread 0, helpers of the module as 1, 2, ... A call
//             uses at most U_GetNumThreads() threads. Concurrent calls share the helpers: callers
//             and working helpers together are at most U_GetNumThreads() or the number of
//             processors, whichever is greater; if there are more callers, each works alone.
//   Items     start in order. Each is taken by the next free thread.
//   Errors    The first error in time is the result. No item starts after it. An exception is
//             passed on to the built-in iterator on the calling thread, which reports and
//             translates it.
//   Nesting   A call that is made by an item runs in the built-in iterator on the thread of the
//             item, with index 0 and the scratch memory of the inner operation. Thread 0 of an
//             operation is therefore always the thread that called the operation, and its progress
//             function is called there.
//   Serial    Calls with one item, with one thread or without a function are made by the built-in
//             iterator.
//   Helpers   are created by the first call that needs them, wait without using the processor, and
//             end at unload. Items run with the floating-point environment of the caller. Helpers
//             handle no asynchronous signals. A process created by fork() has helpers of its own.

#include <VX/VX_Accel.h>
#include <pthread.h>
#include <sched.h>

#include <algorithm>
#include <atomic>
#include <cfenv>
#include <condition_variable>
#include <csignal>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace {

using NumThreadsFunc = int32_t (*)();
constinit NumThreadsFunc num_threads = nullptr;
constinit VX_IterateGenericFunc built_in = nullptr;  // the routine that was in the slot
constinit thread_local bool is_in_call = false;

// A call of the iterator. It exists until all helpers have left it.
struct Call {
  Call(int32_t iterations, void* ref, VX_GenericFunc func, int32_t helpers)
      : count(iterations), refcon(ref), function(func), vacancies(helpers) {
    std::fegetenv(&floating_point);
  }

  void Work(int32_t thread) {
    while (!ended.load(std::memory_order_relaxed)) {
      const int64_t i = next.fetch_add(1, std::memory_order_relaxed);
      if (i >= count) return;
      VX_Err code = VX_Ok;
      std::exception_ptr thrown;
      try {
        code = function(refcon, thread, static_cast<int32_t>(i), count);
      } catch (...) {
        thrown = std::current_exception();
      }
      if (code == VX_Ok && !thrown) continue;
      if (ended.exchange(true)) return;
      error = code;
      exception = std::move(thrown);
    }
  }

  const int32_t count;
  void* const refcon;
  const VX_GenericFunc function;
  std::fenv_t floating_point;
  std::atomic<int64_t> next{0};
  std::atomic<bool> ended{false};
  VX_Err error = VX_Ok;  // error and exception are written by the thread that set `ended`
  std::exception_ptr exception;

  // Protected by the mutex of the pool.
  int32_t vacancies;  // helpers that may still join
  int32_t joined = 0, working = 0;
  std::condition_variable all_left;
  Call* following = nullptr;  // in the list of calls with vacancies
};

class Pool {
 public:
  Pool() {
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    if (sched_getaffinity(0, sizeof allowed, &allowed) == 0) processors_ = CPU_COUNT(&allowed);
  }
  ~Pool() {
    {
      const std::lock_guard lock(mutex_);
      ending_ = true;
      wake_.notify_all();
    }
    for (std::thread& helper : helpers_) helper.join();
  }

  void Run(Call& call) {
    std::unique_lock lock(mutex_);
    ++running_;
    limit_ = std::max(num_threads(), processors_);
    const int32_t wanted = std::min(call.vacancies, limit_ - running_);
    if (wanted > 0) {
      AddHelpers(wanted - idle_);
      for (int32_t i = std::min(wanted, idle_); i > 0; --i) wake_.notify_one();
    }
    Open(call);
    lock.unlock();
    is_in_call = true;
    call.Work(0);
    is_in_call = false;
    lock.lock();
    Close(call);
    call.all_left.wait(lock, [&] { return call.working == 0; });
    --running_;
    if (open_ != nullptr) wake_.notify_one();
  }

 private:
  // Fewer helpers are created if the system refuses a thread: the caller does their work.
  void AddHelpers(int32_t count) {
    count = std::min(count, limit_ - 1 - static_cast<int32_t>(helpers_.size()));
    if (count <= 0) return;
    sigset_t handled, before;
    sigfillset(&handled);
    for (const int fault : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGTRAP, SIGSYS}) {
      sigdelset(&handled, fault);
    }
    pthread_sigmask(SIG_BLOCK, &handled, &before);
    try {
      while (count-- > 0) helpers_.emplace_back([this] { Help(); });
    } catch (const std::exception&) {
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
  }

  void Help() {
    pthread_setname_np(pthread_self(), "vx-parallel");
    is_in_call = true;
    std::unique_lock lock(mutex_);
    while (!ending_) {
      Call* const call = running_ < limit_ ? open_ : nullptr;
      if (call == nullptr) {
        ++idle_;
        wake_.wait(lock);
        --idle_;
        continue;
      }
      const int32_t thread = ++call->joined;
      if (--call->vacancies == 0) Close(*call);
      ++call->working;
      ++running_;
      lock.unlock();
      std::fesetenv(&call->floating_point);
      call->Work(thread);
      lock.lock();
      --running_;
      // Under the lock, because the caller destroys the call as soon as it has seen the 0.
      if (--call->working == 0) call->all_left.notify_one();
    }
  }

  // Appends the call, so that earlier calls get their helpers first.
  void Open(Call& call) {
    Call** link = &open_;
    while (*link != nullptr) link = &(*link)->following;
    *link = &call;
  }
  void Close(Call& call) {
    Call** link = &open_;
    while (*link != nullptr && *link != &call) link = &(*link)->following;
    if (*link != nullptr) *link = call.following;
  }

  std::mutex mutex_;
  std::condition_variable wake_;
  std::vector<std::thread> helpers_;
  Call* open_ = nullptr;  // the calls with vacancies
  int32_t processors_ = 1;
  int32_t limit_ = 1;    // most callers and working helpers
  int32_t running_ = 0;  // callers and working helpers
  int32_t idle_ = 0;     // helpers that wait
  bool ending_ = false;
};

constinit Pool* pool = nullptr;

VX_Err Iterate(int32_t iterations, void* refcon, VX_GenericFunc function) {
  const int32_t threads =
      is_in_call || function == nullptr ? 1 : std::min(num_threads(), iterations);
  if (threads <= 1) return built_in(iterations, refcon, function);
  Call call(iterations, refcon, function, threads - 1);
  pool->Run(call);
  if (!call.exception) return call.error;
  return built_in(1, &call, [](void* of, int32_t, int32_t, int32_t) -> VX_Err {
    std::rethrow_exception(static_cast<Call*>(of)->exception);
  });
}

// The helpers do not exist in the new process. The earlier pool is not freed, because its mutex and
// its threads are in an undefined state.
void AfterFork() {
  if (pool != nullptr) pool = new Pool;
}

VX_Err Entry(int32_t selector, int32_t*, void* block, const uint16_t*) {
  if (selector == VX_ModuleSelector_Unload) {
    delete pool;
    pool = nullptr;
    return VX_Ok;
  }
  const auto* const vx = static_cast<VX_ModuleBlock*>(block);
  if (vx->slots->VX_IterateGeneric_Static == Iterate) return VX_Ok;  // a second scan
  static const int handled = pthread_atfork(nullptr, nullptr, AfterFork);
  if (handled != 0) return VX_ErrOutOfMemory;
  pool = new Pool;
  num_threads = vx->num_threads;
  built_in = vx->slots->VX_IterateGeneric_Static;
  vx->slots->VX_IterateGeneric_Static = Iterate;
  return VX_Ok;
}

}  // namespace

VX_MODULE("parallel: generic iterator on several threads", Entry)
