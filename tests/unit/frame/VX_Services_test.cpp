// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <gtest/gtest.h>

#include <limits>

#include "VX/VX_Chunk.h"
#include "VX/VX_EffectWorld.h"
#include "VX/VX_Numeric.h"
#include "frame/VXp_Counters.h"
#include "unit/GuardedWorld.h"

namespace {

constexpr int32_t kMost = std::numeric_limits<int32_t>::max();

// Nothing of the host's memory, no count and no report is left over.
class Services : public testing::Test {
 protected:
  void SetUp() override {
    Reports();
    before_ = VXHost_GetMemory();
    worlds_ = VXp_LiveWorlds();
    chunks_ = VXp_LiveChunks();
  }
  void TearDown() override {
    const VXHost_Memory after = VXHost_GetMemory();
    EXPECT_EQ(after.frames, before_.frames);
    EXPECT_EQ(after.blocks, before_.blocks);
    EXPECT_EQ(VXp_LiveWorlds(), worlds_);
    EXPECT_EQ(VXp_LiveChunks(), chunks_);
    EXPECT_TRUE(Reports().empty());
  }
  VXHost_Memory before_;
  int32_t worlds_ = 0, chunks_ = 0;
};

// A call that gave `error` and reported one text under `check`.
void Refused(VX_Err error, VX_Err wanted, uint32_t check, const std::string& text) {
  EXPECT_EQ(error, wanted);
  EXPECT_EQ(Reports(), (ReportList{{check, text}}));
}
void RefusedChunk(VX_Err error) { Refused(error, 516, 0x25004A, "invalid parameter"); }

template <class Record>
bool Same(const Record& a, const Record& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

}  // namespace

TEST_F(Services, ChunksFromMakingToDisposal) {
  VX_ChannelChunk chunk;
  std::memset(&chunk, 0xEE, sizeof chunk);
  ASSERT_EQ(VX_NewChunk(3, 2, 2, VX_ChunkType_Short, &chunk), 0);
  EXPECT_EQ(chunk.host_words[7], 0xEEEEEEEEu);
  EXPECT_EQ(chunk.rowbytes, 12);
  EXPECT_EQ(VXHost_GetMemory().block_bytes - before_.block_bytes, 24 + 8);
  EXPECT_EQ(VXp_LiveChunks(), chunks_ + 1);
  for (int i = 0; i < 24; ++i) EXPECT_EQ(static_cast<const char*>(chunk.locked_data)[i], 0);

  EXPECT_EQ(VX_LockChunk(&chunk), 0);  // locks do not nest
  EXPECT_EQ(VX_UnlockChunk(&chunk), 0);
  RefusedChunk(VX_UnlockChunk(&chunk));
  EXPECT_EQ(VX_LockChunk(&chunk), 0);
  EXPECT_EQ(chunk.locked_data, *chunk.handle);

  for (int i = 0; i < 2; ++i) {  // the second time there is nothing to free
    EXPECT_EQ(VX_DisposeChunk(&chunk), 0);
    EXPECT_TRUE(Same(chunk, VX_ChannelChunk{}));
  }
  RefusedChunk(VX_LockChunk(&chunk));
  for (auto* call : {VX_LockChunk, VX_UnlockChunk, VX_DisposeChunk}) RefusedChunk(call(nullptr));
}

TEST_F(Services, ChunksOfImpossibleSizesAndTheirElements) {
  VX_ChannelChunk chunk{};
  const int32_t sizes[][3] = {
      {0, 1, 1},       {1, 0, 1},       {1, 1, 0},         {-3, -2, 1},
      {1 << 28, 1, 1}, {3, 1, 1 << 27}, {kMost, 1, kMost}, {1 << 29, kMost, 1 << 6}};
  for (const auto& [width, height, channels] : sizes) {
    RefusedChunk(VX_NewChunk(width, height, channels, VX_ChunkType_Double, &chunk));
    EXPECT_TRUE(Same(chunk, VX_ChannelChunk{}));
  }
  RefusedChunk(VX_NewChunk(1, 1, 1, 0, nullptr));

  const std::pair<const char*, int> elements[] = {
      {"FLT4", 4}, {"DBL8", 8}, {"LON4", 4}, {"SHT2", 2}, {"FIX4", 4}, {"UFX4", 4},
      {"CHR1", 1}, {"UBT1", 1}, {"UST2", 2}, {"RBG ", 3}, {"RGB ", 1}, {"8LBD", 1}};
  for (const auto& [name, wanted] : elements) {
    uint32_t type = 0;
    for (int i = 0; i < 4; ++i) type = type << 8 | static_cast<uint8_t>(name[i]);
    uint16_t size = 99;
    EXPECT_EQ(VX_ChunkDataSize(type, &size), 0);
    EXPECT_EQ(size, wanted) << name;
  }
  RefusedChunk(VX_ChunkDataSize(VX_ChunkType_Float, nullptr));
}

TEST_F(Services, EffectWorldsAreGivenBackOnce) {
  const auto refuse = [](VX_LayerDef* world) {
    const VX_LayerDef before = *world;
    Refused(VX_DisposeEffectWorld(nullptr, world), 516, 0x250003,
            "effects modules should only dispose worlds they have allocated");
    EXPECT_TRUE(Same(*world, before));
  };
  for (const auto& [depth, bitmap] : {std::pair{8, false}, {16, true}, {32, false}, {32, true}}) {
    VX_LayerDef world{};
    ASSERT_EQ(VX_NewEffectWorld(nullptr, 5, 3, depth, true, bitmap, &world), 0);
    EXPECT_EQ(world.effect_world_stamp, 0xAAAABBBBu);
    EXPECT_EQ(VXp_WorldDepth(&world), depth);
    EXPECT_EQ(world.width * 10 + world.height, 53);
    EXPECT_EQ(world.bm_world != nullptr, bitmap);
    EXPECT_EQ(static_cast<const char*>(world.data)[world.rowbytes * 2], 0);

    VX_LayerDef foreign = world, objectless = world;
    foreign.effect_world_stamp = VX_ForeignWorldStamp;
    objectless.world_object = nullptr;
    refuse(&foreign);
    refuse(&objectless);
    EXPECT_EQ(VX_DisposeEffectWorld(nullptr, &world), 0);
    EXPECT_TRUE(Same(world, VX_LayerDef{}));
    refuse(&world);
  }
  Refused(VX_DisposeEffectWorld(nullptr, nullptr), 516, 0x250003, "invalid parameter");

  VX_World* own = VX_World::New(4, 4, 8, 0);  // a descriptor that is the object itself
  own->effect_world_stamp = VX_EffectWorldStamp;
  EXPECT_EQ(VX_DisposeEffectWorld(nullptr, own), 0);

  VX_LayerDef out{};
  EXPECT_EQ(VX_NewEffectWorld(nullptr, 0, 0, 7, false, false, nullptr), 0);
  for (const int32_t depth : {0, 24, 65536 + 8}) {
    EXPECT_EQ(VX_NewEffectWorld(nullptr, 4, 4, depth, false, false, &out), 3);
  }
  Refused(VX_NewEffectWorld(nullptr, 30001, 9, 8, false, false, &out), 516, 0x250066,
          "invalid image buffer size (30001x9).");
  EXPECT_TRUE(Same(out, VX_LayerDef{}));
  for (const uint32_t flags : {0u, 3u}) {
    ASSERT_EQ(VX_NewEffectWorldFlags(nullptr, 2, 2, flags, &out), 0);
    EXPECT_EQ(VXp_WorldDepth(&out), flags == 3 ? 16 : 8);
    EXPECT_NE(out.bm_world, nullptr);
    EXPECT_EQ(VX_DisposeEffectWorld(nullptr, &out), 0);
  }
}

// Every mask out of one world and into another; what is not chosen, and the padding, stays.
TEST_F(Services, PlanesOutAndIn) {
  for (const int32_t width : {9, 10}) {
    GuardedWorld<VX_Pixel8> from(width, 3, 5, 2);
    for (uint32_t mask = 0; mask < 16; ++mask) {
      void** handle = nullptr;
      int32_t row_size = 0;
      ASSERT_EQ(VX_ExtractPlanes(nullptr, &from.world, mask, &handle, &row_size), 0);
      // Eight pixels and three bytes more, then an even number.
      EXPECT_EQ(row_size, ((width + 8) * __builtin_popcount(mask) + 3) / 2 * 2);
      EXPECT_EQ(VXHost_GetMemory().block_bytes - before_.block_bytes, row_size * 3 + 8);

      GuardedWorld<VX_Pixel8> to(width, 3, 3, 7);
      std::vector<uint8_t> expected = to.bytes;
      const auto* packed = static_cast<const uint8_t*>(*handle);
      for (int32_t y = 0; y < 3; ++y, packed += row_size) {
        for (int32_t i = 0, byte = 0; byte < 4 * width; ++byte) {
          if ((mask >> byte % 4 & 1) == 0) continue;
          const uint8_t value = from.bytes[from.Offset(0, y) + static_cast<size_t>(byte)];
          EXPECT_EQ(packed[i++], value) << "mask " << mask;
          expected[to.Offset(0, y) + static_cast<size_t>(byte)] = value;
        }
      }
      EXPECT_EQ(VX_InsertPlanes(nullptr, handle, row_size, mask, &to.world), 0);
      EXPECT_EQ(to.bytes, expected);
      U_FreeHandle(handle);
    }
  }
}

TEST_F(Services, PlanesOfOddSizesAndBadArguments) {
  GuardedWorld<VX_Pixel8> guarded(4, 4, 0, 3);
  const std::vector<uint8_t> before = guarded.bytes;
  VX_LayerDef world = guarded.world, empty = world, wide = world;
  empty.data = nullptr;
  wide.width = kMost / 4 - 7;
  void** handle = nullptr;
  int32_t row_size = 0;
  for (const auto& [width, height] : {std::pair{4, 0}, {4, -9}, {-9, 4}, {-9, -9}}) {
    world.width = width;
    world.height = height;
    ASSERT_EQ(VX_ExtractPlanes(nullptr, &world, 3, &handle, &row_size), 0);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(row_size, width > 0 ? 26 : 18);
    EXPECT_EQ(VX_InsertPlanes(nullptr, handle, row_size, 3, &world), 0);
    U_FreeHandle(handle);
  }
  world = guarded.world;
  char buffer[64] = {};
  void *block = buffer, *purged = nullptr;
  const VX_Err refused[] = {VX_ExtractPlanes(nullptr, &empty, 1, &handle, &row_size),
                            VX_ExtractPlanes(nullptr, &world, 16, &handle, &row_size),
                            VX_ExtractPlanes(nullptr, &wide, 15, &handle, &row_size),
                            VX_InsertPlanes(nullptr, &block, 16, 15, &empty),
                            VX_InsertPlanes(nullptr, &block, 16, 16, &world),
                            VX_InsertPlanes(nullptr, &purged, 16, 15, &world),
                            VX_InsertPlanes(nullptr, &block, 15, 15, &world)};
  for (const VX_Err code : refused) EXPECT_EQ(code, VX_ErrBadParameter);
  ReportList reports(3, {0x250004, kBadParameterText});
  reports.insert(reports.end(), 4, {0x250005, kBadParameterText});
  EXPECT_EQ(Reports(), reports);
  EXPECT_EQ(guarded.bytes, before);
}

// The sequences were computed from the definition, apart from this code.
TEST(Numeric, RandomNumbersAndHypotenuse) {
  struct Case {
    uint32_t start;
    uint32_t values[5];
    uint32_t end;
  };
  for (const Case& c : {Case{1, {377, 17636, 25570, 21133, 15102}, 278757240},
                        Case{0, {32767, 7738, 28065, 5907, 6913}, 1494057139},
                        Case{0xFFFFFFFF, {15854, 8232, 4616, 2245, 25747}, 2113030644}}) {
    uint32_t state = c.start;
    for (const uint32_t value : c.values) EXPECT_EQ(VX_Rand(&state), value) << c.start;
    EXPECT_EQ(state, c.end);
  }
  uint32_t state = 1;
  VX_Rand(&state);
  EXPECT_EQ(state, 48271u);
  EXPECT_EQ(VX_Hypot(-3, 4), 5);
  EXPECT_EQ(VX_Hypot(1e200, 0), std::numeric_limits<double>::infinity());
}
