// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Operations whose allocations and services fail: the error is returned, the destination and the
// settings are unchanged, nothing is leaked. A new operation is a row of a table.

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <vector>

#include "VX/VX.h"
#include "VX/VX_ColorSettings.h"
#include "VX/VX_FrameBlending.h"
#include "frame/VXp_Counters.h"
#include "hostdouble/HostDouble.h"

namespace {

constexpr int32_t kSize = 40;
using WorldPtr = std::unique_ptr<VX_World>;

// Arguments of the operations.
struct Scene {
  explicit Scene(int16_t world_depth) : depth(world_depth) {
    for (WorldPtr* world : {&src, &mask, &dst}) {
      world->reset(VX_World::New(kSize, kSize, depth, VX_WorldFlag_Clear));
    }
    src->Fill(VX_PixelFloat{0.5f, 1, 0, 0}, nullptr);
    mask->Fill(VX_PixelFloat{1, 0.5f, 0.25f, 1}, nullptr);
    COR_QCE_NewProfilePool(&pool);
    COR_QCE_ProfileFromName("gamma 1.8", &profile);
    color.SetProfilePool(pool);
    color.SetProfile(profile);
    Restore();
  }
  ~Scene() { COR_QCE_DisposeProfilePool(pool); }
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
  WorldPtr src, mask, dst;
  VX_UnoBuffer samples{70, 30, 8};
  COR_QCE_ProfilePool* pool = nullptr;
  COR_QCE_ProfilePtr profile;
  VX_ColorSettings color{nullptr};
};

// --- operations ----------------------------------------------------------------------------------

template <uint32_t flags>
VX_Err New(Scene& s) {
  return WorldPtr(VX_World::New(5, 4, s.depth, flags)) != nullptr ? 0 : VX_ErrOutOfMemory;
}
template <bool bitmap>
VX_Err NewEffect(Scene& s) {
  VX_LayerDef world{};
  const VX_Err error = VX_NewEffectWorld(nullptr, 5, 4, s.depth, true, bitmap, &world);
  EXPECT_EQ(world.effect_world_stamp, error == VX_Ok ? VX_EffectWorldStamp : 0);
  return error == VX_Ok ? VX_DisposeEffectWorld(nullptr, &world) : error;
}
VX_Err NewReference(Scene& s) {
  const WorldPtr world(VX_World::NewReference(s.src.get(), M_LRect{1, 1, 3, 3}));
  return world != nullptr ? 0 : VX_ErrOutOfMemory;
}
VX_Err NewBuffer(Scene& s) {
  VX_UnoBuffer* buffer = nullptr;
  const VX_Err error = VX_NewUnoBufferOfDepth(9, 9, s.depth, &buffer);
  EXPECT_EQ(buffer == nullptr, error != VX_Ok);
  return error == VX_Ok ? VX_DisposeUnoBuffer(buffer) : error;
}
VX_Err ConstructBuffer(Scene& s) {
  const VX_UnoBuffer buffer(9, 9, s.depth);
  return VX_Ok;
}
VX_Err Transfer(Scene& s) {
  const VX_CompositeModePlus mode(VX_Xfer_Multiply, 1, nullptr, true, 0);
  const VX_MaskSpec mask{s.mask.get(), 0, 0, VX_MaskUse_InverseLuma};
  return VX_TransferRect(nullptr, 0, 0, 0, nullptr, s.src.get(), &mode, nullptr, &mask, 0, 0,
                         s.dst.get());
}
template <int32_t count>
VX_Err Transform(Scene& s) {
  VX_TransformParts from, to;
  from.rotation = 40;
  to.rotation = 40 * count;
  M_Matrix3 matrices[count];
  VX_MatricesBetween(&from, &to, count, matrices);
  const VX_CompositeModePlus mode(VX_Xfer_InFront, 0.5f, nullptr, true, 0);
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
VX_Err EstimateMotion(Scene& s) {
  VX_Veltor_AlgoParams settings;
  settings.Resolution = 1;
  std::vector<float> vectors(2 * kSize * kSize);
  return VX_EstimateMotion(s.src.get(), s.src.get(), &settings, nullptr, 0, vectors.data(),
                           8 * kSize);
}
// Pictures between two. They are drawn beside the scene, because an error leaves them incomplete.
struct Between {
  explicit Between(Scene& scene) : s(scene), to(*s.dst) {
    to.data = pixels.data();
    settings.Resolution = 0.5f;
    settings.HighQuality = 1;
    settings.ShutterSamples = 2;
  }
  Scene& s;
  std::vector<uint8_t> pixels = std::vector<uint8_t>(size_t{20} * kSize * kSize);
  VX_LayerDef to;
  VX_Veltor_AlgoParams settings;
};
// Estimates the motion, stores it in a temporary file, and reads it.
template <VX_TweenQuality quality>
VX_Err KeptMotion(Scene& s) {
  Between b(s);
  VXHost_SetCacheBudget(0);
  VX_Err error = VX_Ok;
  for (int i = 0; i < 2 && error == VX_Ok; ++i) {
    VX_Tween* tween = nullptr;
    float share = 0;
    error = VX_NewTween(s.src.get(), s.mask.get(), &b.settings, quality, &tween);
    if (error == VX_Ok) error = VX_TweenUseCache(tween, nullptr, nullptr);
    if (error == VX_Ok) error = VX_TweenUnexplained(tween, nullptr, &share);
    if (error == VX_Ok) error = VX_TweenInstant(tween, 0.5f, nullptr, &b.to);
    VX_DisposeTween(tween);
  }
  VX_ClearMotionCache();
  VXHost_SetCacheBudget(int64_t{256} << 20);
  return error;
}
VX_Err RenderBetween(Scene& s) {
  Between b(s);
  VX_Veltor_OtherParams times;
  times.Instant = 0.5;
  VX_AdvancedFrameBlending blending(times, {});
  blending.algo = b.settings;
  const WorldPtr to(VX_World::NewReference(&b.to));
  if (to == nullptr) return VX_ErrOutOfMemory;
  return blending.Render(s.src.get(), s.mask.get(), to.get());
}
VX_Err GaussianScans(Scene& s) {
  uint8_t scratch[400], other[70] = {};
  auto* const line = static_cast<uint8_t*>(*s.samples.data);
  const VX_Err error = VX_GBlurUnoScan(1, 70, 0, 70, 4 << 16, scratch, other);
  return error != VX_Ok ? error : VX_GBlurUnoScan(1, 70, 0, 70, 3 << 16, scratch, line);
}
template <int32_t kind>
VX_Err Feather(Scene& s) {
  return VX_FeatherUnoBuffer(nullptr, kind, 4, 6, &s.samples);
}
// Copies have no tables yet.
VX_Err LinearTables(Scene& s) {
  VX_ColorSettings(s.color).GetLinearBlendingTables(true);
  return VX_Ok;
}

using Operation = VX_Err (*)(Scene&);
VX_Err CodeOf(Operation run, Scene& scene) {
  try {
    return run(scene);
  } catch (VX_Err code) {
    return code;
  }
}

class Failures : public testing::Test {
 protected:
  void SetUp() override {  // birth is not recorded
    VX_Death();
    ASSERT_EQ(VX_Birth(), 0);
  }
  const int32_t live_ = VXp_LiveWorlds();
};

}  // namespace

TEST_F(Failures, OutOfMemoryLeavesTheDestination) {
  const std::pair<const char*, Operation> rows[] = {
      {"New", New<0>},
      {"New bitmap", New<VX_WorldFlag_BMWorld>},
      {"NewEffectWorld", NewEffect<false>},
      {"NewEffectWorld bitmap", NewEffect<true>},
      {"NewReference", NewReference},
      {"NewUnoBuffer", NewBuffer},
      {"VX_UnoBuffer", ConstructBuffer},
      {"transfer", Transfer},
      {"transform", Transform<1>},
      {"motion", Transform<3>},
      {"Gaussian scans", GaussianScans},
      {"Gaussian pass", GaussianPass},
      {"box pass", BoxPass},
      {"blur", Blur},
      {"box feather", Feather<VX_Feather_Box>},
      {"soft feather", Feather<VX_Feather_Soft>},
      {"Gaussian feather", Feather<VX_Feather_Gaussian>},
      {"linear tables", LinearTables},
      {"motion between pictures", EstimateMotion},
      {"motion that is kept", KeptMotion<VX_TweenQuality_Standard>},
      {"dense motion that is kept", KeptMotion<VX_TweenQuality_High>},
      {"a picture between two", RenderBetween},
  };
  const int32_t threads = VX_MotionThreads();
  VX_SetMotionThreads(1);  // for speed; only the calling thread allocates
  Scene warm_up(8);
  for (const auto& [name, run] : rows) CodeOf(run, warm_up);  // memory that the process keeps
  for (const auto& [name, run] : rows) {
    for (const int16_t depth : {8, 16, 32}) {
      HostDouble host;
      const int32_t live = VXp_LiveWorlds();
      {
        Scene scene(depth);
        const auto before = scene.Bytes();
        EXPECT_EQ(CodeOf(run, scene), VX_Ok);
        const auto after = scene.Bytes();
        bool reached = true;
        for (int i = 2; reached; ++i) {
          // Once or from then on. A single failure may be repaired by freeing memory and a second
          // try.
          const int nth = i / 2, later = i % 2;
          SCOPED_TRACE(testing::Message() << name << ", " << depth << ", " << nth << ", " << later);
          scene.Restore();
          const int64_t attempts = host.AllocationCount();
          host.FailAllocation(nth, later);
          const VX_Err error = CodeOf(run, scene);
          reached = host.AllocationCount() - attempts >= nth;
          host.FailAllocation(0);
          EXPECT_TRUE(error == (reached ? VX_ErrOutOfMemory : VX_Ok) || (error == 0 && !later));
          EXPECT_TRUE(scene.Bytes() == (error == VX_Ok ? after : before));
          EXPECT_TRUE(reached || nth > 1) << "no allocation";
          ASSERT_LT(nth, 1000);
        }
      }
      EXPECT_EQ(host.Leaked(), 0) << name;
      EXPECT_EQ(host.Accounted(), 0) << name;
      EXPECT_EQ(VXp_LiveWorlds(), live) << name;
    }
  }
  VX_SetMotionThreads(threads);
}

// A service that fails ends the call with its code.
TEST_F(Failures, CodesOfServices) {
  const std::pair<const char*, Operation> rows[] = {
      {"BM_NewWorld", New<VX_WorldFlag_BMWorld>},
      {"BM_LoadLockPixels", New<VX_WorldFlag_BMWorld>},
      {"BM_NewWorld", NewEffect<true>},
      // The scratch of blurs is allocated in the loop that frees memory and tries again.
      {"U_PurgeLoop", GaussianPass},
      {"U_PurgeLoop", BoxPass},
      {"U_PurgeLoop", Blur},
      {"COR_QCE_GetProfileByID", LinearTables},
      {"COR_QCE_GetLinearRGBProfile", LinearTables},
      {"COR_QCE_NewTransform", LinearTables},
      {"COR_QCE_Apply", LinearTables},
      {"COR_QCE_GetToneExponent", LinearTables},
      {"COR_QCE_GetProfileID",
       [](Scene& s) {
         s.color.SetProfile(s.profile);
         return 0;
       }},
      {"COR_QCE_GetToneExponent", [](Scene& s) { return s.color.GetCalGrayGamma() > 0 ? 0 : 1; }},
      {"COR_QCE_GetProfileDescription",
       [](Scene& s) { return VX_GetWorkingSpaceProfileName(&s.color).empty() ? 1 : 0; }},
      {"COR_QCE_GetLinearRGBProfile",
       [](Scene& s) {
         s.color.SetLinearize(true);
         return s.color.GetAdjustedProfile() != nullptr ? 0 : 1;
       }},
  };
  HostDouble host;
  {
    Scene scene(8);
    const auto before = scene.Bytes();
    const _t_QCE_ID id = scene.color.GetProfileID();
    for (const auto& [service, run] : rows) {
      const int64_t blocks = host.Leaked();
      host.Fail(service, 99);
      EXPECT_EQ(CodeOf(run, scene), 99) << service;
      EXPECT_EQ(scene.Bytes(), before) << service;
      EXPECT_EQ(host.Leaked(), blocks) << service;
      EXPECT_TRUE(scene.color.GetProfileID() == id && scene.color.IsValid()) << service;
      host.Fail(service, 0);
      EXPECT_EQ(CodeOf(run, scene), 0) << service;
      scene.Restore();
    }
  }
  EXPECT_EQ(host.Leaked(), 0);
  EXPECT_EQ(VXHost_GetPairs().window_modes, 0);
  EXPECT_EQ(VXp_LiveWorlds(), live_);
}

// The threads before the one that cannot be created do their share; nothing waits for ever.
TEST_F(Failures, AThreadThatCannotBeCreated) {
  const int32_t threads = VX_MotionThreads();
  VX_SetMotionThreads(3);
  HostDouble host;
  {
    Scene scene(8);
    host.Fail("U_PurgeLoop", 99);
    EXPECT_EQ(EstimateMotion(scene), VX_ErrOutOfMemory);
    EXPECT_STREQ(VX_LastReport(), "Frame Blending - Failed to create thread.");
    host.Fail("U_PurgeLoop", 0);
    EXPECT_EQ(EstimateMotion(scene), VX_Ok);
  }
  EXPECT_EQ(host.Leaked(), 0);
  VX_SetMotionThreads(threads);
}

// The host gets the size of a frame again when it is freed.
TEST_F(Failures, FramesAreFreedWithTheirSize) {
  HostDouble host;
  delete VX_World::New(7, 3, 32, VX_WorldFlag_Clear);
  ASSERT_EQ(host.CallsTo("BM_FreeFrame").size(), 1u);
  EXPECT_EQ(host.CallsTo("BM_FreeFrame")[0].args[0], 112 * 2 + 112 + 96 + 8);
  EXPECT_EQ(host.allocations.back().size, 112u * 2 + 112 + 96 + 8);
  host.hide_bitmap_base = true;
  Scene scene(8);
  EXPECT_EQ(New<VX_WorldFlag_BMWorld | VX_WorldFlag_Clear>(scene), VX_Ok);
}

// Sizes are computed in 64 bits. The log contains the purpose of the block.
TEST_F(Failures, SizesOfChunksAndPlanes) {
  constexpr int32_t kMost = std::numeric_limits<int32_t>::max();
  HostDouble host;
  VX_ChannelChunk chunk{};
  VX_LayerDef world{};
  world.data = &world;
  world.width = kMost / 4 - 8;
  world.height = kMost;
  void** handle = &world.data;
  int32_t row_size = 1;
  host.FailAllocation(2);  // the block after the handle
  EXPECT_EQ(VX_NewChunk(kMost / 8, kMost, 1, VX_ChunkType_Double, &chunk), 4);
  host.FailAllocation(2);
  EXPECT_EQ(VX_ExtractPlanes(nullptr, &world, 15, &handle, &row_size), 4);
  EXPECT_TRUE(chunk.handle == nullptr && handle == nullptr);
  ASSERT_EQ(host.log.size(), 2u);
  EXPECT_EQ(host.log[0].text, "out of memory for channel chunk: " +
                                  std::to_string(uint64_t{kMost / 8} * 8 * kMost) + " bytes");
  EXPECT_EQ(host.log[1].text,
            "image plane buffer: " + std::to_string(uint64_t{kMost - 1} * kMost) + " bytes");
  EXPECT_EQ(host.Leaked(), 0);
}

// --- colour settings -----------------------------------------------------------------------------

// A failed attempt leaves nothing. The object lives until death, which disposes of it before the
// colour engine is released.
TEST_F(Failures, EmergencySettings) {
  VX_Death();
  HostDouble host;
  ASSERT_EQ(VX_Birth(), 0);
  const auto code = [] {
    try {
      return VX_GetEmergencyColorSettings() == VX_GetEmergencyColorSettings() ? 0 : 1;
    } catch (VX_Err error) {
      return error;
    }
  };
  const int64_t blocks = host.Leaked();
  for (const char* service :
       {"COR_QCE_NewProfilePool", "COR_QCE_ProfileFromName", "COR_QCE_GetProfileID"}) {
    host.Fail(service, 99);
    EXPECT_EQ(code(), 99) << service;
    EXPECT_EQ(host.Leaked(), blocks) << service;
    host.Fail(service, 0);
  }
  EXPECT_EQ(code(), 0);
  EXPECT_NE(VX_GetEmergencyColorSettings()->GetLinearBlendingTables(true), nullptr);
  EXPECT_EQ(VX_Death(), 0);
  EXPECT_EQ(host.Leaked(), 0);
  const std::vector<std::string> names = host.CallNames();
  EXPECT_EQ(names[names.size() - 2], "COR_QCE_DisposeProfilePool");
  EXPECT_EQ(names.back(), "COR_ReleaseClient");
  EXPECT_EQ(code(), QCE_NotAvailable);
  EXPECT_EQ(VX_Birth(), 0);
}
