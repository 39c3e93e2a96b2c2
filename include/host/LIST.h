// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// LIST: growable arrays of entries of one size. A list is used by one thread at a time.
#pragma once

#include <cstdint>

#include "host/U.h"

inline constexpr int32_t LIST_PKG_VERSION = 9;

// As U_CheckVersions.
VXHOST_API U_Err LIST_CheckVersions(uint32_t code, int32_t wanted);

struct LIST_List;

// Stores a new empty list of entries of `entry_size` bytes. kind, initial, growth are 2, 1, 1 in
// this system. Gives 3 for a size below 1 or a null out, 4 when memory is short; null is stored
// then.
VXHOST_API U_Err LIST_New(int32_t kind, int32_t entry_size, int32_t initial, int32_t growth,
                          LIST_List** out);

// Copies an entry into the list, before the entry `index`; -1 or the count puts it last. Gives 3
// for another index, a null pointer or a locked list, 4 when memory is short; the list is then as
// before.
VXHOST_API U_Err LIST_Insert(LIST_List* list, int32_t index, const void* entry);

// The number of entries; 0 for null.
VXHOST_API int32_t LIST_Count(const LIST_List* list);

// Locks the list and stores the address of its first entry, 16-byte aligned; it holds until
// LIST_Unlock. Gives 3 for null.
VXHOST_API U_Err LIST_GetAddress(LIST_List* list, void** out);

// Undoes one LIST_GetAddress. Gives 3 for null or a list that is not locked.
VXHOST_API U_Err LIST_Unlock(LIST_List* list);

// Frees the list, locked or not. Null is accepted. Gives 0.
VXHOST_API U_Err LIST_Dispose(LIST_List* list);
