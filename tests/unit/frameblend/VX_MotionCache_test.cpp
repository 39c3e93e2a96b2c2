// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The cache of motion: what is found again, motion files.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "VX/VX_FrameBlending.h"
#include "host/VXHost.h"
#include "unit/frameblend/MotionScenes.h"

namespace fs = std::filesystem;

namespace {

// --- what is found -------------------------------------------------------------------------------

template <class Pixel>
struct Scene {
  explicit Scene(double dx = 4, int32_t width = 61, int32_t padding = 3)
      : a(width, 43, padding, 1), b(width, 43, 0, 2), dst(width, 43, 0, 3) {
    const Picture texture = Texture(5, 14);
    Paint(&a, texture);
    Paint(&b, Moved(texture, dx, -2));
  }
  std::vector<uint8_t> Render(const VX_Veltor_OtherParams& other,
                              const VX_Veltor_AlgoParams& algo = {},
                              const VX_Veltor_InterruptFuncs& stop = {}, VX_Err code = VX_Ok) {
    VX_AdvancedFrameBlending blending(other, stop);
    blending.algo = algo;
    const auto wrap = [](auto& world) {
      return std::unique_ptr<VX_World>(VX_World::NewReference(&world.world));
    };
    const auto one = wrap(a), two = wrap(b), to = wrap(dst);
    EXPECT_EQ(blending.Render(one.get(), two.get(), to.get()), code);
    return dst.bytes;
  }
  GuardedWorld<Pixel> a, b, dst;
};

VX_Veltor_OtherParams Params(uint8_t identity, int32_t time = 0) {
  VX_Veltor_OtherParams other;
  other.CacheIdentity[9] = identity;
  other.TimeA = {time, 25};
  other.TimeB = {time + 1, 25};
  other.Instant = 0.5;
  return other;
}

class MotionCache : public testing::Test {
 protected:
  void SetUp() override { VX_ClearMotionCache(); }
  void TearDown() override {
    VX_ClearMotionCache();
    VXHost_SetCacheBudget(int64_t{256} << 20);
  }
  // The counts since the last call.
  std::string Counts() {
    const VX_MotionCacheInfo now = VX_GetMotionCacheInfo(), old = std::exchange(before_, now);
    return "found " + std::to_string(now.found - old.found) + " read " +
           std::to_string(now.read - old.read) + " estimated " +
           std::to_string(now.estimated - old.estimated);
  }

