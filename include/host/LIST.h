// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// LIST: growable arrays of entries of equal size. A list may be used by one thread at a time.
#pragma once

#include <cstdint>

#include "host/U.h"

inline constexpr int32_t LIST_PKG_VERSION = 9;

// See U_CheckVersions.
VXHOST_API U_Err LIST_CheckVersions(uint32_t code, int32_t wanted);

struct LIST_List;

// Creates an empty list.
//   kind, initial, growth   always 2, 1, 1
//   entry_size              in bytes, at least 1
//   out                     receives the list; null on failure
// Returns bad argument (3) for an invalid entry_size or null `out`; out of memory (4).
VXHOST_API U_Err LIST_New(int32_t kind, int32_t entry_size, int32_t initial, int32_t growth,
                          LIST_List** out);

// Inserts a copy of `entry` before entry `index`; -1 or the number of entries appends it. Returns
// bad argument (3) for another index, a null pointer or a locked list; out of memory (4). On
// failure the list is unchanged.
VXHOST_API U_Err LIST_Insert(LIST_List* list, int32_t index, const void* entry);

// Returns the number of entries; 0 for null.
VXHOST_API int32_t LIST_Count(const LIST_List* list);

// Locks the list and stores the address of its first entry, 16-byte aligned. The address is valid
// until LIST_Unlock. Returns bad argument (3) for null.
VXHOST_API U_Err LIST_GetAddress(LIST_List* list, void** out);

// Reverses one call of LIST_GetAddress. Returns bad argument (3) for null or an unlocked list.
VXHOST_API U_Err LIST_Unlock(LIST_List* list);

// Frees the list, also while locked. Null is ignored. Returns 0.
VXHOST_API U_Err LIST_Dispose(LIST_List* list);
