// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Every operation that allocates, with each of its allocations failing: out of memory comes back,
// the destination stays as it was, nothing is leaked. A new operation is a row of a table.

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <vector>

#include "VX/VX.h"
#include "frame/VXp_Counters.h"
#include "hostdouble/HostDouble.h"

namespace {

constexpr int32_t kSize = 40;
using Worlds = std::unique_ptr<VX_World>;

// What the operations read and write.
struct Scene {
  explicit Scene(int16_t world_depth) : depth(world_depth) {
    for (Worlds* world : {&src, &mask, &dst}) {
      world->reset(VX_World::New(kSize, kSize, depth, VX_WorldFlag_Clear));
    }
    src->Fill(VX_PixelFloat{0.5f, 1, 0, 0}, nullptr);
    mask->Fill(VX_PixelFloat{1, 0.5f, 0.25f, 1}, nullptr);
    Restore();
  }
  void Restore() {
    dst->Fill(VX_PixelFloat{0.75f, 0, 0, 1}, nullptr);
    auto* const bytes = static_cast<uint8_t*>(*samples.data);
    for (int32_t i = 0; i < 70 * 30; ++i) bytes[i] = i % 70 < 35 ? 0 : 255;
  }
  std::vector<uint8_t> Bytes() const {
    const auto* first = static_cast<const uint8_t*>(dst->data);
    std::vector<uint8_t> all(first, first + ptrdiff_t{dst->rowbytes} * kSize);
    first = static_cast<const uint8_t*>(*samples.data);
    all.insert(all.end(), first, first + 70 * 30);
    return all;
  }

