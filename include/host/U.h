// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// U: the host's utilities: versions, processor, reports, strings, memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>

#include "host/VXHostApi.h"

typedef int32_t U_Err;

// ---- Versions -----------------------------------------------------------------------------------

// The version of this header, for U_CheckVersions.
inline constexpr int32_t U_PKG_VERSION = 61;

// Returns 0 if `wanted` is the version that the host was built with, else version mismatch (7).
// `code` identifies the calling package, for information only.
VXHOST_API U_Err U_CheckVersions(uint32_t code, int32_t wanted);

// ---- Processor ----------------------------------------------------------------------------------

// Indices in the processor record, an array of words at U_G_CPU_DataP. The processor has the
// instruction set if its word is not 0.
inline constexpr int32_t U_CPU_HAS_MMX = 1;
inline constexpr int32_t U_CPU_HAS_SSE = 2;
inline constexpr int32_t U_CPU_HAS_SSE2 = 3;
inline constexpr int32_t U_CPU_HAS_SSE3 = 4;
inline constexpr int32_t U_CPU_HAS_SSSE3 = 8;
inline constexpr int32_t U_CPU_WORDS = 9;

// Index of the word that selects the precision of the unclipped bilinear sampler of 8 bits
// (VX_Sampling.h). If the word is U_CPU_SAMPLING_SINGLE, the sampler computes in single precision
// on every machine. With any other value it computes in single precision if U_CPU_HAS_SSE2 is set,
// else in double precision. The embedded host always stores U_CPU_SAMPLING_SINGLE.
inline constexpr int32_t U_CPU_SAMPLING = 0;
inline constexpr uint32_t U_CPU_SAMPLING_SINGLE = 0x53494E47;

// The processor record, at least U_CPU_WORDS words. The pointer is never null and is valid before
// main. The words must not change while operations run.
extern VXHOST_API uint32_t* U_G_CPU_DataP;

// Returns the number of threads that the generic iterator may use, at least 1. Callers allocate
// scratch per thread, so it must not increase while an operation runs.
VXHOST_API int32_t U_GetNumThreads();

// ---- Reports ------------------------------------------------------------------------------------
//
// All calls are thread-safe except Up_ReportError.

// The working storage of Up_ReportError, and the text that it shows (Up_G_buffer). Shared by the
// whole process without a lock, so they are used only at birth and death, on one thread.
extern VXHOST_API int32_t Up_G_err_buf[64];
extern VXHOST_API char Up_G_buffer[1024];

// Reports a failed internal check, which is a programming error.
//   check   identifier of the package ORed with a small number
//   line    source line
//   zero    always 0
//   text    copied; null is treated as empty
VXHOST_API void U_ReportFailedVerification(uint32_t check, int32_t line, int32_t zero,
                                           const char* text);

// Reports an error to the user. `severity` is always 8. The text is copied; null is treated as
// empty. Returns 0.
VXHOST_API U_Err Up_ReportErrString(uint32_t check, int32_t severity, const char* text);

// Like Up_ReportErrString, with the text in Up_G_buffer and `kind` as severity.
VXHOST_API U_Err Up_ReportError(uint32_t code, int32_t kind);

// Reports the text of a standard exception. Returns 4 (out of memory) for std::bad_alloc and
// derived classes, else 516 (reported and handled).
VXHOST_API U_Err U_TranslateAndReportException(const std::exception& exception);

// ---- Strings ------------------------------------------------------------------------------------

// An entry of a string table. `text` has the form "$$$/key/of/the/text=text". `zero` is 0.
struct U_ZEntry {
  const char* text;
  uintptr_t zero[3];
};

// The string table of a package. `self` is the address of the struct.
struct U_ZRef {
  const U_ZRef* self;
  const char* package;
  int32_t count;
  const U_ZEntry* entries;
};

// Returns the text of entry `index` of the table `zref` (a const U_ZRef*), in the user's language;
// null if zref is null or index is not in 0..count-1. The text is valid as long as the table.
VXHOST_API const char* U_ZLookupLStrCache(const void* zref, int32_t index);

// Return the text after "=" of a string "$$$/key=text", in the user's language. Any other string is
// returned unchanged; for null they return null. The text is valid as long as the argument.
VXHOST_API const char* U_ZLookup(const char* key);
VXHOST_API const char* U_ZStringToMBString(const char* key);

// Copies `form` to `buffer`, with ^L1 to ^L9 replaced by values[0] to values[8] in decimal.
//   size    of the buffer in bytes, including the terminating zero
//   count   number of values; placeholders with a higher number are copied unchanged
// Returns bad argument (3) if the result does not fit or a pointer is null; the buffer then
// contains "".
VXHOST_API U_Err U_SubString(char* buffer, size_t size, const char* form, const int32_t* values,
                             int32_t count);

// ---- Memory -------------------------------------------------------------------------------------
//
// All calls are thread-safe; memory may be freed on another thread.

// Base class that allocates through the host. `new` of a derived class returns null without calling
// the constructor if out of memory. Has no fields and no virtual functions.
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

// Allocates a block, 16-byte aligned. Returns null if out of memory. The Clear variant sets it to
// 0.
//   check, label   describe the purpose; label may be null
//   size           in bytes; 0 is valid
//   flags          always 0
VXHOST_API void* U_AllocatePtr(uint32_t check, const char* label, size_t size, int32_t flags);
VXHOST_API void* U_AllocatePtrClear(uint32_t check, const char* label, size_t size, int32_t flags);

// Frees a block of U_AllocatePtr. Null is ignored.
VXHOST_API void U_FreePtr(void* block);

// Allocates a handle: a pointer to the pointer to a 16-byte aligned block. Returns null if out of
// memory. Size 0 is valid. The block does not move while it is in use.
VXHOST_API void** U_AllocateHandle(uint32_t check, const char* label, size_t size);
VXHOST_API void** U_AllocateHandleClear(uint32_t check, const char* label, size_t size);

// Frees a handle and its block. Null is ignored.
VXHOST_API void U_FreeHandle(void** handle);

// Returns the size of a handle's block in bytes, as requested; 0 for null.
VXHOST_API size_t U_GetHandleSize(void** handle);

// Changes the size of a handle's block, which moves, and preserves its contents up to the smaller
// size; bytes that are added are not initialised. Returns bad argument (3) for null; out of memory
// (4), with the handle unchanged.
VXHOST_API U_Err U_SetHandleSize(void** handle, size_t size);

// An attempt to allocate something. Returns 0 on success.
typedef U_Err (*U_PurgeProc)(void* context);

// Calls `callback`. If it fails, requests the host to free about `size` bytes and calls it once
// more. Returns 0 on success, out of memory (4) if both calls failed, bad argument (3) if callback
// is null. Exceptions of the callback propagate.
VXHOST_API U_Err U_PurgeLoop(int64_t size, int32_t flags, U_PurgeProc callback, void* context);

// Informs the host of memory that is allocated (positive) or freed (negative) by other means.
VXHOST_API void U_AccountAllocation(int64_t bytes);
