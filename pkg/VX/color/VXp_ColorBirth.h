// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Called by VX_Death. This component needs no call at birth.

// Frees the fallback settings, if there are any. The colour engine must still be bound.
void VXp_DeathEmergencyColorSettings();
