// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Runs a function on all processors. The threads wait between fan-outs, at first without sleeping,
// and end at VX_Death; they take over the floating-point environment of the caller. One fan-out
// runs at a time in the process; others wait for it. A fan-out that is requested inside a fan-out
// runs on the calling thread.

#include <cstdint>

inline constexpr int32_t kFnMaxThreads = 256;
inline constexpr int32_t kFnMaxArguments = 6;

// `arguments` has kFnMaxArguments elements; those from `count` on are null.
using FnParallelFunction = void (*)(void* const* arguments, int32_t count);

// Calls `function` once for each thread, the calling thread included; the calling thread also does
// the shares of threads that have not begun when it has done its own. Returns false, after a
// report, if a thread could not be created, and false if the function threw an exception on any
// thread. The exception is translated and reported by the host; std::bad_alloc is not, because the
// exported calls report a lack of memory. If a thread could not be created, the threads before it
// do their share and the calling thread does not.
bool FnRunInParallelWith(FnParallelFunction function, int32_t count, void* const* arguments);

// Passes at most kFnMaxArguments arguments; others are dropped.
template <class... Arguments>
bool FnRunInParallel(FnParallelFunction function, int32_t count, Arguments*... arguments) {
  void* const list[] = {const_cast<void*>(static_cast<const void*>(arguments))..., nullptr};
  constexpr auto kGiven = static_cast<int32_t>(sizeof...(arguments));
  return FnRunInParallelWith(function, count < kGiven ? count : kGiven, list);
}

// The index of the share of the fan-out that the calling thread does; 0 is the first share of the
// thread that started it. 0 outside of a fan-out.
int32_t FnThreadIndex();
// The number of threads of a fan-out; 1 if multi-processing is off. At first it is the number of
// processors that the process may use, at most kFnMaxThreads.
int32_t FnThreadCount();
// Ignored while a fan-out runs. A value below 1 sets 1.
void FnSetThreadCount(int32_t count);
void FnSetMultiProcessing(bool on);
bool FnIsInParallel();
// Ends the waiting threads. The next fan-out creates new ones.
void FnEndThreads();

// Rows first..end - 1; empty if first >= end.
struct FnBand {
  int32_t first, end;
};

// Returns the part of `rows` rows of thread `index` of `count`. Bands have ceil(rows / count) rows;
// late threads may have none. It is the whole range for an index below 0 or a count below 1.
FnBand FnBandOf(int32_t rows, int32_t index, int32_t count);

// The band of the calling thread in its fan-out; the whole range outside of one.
FnBand FnBandOfThread(int32_t rows);
