// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <algorithm>
#include <atomic>

#include "host/VXHost.h"

namespace {

constinit uint32_t record[U_CPU_WORDS] = {};
constinit std::atomic<int32_t> num_threads{1};

void Detect() {
  std::fill(std::begin(record), std::end(record), 0u);
#if defined(__x86_64__) || defined(__i386__)
  __builtin_cpu_init();
  record[U_CPU_HAS_MMX] = __builtin_cpu_supports("mmx") != 0;
  record[U_CPU_HAS_SSE] = __builtin_cpu_supports("sse") != 0;
  record[U_CPU_HAS_SSE2] = __builtin_cpu_supports("sse2") != 0;
  record[U_CPU_HAS_SSE3] = __builtin_cpu_supports("sse3") != 0;
  record[U_CPU_HAS_SSSE3] = __builtin_cpu_supports("ssse3") != 0;
#endif
}

// Callers read the record through a pointer, so it cannot be set at first use. This is the earliest
// priority for programs: the record is set before any initialiser of a program that links this host
// statically. For the shared library, the loader ensures this.
__attribute__((constructor(101))) void DetectAtLoad() { Detect(); }

}  // namespace

constinit uint32_t* U_G_CPU_DataP = record;

void VXHost_SetProcessor(const uint32_t (&words)[U_CPU_WORDS]) {
  std::copy(std::begin(words), std::end(words), record);
}

void VXHost_ResetProcessor() { Detect(); }

int32_t U_GetNumThreads() { return num_threads; }

void VXHost_SetNumThreads(int32_t threads) { num_threads = std::max(threads, 1); }
