// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <span>
#include <utility>

#include "frame/VXp_Counters.h"
#include "unit/GuardedWorld.h"

namespace {

using WorldPtr = std::unique_ptr<VX_World>;

WorldPtr Make(int32_t width, int32_t height, int16_t depth, uint32_t flags = 0) {
  return WorldPtr(VX_World::New(width, height, depth, flags));
}

uint8_t* Bytes(const VX_LayerDef& world) { return static_cast<uint8_t*>(world.data); }

// Left, top, right and bottom.
using Ints = std::vector<int32_t>;
Ints Hint(const VX_LayerDef& world) {
  const M_Rect& r = world.extent_hint;
  return {r.left, r.top, r.right, r.bottom};
}
// Width, height and origin.
Ints Shape(const VX_LayerDef& world) {
  return {world.width, world.height, world.origin_x, world.origin_y};
}

// Hands out frames at 8 or 0 modulo 16, remembers the size asked for, and refuses on demand.
struct FrameSource {
  size_t shift = 0;
  size_t last_size = 0;
  bool refuse = false;

  FrameSource() {
    const VXHost_Allocator allocator{
        [](size_t size, void* self) -> void* {
          auto& source = *static_cast<FrameSource*>(self);
          source.last_size = size;
          if (source.refuse) return nullptr;
          char* block = static_cast<char*>(std::aligned_alloc(16, (size + 16 + 15) / 16 * 16));
          return block + source.shift;
        },
        [](void* block, void* self) {
          std::free(static_cast<char*>(block) - static_cast<FrameSource*>(self)->shift);
        },
        this};
    VXHost_SetFrameAllocator(&allocator);
  }
  ~FrameSource() { VXHost_SetFrameAllocator(nullptr); }
};

// Nothing of the host's memory and no count is left over.
class WorldTest : public testing::Test {
 protected:
  void SetUp() override {
    Reports();
    before_ = VXHost_GetMemory();
    live_ = VXp_LiveWorlds();
  }
  void TearDown() override {
    const VXHost_Memory after = VXHost_GetMemory();
    EXPECT_EQ(after.frames, before_.frames);
    EXPECT_EQ(after.blocks, before_.blocks);
    EXPECT_EQ(VXHost_GetPairs().window_modes, 0);
    EXPECT_EQ(VXp_LiveWorlds(), live_);
  }
  VXHost_Memory before_;
  int32_t live_ = 0;
};

}  // namespace

TEST_F(WorldTest, FramesPitchAlignmentAndGutter) {
  struct Case {
    int32_t width, height;
    int16_t depth;
    int32_t rowbytes;
    size_t frame;
  };
  FrameSource frames;
  for (const Case& c : {Case{1, 1, 8, 16, 24}, Case{3, 2, 32, 48, 48 + 48 + 32 + 8},
                        Case{1, 3, 32, 16, 32 + 16 + 0 + 8}, Case{7, 5, 16, 64, 256 + 56 + 56 + 8},
                        Case{30000, 1, 8, 120000, 120000 + 119996 + 8}}) {
    SCOPED_TRACE(testing::Message() << c.width << "x" << c.height << " at " << c.depth);
    frames.shift = 8 - frames.shift;
    const WorldPtr world = Make(c.width, c.height, c.depth, VX_WorldFlag_Clear);
    const int32_t size = world->PixelSize(), row = c.width * size;
    EXPECT_EQ(size, c.depth / 2);
    EXPECT_EQ(world->rowbytes, c.rowbytes);
    EXPECT_EQ(frames.last_size, c.frame);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(world->data) % 16, 0u);
    EXPECT_EQ(world->world_object, world.get());
    EXPECT_EQ(Hint(*world), (Ints{0, 0, c.width, c.height}));
    EXPECT_FALSE(world->IsReference());
    EXPECT_EQ(VXp_WorldDepth(world.get()), c.depth);

    uint8_t* const end = Bytes(*world) + (c.height - 1) * c.rowbytes + row;
    for (int32_t y = 0; y < c.height; ++y) {
      EXPECT_EQ(std::ranges::count(std::span(Bytes(*world) + y * c.rowbytes, size_t(row)), 0), row);
    }
    std::memset(Bytes(*world), 0xAA, static_cast<size_t>(end - Bytes(*world)));
    EXPECT_FALSE(world->SubWorldSafetyGutterHasBeenOverWritten());
    const int32_t gutter = c.rowbytes - size;
    for (const int32_t place : {0, gutter - 1}) {
      if (gutter == 0) break;
      end[place] = 0;
      EXPECT_TRUE(world->SubWorldSafetyGutterHasBeenOverWritten());
      end[place] = 0x55;
    }
    EXPECT_FALSE(world->SubWorldSafetyGutterHasBeenOverWritten());
  }
}

