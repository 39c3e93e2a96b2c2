// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// U: the host's utilities. Versions, processor record, reports, strings, memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>

#include "host/VXHostApi.h"

typedef int32_t U_Err;

// ---- Versions -----------------------------------------------------------------------------------

// The header version that U_CheckVersions of a matching host accepts.
inline constexpr int32_t U_PKG_VERSION = 61;

// Gives 0 when `wanted` is the version that this host was built with, else 7. `code` names the
// asking package and is only for the host's own records.
VXHOST_API U_Err U_CheckVersions(uint32_t code, int32_t wanted);

// ---- Processor ----------------------------------------------------------------------------------

// Positions in the processor record. A word is true when it is not zero.
inline constexpr int32_t U_CPU_HAS_MMX = 1;
inline constexpr int32_t U_CPU_HAS_SSE = 2;
inline constexpr int32_t U_CPU_HAS_SSE2 = 3;
inline constexpr int32_t U_CPU_HAS_SSE3 = 4;
inline constexpr int32_t U_CPU_HAS_SSSE3 = 8;
inline constexpr int32_t U_CPU_WORDS = 9;

// The processor record: at least U_CPU_WORDS words. Never null, and filled before main. A host must
// not change it while operations run.
extern VXHOST_API uint32_t* U_G_CPU_DataP;

// The number of threads on which the generic iterator may run its function, at least 1. Callers
// size per-thread scratch by it, so it must not grow while an operation runs.
VXHOST_API int32_t U_GetNumThreads();

// ---- Reports ------------------------------------------------------------------------------------
//
// Any thread may report, but for Up_ReportError and its storage.

// Working storage of the error text that Up_ReportError shows. One per process and unlocked: it is
// for start and stop, which run on one thread.
extern VXHOST_API int32_t Up_G_err_buf[64];
extern VXHOST_API char Up_G_buffer[1024];

// A programmer's error: a check inside a package failed. `check` is the package word ORed with a
// small number, `line` the source line, `zero` is 0. A null text counts as empty. The text is
// copied before the call returns.
VXHOST_API void U_ReportFailedVerification(uint32_t check, int32_t line, int32_t zero,
                                           const char* text);

// An error for the user's eyes. `severity` is 8 in this system. A null text counts as empty; the
// text is copied. Gives 0.
VXHOST_API U_Err Up_ReportErrString(uint32_t check, int32_t severity, const char* text);

// As Up_ReportErrString, with the text that stands in Up_G_buffer and `kind` as its severity.
// Gives 0.
VXHOST_API U_Err Up_ReportError(uint32_t code, int32_t kind);

// Turns a caught standard exception into a code, after reporting its text: 4 for std::bad_alloc and
// what derives from it, 516 ("reported and handled") for all others.
VXHOST_API U_Err U_TranslateAndReportException(const std::exception& exception);

// ---- Strings ------------------------------------------------------------------------------------

// One text of a string table. `text` is "$$$/key/of/the/text=words to show"; `zero` is 0.
struct U_ZEntry {
  const char* text;
  uintptr_t zero[3];
};

// A package's string table. `self` is the address of the record itself.
struct U_ZRef {
  const U_ZRef* self;
  const char* package;
  int32_t count;
  const U_ZEntry* entries;
};

// The words of entry `index` of the table `zref` (a const U_ZRef*), in the user's language. Null
// when zref is null or the index is not in 0..count-1. The result lives as long as the table.
VXHOST_API const char* U_ZLookupLStrCache(const void* zref, int32_t index);

// The words of a text of the form "$$$/key=words", in the user's language. A text that does not
// begin with "$$$" or has no "=" is its own words. Null gives null. The result lives as long as
// the argument, at least.
VXHOST_API const char* U_ZLookup(const char* key);
VXHOST_API const char* U_ZStringToMBString(const char* key);

// Writes `form` to `buffer` with ^L1 to ^L9 replaced by values[0] to values[8] in decimal. A mark
// whose number is above `count` stands as it is. `size` counts the closing zero. Gives 3 when the
// result does not fit or a pointer is null; a buffer of at least one byte then holds "".
VXHOST_API U_Err U_SubString(char* buffer, size_t size, const char* form, const int32_t* values,
                             int32_t count);

// ---- Memory -------------------------------------------------------------------------------------
//
// Any thread may allocate, and free what another one allocated.

// Allocation of objects through the host. `new` of a class derived from this one gives null, and
// runs no constructor, when memory is short. Adds no field and no virtual table.
class VXHOST_API U_MemTrackedObject {
 public:
  static void* operator new(size_t size) noexcept;
  static void* operator new(size_t, void* place) noexcept { return place; }
  static void operator delete(void* block) noexcept;
  static void operator delete(void*, void*) noexcept {}

 protected:
  U_MemTrackedObject() = default;
  ~U_MemTrackedObject() = default;
};

// A block of `size` bytes, 16-byte aligned, or null when memory is short. Size 0 gives a block. The
// Clear form sets it to zero. `check` and `label` (may be null) tell the host what it is for;
// `flags` is 0.
VXHOST_API void* U_AllocatePtr(uint32_t check, const char* label, size_t size, int32_t flags);
VXHOST_API void* U_AllocatePtrClear(uint32_t check, const char* label, size_t size, int32_t flags);

// Frees a block of U_AllocatePtr. Null is accepted.
VXHOST_API void U_FreePtr(void* block);

// A handle: a pointer to the pointer of a 16-byte aligned block. Null when memory is short. Size 0
// gives a valid handle. The block does not move while something reads it.
VXHOST_API void** U_AllocateHandle(uint32_t check, const char* label, size_t size);
VXHOST_API void** U_AllocateHandleClear(uint32_t check, const char* label, size_t size);

// Frees a handle and its block. Null is accepted.
VXHOST_API void U_FreeHandle(void** handle);

// Tries to obtain something scarce: gives 0 when it worked.
typedef U_Err (*U_PurgeProc)(void* context);

// Calls `callback`; when that fails, asks the host to free about `size` bytes and calls once more.
// Gives 0 when a call gave 0, 4 when both failed, 3 when callback is null. What the callback
// throws passes through.
VXHOST_API U_Err U_PurgeLoop(int64_t size, int32_t flags, U_PurgeProc callback, void* context);

// Tells the host of memory taken (positive) or given back (negative) outside its own allocators.
VXHOST_API void U_AccountAllocation(int64_t bytes);
