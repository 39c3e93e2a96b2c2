// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <gtest/gtest.h>

#include "VX/VX_Chunk.h"
#include "unit/GuardedWorld.h"

namespace {

struct Chunk {
  Chunk(int32_t width, int32_t height, int32_t channels, uint32_t type, uint32_t seed) {
    EXPECT_EQ(VX_NewChunk(width, height, channels, type, &record), 0);
    std::mt19937 random(seed);
    for (size_t i = 0; i < Size(); ++i) Data()[i] = static_cast<uint8_t>(random());
  }
  ~Chunk() { VX_DisposeChunk(&record); }
  Chunk(const Chunk&) = delete;

  size_t Size() const { return static_cast<size_t>(record.rowbytes * record.height); }
  uint8_t* Data() { return static_cast<uint8_t*>(*record.handle); }
  std::vector<uint8_t> Bytes() { return {Data(), Data() + Size()}; }

  VX_ChannelChunk record{};
};

}  // namespace

// Every element size, channels into one, out of one and within one chunk.
TEST(ChannelCopy, MovesOneChannelAndNothingElse) {
  struct Case {
    int32_t src_channels, dst_channels, src_channel, dst_channel;
  };
  for (const auto& [type, element] : {std::pair{VX_ChunkType_Double, 8},
                                      {VX_ChunkType_Float, 4},
                                      {VX_ChunkType_ThreeBytes, 3},
                                      {VX_ChunkType_Short, 2},
                                      {VX_ChunkType_UByte, 1}}) {
    for (const Case& c : {Case{1, 1, 0, 0}, Case{4, 1, 2, 0}, Case{1, 3, 0, 2}, Case{5, 2, 4, 1}}) {
      Chunk src(7, 3, c.src_channels, type, 1), dst(7, 3, c.dst_channels, type, 2);
      VX_UnlockChunk(&dst.record);
      const auto value = [element = element](Chunk& chunk, int32_t channel, int32_t i) {
        return chunk.Data() + (i * chunk.record.channels + channel) * element;
      };
      const std::vector<uint8_t> before = dst.Bytes();
      ASSERT_EQ(VX_ChannelCopy(nullptr, &src.record, &dst.record, c.src_channel, c.dst_channel), 0);
      EXPECT_EQ(dst.record.locked_data, nullptr);
      for (int32_t i = 0; i < 7 * 3; ++i) {
        for (int32_t channel = 0; channel < c.dst_channels; ++channel) {
          const uint8_t* wanted = channel == c.dst_channel
                                      ? value(src, c.src_channel, i)
                                      : before.data() + (value(dst, channel, i) - dst.Data());
          ASSERT_EQ(std::memcmp(value(dst, channel, i), wanted, static_cast<size_t>(element)), 0);
        }
      }
      if (c.src_channels < 2) continue;
      EXPECT_EQ(VX_ChannelCopy(nullptr, &src.record, &src.record, 0, 1), 0);
      EXPECT_EQ(std::memcmp(value(src, 0, 20), value(src, 1, 20), static_cast<size_t>(element)), 0);
    }
  }
}

TEST(ChannelCopy, RefusesWhatDoesNotFit) {
  Chunk chunk(4, 3, 2, VX_ChunkType_Float, 1);
  Chunk wider(5, 3, 2, VX_ChunkType_Float, 2), higher(4, 4, 2, VX_ChunkType_Float, 3);
  Chunk fixed(4, 3, 2, VX_ChunkType_Fixed, 4), same(4, 3, 2, VX_ChunkType_Float, 5);
  VX_ChannelChunk empty = same.record, narrow = same.record;
  empty.handle = nullptr;
  narrow.rowbytes = 31;
  const std::vector<uint8_t> before = chunk.Bytes();
  Reports();
  const auto refuse = [&](const VX_ChannelChunk* src, int32_t from, int32_t to, const char* text) {
    EXPECT_EQ(VX_ChannelCopy(nullptr, src, &chunk.record, from, to), 3);
    EXPECT_EQ(Reports(), (ReportList{{0x25004A, text}}));
  };
  for (const Chunk* other : {&wider, &higher, &fixed}) {
    refuse(&other->record, 0, 0, "can#{rsquo}t copy different channel worlds");
  }
  for (const auto& [from, to] : {std::pair{2, 0}, {-1, 0}, {0, 2}, {0, -1}}) {
    refuse(&same.record, from, to, kBadParameterText);
  }
  for (const VX_ChannelChunk* src : {static_cast<VX_ChannelChunk*>(nullptr), &empty, &narrow}) {
    refuse(src, 0, 0, kBadParameterText);
  }
  EXPECT_EQ(VX_ChannelCopy(nullptr, &same.record, nullptr, 0, 0), 3);
  EXPECT_EQ(Reports().size(), 1u);
  EXPECT_EQ(chunk.Bytes(), before);
}