 private:
  VX_MotionCacheInfo before_ = VX_GetMotionCacheInfo();
};

template <class Pixel>
class MotionCacheOfDepth : public MotionCache {};
TYPED_TEST_SUITE(MotionCacheOfDepth, PixelTypes, DepthNames);

TYPED_TEST(MotionCacheOfDepth, GivesTheSameBytes) {
  Scene<TypeParam> scene;
  const std::vector<uint8_t> anew = scene.Render(Params(0));
  EXPECT_EQ(VX_GetMotionCacheInfo().entries, 0) << "no identity";
  EXPECT_EQ(this->Counts(), "found 0 read 0 estimated 0");
  EXPECT_EQ(scene.Render(Params(1)), anew);
  EXPECT_EQ(scene.Render(Params(1)), anew);
  EXPECT_EQ(this->Counts(), "found 1 read 0 estimated 1");
  VX_MotionCacheInfo info = VX_GetMotionCacheInfo();
  EXPECT_EQ(info.memory, (12 * 8 + 34) * 24);
  EXPECT_EQ(info.disk, 0);
  VXHost_SetCacheBudget(0);
  info = VX_GetMotionCacheInfo();
  EXPECT_EQ(info.memory, 0);
  EXPECT_EQ(info.disk, 216 + 16 * 12 * 8);
  EXPECT_EQ(scene.Render(Params(1)), anew) << "read from disk";
  EXPECT_EQ(scene.Render(Params(1)), anew);
  EXPECT_EQ(this->Counts(), "found 2 read 0 estimated 0");
  VXHost_SetCacheBudget(1 << 20);
  EXPECT_EQ(scene.Render(Params(1)), anew);
  EXPECT_EQ(scene.Render(Params(1)), anew) << "read from disk, then from memory";
  VX_ClearMotionCache();
  EXPECT_EQ(VX_GetMotionCacheInfo().entries, 0);
  EXPECT_EQ(scene.Render(Params(1)), anew);
}

TEST_F(MotionCache, KeepsDifferentMotionApart) {
  Scene<VX_Pixel8> scene, other(-3), wide(4, 62);
  Scene<VX_Pixel16> deep;
  const std::vector<uint8_t> anew = scene.Render(Params(0)), moved = other.Render(Params(0));
  EXPECT_EQ(scene.Render(Params(1)), anew);
  EXPECT_EQ(other.Render(Params(2)), moved) << "another identity";
  EXPECT_EQ(other.Render(Params(1, /*time=*/7)), moved) << "other times";
  wide.Render(Params(1));
  deep.Render(Params(1));
  const std::function<void(VX_Veltor_AlgoParams*)> changes[] = {
      [](auto* p) { p->Resolution = 0.5f; },      [](auto* p) { p->VectorDetail = -3; },
      [](auto* p) { p->VectorSmoothing = 40; },   [](auto* p) { p->SmoothPasses = 6; },
      [](auto* p) { p->ErrorThreshold = 0.02f; }, [](auto* p) { p->BlockSize = 5; },
      [](auto* p) { p->LumaR += 0.01; },          [](auto* p) { p->LumaG += 0.01; },
      [](auto* p) { p->LumaB += 0.01; }};
  for (const auto& change : changes) {
    VX_Veltor_AlgoParams algo;
    change(&algo);
    const std::vector<uint8_t> want = scene.Render(Params(0), algo);
    EXPECT_EQ(scene.Render(Params(1), algo), want);
  }
  EXPECT_EQ(Counts(), "found 0 read 0 estimated 14");
  EXPECT_EQ(VX_GetMotionCacheInfo().entries, 14);
  VX_Veltor_AlgoParams same;  // settings of the picture, not of the motion
  same.HighQuality = 1, same.ShutterSamples = 3, same.Mode = 2;
  scene.Render(Params(1), same);
  scene.Render([] {
    VX_Veltor_OtherParams scaled = Params(1);
    scaled.TimeA = {0, 7}, scaled.TimeB = {2, 50}, scaled.Instant = 0.25;
    return scaled;
  }());
  EXPECT_EQ(Counts(), "found 2 read 0 estimated 0");

  // A render that is stopped adds nothing.
  static int32_t polls;
  for (const int32_t most : {1, 10, 40}) {
    polls = most;
    const VX_Veltor_InterruptFuncs stop = {
        [](void*) { return --polls < 0 ? VX_ErrStopped : VX_Err{VX_Ok}; }, nullptr};
    scene.Render(Params(3), {}, stop, VX_ErrStopped);
  }
  EXPECT_EQ(VX_GetMotionCacheInfo().entries, 14);
}

TEST(MotionIdentity, DependsOnVisiblePixelsOnly) {
  using Identity = std::array<uint8_t, 16>;
  const auto of = [](const VX_LayerDef& a, const VX_LayerDef& b) {
    uint8_t identity[16] = {};
    EXPECT_EQ(VX_IdentifyPictures(&a, &b, &identity), VX_Ok);
    return std::to_array(identity);
  };
  Scene<VX_Pixel16> scene, padded(4, 61, 9);
  const Identity first = of(scene.a.world, scene.b.world);
  EXPECT_EQ(of(padded.a.world, padded.b.world), first);
  EXPECT_NE(of(scene.b.world, scene.a.world), first);
  for (int i : {0, 60 + 61 * 42}) {  // one bit of alpha, of the last channel
    VX_Pixel16 pixel = padded.b.Get(i % 61, i / 61);
    (i == 0 ? pixel.alpha : pixel.blue) ^= 1;
    padded.b.Set(i % 61, i / 61, pixel);
    EXPECT_NE(of(padded.a.world, padded.b.world), first);
  }
  // The same bytes as another size and another depth.
  VX_LayerDef tall = scene.b.world, bytes = scene.b.world;
  tall.width = 43, tall.height = 61, tall.rowbytes = 43 * 8;
  bytes.width = 122;
  bytes.world_flags = 0;
  VXp_SetWorldDepth(&bytes, 8);
  EXPECT_NE(of(tall, tall), of(scene.b.world, scene.b.world));
  EXPECT_NE(of(bytes, bytes), of(scene.b.world, scene.b.world));
  uint8_t identity[16];
  EXPECT_EQ(VX_IdentifyPictures(nullptr, &tall, &identity), VX_ErrBadParameter);
  EXPECT_EQ(VX_IdentifyPictures(&tall, &tall, nullptr), VX_ErrBadParameter);
}

// --- motion files --------------------------------------------------------------------------------

class MotionFiles : public MotionCache {
 protected:
  void SetUp() override {
    folder_ = fs::temp_directory_path() / ("vx-motion-" + std::to_string(getpid()));
    fs::create_directory(folder_);
    MotionCache::SetUp();
    want_ = scene_.Render(Params(0));
  }
  void TearDown() override {
    MotionCache::TearDown();
    fs::remove_all(folder_);
  }
  // Renders with an empty cache in memory, and returns the warning.
  std::string Tween(const fs::path& folder, const VX_Veltor_AlgoParams& algo = {}) {
    VX_ClearMotionCache();
    const std::string warning = Render(folder.c_str(), algo, VX_TweenQuality_Standard);
    if (algo.BlockSize == 6) {
      EXPECT_EQ(scene_.dst.bytes, want_);
    }
    return warning;
  }
  // With a null folder nothing is kept.
  std::string Render(const char* folder, const VX_Veltor_AlgoParams& algo,
                     VX_TweenQuality quality) {
    VX_Tween* tween = nullptr;
    EXPECT_EQ(VX_NewTween(&scene_.a.world, &scene_.b.world, &algo, quality, &tween), VX_Ok);
    if (folder != nullptr) {
      EXPECT_EQ(VX_TweenUseCache(tween, nullptr, folder), VX_Ok);
    }
    EXPECT_EQ(VX_TweenInstant(tween, 0.5f, nullptr, &scene_.dst.world), VX_Ok);
    const std::string warning = VX_TweenCacheWarning(tween);
    VX_DisposeTween(tween);
    return warning;
  }
  std::vector<fs::path> Files() {
    return {fs::directory_iterator(folder_), fs::directory_iterator()};
  }

