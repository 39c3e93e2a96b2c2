// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The cache of motion: the entry and its record, what is found again, motion files.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <bit>
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
#include "frameblend/cache/FnRecord.h"
#include "frameblend/cache/VX_VeltorCache_Stuff.h"
#include "host/VXHost.h"
#include "unit/frameblend/MotionScenes.h"

namespace fs = std::filesystem;

namespace {

// --- the entry -----------------------------------------------------------------------------------

constexpr int32_t kWidth = 5, kHeight = 3;

HvVec2 VectorAt(int32_t i, int32_t salt) {
  return i == 4 ? HvVec2::Invalid() : HvVec2{0.25f * static_cast<float>(i), -1.0f / (salt + 2)};
}

std::unique_ptr<FnVeltorVectors> MakeVectors() {
  auto vectors = std::make_unique<FnVeltorVectors>();
  int32_t salt = 0;
  for (FnVectorMap* const field : {&vectors->forward, &vectors->backward}) {
    EXPECT_TRUE(field->allocate(kWidth, kHeight));
    for (int32_t i = 0; i < kWidth * kHeight; ++i) {
      field->row(i / kWidth)[i % kWidth] = VectorAt(i, salt);
    }
    field->setEdgeModes(FnEdge_Hold, FnEdge_Mirror);
    field->setOrigin(10 + salt, -20);
    ++salt;
  }
  for (FnTexIndexer* const axes : {&vectors->firstAxes, &vectors->secondAxes}) {
    axes->x.SetSize(kWidth);
    axes->y.SetSize(kHeight);
    axes->setEdgeModes(FnEdge_Hold, FnEdge_Hold);
  }
  vectors->secondAxes.x.SetRange(1, 3);
  return vectors;
}

// The words of the record of MakeVectors, from the description of the format.
std::vector<uint32_t> RecordWords() {
  const auto f = [](float value) { return std::bit_cast<uint32_t>(value); };
  const auto i = [](int32_t value) { return static_cast<uint32_t>(value); };
  std::vector<uint32_t> words = {
      5, 3,                                                  // size
      5, 0,     0,  1, 0, 4, 3, 0,      0,      1, 0, 2, 0,  // first luminance
      5, 0,     0,  1, 1, 3, 3, 0,      0,      1, 0, 2, 0,  // second luminance
      5, f(10), 10, 1, 0, 4, 3, f(-20), i(-20), 2, 0, 2, 0,  // forward
      5, f(11), 11, 1, 0, 4, 3, f(-20), i(-20), 2, 0, 2, 0,  // backward
  };
  for (int32_t salt : {0, 1}) {
    for (int32_t k = 0; k < kWidth * kHeight; ++k) {
      words.push_back(f(VectorAt(k, salt).x));
      words.push_back(f(VectorAt(k, salt).y));
    }
  }
  return words;
}

struct HostFile {
  HostFile() { EXPECT_EQ(FILE_NewTemporary(nullptr, &ref), 0); }
  ~HostFile() { FILE_Close(ref); }
  explicit HostFile(const std::vector<uint32_t>& words, size_t bytes) : HostFile() {
    EXPECT_EQ(FILE_NWrite(ref, static_cast<int64_t>(bytes), words.data()), 0);
    FILE_SetPosition(ref, 0);
  }
  FILE_Ref* ref = nullptr;
};

int32_t CodeOf(const std::function<void()>& call) {
  try {
    call();
  } catch (int32_t code) {
    return code;
  }
  return 0;
}

using Stuff = VX_VeltorCache_Stuff;

TEST(MotionCacheEntry, WritesAndReadsTheRecord) {
  Stuff entry(7, {0, 1}, {1, 1}, MakeVectors());
  EXPECT_TRUE(entry.CanGoToDisk());
  EXPECT_FALSE(entry.IsOnDisk());
  EXPECT_EQ(entry.size(), (5 * 3 + 34) * 24);
  const std::vector<uint32_t> want = RecordWords();
  ASSERT_EQ(want.size() * 4, 216u + 16 * 5 * 3);
  HostFile file;
  entry.WriteToDisk(file.ref);
  std::vector<uint32_t> got(want.size());
  EXPECT_EQ(FILE_GetPosition(file.ref), FnRecordBytes(kWidth, kHeight));
  FILE_SetPosition(file.ref, 0);
  ASSERT_EQ(FILE_NRead(file.ref, FnRecordBytes(kWidth, kHeight), got.data()), 0);
  EXPECT_EQ(got, want);

  EXPECT_TRUE(entry.HasData());
  EXPECT_TRUE(entry.purge());
  EXPECT_FALSE(entry.HasData());
  EXPECT_FALSE(entry.purge());
  EXPECT_EQ(entry.size(), 0);
  FILE_SetPosition(file.ref, 0);
  entry.ReadFromDisk(file.ref);
  ASSERT_TRUE(entry.HasData());
  const FnVectorMap& backward = entry.vectors->backward;
  EXPECT_EQ(backward.at(11 + 3, -20), VectorAt(3, 1));
  EXPECT_EQ(backward.at(11 + 3, -20 - 1), VectorAt(3, 1)) << "mirrored";
  EXPECT_FALSE(entry.vectors->forward.row(0)[4].IsValid());
  EXPECT_EQ(entry.vectors->secondAxes.x.count, 3);
  HostFile again;
  entry.WriteToDisk(again.ref);
  FILE_SetPosition(again.ref, 0);
  ASSERT_EQ(FILE_NRead(again.ref, FnRecordBytes(kWidth, kHeight), got.data()), 0);
  EXPECT_EQ(got, want);
}

TEST(MotionCacheEntry, RefusesRecords) {
  Stuff entry(7, {0, 1}, {1, 1}, nullptr);
  std::vector<uint32_t> words = RecordWords();
  for (size_t bytes : {0, 3, 215, 216, 217, 335, 455}) {
    const HostFile file(words, bytes);
    EXPECT_EQ(CodeOf([&] { entry.ReadFromDisk(file.ref); }), FILE_CannotRead) << bytes;
    EXPECT_FALSE(entry.HasData());
  }
  constexpr uint32_t kMinus = 0xffffffff;
  const struct {
    size_t index;
    uint32_t word;
  } cases[] = {
      {0, kMinus}, {1, kMinus}, {0, 1u << 30}, {0, 6},       // sizes; too large for the fields
      {2, 4},      {8, 2},      {5, 4},        {5, kMinus},  // a descriptor: size, edge mode
      {6, kMinus}, {7, 5},      {6, 6},        {14, 1},      // range, last word
      {28, 0},     {28 + 4, 6}, {41 + 5, 5},   {53, 1},      // the other descriptors
  };
  for (const auto& [index, word] : cases) {
    std::vector<uint32_t> wrong = words;
    wrong[index] = word;
    const HostFile file(wrong, wrong.size() * 4);
    EXPECT_EQ(CodeOf([&] { entry.ReadFromDisk(file.ref); }), 3) << index << ": " << word;
    EXPECT_FALSE(entry.HasData());
  }
  FILE_Ref* none = nullptr;
  Stuff full(7, {0, 1}, {1, 1}, MakeVectors());
  EXPECT_EQ(CodeOf([&] { full.WriteToDisk(none); }), 3);
}

TEST(MotionCacheEntry, IsOrderedByTimes) {
  const struct {
    T_Time a, b;
  } times[] = {{{-1, 1}, {9, 1}}, {{1, 4}, {1, 2}}, {{2, 8}, {3, 4}}, {{1, 2}, {0, 1}}};
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < 4; ++j) {
      const Stuff one(i, times[i].a, times[i].b, nullptr), two(j, times[j].a, times[j].b, nullptr);
      EXPECT_EQ(one.less(two), i < j) << i << " " << j;
    }
  }
  struct Other final : MC_Stuff {
    bool less(const MC_Stuff&) const override { return false; }
    int64_t size() const override { return 0; }
    bool purge() override { return false; }
    bool HasData() const override { return false; }
  } other;
  VXHost_TakeReports();
  const Stuff entry(0, {0, 1}, {0, 1}, nullptr);
  EXPECT_EQ(CodeOf([&] { entry.less(other); }), 3);
  const std::vector<VXHost_Report> reports = VXHost_TakeReports();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].text, "Stuff should be Veltor Cache Stuff");
  EXPECT_EQ(reports[0].severity, 8);
}

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

