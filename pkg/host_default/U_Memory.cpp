// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "HostInternal.h"
#include "host/BM.h"

namespace {

// On supported platforms malloc aligns to 16 bytes.
static_assert(alignof(std::max_align_t) >= 16);

void* BuiltInAllocate(size_t size, void*) { return std::malloc(size); }
void BuiltInRelease(void* block, void*) { std::free(block); }

constexpr VXHost_Allocator kBuiltIn = {BuiltInAllocate, BuiltInRelease, nullptr};

constinit VXHost_Allocator frame_source = kBuiltIn;
constinit VXHost_Allocator block_source = kBuiltIn;

constinit std::atomic<int64_t> live_frames{0};
constinit std::atomic<int64_t> live_blocks{0};
constinit std::atomic<int64_t> live_bytes{0};
constinit std::atomic<int64_t> accounted{0};

struct Purge {
  VXHost_PurgeProc function;
  void* context;
};
constinit Purge purge = {};

// Stored before each block. Its size is a multiple of 16, so that the block stays aligned.
struct alignas(16) Header {
  size_t size;
};

void LogShortage(const char* label, size_t size) {
  char text[160];
  std::snprintf(text, sizeof text, "%.100s: %zu bytes", label ? label : "", size);
  host::Log(/*level=*/1, "U", "OutOfMemory", text);
}

}  // namespace

namespace host {

void* AllocateBlock(const char* label, size_t size) {
  void* raw = nullptr;
  if (size <= PTRDIFF_MAX - sizeof(Header)) {
    raw = block_source.allocate(size + sizeof(Header), block_source.context);
  }
  if (!raw) {
    LogShortage(label, size);
    return nullptr;
  }
  Header* header = static_cast<Header*>(raw);
  header->size = size;
  ++live_blocks;
  live_bytes += static_cast<int64_t>(size);
  return header + 1;
}

void* AllocateBlockClear(const char* label, size_t size) {
  void* block = AllocateBlock(label, size);
  if (block) std::memset(block, 0, size);
  return block;
}

size_t SizeOfBlock(const void* block) { return (static_cast<const Header*>(block) - 1)->size; }

void FreeBlock(void* block) {
  if (!block) return;
  Header* header = static_cast<Header*>(block) - 1;
  --live_blocks;
  live_bytes -= static_cast<int64_t>(header->size);
  block_source.release(header, block_source.context);
}

}  // namespace host

// ---- Blocks, handles, objects -------------------------------------------------------------------

void* U_AllocatePtr(uint32_t, const char* label, size_t size, int32_t) {
  return host::AllocateBlock(label, size);
}

void* U_AllocatePtrClear(uint32_t, const char* label, size_t size, int32_t) {
  return host::AllocateBlockClear(label, size);
}

void U_FreePtr(void* block) { host::FreeBlock(block); }

void** U_AllocateHandle(uint32_t, const char* label, size_t size) {
  void** handle = static_cast<void**>(host::AllocateBlock(label, sizeof(void*)));
  if (!handle) return nullptr;
  *handle = host::AllocateBlock(label, size);
  if (*handle) return handle;
  host::FreeBlock(handle);
  return nullptr;
}

void** U_AllocateHandleClear(uint32_t check, const char* label, size_t size) {
  void** handle = U_AllocateHandle(check, label, size);
  if (handle) std::memset(*handle, 0, size);
  return handle;
}

void U_FreeHandle(void** handle) {
  if (!handle) return;
  host::FreeBlock(*handle);
  host::FreeBlock(handle);
}

size_t U_GetHandleSize(void** handle) { return handle ? host::SizeOfBlock(*handle) : 0; }

U_Err U_SetHandleSize(void** handle, size_t size) {
  if (!handle) return 3;
  void* moved = host::AllocateBlock("resized handle", size);
  if (!moved) return 4;
  std::memcpy(moved, *handle, std::min(size, host::SizeOfBlock(*handle)));
  host::FreeBlock(*handle);
  *handle = moved;
  return 0;
}

void* U_MemTrackedObject::operator new(size_t size) noexcept {
  return host::AllocateBlock("object", size);
}

void U_MemTrackedObject::operator delete(void* block) noexcept { host::FreeBlock(block); }

// ---- Frames -------------------------------------------------------------------------------------

void BM_AllocateFrameQuiet(uint64_t size, int32_t, void** out) {
  if (!out) return;
  *out = nullptr;
  if (size <= PTRDIFF_MAX) {
    *out = frame_source.allocate(std::max<size_t>(size, 1), frame_source.context);
  }
  if (*out) {
    ++live_frames;
  } else {
    LogShortage("frame", size);
  }
}

void BM_FreeFrame(void* frame, uint64_t) {
  if (!frame) return;
  --live_frames;
  frame_source.release(frame, frame_source.context);
}

// ---- Memory shortage and accounting -------------------------------------------------------------

U_Err U_PurgeLoop(int64_t size, int32_t, U_PurgeProc callback, void* context) {
  if (!callback) return 3;
  if (callback(context) == 0) return 0;
  if (purge.function) purge.function(size, purge.context);
  host::PurgeCache(size);
  return callback(context) == 0 ? 0 : 4;
}

void U_AccountAllocation(int64_t bytes) { accounted += bytes; }

// ---- Settings -----------------------------------------------------------------------------------

void VXHost_SetFrameAllocator(const VXHost_Allocator* allocator) {
  frame_source = allocator ? *allocator : kBuiltIn;
}

void VXHost_SetAllocator(const VXHost_Allocator* allocator) {
  block_source = allocator ? *allocator : kBuiltIn;
}

VXHost_Memory VXHost_GetMemory() { return {live_frames, live_blocks, live_bytes, accounted}; }

void VXHost_SetPurgeFunction(VXHost_PurgeProc function, void* context) {
  purge = {function, context};
}
