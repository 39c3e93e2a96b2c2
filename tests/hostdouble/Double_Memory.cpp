// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "State.h"
#include "host/BM.h"
#include "host/EMUL.h"
#include "host/LIST.h"

using hostdouble::Enter;
using hostdouble::State;
using hostdouble::TheState;
using Allocation = HostDouble::Allocation;

namespace {

// Stands right before each block.
struct Header {
  void* raw;
  uint64_t size;
};
static_assert(sizeof(Header) == 16);

bool MustFail(State& state) {
  ++state.attempts;
  return state.attempts == state.fail_at;
}

}  // namespace

namespace hostdouble {

void* Allocate(Allocation::Kind kind, uint32_t check, const char* label, uint64_t size) {
  State& state = TheState();
  const std::lock_guard lock(state.mutex);
  const bool fits = size <= PTRDIFF_MAX - 64;
  const bool refused = MustFail(state);
  void* raw = fits && !refused ? std::malloc(size + sizeof(Header)) : nullptr;
  if (state.recording) {
    state.allocations.push_back({kind, check, label ? label : "", size, raw == nullptr});
  }
  if (!raw) return nullptr;
  std::byte* block = static_cast<std::byte*>(raw) + sizeof(Header);
  const Header header = {raw, size};
  std::memcpy(block - sizeof(Header), &header, sizeof header);
  std::memset(block, 0xA5, size);
  ++state.live;
  return block;
}

uint64_t Free(void* block) {
  if (!block) return 0;
  Header header;
  std::memcpy(&header, static_cast<std::byte*>(block) - sizeof header, sizeof header);
  State& state = TheState();
  const std::lock_guard lock(state.mutex);
  --state.live;
  std::free(header.raw);
  return header.size;
}

}  // namespace hostdouble

void* U_AllocatePtr(uint32_t check, const char* label, size_t size, int32_t) {
  return hostdouble::Allocate(Allocation::kBlock, check, label, size);
}

void* U_AllocatePtrClear(uint32_t check, const char* label, size_t size, int32_t flags) {
  void* block = U_AllocatePtr(check, label, size, flags);
  if (block) std::memset(block, 0, size);
  return block;
}

void U_FreePtr(void* block) { hostdouble::Free(block); }

void** U_AllocateHandle(uint32_t check, const char* label, size_t size) {
  const auto allocate = [&](size_t bytes) {
    return hostdouble::Allocate(Allocation::kHandle, check, label, bytes);
  };
  void** handle = static_cast<void**>(allocate(sizeof(void*)));
  if (!handle) return nullptr;
  *handle = allocate(size);
  if (*handle) return handle;
  hostdouble::Free(handle);
  return nullptr;
}

void** U_AllocateHandleClear(uint32_t check, const char* label, size_t size) {
  void** handle = U_AllocateHandle(check, label, size);
  if (handle) std::memset(*handle, 0, size);
  return handle;
}

void U_FreeHandle(void** handle) {
  if (!handle) return;
  hostdouble::Free(*handle);
  hostdouble::Free(handle);
}

void* U_MemTrackedObject::operator new(size_t size) noexcept {
  return hostdouble::Allocate(Allocation::kObject, 0, "", size);
}

void U_MemTrackedObject::operator delete(void* block) noexcept { hostdouble::Free(block); }

U_Err U_PurgeLoop(int64_t size, int32_t flags, U_PurgeProc callback, void* context) {
  if (const U_Err error = Enter("U_PurgeLoop", {size, flags})) return error;
  if (!callback) return 3;
  if (callback(context) == 0) return 0;
  return callback(context) == 0 ? 0 : 4;
}

void U_AccountAllocation(int64_t bytes) {
  const std::lock_guard lock(TheState().mutex);
  TheState().accounted += bytes;
}

void BlockMove(const void* from, void* to, size_t size) {
  if (size > 0) std::memmove(to, from, size);
}

// ---- Frames and bitmaps -------------------------------------------------------------------------

void BM_AllocateFrameQuiet(uint64_t size, int32_t, void** out) {
  *out = hostdouble::Allocate(Allocation::kFrame, 0, "", size);
}

void BM_FreeFrame(void* frame, uint64_t size) {
  if (!frame) return;
  const uint64_t allocated = hostdouble::Free(frame);
  const std::lock_guard lock(TheState().mutex);
  if (TheState().recording) TheState().frame_frees.push_back({allocated, size});
}

void BM_ReportWorldAllocationFailure(U_Err code, int32_t rowbytes, int32_t width, int32_t height,
                                     int32_t bits_per_pixel) {
  Enter("BM_ReportWorldAllocationFailure", {code, rowbytes, width, height, bits_per_pixel});
  hostdouble::Report(0, 0, 8, "world allocation failure");
}

