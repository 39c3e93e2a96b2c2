// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The function of this component that VX_Death calls. VX_Birth calls none.

// Frees the fallback settings, if there are any. The colour engine must still be bound.
void VXp_DeathEmergencyColorSettings();