  int16_t depth;
  Worlds src, mask, dst;
  VX_UnoBuffer samples{70, 30, 8}, other{70, 30, 8};
};

VX_Err Transfer(Scene& s, int32_t number) {
  const VX_CompositeModePlus mode(number, 1, nullptr, true, 0);
  const VX_MaskSpec mask{s.mask.get(), 0, 0, VX_MaskUse_InverseLuma};
  return VX_TransferRect(nullptr, 0, 0, 0, nullptr, s.src.get(), &mode, nullptr, &mask, 0, 0,
                         s.dst.get());
}
VX_Err Transform(Scene& s, int32_t number, int32_t count) {
  VX_TransformParts from, to;
  from.rotation = 40;
  to.rotation = count > 1 ? 80 : 40;
  M_Matrix3 matrices[257];
  VX_MatricesBetween(&from, &to, count, matrices);
  const VX_CompositeModePlus mode(number, 0.5f, nullptr, true, 0);
  const VX_TransformMask mask{s.mask.get(), 0, 0, VX_MaskUse_InverseLuma};
  return VX_TransformWorld(nullptr, 1, 0, 0, s.src.get(), &mode, nullptr, &mask, matrices, count, 1,
                           nullptr, s.dst.get());
}
VX_Err GaussianPass(Scene& s) {
  VX_GaussianBlur1D(nullptr, s.src.get(), 3, 15, 0, 0, 1, 1, 0, s.dst.get());
  return VX_Ok;
}
VX_Err BoxPass(Scene& s) {
  VX_BoxBlur1D(nullptr, s.src.get(), 3, 2, 15, 0, 0, 1, 1, 0, s.dst.get());
  return VX_Ok;
}
VX_Err Blur(Scene& s) {
  const VX_BlurSpec spec = {VX_BlurKind_Box, 3, 3, 2, 31};
  return VX_BlurWorld(nullptr, s.src.get(), &spec, s.dst.get());
}
VX_Err New(int16_t depth, uint32_t flags) {
  const Worlds world(VX_World::New(5, 4, depth, flags));
  return world != nullptr ? VX_Err{VX_Ok} : VX_Err{VX_ErrOutOfMemory};
}
VX_Err NewEffect(int16_t depth, bool bitmap) {
  VX_LayerDef world{};
  const VX_Err error = VX_NewEffectWorld(nullptr, 5, 4, depth, true, bitmap, &world);
  EXPECT_EQ(world.effect_world_stamp, error == VX_Ok ? VX_EffectWorldStamp : 0);
  return error == VX_Ok ? VX_DisposeEffectWorld(nullptr, &world) : error;
}
VX_Err NewBuffer(int16_t depth) {
  VX_UnoBuffer* buffer = nullptr;
  const VX_Err error = VX_NewUnoBufferOfDepth(9, 9, depth, &buffer);
  EXPECT_EQ(buffer == nullptr, error != VX_Ok);
  return error == VX_Ok ? VX_DisposeUnoBuffer(buffer) : error;
}

// Two scans of one line; the kernel of the last radius is kept, so both allocate theirs.
VX_Err GaussianScans(Scene& s) {
  uint8_t scratch[400];
  for (VX_UnoBuffer* buffer : {&s.other, &s.samples}) {
    const VX_Fixed radius = (buffer == &s.other ? 4 : 3) << 16;
    auto* const line = static_cast<uint8_t*>(*buffer->data);
    if (const VX_Err error = VX_GBlurUnoScan(1, 70, 0, 70, radius, scratch, line)) return error;
  }
  return VX_Ok;
}

// How often an operation allocates: 1 means once. kAny is not counted, and one failure may be
// repaired by freeing memory and a second try.
constexpr int kAny = -1;

struct Row {
  const char* name;
  VX_Err (*run)(Scene&);
  int allocations;
};
const Row kRows[] = {
    // The object, and its pixels in one frame or in the three blocks of a bitmap.
    {"New", [](Scene& s) { return New(s.depth, 0); }, 2},
    {"New bitmap", [](Scene& s) { return New(s.depth, VX_WorldFlag_BMWorld); }, 4},
    {"NewEffectWorld", [](Scene& s) { return NewEffect(s.depth, false); }, 2},
    {"NewEffectWorld bitmap", [](Scene& s) { return NewEffect(s.depth, true); }, 4},
    {"NewReference",
     [](Scene& s) {
       const Worlds world(VX_World::NewReference(s.src.get(), M_LRect{1, 1, 3, 3}));
       return world != nullptr ? VX_Err{VX_Ok} : VX_Err{VX_ErrOutOfMemory};
     },
     1},
    {"NewUnoBuffer", [](Scene& s) { return NewBuffer(s.depth); }, 3},
    {"VX_UnoBuffer",
     [](Scene& s) -> VX_Err {
       const VX_UnoBuffer buffer(9, 9, s.depth);
       return VX_Ok;
     },
     2},
    // Rows of alphas and of mask values; a stencil needs no alphas.
    {"transfer", [](Scene& s) { return Transfer(s, VX_Xfer_Multiply); }, 2},
    {"transfer of a stencil", [](Scene& s) { return Transfer(s, VX_Xfer_StencilAlpha); }, 1},
    // A row of samples too; with a path that turns, its intervals and a row of sums.
    {"transform", [](Scene& s) { return Transform(s, VX_Xfer_Multiply, 1); }, 3},
    {"transform of a stencil", [](Scene& s) { return Transform(s, VX_Xfer_StencilAlpha, 2); }, 2},
    {"motion", [](Scene& s) { return Transform(s, VX_Xfer_InFront, 3); }, 5},
    {"long motion", [](Scene& s) { return Transform(s, VX_Xfer_StencilLuma, 257); }, 4},
    {"Gaussian scans", &GaussianScans, 4},
    {"Gaussian pass", &GaussianPass, kAny},
    {"box pass", &BoxPass, kAny},
    {"blur", &Blur, kAny},
    {"box feather",
     [](Scene& s) { return VX_FeatherUnoBuffer(nullptr, VX_Feather_Box, 4, 6, &s.samples); }, kAny},
    {"soft feather",
     [](Scene& s) { return VX_FeatherUnoBuffer(nullptr, VX_Feather_Soft, 4, 6, &s.samples); },
     kAny},
    {"Gaussian feather",
     [](Scene& s) { return VX_FeatherUnoBuffer(nullptr, VX_Feather_Gaussian, 4, 6, &s.samples); },
     kAny},
};

VX_Err CodeOf(const Row& row, Scene& scene) {
  try {
    return row.run(scene);
  } catch (VX_Err code) {
    return code;
  }
}

void FailEachAllocation(const Row& row, int16_t depth, HostDouble& host) {
  Scene scene(depth);
  const auto before = scene.Bytes();
  EXPECT_EQ(CodeOf(row, scene), VX_Ok);
  const auto after = scene.Bytes();
  for (int nth = 1;; ++nth) {
    SCOPED_TRACE(testing::Message() << "allocation " << nth);
    ASSERT_LT(nth, 50);
    scene.Restore();
    const int64_t attempts = host.AllocationCount();
    host.FailAllocation(nth);
    const VX_Err error = CodeOf(row, scene);
    const bool reached = host.AllocationCount() - attempts >= nth;
    host.FailAllocation(0);
    EXPECT_EQ(scene.Bytes() == (error == VX_Ok ? after : before), true);
    if (!reached) {
      EXPECT_EQ(error, VX_Ok);
      EXPECT_TRUE(row.allocations == kAny || row.allocations == nth - 1) << nth - 1;
      return;
    }
    EXPECT_TRUE(error == VX_ErrOutOfMemory || (error == VX_Ok && row.allocations == kAny)) << error;
  }
}

class Failures : public testing::Test {
 protected:
  void SetUp() override {  // born before a host is watched
    VX_Death();
    ASSERT_EQ(VX_Birth(), 0);
    Scene scene(8);
    for (const Row& row : kRows) CodeOf(row, scene);  // what is kept for the process
  }
  const int32_t live_ = VXp_LiveWorlds();
};

}  // namespace

