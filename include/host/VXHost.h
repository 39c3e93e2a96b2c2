// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// The settings of the embedded host, libVXHost. An embedder who is content with its services calls
// what he needs of this; one who brings his own host does not need this header.
//
// Unless a function says otherwise, settings are changed while no operation of the library runs;
// services read them without a lock. Callbacks must not throw, and run on the thread that caused
// them. Settings live until the process ends.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/U.h"

// ---- Memory -------------------------------------------------------------------------------------

// Where memory comes from. `allocate` gives null when there is none; sizes are at least 1.
// `release` never sees null. Both are called on any thread, several at once.
struct VXHost_Allocator {
  void* (*allocate)(size_t size, void* context);
  void (*release)(void* block, void* context);
  void* context;
};

// The source of frames (BM_AllocateFrameQuiet). Its blocks reach the caller as they are and must be
// 8-byte aligned; the built-in source gives 16. Null restores the built-in source. Set it while no
// frame is alive: a frame is released by the source of the day.
VXHOST_API void VXHost_SetFrameAllocator(const VXHost_Allocator* allocator);

// The source of everything else: blocks, handles, objects, bitmaps, lists. Its blocks must be
// 16-byte aligned. Null restores the built-in source. Set it while nothing of these is alive.
VXHOST_API void VXHost_SetAllocator(const VXHost_Allocator* allocator);

// What is alive now, for leak checks and displays. Sizes are those that callers asked for.
struct VXHost_Memory {
  int64_t frames;  // frames of BM_AllocateFrameQuiet
  int64_t blocks;  // all other blocks, a handle or a bitmap counting as two
  int64_t block_bytes;
  int64_t accounted;  // running sum of U_AccountAllocation
};
VXHOST_API VXHost_Memory VXHost_GetMemory();

// What was begun and not yet ended.
struct VXHost_Pairs {
  int32_t byte_tables;   // M_PrepareFCMD without its M_UnprepareFCMD
  int32_t trig_tables;   // M_PrepareFTrig without its M_UnprepareFTrig
  int32_t window_modes;  // EMUL_Begin... without its EMUL_End...
};
VXHOST_API VXHost_Pairs VXHost_GetPairs();

// Asked by U_PurgeLoop to free about `size` bytes. Null: nobody is asked.
typedef void (*VXHost_PurgeProc)(int64_t size, void* context);
VXHOST_API void VXHost_SetPurgeFunction(VXHost_PurgeProc purge, void* context);

// The bytes that caches may hold; 256 MiB at first, values below 0 count as 0. Any thread, any
// time.
VXHOST_API void VXHost_SetCacheBudget(int64_t bytes);
VXHOST_API int64_t VXHost_GetCacheBudget();

// ---- Processor and threads ----------------------------------------------------------------------

// Replaces the processor record of U_G_CPU_DataP, or sets it back to what this machine has. Set it
// before the library is born: routines are chosen then.
VXHOST_API void VXHost_SetProcessor(const uint32_t (&words)[U_CPU_WORDS]);
VXHOST_API void VXHost_ResetProcessor();

// The answer of U_GetNumThreads; 1 at first, values below 1 count as 1.
VXHOST_API void VXHost_SetNumThreads(int32_t threads);

// ---- Reports and log ----------------------------------------------------------------------------

struct VXHost_Report {
  uint32_t check;    // package word ORed with a small number; 0 for reports of the host itself
  int32_t line;      // source line of a failed verification, else 0
  int32_t severity;  // 0 for a failed verification, else as the reporter gave it (8 in most)
  std::string text;
};

// Receives every report. Null restores the default: each thread keeps its own newest 256.
typedef void (*VXHost_ReportSink)(uint32_t check, int32_t line, int32_t severity, const char* text,
                                  void* context);
VXHOST_API void VXHost_SetReportSink(VXHost_ReportSink sink, void* context);

// Gives the reports that the calling thread has kept, oldest first, and forgets them.
VXHOST_API std::vector<VXHost_Report> VXHost_TakeReports();

// Receives every line of the log. Null, as at first: there is no log.
typedef void (*VXHost_LogSink)(int32_t level, const char* component, const char* event,
                               const char* text, void* context);
VXHOST_API void VXHost_SetLogSink(VXHost_LogSink sink, void* context);

// ---- Modules and suites -------------------------------------------------------------------------

// Folders that the scan for modules visits, in this order. None at first.
VXHOST_API void VXHost_SetModuleFolders(const std::vector<std::string>& folders);
VXHOST_API std::vector<std::string> VXHost_GetModuleFolders();

// Runs the scans that were asked for with PLUG_InstallScan, in the order of asking: in the module
// folders, each regular file whose type (by FILE_AddExtensionMap) is the scan's last code goes to
// the per-file callback, in the order of names; then the finishing callback. A folder that cannot
// be read is reported and skipped. All files and all scans are visited whatever the callbacks give;
// the result is the first code that was not 0. Call it once after the library is born.
VXHOST_API U_Err VXHost_RunPlugScan();

// The table of a registered suite, null when there is none. `members`, which may be null, takes the
// number of its functions.
VXHOST_API const void* VXHost_FindSuite(const char* name, int32_t version, int32_t* members);

struct VXHost_Suite {
  std::string name;
  int32_t version;
  int32_t members;
  const void* table;
};

// All registered suites, by name and version.
VXHOST_API std::vector<VXHost_Suite> VXHost_ListSuites();
