// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <gtest/gtest.h>

#include "VX/VX_Chunk.h"
#include "unit/GuardedWorld.h"

// The random commands compare the elements that are copied.
TEST(ChannelCopy, RefusesWhatDoesNotFit) {
  Reports();
  // The destination; wider; higher; of another type; one that fits.
  VX_ChannelChunk chunks[5] = {};
  for (int i = 0; i < 5; ++i) {
    const uint32_t type = i == 3 ? VX_ChunkType_Fixed : VX_ChunkType_Float;
    ASSERT_EQ(VX_NewChunk(4 + (i == 1), 3 + (i == 2), 2, type, &chunks[i]), 0);
  }
  VX_ChannelChunk empty = chunks[4], narrow = chunks[4];
  empty.handle = nullptr;
  narrow.rowbytes = 31;
  std::memset(chunks[4].locked_data, 1, 4 * 3 * 2 * 4);
  const auto refuse = [&](const VX_ChannelChunk* src, int32_t from, int32_t to, const char* text) {
    EXPECT_EQ(VX_ChannelCopy(nullptr, src, &chunks[0], from, to), 3);
    EXPECT_EQ(Reports(), (ReportList{{0x25004A, text}}));
  };
  for (int i = 1; i < 4; ++i)
    refuse(&chunks[i], 0, 0, "can#{rsquo}t copy different channel worlds");
  for (const auto& [from, to] : {std::pair{2, 0}, {-1, 0}, {0, 2}, {0, -1}}) {
    refuse(&chunks[4], from, to, kBadParameterText);
  }
  for (const VX_ChannelChunk* src : {static_cast<VX_ChannelChunk*>(nullptr), &empty, &narrow}) {
    refuse(src, 0, 0, kBadParameterText);
  }
  EXPECT_EQ(VX_ChannelCopy(nullptr, &chunks[4], nullptr, 0, 0), 3);
  EXPECT_EQ(Reports().size(), 1u);
  const std::vector<char> zeros(4 * 3 * 2 * 4);
  EXPECT_EQ(std::memcmp(chunks[0].locked_data, zeros.data(), zeros.size()), 0);
  for (VX_ChannelChunk& chunk : chunks) VX_DisposeChunk(&chunk);
}
