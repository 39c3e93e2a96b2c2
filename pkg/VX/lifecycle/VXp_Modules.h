// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Acceleration modules: files of type ".RZX" whose routines may replace slots of the override
// table.

#include "VX/VX_Types.h"

// Makes the list of loaded routines and asks the host to be called when it scans for modules. The
// host calls back after birth, never from here. 0 or the host's error; what was made stays for
// VXp_TearDownModules.
VX_Err VXp_InstallModuleScan();

// Gives up the list. 0 or the host's error.
VX_Err VXp_TearDownModules();
