// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// PLUG: the host's plug-ins: the scan for modules, and the registry of suites (named tables of
// functions that effect plug-ins request).
#pragma once

#include <cstdint>

#include "host/U.h"

inline constexpr int32_t PLUG_PKG_VERSION = 11;

// See U_CheckVersions.
VXHOST_API U_Err PLUG_CheckVersions(uint32_t code, int32_t wanted);

// A file found by the scan.
struct PLUG_File;

// Called for each file of the requested type. An error does not affect the other files.
typedef U_Err (*PLUG_FileProc)(PLUG_File* file, void* context);

// Called once after all files.
typedef U_Err (*PLUG_FinishProc)(void* context);

// Requests a scan for modules. The callbacks are called when the application starts the scan
// (embedded host: VXHost_RunPlugScan), never during this call. A request with equal codes replaces
// the earlier one.
//   zero       always 0
//   count      number of codes, at least 1
//   codes      the routine type, then the file type; copied
//   per_file   may be null
//   finish     must not be null
//   context    passed to the callbacks
// Returns bad argument (3) for invalid arguments; out of memory (4).
VXHOST_API U_Err PLUG_InstallScan(int32_t zero, int32_t count, const uint32_t* codes,
                                  PLUG_FileProc per_file, PLUG_FinishProc finish, void* context);

// Registers a suite. A suite with the same name and version replaces the earlier one.
//   zero1, zero2             always 0
//   name                     not copied; must remain valid
//   version, version_again   the version, twice
//   members                  number of functions, at least 1
//   table                    `members` function pointers; not copied; must remain valid
// Returns bad argument (3) for null pointers, different versions or no members; out of memory (4).
VXHOST_API U_Err PLUG_AddSPSuite(int32_t zero1, int32_t zero2, const char* name, int32_t version,
                                 int32_t version_again, int32_t members, const void* table);
