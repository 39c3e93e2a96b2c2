// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Two process-wide counts: live worlds that own pixels, and live chunks. They are atomic, so worlds
// and chunks may be made and disposed on any number of threads.

#include <cstdint>

int32_t VXp_LiveWorlds();
void VXp_AddLiveWorlds(int32_t delta);

int32_t VXp_LiveChunks();
void VXp_AddLiveChunks(int32_t delta);

// Both to 0. Birth calls it, on one thread.
void VXp_ResetCounters();
