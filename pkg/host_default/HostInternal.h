// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Functions shared by the services of the embedded host.

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "host/VXHost.h"

namespace host {

// Allocates a 16-byte aligned block with the general allocator and counts it for VXHost_GetMemory.
// If out of memory, logs `label` (may be null) and the size, and returns null.
void* AllocateBlock(const char* label, size_t size);
void* AllocateBlockClear(const char* label, size_t size);

// Returns the size of a block as requested. The block must not be null.
size_t SizeOfBlock(const void* block);

// Frees a block. Null is ignored.
void FreeBlock(void* block);

// Purges entries of the cache that are not checked out, until `bytes` bytes are free or none is
// left.
void PurgeCache(int64_t bytes);

// Passes a report to the function set by VXHost_SetReportSink. If none is set, appends it to the
// reports of the calling thread (VXHost_TakeReports). Null text is treated as empty.
void Report(uint32_t check, int32_t line, int32_t severity, const char* text);

// Passes a line to the function of VXHost_SetLogSink, if there is one.
void Log(int32_t level, const char* component, const char* event, const char* text);

// Returns whether the extension of the file name has this type.
bool FileNameHasType(const char* name, uint32_t type);

// Counts pairs of calls: the number of begins minus the number of ends. Extra ends are ignored.
// Thread-safe.
class PairCount {
 public:
  void Begin() { ++count_; }
  void End() {
    int32_t now = count_;
    while (now > 0 && !count_.compare_exchange_weak(now, now - 1)) {
    }
  }
  int32_t Open() const { return count_; }

 private:
  std::atomic<int32_t> count_{0};
};

extern constinit PairCount byte_tables;
extern constinit PairCount trig_tables;
extern constinit PairCount window_modes;

}  // namespace host
