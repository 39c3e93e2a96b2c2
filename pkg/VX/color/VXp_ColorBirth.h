// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Death of this component; it has no birth.

// Frees the fallback settings, if there are any. The colour engine must still be bound.
void VXp_DeathEmergencyColorSettings();
