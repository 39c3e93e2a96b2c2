// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "host/LIST.h"

#include <cstring>
#include <new>

#include "HostInternal.h"

struct LIST_List {
  size_t entry_size;
  int32_t count;
  int32_t capacity;
  int32_t lock_count;
  std::byte* entries;  // null if capacity is 0
};

namespace {

bool Grow(LIST_List& list) {
  if (list.capacity > INT32_MAX / 2) return false;
  const int32_t capacity = list.capacity ? list.capacity * 2 : 4;
  const size_t bytes = static_cast<size_t>(capacity) * list.entry_size;
  std::byte* entries = static_cast<std::byte*>(host::AllocateBlock("list", bytes));
  if (!entries) return false;
  if (list.entries) {
    std::memcpy(entries, list.entries, static_cast<size_t>(list.count) * list.entry_size);
  }
  host::FreeBlock(list.entries);
  list.entries = entries;
  list.capacity = capacity;
  return true;
}

}  // namespace

U_Err LIST_New(int32_t, int32_t entry_size, int32_t, int32_t, LIST_List** out) {
  if (!out) return 3;
  *out = nullptr;
  if (entry_size < 1) return 3;
  void* place = host::AllocateBlock("list", sizeof(LIST_List));
  if (!place) return 4;
  *out = new (place) LIST_List{static_cast<size_t>(entry_size), 0, 0, 0, nullptr};
  return 0;
}

U_Err LIST_Insert(LIST_List* list, int32_t index, const void* entry) {
  if (!list || !entry || list->lock_count > 0) return 3;
  if (index == -1) index = list->count;
  if (index < 0 || index > list->count) return 3;
  if (list->count == list->capacity && !Grow(*list)) return 4;
  std::byte* place = list->entries + static_cast<size_t>(index) * list->entry_size;
  std::memmove(place + list->entry_size, place,
               static_cast<size_t>(list->count - index) * list->entry_size);
  std::memcpy(place, entry, list->entry_size);
  ++list->count;
  return 0;
}

int32_t LIST_Count(const LIST_List* list) { return list ? list->count : 0; }

U_Err LIST_GetAddress(LIST_List* list, void** out) {
  if (!list || !out) return 3;
  if (!list->entries && !Grow(*list)) return 4;
  ++list->lock_count;
  *out = list->entries;
  return 0;
}

U_Err LIST_Unlock(LIST_List* list) {
  if (!list || list->lock_count == 0) return 3;
  --list->lock_count;
  return 0;
}

U_Err LIST_Dispose(LIST_List* list) {
  if (!list) return 0;
  host::FreeBlock(list->entries);
  host::FreeBlock(list);
  return 0;
}
