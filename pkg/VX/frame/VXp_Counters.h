// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Numbers of existing worlds that own pixels, and of existing chunks. Process-wide and atomic.

#include <cstdint>

int32_t VXp_LiveWorlds();
void VXp_AddLiveWorlds(int32_t delta);

int32_t VXp_LiveChunks();
void VXp_AddLiveChunks(int32_t delta);

// Sets both counters to 0. Called by VX_Birth.
void VXp_ResetCounters();