TEST_F(Failures, OutOfMemoryLeavesTheDestination) {
  for (const Row& row : kRows) {
    for (const int16_t depth : {8, 16, 32}) {
      SCOPED_TRACE(testing::Message() << row.name << ", depth " << depth);
      HostDouble host;
      FailEachAllocation(row, depth, host);
      EXPECT_EQ(host.Leaked(), 0);
      EXPECT_EQ(host.Accounted(), 0);
      EXPECT_EQ(VXp_LiveWorlds(), live_);
    }
  }
}

// A service that fails ends the call with its code.
TEST_F(Failures, CodesOfServices) {
  const struct {
    const char* service;
    VX_Err (*run)(Scene&);
  } cases[] = {{"BM_NewWorld", [](Scene&) { return New(8, VX_WorldFlag_BMWorld); }},
               {"BM_LoadLockPixels", [](Scene&) { return New(8, VX_WorldFlag_BMWorld); }},
               {"BM_NewWorld", [](Scene&) { return NewEffect(8, true); }}};
  HostDouble host;
  {
    Scene scene(8);
    for (const auto& c : cases) {
      host.Fail(c.service, 99);
      EXPECT_EQ(CodeOf({"", c.run, 0}, scene), 99) << c.service;
      host.Fail(c.service, 0);
    }
    // The scratch of blurs is allocated in the loop that frees memory and tries again.
    const auto before = scene.Bytes();
    host.Fail("U_PurgeLoop", 42);
    for (const auto run : {&GaussianPass, &BoxPass, &Blur}) {
      EXPECT_EQ(CodeOf({"", run, 0}, scene), 42);
      EXPECT_EQ(scene.Bytes(), before);
    }
    host.Fail("U_PurgeLoop", 0);
    host.hide_bitmap_base = true;
    EXPECT_EQ(New(8, VX_WorldFlag_BMWorld | VX_WorldFlag_Clear), VX_Ok);
  }
  EXPECT_EQ(host.Leaked(), 0);
  EXPECT_EQ(VXHost_GetPairs().window_modes, 0);
  EXPECT_EQ(VXp_LiveWorlds(), live_);
}

// The host gets the size of a frame again when it is freed.
TEST_F(Failures, FramesAreFreedWithTheirSize) {
  HostDouble host;
  delete VX_World::New(7, 3, 32, VX_WorldFlag_Clear);
  ASSERT_EQ(host.CallsTo("BM_FreeFrame").size(), 1u);
  EXPECT_EQ(host.CallsTo("BM_FreeFrame")[0].args[0], 112 * 2 + 112 + 96 + 8);
  EXPECT_EQ(host.allocations.back().size, 112u * 2 + 112 + 96 + 8);
}

// Sizes are computed in 64 bits; the log names the purpose of what could not be allocated.
TEST_F(Failures, SizesOfChunksAndPlanes) {
  constexpr int32_t kMost = std::numeric_limits<int32_t>::max();
  HostDouble host;
  const auto expect_shortage = [&](const char* purpose, uint64_t size) {
    EXPECT_EQ(host.log.back().text, purpose + (": " + std::to_string(size)) + " bytes");
  };
  for (const int nth : {1, 2}) {  // the handle, the block
    VX_ChannelChunk chunk{};
    host.FailAllocation(nth);
    EXPECT_EQ(VX_NewChunk(kMost / 8, kMost, 1, VX_ChunkType_Double, &chunk), 4);
    EXPECT_EQ(chunk.handle, nullptr);
    expect_shortage("out of memory for channel chunk",
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
    expect_shortage("image plane buffer", nth == 1 ? 8 : uint64_t{kMost - 1} * kMost);
  }
  EXPECT_EQ(host.Leaked(), 0);
  EXPECT_TRUE(VXHost_TakeReports().empty());
}
