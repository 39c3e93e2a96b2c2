// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Chunks, planes and effect worlds on a host that has no memory: 4, nothing left behind.

#include <gtest/gtest.h>

#include <limits>

#include "VX/VX_Chunk.h"
#include "VX/VX_EffectWorld.h"
#include "frame/VXp_Counters.h"
#include "hostdouble/HostDouble.h"

// Sizes are asked for in 64 bits, under the check number and label of their kind.
TEST(ServiceFailures, ChunksAndPlanes) {
  constexpr int32_t kMost = std::numeric_limits<int32_t>::max();
  HostDouble host;
  const int32_t live = VXp_LiveChunks();
  const auto expect_last = [&](uint32_t check, const char* label, uint64_t size) {
    const HostDouble::Allocation last = host.Allocations().back();
    EXPECT_EQ(last.check, check);
    EXPECT_EQ(last.label, label);
    EXPECT_EQ(last.size, size);
  };
  for (const int nth : {1, 2}) {  // the handle, the block
    VX_ChannelChunk chunk{};
    host.FailAllocation(nth);
    EXPECT_EQ(VX_NewChunk(kMost / 8, kMost, 1, VX_ChunkType_Double, &chunk), 4);
    EXPECT_EQ(chunk.handle, nullptr);
    expect_last(0x25004A, "out of memory for channel chunk",
                nth == 1 ? 8 : uint64_t{kMost / 8} * 8 * kMost);

    VX_LayerDef world{};
    world.data = &world;
    world.width = kMost / 4 - 8;
    world.height = kMost;
    void** handle = &world.data;
    int32_t row_size = 1;
    host.FailAllocation(nth);
    EXPECT_EQ(VX_ExtractPlanes(nullptr, &world, 15, &handle, &row_size), 4);
    EXPECT_EQ(handle, nullptr);
    expect_last(0x250004, "image plane buffer", nth == 1 ? 8 : uint64_t{kMost - 1} * kMost);
  }
  EXPECT_EQ(VXp_LiveChunks(), live);
  EXPECT_EQ(host.Leaked(), 0);
  EXPECT_TRUE(host.Reports().empty());
}

TEST(ServiceFailures, EffectWorlds) {
  HostDouble host;
  const int32_t live = VXp_LiveWorlds();
  VX_LayerDef world{};
  for (const bool bitmap : {false, true}) {
    for (const int nth : {1, 2}) {  // the object, its pixels
      host.FailAllocation(nth);
      EXPECT_EQ(VX_NewEffectWorld(nullptr, 5, 4, 16, true, bitmap, &world), 4);
    }
  }
  host.FailAllocation(0);
  host.Fail("BM_NewWorld", 99);
  EXPECT_EQ(VX_NewEffectWorldFlags(nullptr, 5, 4, 0, &world), 99);
  EXPECT_EQ(world.effect_world_stamp, 0u);
  EXPECT_EQ(VXp_LiveWorlds(), live);
  EXPECT_EQ(host.Leaked(), 0);
}
