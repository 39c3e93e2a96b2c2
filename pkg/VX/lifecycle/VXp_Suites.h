// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "VX/VX_Types.h"

// Fills the tables of VX_Suites.h, those of slots from the override table, and registers them with
// the host. Stops at the first error and returns it.
VX_Err VXp_RegisterSuites();

// Removes from the host the suites that VXp_RegisterSuites registered.
void VXp_RemoveSuites();