  fs::path folder_;
  Scene<VX_Pixel8> scene_;
  std::vector<uint8_t> want_;
};

using Bytes = std::vector<char>;

Bytes Load(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void Store(const fs::path& path, const Bytes& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

TEST_F(MotionFiles, AreReadByLaterRuns) {
  EXPECT_EQ(Tween(folder_), "");
  EXPECT_EQ(Counts(), "found 0 read 0 estimated 1");
  ASSERT_EQ(Files().size(), 1u);
  const fs::path path = Files()[0];
  EXPECT_EQ(path.extension(), ".vxmotion");
  const Bytes bytes = Load(path);
  constexpr uint64_t kRecord = 216 + 16 * 12 * 8;
  ASSERT_EQ(bytes.size(), 48 + kRecord);
  const auto word = [&](size_t at) {
    uint64_t value;
    std::memcpy(&value, bytes.data() + at, 8);
    return value;
  };
  EXPECT_EQ(std::string(bytes.data(), 8), "VXMOTION");
  EXPECT_EQ(word(8), 1u);
  EXPECT_EQ(word(32), kRecord);
  EXPECT_EQ(word(48), (uint64_t{8} << 32) + 12) << "the size begins the record";
  EXPECT_EQ(Tween(folder_), "");
  EXPECT_EQ(Counts(), "found 0 read 1 estimated 0");
  EXPECT_EQ(Load(path), bytes);
  VX_Veltor_AlgoParams other;
  other.BlockSize = 7;
  EXPECT_EQ(Tween(folder_, other), "");
  EXPECT_EQ(Counts(), "found 0 read 0 estimated 1");
  EXPECT_EQ(Files().size(), 2u);
  // A pair that is found in memory writes a file that is missing.
  fs::remove(path);
  VX_Tween* tween = nullptr;
  ASSERT_EQ(
      VX_NewTween(&scene_.a.world, &scene_.b.world, nullptr, VX_TweenQuality_Standard, &tween),
      VX_Ok);
  const uint8_t zero[16] = {};
  EXPECT_EQ(VX_TweenUseCache(tween, &zero, nullptr), VX_ErrBadParameter);
  EXPECT_EQ(VX_TweenUseCache(nullptr, nullptr, nullptr), VX_ErrBadParameter);
  for (const char* folder : {"", folder_.c_str()}) {
    VX_Tween* pair = nullptr;
    ASSERT_EQ(
        VX_NewTween(&scene_.a.world, &scene_.b.world, nullptr, VX_TweenQuality_Standard, &pair),
        VX_Ok);
    EXPECT_EQ(VX_TweenUseCache(pair, nullptr, folder), VX_Ok);
    EXPECT_EQ(VX_TweenInstant(pair, 0.5f, nullptr, &scene_.dst.world), VX_Ok);
    VX_DisposeTween(pair);
  }
  VX_DisposeTween(tween);
  EXPECT_EQ(Load(path), bytes);
}

TEST_F(MotionFiles, AreRefusedAndReplaced) {
  ASSERT_EQ(Tween(folder_), "");
  const fs::path path = Files()[0];
  const Bytes good = Load(path);
  const auto flipped = [&](size_t at) {
    Bytes bytes = good;
    bytes[at] = static_cast<char>(bytes[at] ^ 4);
    return bytes;
  };
  const auto part = [&](size_t count) { return Bytes(good.data(), good.data() + count); };
  Bytes longer = good;
  longer.push_back(0);
  const struct {
    Bytes bytes;
    const char* reason;
  } cases[] = {{{}, "0 bytes instead of"},
               {part(47), "47 bytes"},
               {part(good.size() - 1), "bytes instead of"},
               {longer, "bytes instead of"},
               {flipped(0), "not a motion file"},
               {flipped(8), "another version"},
               {flipped(15), "another version"},
               {flipped(20), "other pictures"},
               {flipped(32), "damaged"},
               {flipped(47), "damaged"},
               {flipped(48), "damaged"},
               {flipped(300), "damaged"},
               {flipped(good.size() - 1), "damaged"}};
  for (const auto& [bytes, reason] : cases) {
    Store(path, bytes);
    const std::string warning = Tween(folder_);
    EXPECT_NE(warning.find(reason), std::string::npos) << warning;
    EXPECT_NE(warning.find(path.string()), std::string::npos) << warning;
    EXPECT_EQ(Load(path), good) << reason;
  }
  fs::remove(path);
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_NE(Tween(folder_).find("not a file"), std::string::npos);
  EXPECT_EQ(Load(path), good);
  fs::remove(path);
  fs::create_directory(path);
  EXPECT_NE(Tween(folder_).find("cannot be replaced"), std::string::npos);
  EXPECT_EQ(Files().size(), 1u);
}

TEST_F(MotionFiles, ContainTheDenseMotion) {
  VX_Veltor_AlgoParams algo;
  const auto high = [&](const char* folder) {
    EXPECT_EQ(Render(folder, algo, VX_TweenQuality_High), "");
    return scene_.dst.bytes;
  };
  const std::vector<uint8_t> anew = high(nullptr);
  EXPECT_EQ(Counts(), "found 0 read 0 estimated 0");
  ASSERT_EQ(Tween(folder_), "");  // the motion of the other quality is not used
  EXPECT_EQ(high(folder_.c_str()), anew);
  EXPECT_EQ(Counts(), "found 0 read 0 estimated 2");
  algo.BlockSize = 7;  // is not read
  EXPECT_EQ(high(""), anew);
  VXHost_SetCacheBudget(0);
  EXPECT_EQ(high(""), anew);
  EXPECT_EQ(Counts(), "found 2 read 0 estimated 0");
  VX_ClearMotionCache();
  EXPECT_EQ(high(folder_.c_str()), anew);
  EXPECT_EQ(Counts(), "found 0 read 1 estimated 0");
  std::vector<uintmax_t> sizes;
  for (const fs::path& path : Files()) sizes.push_back(fs::file_size(path));
  std::sort(sizes.begin(), sizes.end());
  EXPECT_EQ(sizes, (std::vector<uintmax_t>{48 + 216 + 16 * 12 * 8, 48 + 216 + 16 * 61 * 43}));
}

TEST_F(MotionFiles, CannotBeWritten) {
  EXPECT_NE(Tween(folder_ / "missing").find("cannot store motion"), std::string::npos);
  EXPECT_NE(Tween("/proc").find("cannot store motion"), std::string::npos);
  struct rlimit usual {};
  getrlimit(RLIMIT_FSIZE, &usual);
  signal(SIGXFSZ, SIG_IGN);
  for (const rlim_t bytes : {0, 100, 1000}) {  // the disk is full
    const struct rlimit limits = {bytes, usual.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limits);
    const std::string warning = Tween(folder_);
    setrlimit(RLIMIT_FSIZE, &usual);
    EXPECT_NE(warning.find("cannot store motion"), std::string::npos) << warning;
    EXPECT_EQ(Files().size(), 0u);
  }
}

}  // namespace
