// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Acceleration modules: files of type ".RZX" with routines that may replace slots of the override
// table.

#include "VX/VX_Types.h"

// Creates the list of loaded routines and requests the host's scan for modules, which the
// application starts after birth. When the scan has visited all files, it registers the suites.
// Returns the host's error. Call VXp_TearDownModules also after an error.
VX_Err VXp_InstallModuleScan();

// Calls the entry of each loaded routine to unload it, in the order of loading, unregisters the
// routines at the host and frees the list. Continues after an error. Returns the first one.
VX_Err VXp_TearDownModules();
