// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "frame/VXp_Counters.h"

#include <atomic>

namespace {

// The memory order of the counters. No other data depend on them, so relaxed order is sufficient.
constexpr auto kOrder = std::memory_order_relaxed;

constinit std::atomic<int32_t> live_worlds{0};
constinit std::atomic<int32_t> live_chunks{0};

}  // namespace

int32_t VXp_LiveWorlds() { return live_worlds.load(kOrder); }
void VXp_AddLiveWorlds(int32_t delta) { live_worlds.fetch_add(delta, kOrder); }

int32_t VXp_LiveChunks() { return live_chunks.load(kOrder); }
void VXp_AddLiveChunks(int32_t delta) { live_chunks.fetch_add(delta, kOrder); }

void VXp_ResetCounters() {
  live_worlds.store(0, kOrder);
  live_chunks.store(0, kOrder);
}
