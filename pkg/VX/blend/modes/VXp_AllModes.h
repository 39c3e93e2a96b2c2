// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Includes the arithmetic of all modes that VX_TransferModes.def lists.

#include "blend/modes/VXp_AlphaOnly.h"
#include "blend/modes/VXp_Composition.h"
#include "blend/modes/VXp_MattedModes.h"
#include "blend/modes/VXp_RowModes.h"
#include "blend/modes/VXp_ThreeTermModes.h"
#include "blend/modes/VXp_WholeColor.h"
