// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "frame/VXp_Counters.h"

namespace {
constinit int32_t live_worlds = 0;
constinit int32_t live_chunks = 0;
}  // namespace

int32_t VXp_LiveWorlds() { return live_worlds; }
void VXp_AddLiveWorlds(int32_t delta) { live_worlds += delta; }

int32_t VXp_LiveChunks() { return live_chunks; }
void VXp_AddLiveChunks(int32_t delta) { live_chunks += delta; }

void VXp_ResetCounters() {
  live_worlds = 0;
  live_chunks = 0;
}
