// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The report of a mode that has no row loop.

#include "VX/VX_Types.h"

// Reports string 6 of the string table and gives 5.
VX_Err VXp_UnknownMode();