TEST_F(WorldTest, RefusalsComeInOrderAndLeaveNothing) {
  EXPECT_EQ(Thrown([] { Make(0, 0, 24); }), 3);
  EXPECT_TRUE(Reports().empty());
  EXPECT_EQ(Thrown([] { Make(30001, 12, 8); }), 516);
  EXPECT_EQ(Reports(), (ReportList{{0x250066, "invalid image buffer size (30001x12)."}}));
  EXPECT_EQ(Thrown([] { Make(5, 0, 32, VX_WorldFlag_BMWorld); }), 516);
  // An inverted rectangle must not wrap into a legal width.
  const M_LRect wrapped{INT32_MAX, 0, INT32_MIN + 99, 10};
  EXPECT_EQ(Thrown([&] { VX_World::New(wrapped, 8, 0); }), 516);
  Reports();

  FrameSource frames;
  frames.refuse = true;
  EXPECT_EQ(Thrown([] { Make(30000, 30000, 32); }), 4);
  EXPECT_EQ(frames.last_size, 14400479992u);
  EXPECT_EQ(Reports().size(), 1u);
}

TEST_F(WorldTest, MadeFromRectanglesModelsAndBitmaps) {
  const WorldPtr placed(VX_World::New(M_LRect{-10, 20, 30, 45}, 16, 0));
  EXPECT_EQ(Shape(*placed), (Ints{40, 25, -10, 20}));
  EXPECT_FALSE(placed->HasBMWorld());
  EXPECT_EQ(Thrown([&] { placed->GetBMWorld(); }), 513);

  const WorldPtr like(VX_World::NewMatchingWorld(placed.get(), VX_WorldFlag_BMWorld));
  EXPECT_EQ(Shape(*like), (Ints{40, 25, 0, 0}));
  EXPECT_EQ(like->Depth(), 16);
  BM_World** const bitmap = like->GetBMWorld();
  EXPECT_EQ((*bitmap)->lock_count, 1);
  EXPECT_EQ(like->data, (*bitmap)->base);
  EXPECT_FALSE(like->IsReference());
  EXPECT_FALSE(like->SubWorldSafetyGutterHasBeenOverWritten());
  EXPECT_EQ(Thrown([&] { like->ShrinkToSubRect(M_Rect{0, 0, 1, 1}); }), 3);
  EXPECT_EQ(Reports().back().second, "Can't Shrink a VX_World which is backed by a BM_World");

  void* const base = std::exchange((*bitmap)->base, nullptr);  // the getter knows the address
  {
    const WorldPtr whole(VX_World::NewReference(bitmap));
    EXPECT_EQ(whole->data, base);
    EXPECT_EQ(whole->bm_world, bitmap);
    EXPECT_TRUE(whole->IsReference());
    const WorldPtr part(VX_World::NewReference(bitmap, M_Rect{2, 3, 9, 10}));
    EXPECT_EQ(part->data, Bytes(*whole) + 2 * like->rowbytes + 3 * 8);
    EXPECT_FALSE(part->HasBMWorld());
    EXPECT_EQ(Hint(*part), (Ints{0, 0, 7, 7}));
  }
  (*bitmap)->base = base;
  (*bitmap)->bits_per_pixel = 48;
  EXPECT_EQ(Thrown([&] { VX_World::NewReference(bitmap); }), 3);
  EXPECT_EQ(Reports().back().second, "Unexpected bitdepth in VX_World::NewReference()");
}

TEST_F(WorldTest, ReferencesIntoWorlds) {
  const WorldPtr parent = Make(20, 10, 32);
  parent->aux_pair[1] = 6;
  parent->origin_x = 9;
  parent->extent_hint = {1, 4, 8, 15};
  const WorldPtr part(VX_World::NewReference(parent.get(), M_Rect{2, 6, 20, 12}));
  EXPECT_EQ(part->data, Bytes(*parent) + 2 * parent->rowbytes + 6 * 16);
  EXPECT_EQ(Shape(*part), (Ints{6, 18, 0, 0}));
  EXPECT_EQ(part->rowbytes, parent->rowbytes);
  EXPECT_EQ(part->aux_pair[1], 6u);
  EXPECT_EQ(Hint(*part), (Ints{0, 0, 6, 6}));
  EXPECT_FALSE(part->RefersTo(parent.get()));  // taller than the parent
  part->ReReference(parent.get(), M_LRect{19, 9, 20, 10});
  EXPECT_EQ(Hint(*part), (Ints{0, 0, 0, 0}));
  EXPECT_EQ(part->world_object, part.get());
  EXPECT_TRUE(part->RefersTo(parent.get()));
  EXPECT_FALSE(parent->RefersTo(part.get()));
  const WorldPtr raw(VX_World::NewReference(parent->data, 20, 10, 32, parent->rowbytes + 4));
  EXPECT_FALSE(raw->RefersTo(parent.get()));  // another pitch
  EXPECT_TRUE(Reports().empty());

  // The checks of re-reference, in their order.
  const WorldPtr other = Make(5, 5, 8);
  const struct {
    VX_World* parent;
    M_LRect rect;
    const char* text;
  } cases[] = {{other.get(), {0, 0, 6, 5}, "can't change bit depth in ReReference"},
               {parent.get(), {0, 0, 21, 1}, "bad sub rect in ReReference"},
               {parent.get(), {0, 9, 1, 11}, "bad sub rect in ReReference"},
               {parent.get(), {0, -1, 1, 1}, "bad sub rect in ReReference"},
               {raw.get(), {0, 0, 99, 1}, "bad sub rect in ReReference"},
               {raw.get(), {0, 0, 1, 1}, "can't ReReference self"}};
  for (const auto& c : cases) {
    EXPECT_EQ(Thrown([&] { raw->ReReference(c.parent, c.rect); }), 3);
    EXPECT_EQ(Reports(), (ReportList{{0x2503E7, c.text}}));
  }

  VX_LayerDef plain{};
  plain.bm_world = reinterpret_cast<BM_World**>(&plain);
  plain.width = 3;
  VXp_SetWorldDepth(&plain, 16);
  const WorldPtr from_plain(VX_World::NewReference(&plain));
  EXPECT_EQ(from_plain->Depth(), 16);
  EXPECT_EQ(from_plain->width, 3);
  EXPECT_FALSE(from_plain->HasBMWorld());
  OddDepthWorld odd(&plain);
  EXPECT_EQ(Thrown([&] { VX_World::NewReference(static_cast<VX_LayerDef*>(&odd)); }), 3);
  EXPECT_EQ(Reports().at(0).second,
            "Unexpected bitdepth in VX_World::NewReference(VX_EffectWorld)");
  EXPECT_EQ(Thrown([&] { VX_World::NewReference(&odd, M_Rect{0, 0, 1, 1}); }), 3);
  EXPECT_EQ(Thrown([&] { VX_World::NewReference(parent->data, 1, 1, 64, 16); }), 3);
}

