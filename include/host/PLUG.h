// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// PLUG: the host's plug-ins: module files and their routines, and the registry of suites (named
// tables of functions that effect plug-ins request).
#pragma once

#include <cstdint>

#include "host/U.h"

inline constexpr int32_t PLUG_PKG_VERSION = 11;

// See U_CheckVersions.
VXHOST_API U_Err PLUG_CheckVersions(uint32_t code, int32_t wanted);

// ---- The contents of a module file --------------------------------------------------------------
//
// A module is a shared object that exports one variable of type PLUG_ModuleDescriptor with the C
// name "PLUG_Module". It describes routines. include/VX/VX_Accel.h has the rules for routines that
// accelerate VX. Everything that the descriptor points to must be constant.

// The entry point of a routine. The package that loads the routine defines selectors and arguments.
typedef U_Err (*PLUG_EntryProc)(int32_t selector, int32_t* command, void* block,
                                const uint16_t* version);

// A property of a routine, for example its version.
struct PLUG_Property {
  uint32_t key;    // four characters, the first in the most significant byte
  int32_t length;  // of the data, in bytes
  const void* data;
};

struct PLUG_RoutineDescriptor {
  const char* name;
  uint32_t type;   // four characters, the first in the most significant byte
  uint32_t flags;  // the meaning belongs to the type
  int32_t property_count;
  const PLUG_Property* properties;
  PLUG_EntryProc entry;
};

inline constexpr uint32_t PLUG_ModuleLayout = 1;

struct PLUG_ModuleDescriptor {
  uint32_t layout;  // PLUG_ModuleLayout
  int32_t routine_count;
  const PLUG_RoutineDescriptor* routines;
};

// ---- The scan for modules -----------------------------------------------------------------------

// A module file that the scan has opened. Valid until the process ends, because the code of a
// module stays in memory: tables and suites may contain pointers into it.
struct PLUG_File;

// Called for each module file. An error does not affect the other files.
typedef U_Err (*PLUG_FileProc)(PLUG_File* file, void* context);

// Called once after all files.
typedef U_Err (*PLUG_FinishProc)(void* context);

// Requests a scan for modules. The callbacks are called by PLUG_RunScans, never during this call. A
// request with equal codes replaces the earlier one.
//   zero       always 0
//   count      number of codes, at least 1
//   codes      the routine type, then the file type; copied
//   per_file   may be null
//   finish     must not be null
//   context    passed to the callbacks
// Returns bad argument (3) for invalid arguments; out of memory (4).
VXHOST_API U_Err PLUG_InstallScan(int32_t zero, int32_t count, const uint32_t* codes,
                                  PLUG_FileProc per_file, PLUG_FinishProc finish, void* context);

// Runs the scans that were requested, in the order of the requests: calls `per_file` for each
// module file of the scan's file type, then `finish`. The application calls it once after VX_Birth
// (VX_AcquireLibrary does so). A file that cannot be used is reported and does not end the scan,
// and its error is not returned. Returns the first error of a finish callback.
VXHOST_API U_Err PLUG_RunScans();

// ---- Routines of a module file ------------------------------------------------------------------
//
// These calls return bad argument (3) for a null pointer or an index outside of the file's
// routines, and out of memory (4). Routines are numbered from 0.

struct PLUG_RoutineInfo {
  uint32_t type;
  uint32_t flags;
};
VXHOST_API U_Err PLUG_GetRoutineCount(PLUG_File* file, int32_t* count);
VXHOST_API U_Err PLUG_GetRoutineInfo(PLUG_File* file, int32_t index, PLUG_RoutineInfo* out);

// The property list of a routine. Free it with PLUG_DisposePiPL, which ignores null.
struct PLUG_PiPL;
VXHOST_API U_Err PLUG_GetPiPL(PLUG_File* file, int32_t index, PLUG_PiPL** out);
VXHOST_API U_Err PLUG_DisposePiPL(PLUG_PiPL* list);

// Copies a property to `out`. Returns bad argument (3) if the routine has no property of this key
// and length; `out` is then unchanged.
//   zero1, zero2   always 0
VXHOST_API U_Err PLUG_GetPiPLProp(const PLUG_PiPL* list, uint32_t key, int32_t zero1,
                                  int32_t length, int32_t zero2, void* out);

// A routine that a package uses. Register, prepare, use, unprepare, unregister.
struct PLUG_Routine;
VXHOST_API U_Err PLUG_RegisterRoutine(PLUG_File* file, int32_t index, PLUG_Routine** out);
VXHOST_API U_Err PLUG_UnregisterRoutine(PLUG_Routine* routine);

// Stores the entry point of a routine.
VXHOST_API U_Err PLUG_PrepRoutine(PLUG_Routine* routine, PLUG_EntryProc* entry);
VXHOST_API U_Err PLUG_UnprepRoutine(PLUG_Routine* routine);

// ---- Suites -------------------------------------------------------------------------------------

// Registers a suite. A suite with the same name and version replaces the earlier one.
//   zero1, zero2             always 0
//   name                     not copied; must remain valid
//   version, version_again   the version, twice
//   members                  number of functions, at least 1
//   table                    `members` function pointers; not copied; must remain valid
// Returns bad argument (3) for null pointers, different versions or no members; out of memory (4).
VXHOST_API U_Err PLUG_AddSPSuite(int32_t zero1, int32_t zero2, const char* name, int32_t version,
                                 int32_t version_again, int32_t members, const void* table);

// Removes a suite. Returns bad argument (3) if there is none of this name and version.
VXHOST_API U_Err PLUG_RemoveSPSuite(const char* name, int32_t version);
