// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The interface of this component for birth.

#include "VX/VX_OverrideTable.h"

// Puts this component's routines in their slots, by the host's processor record.
void VXp_FillIndepSlots(VXp_OverrideTable& table);