U_Err BM_NewWorld(int32_t zero1, int32_t eight, const M_Rect& area, int32_t bits_per_pixel,
                  int32_t zero2, int32_t zero3, BM_World*** out) {
  if (out) *out = nullptr;
  if (const U_Err error = Enter("BM_NewWorld", {zero1, eight, area.top, area.left, area.bottom,
                                                area.right, bits_per_pixel, zero2, zero3})) {
    return error;
  }
  const int32_t width = area.right - area.left;
  const int32_t height = area.bottom - area.top;
  const bool known_depth = bits_per_pixel == 32 || bits_per_pixel == 64 || bits_per_pixel == 128;
  if (!out || width <= 0 || height <= 0 || !known_depth) return 3;

  const auto allocate = [](uint64_t bytes) {
    void* block = hostdouble::Allocate(Allocation::kBitmap, 0, "", bytes);
    if (block) std::memset(block, 0, bytes);
    return block;
  };
  const int32_t rowbytes = (width * bits_per_pixel / 8 + 15) / 16 * 16;
  BM_World** handle = static_cast<BM_World**>(allocate(sizeof(BM_World*)));
  BM_World* world = handle ? static_cast<BM_World*>(allocate(sizeof(BM_World))) : nullptr;
  void* pixels = world ? allocate(uint64_t(rowbytes) * uint64_t(height)) : nullptr;
  if (!pixels) {
    hostdouble::Free(world);
    hostdouble::Free(handle);
    return 4;
  }
  world->base = TheState().hide_bitmap_base ? nullptr : pixels;
  world->rowbytes = rowbytes;
  world->width = width;
  world->height = height;
  world->bits_per_pixel = int16_t(bits_per_pixel);
  world->private_block = pixels;
  *handle = world;
  *out = handle;
  return 0;
}

U_Err BM_LoadLockPixels(int32_t one, BM_World** world, int32_t zero1, int32_t zero2) {
  if (const U_Err error = Enter("BM_LoadLockPixels", {one, zero1, zero2})) return error;
  if (!world) return 3;
  ++(*world)->lock_count;
  return 0;
}

void BM_UnlockPixels(BM_World** world) {
  Enter("BM_UnlockPixels", {});
  if (world && (*world)->lock_count > 0) --(*world)->lock_count;
}

void BM_DisposeWorld(BM_World** world) {
  Enter("BM_DisposeWorld", {});
  if (!world) return;
  hostdouble::Free((*world)->private_block);
  hostdouble::Free(*world);
  hostdouble::Free(world);
}

void* BMp_GetPixBaseAddr(BM_World** world) {
  Enter("BMp_GetPixBaseAddr", {});
  return world ? (*world)->private_block : nullptr;
}

int32_t BM_GetChannelOrder(BM_World** world) {
  return world ? (*world)->channel_order : BM_ORDER_ARGB;
}

// ---- Lists --------------------------------------------------------------------------------------

struct LIST_List {
  size_t entry_size;
  int32_t count;
  int32_t lock_count;
  std::byte* entries;  // a block of just this many entries
};

U_Err LIST_New(int32_t kind, int32_t entry_size, int32_t initial, int32_t growth, LIST_List** out) {
  if (out) *out = nullptr;
  if (const U_Err error = Enter("LIST_New", {kind, entry_size, initial, growth})) return error;
  if (!out || entry_size < 1) return 3;
  void* block = hostdouble::Allocate(Allocation::kList, 0, "", sizeof(LIST_List));
  if (!block) return 4;
  *out = new (block) LIST_List{size_t(entry_size), 0, 0, nullptr};
  return 0;
}

U_Err LIST_Insert(LIST_List* list, int32_t index, const void* entry) {
  if (const U_Err error = Enter("LIST_Insert", {index})) return error;
  if (!list || !entry || list->lock_count > 0) return 3;
  if (index == -1) index = list->count;
  if (index < 0 || index > list->count) return 3;
  const size_t before = size_t(index) * list->entry_size;
  const size_t after = size_t(list->count - index) * list->entry_size;
  const size_t bytes = before + list->entry_size + after;
  void* block = hostdouble::Allocate(Allocation::kList, 0, "", bytes);
  if (!block) return 4;
  std::byte* entries = static_cast<std::byte*>(block);
  BlockMove(list->entries, entries, before);
  BlockMove(entry, entries + before, list->entry_size);
  if (after > 0) BlockMove(list->entries + before, entries + before + list->entry_size, after);
  hostdouble::Free(list->entries);
  list->entries = entries;
  ++list->count;
  return 0;
}

int32_t LIST_Count(const LIST_List* list) { return list ? list->count : 0; }

U_Err LIST_GetAddress(LIST_List* list, void** out) {
  if (const U_Err error = Enter("LIST_GetAddress", {})) return error;
  if (!list || !out) return 3;
  ++list->lock_count;
  *out = list->entries;
  return 0;
}

U_Err LIST_Unlock(LIST_List* list) {
  if (const U_Err error = Enter("LIST_Unlock", {})) return error;
  if (!list || list->lock_count == 0) return 3;
  --list->lock_count;
  return 0;
}

U_Err LIST_Dispose(LIST_List* list) {
  const U_Err error = Enter("LIST_Dispose", {});
  if (!list) return error;
  hostdouble::Free(list->entries);
  hostdouble::Free(list);
  return error;
}