// Owners that refer to other pixels keep what they own: their gutter is checked, all is freed.
TEST_F(WorldTest, OwnersRereferencedShrunkAndDetached) {
  const WorldPtr wide = Make(500, 2, 8);
  for (const uint32_t flags : {0u, uint32_t{VX_WorldFlag_BMWorld}}) {
    const WorldPtr owner = Make(3, 40, 8, flags);
    owner->ReReference(wide.get(), M_Rect{0, 0, 2, 500});
    EXPECT_EQ(owner->rowbytes, wide->rowbytes);
    EXPECT_FALSE(owner->HasBMWorld());
    EXPECT_FALSE(owner->IsReference());
    EXPECT_FALSE(owner->SubWorldSafetyGutterHasBeenOverWritten());
  }
  const WorldPtr shrunk = Make(9, 9, 16);
  EXPECT_EQ(Thrown([&] { shrunk->ShrinkToSubRect(M_Rect{1, 1, 5, 10}); }), 3);
  EXPECT_EQ(Reports().at(0).second, "bad sub rect in ShrinkToSubRect");
  uint8_t* const before = Bytes(*shrunk);
  shrunk->ShrinkToSubRect(M_Rect{3, 2, 5, 9});
  EXPECT_EQ(Bytes(*shrunk), before + 3 * shrunk->rowbytes + 2 * 8);
  EXPECT_EQ(Shape(*shrunk), (Ints{7, 2, 0, 0}));
  EXPECT_FALSE(shrunk->SubWorldSafetyGutterHasBeenOverWritten());

  FrameSource frames;
  WorldPtr detached = Make(4, 4, 8);
  void* const frame = detached->data;
  const int32_t count = VXp_LiveWorlds();
  detached->ForgetPixels();
  detached->ForgetPixels();
  EXPECT_TRUE(detached->IsReference());
  EXPECT_EQ(VXp_LiveWorlds(), count - 1);
  detached.reset();
  BM_FreeFrame(frame, 0);
}

TEST_F(WorldTest, DescriptorsOutAndWrappersIn) {
  const WorldPtr world = Make(6, 4, 16, VX_WorldFlag_BMWorld);
  world->aux_pair[0] = 1;
  VX_LayerDef out;
  std::memset(&out, 0xEE, sizeof out);
  world->FillOutEffectWorld(&out);
  EXPECT_EQ(out.world_flags, 0x01000001u);
  EXPECT_EQ(out.data, world->data);
  EXPECT_EQ(out.rowbytes, world->rowbytes);
  EXPECT_EQ(out.world_object, world.get());
  EXPECT_EQ(out.bm_world, world->bm_world);
  EXPECT_EQ(out.aux_pair[0], 0u);
  EXPECT_EQ(out.effect_world_stamp, 0u);
  world->FillOutEffectWorld(nullptr);

  out.effect_world_stamp = 0xAAAABBBB;
  out.origin_x = 7;
  for (const bool keep : {false, true}) {
    const VX_WorldX<VX_Pixel16> wrapper(&out, keep);
    EXPECT_EQ(wrapper.data, out.data);
    EXPECT_EQ(wrapper.effect_world_stamp, keep ? 0xAAAABBBB : 0u);
    EXPECT_EQ(wrapper.origin_x, keep ? 7 : 0);
    EXPECT_EQ(wrapper.world_object, &wrapper);
    EXPECT_FALSE(wrapper.HasBMWorld());
    EXPECT_TRUE(wrapper.IsReference());
  }
}
