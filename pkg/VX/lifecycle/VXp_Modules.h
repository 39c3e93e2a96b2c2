// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Acceleration modules: files of type ".RZX" with routines that may replace slots of the override
// table.

#include "VX/VX_Types.h"

// Creates the list of loaded routines and requests the host's scan for modules, which the
// application starts after birth. Returns the host's error. Call VXp_TearDownModules also after an
// error.
VX_Err VXp_InstallModuleScan();

// Frees the list. Returns the host's error.
VX_Err VXp_TearDownModules();