TEST_F(MotionCache, IsUsedByThreads) {
  VXHost_SetCacheBudget(4000);  // one entry
  std::vector<std::thread> threads;
  for (int t = 0; t < 3; ++t) {
    threads.emplace_back([] {
      Scene<VX_Pixel8> one(4), two(-3);
      const std::vector<uint8_t> want[] = {one.Render(Params(0)), two.Render(Params(0))};
      for (int i = 0; i < 12; ++i) {
        ASSERT_EQ(one.Render(Params(1)), want[0]);
        ASSERT_EQ(two.Render(Params(2)), want[1]);
        if (i == 6) VX_ClearMotionCache();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
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
  std::string Tween(const fs::path& folder, VX_Veltor_AlgoParams algo = {}) {
    VX_ClearMotionCache();
    VX_Tween* tween = nullptr;
    EXPECT_EQ(VX_NewTween(&scene_.a.world, &scene_.b.world, &algo, &tween), VX_Ok);
    EXPECT_EQ(VX_TweenUseCache(tween, nullptr, folder.c_str()), VX_Ok);
    EXPECT_EQ(VX_TweenInstant(tween, 0.5f, nullptr, &scene_.dst.world), VX_Ok);
    if (algo.BlockSize == 6) {
      EXPECT_EQ(scene_.dst.bytes, want_);
    }
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
  ASSERT_EQ(VX_NewTween(&scene_.a.world, &scene_.b.world, nullptr, &tween), VX_Ok);
  const uint8_t zero[16] = {};
  EXPECT_EQ(VX_TweenUseCache(tween, &zero, nullptr), VX_ErrBadParameter);
  EXPECT_EQ(VX_TweenUseCache(nullptr, nullptr, nullptr), VX_ErrBadParameter);
  for (const char* folder : {"", folder_.c_str()}) {
    VX_Tween* pair = nullptr;
    ASSERT_EQ(VX_NewTween(&scene_.a.world, &scene_.b.world, nullptr, &pair), VX_Ok);
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
  EXPECT_NE(Tween(folder_).find("cannot be written"), std::string::npos);
  EXPECT_EQ(Files().size(), 1u);
}

TEST_F(MotionFiles, CannotBeWritten) {
  EXPECT_NE(Tween(folder_ / "missing").find("cannot be written"), std::string::npos);
  EXPECT_NE(Tween("/proc").find("cannot be written"), std::string::npos);
  struct rlimit usual {};
  getrlimit(RLIMIT_FSIZE, &usual);
  signal(SIGXFSZ, SIG_IGN);
  for (const rlim_t bytes : {0, 100, 1000}) {  // the disk is full
    const struct rlimit limits = {bytes, usual.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limits);
    const std::string warning = Tween(folder_);
    setrlimit(RLIMIT_FSIZE, &usual);
    EXPECT_NE(warning.find("cannot be written"), std::string::npos) << warning;
    EXPECT_EQ(Files().size(), 0u);
  }
}

}  // namespace
