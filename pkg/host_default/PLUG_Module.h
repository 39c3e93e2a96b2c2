// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Module files that were opened.

#include <cstdint>
#include <string>
#include <vector>

#include "host/PLUG.h"
#include "host/VXHost.h"

namespace host {

// Opens a module file. Returns the same object for a file that is already open, also if it has
// another path now. Returns null and stores the reason if the file is not a module. Files are never
// closed.
PLUG_File* OpenModule(const std::string& path, std::string* why);

// Returns the number of routines of the file that are registered now.
int32_t RoutinesInUse(const PLUG_File& file);
std::vector<std::string> RoutineNames(const PLUG_File& file);

// Returns the folder vx/modules beside the library of the embedded host, or beside the program if
// the host is a part of it.
std::string InstalledModuleFolder();

}  // namespace host
