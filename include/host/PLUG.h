// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// PLUG: the host's plug-ins. The scan for modules, and the registry of suites, which are named
// tables of functions that effect plug-ins ask for.
#pragma once

#include <cstdint>

#include "host/U.h"

inline constexpr int32_t PLUG_PKG_VERSION = 11;

// As U_CheckVersions.
VXHOST_API U_Err PLUG_CheckVersions(uint32_t code, int32_t wanted);

// A file that the scan has found.
struct PLUG_File;

// Called for each file of the wanted type. An error ends the work on this file only.
typedef U_Err (*PLUG_FileProc)(PLUG_File* file, void* context);

// Called once, when every file has been visited.
typedef U_Err (*PLUG_FinishProc)(void* context);

// Asks to be called when the host scans for modules. `codes` are `count` words: the routine type,
// then the file type; they are copied. The callbacks run when the host's owner starts the scan and
// never inside this call; per_file may be null. A second request with the same codes replaces the
// first. Gives 3 when codes or finish is null or count is below 1, 4 when memory is short.
VXHOST_API U_Err PLUG_InstallScan(int32_t zero, int32_t count, const uint32_t* codes,
                                  PLUG_FileProc per_file, PLUG_FinishProc finish, void* context);

// Registers a suite under its name and version, which is given twice. `table` points at `members`
// function pointers; table and name are not copied and must stay until the process ends or the
// same name and version is registered again, which replaces the first. Gives 3 for a null pointer,
// two versions that differ or members below 1, 4 when memory is short.
VXHOST_API U_Err PLUG_AddSPSuite(int32_t zero1, int32_t zero2, const char* name, int32_t version,
                                 int32_t version_again, int32_t members, const void* table);
