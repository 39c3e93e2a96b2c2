// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// Settings of the embedded host, libVXHost. Only for programs that use the embedded host.
//
// Settings are read without a lock, so change them only while no operation of the library runs,
// unless stated otherwise. Callbacks must not throw. They are called on the thread on which the
// event occurs. Settings remain until the process ends.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/U.h"

// ---- Memory -------------------------------------------------------------------------------------

// An allocator. `allocate` returns null if out of memory; size is at least 1. `release` never
// receives null. Both must be thread-safe.
struct VXHost_Allocator {
  void* (*allocate)(size_t size, void* context);
  void (*release)(void* block, void* context);
  void* context;
};

// Sets the allocator of frames (BM_AllocateFrameQuiet). Its blocks must be 8-byte aligned; those of
// the default allocator are 16-byte aligned. Null restores the default. Call it while no frame
// exists, because a frame is freed with the allocator that is set at that time.
VXHOST_API void VXHost_SetFrameAllocator(const VXHost_Allocator* allocator);

// Sets the allocator of all other memory: blocks, handles, objects, bitmaps, lists. Its blocks must
// be 16-byte aligned. Null restores the default. Call it while none of these exist.
VXHOST_API void VXHost_SetAllocator(const VXHost_Allocator* allocator);

// The memory in use now, for leak checks and statistics. Sizes are as requested by callers.
struct VXHost_Memory {
  int64_t frames;  // frames of BM_AllocateFrameQuiet
  int64_t blocks;  // all other blocks; a handle or a bitmap counts as two
  int64_t block_bytes;
  int64_t accounted;  // sum of the arguments of U_AccountAllocation
};
VXHOST_API VXHost_Memory VXHost_GetMemory();

// For each pair of functions, the number of calls of the first minus the number of calls of the
// second.
struct VXHost_Pairs {
  int32_t byte_tables;   // M_PrepareFCMD minus M_UnprepareFCMD
  int32_t trig_tables;   // M_PrepareFTrig minus M_UnprepareFTrig
  int32_t window_modes;  // EMUL_Begin... minus EMUL_End...
};
VXHOST_API VXHost_Pairs VXHost_GetPairs();

// Sets a function that U_PurgeLoop calls to free about `size` bytes. Null: none.
typedef void (*VXHost_PurgeProc)(int64_t size, void* context);
VXHOST_API void VXHost_SetPurgeFunction(VXHost_PurgeProc purge, void* context);

// Sets the maximum number of bytes that entries of the cache (host/MC.h) use in memory, checked-out
// ones included. Default 256 MiB: the motion of 128 pairs of pictures of 1920 x 1080 at the default
// resolution. Negative values mean 0: every entry is purged at the end of its check-out.
// Thread-safe.
VXHOST_API void VXHost_SetCacheBudget(int64_t bytes);
VXHOST_API int64_t VXHost_GetCacheBudget();

// Sets where purged entries are stored, and the maximum size. Default: the folder for temporary
// files (TMPDIR, else /tmp), 1 GiB. At most 256 entries are stored, because each one is an open
// file. If files cannot be written there, entries are deleted instead. Thread-safe.
//   folder  null or "": the folder for temporary files
//   bytes   0: nothing is stored
VXHOST_API void VXHost_SetDiskCache(const char* folder, int64_t bytes);

// ---- Processor and threads ----------------------------------------------------------------------

// Overrides the flags of the processor record of U_G_CPU_DataP, or restores those of this machine.
// words[U_CPU_SAMPLING] is not read: the sampling rule does not depend on the processor. Call these
// before VX_Birth, which selects routines by the record.
VXHOST_API void VXHost_SetProcessor(const uint32_t (&words)[U_CPU_WORDS]);
VXHOST_API void VXHost_ResetProcessor();

// Sets the result of U_GetNumThreads. Default 1; values below 1 mean 1.
VXHOST_API void VXHost_SetNumThreads(int32_t threads);

// Returns the number of processors that the process may use (its affinity), at least 1.
VXHOST_API int32_t VXHost_AllowedProcessors();

// Sets the result of U_GetNumThreads for a program that uses vx::Library.
//   threads   at least 1; 0: VXHost_AllowedProcessors(), unless VXHost_SetNumThreads was called
VXHOST_API void VXHost_SetLibraryThreads(int32_t threads);

// ---- Reports and log ----------------------------------------------------------------------------

struct VXHost_Report {
  uint32_t check;    // as reported; 0 for reports of the host itself
  int32_t line;      // source line of a failed check, else 0
  int32_t severity;  // 0 for a failed check, else as reported (usually 8)
  std::string text;
};

// Sets a function that receives every report. Null restores the default: the host stores the latest
// 256 reports of each thread.
typedef void (*VXHost_ReportSink)(uint32_t check, int32_t line, int32_t severity, const char* text,
                                  void* context);
VXHOST_API void VXHost_SetReportSink(VXHost_ReportSink sink, void* context);

// Returns the reports stored for the calling thread, oldest first, and clears them.
VXHOST_API std::vector<VXHost_Report> VXHost_TakeReports();

// Sets a function that receives every log line. Null (default): no log.
typedef void (*VXHost_LogSink)(int32_t level, const char* component, const char* event,
                               const char* text, void* context);
VXHOST_API void VXHost_SetLogSink(VXHost_LogSink sink, void* context);

// ---- Modules and suites -------------------------------------------------------------------------

// Sets the folders that PLUG_RunScans visits, in this order. Default: the folder vx/modules beside
// the library of the embedded host, if it exists. Call it before the scan.
//
// The scan visits each file in the folders whose type (see FILE_AddExtensionMap) equals the last
// code of the request, in the order of names, and a file that has several paths once. Files in
// other folders below them are not visited. Folders that cannot be read are reported and skipped. A
// file is reported and not loaded if it is not a module, if its routine fails, or if every user may
// write the file or its folder; for a link, also the folder of the file that it refers to.
VXHOST_API void VXHost_SetModuleFolders(const std::vector<std::string>& folders);
VXHOST_API std::vector<std::string> VXHost_GetModuleFolders();

// A file that the latest scan visited.
struct VXHost_Module {
  std::string path;
  std::vector<std::string> routines;  // their names, in the order of the file
  std::string error;                  // why it was not loaded; empty if it was
};
VXHOST_API std::vector<VXHost_Module> VXHost_ListModules();

// Returns the table of a registered suite; null if there is none. `members` receives the number of
// its functions and may be null.
VXHOST_API const void* VXHost_FindSuite(const char* name, int32_t version, int32_t* members);

struct VXHost_Suite {
  std::string name;
  int32_t version;
  int32_t members;
  const void* table;
};

// Returns all registered suites, ordered by name and version.
VXHOST_API std::vector<VXHost_Suite> VXHost_ListSuites();
