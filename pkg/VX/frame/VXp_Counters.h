// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Two process-wide counts: live worlds that own pixels, and live chunks. Plain numbers without a
// lock; worlds and chunks are made and disposed on one thread at a time.

#include <cstdint>

int32_t VXp_LiveWorlds();
void VXp_AddLiveWorlds(int32_t delta);

int32_t VXp_LiveChunks();
void VXp_AddLiveChunks(int32_t delta);

// Both to 0. Birth calls it.
void VXp_ResetCounters();
