// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <sched.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "host/VXHost.h"

namespace {

constinit uint32_t record[U_CPU_WORDS] = {};
constinit std::atomic<int32_t> num_threads{0};  // 0: not set

void Detect() {
  std::fill(std::begin(record), std::end(record), 0u);
  record[U_CPU_SAMPLING] = U_CPU_SAMPLING_SINGLE;
#if defined(__x86_64__) || defined(__i386__)
  __builtin_cpu_init();
  record[U_CPU_HAS_MMX] = __builtin_cpu_supports("mmx") != 0;
  record[U_CPU_HAS_SSE] = __builtin_cpu_supports("sse") != 0;
  record[U_CPU_HAS_SSE2] = __builtin_cpu_supports("sse2") != 0;
  record[U_CPU_HAS_SSE3] = __builtin_cpu_supports("sse3") != 0;
  record[U_CPU_HAS_SSSE3] = __builtin_cpu_supports("ssse3") != 0;
#endif
}

// Fills the processor record before main. It cannot be filled at first use, because callers read it
// through a pointer. 101 is the earliest priority that programs may use, so in a program that links
// this host statically, the record is set before any other initialiser. If the host is a shared
// library, the loader runs this function before the initialisers of the program.
__attribute__((constructor(101))) void DetectAtLoad() { Detect(); }

}  // namespace

constinit uint32_t* U_G_CPU_DataP = record;

void VXHost_SetProcessor(const uint32_t (&words)[U_CPU_WORDS]) {
  std::copy(std::begin(words), std::end(words), record);
  record[U_CPU_SAMPLING] = U_CPU_SAMPLING_SINGLE;
}

void VXHost_ResetProcessor() { Detect(); }

int32_t U_GetNumThreads() { return std::max(num_threads.load(std::memory_order_relaxed), 1); }

void VXHost_SetNumThreads(int32_t threads) { num_threads = std::max(threads, 1); }

int32_t VXHost_AllowedProcessors() {
  cpu_set_t allowed;
  CPU_ZERO(&allowed);
  const int count = sched_getaffinity(0, sizeof allowed, &allowed) == 0
                        ? CPU_COUNT(&allowed)
                        : static_cast<int>(std::thread::hardware_concurrency());
  return std::max(count, 1);
}

void VXHost_SetLibraryThreads(int32_t threads) {
  if (threads > 0) {
    VXHost_SetNumThreads(threads);
  } else if (num_threads == 0) {
    VXHost_SetNumThreads(VXHost_AllowedProcessors());
  }
}
