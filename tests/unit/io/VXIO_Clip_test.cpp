// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include <fstream>

#include "ClipTest.h"
#include "VXIO/VXIO_Compare.h"

namespace {

std::string Refusal(const std::string& path) {
  try {
    VXIO_ClipReader reader(path);
    while (reader.Skip()) {
    }
  } catch (const VXIO_Error& error) {
    EXPECT_EQ(error.kind(), VXIO_ErrorKind::Input);
    const std::string text = error.what();
    EXPECT_TRUE(text.starts_with(path + ": ")) << text;
    EXPECT_EQ(text.find('\n'), std::string::npos) << text;
    return text.substr(path.size() + 2);
  }
  return "";
}

std::string Bytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void Put(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

TEST_F(Clip, TurnedUpright) {
  constexpr int32_t kOne = 65536;
  struct Case {
    std::vector<int32_t> turn;
    bool turned;          // exchange x and y
    bool flip_x, flip_y;  // afterwards
  };
  for (const Case& c :
       {Case{{kOne, 0, 0, kOne}, false, false, false},
        Case{{-kOne, 0, 0, kOne}, false, true, false},
        Case{{-kOne, 0, 0, -kOne}, false, true, true},
        Case{{kOne, 0, 0, -kOne}, false, false, true}, Case{{0, kOne, kOne, 0}, true, false, false},
        Case{{0, kOne, -kOne, 0}, true, true, false}, Case{{0, -kOne, -kOne, 0}, true, true, true},
        Case{{0, -kOne, kOne, 0}, true, false, true}}) {
    ClipPlan plan{Path("a.mov"), AV_PIX_FMT_RGBA, "png"};
    plan.width = 5;
    plan.height = 3;
    plan.aspect = {2, 1};
    plan.turn = c.turn;
    plan.sample = [](int, int component, int x, int y) { return component == 0 ? x : y; };
    VXIO_ClipReader reader = Make(plan);
    const VXIO_ClipInfo& info = reader.info();
    ASSERT_EQ(info.width, c.turned ? 3 : 5);
    ASSERT_EQ(info.height, c.turned ? 5 : 3);
    EXPECT_EQ(info.pixel_aspect.num, c.turned ? 1 : 2);
    EXPECT_EQ(info.pixel_aspect.den, c.turned ? 2 : 1);
    const auto got = reader.Next();
    const auto expected = [&](int across, int down) -> Value {
      if (c.flip_x) across = info.width - 1 - across;
      if (c.flip_y) down = info.height - 1 - down;
      const double x = c.turned ? down : across, y = c.turned ? across : down;
      return {y, x, y, y};
    };
    EXPECT_EQ(Worst(*got->picture.world, expected), 0) << info.orientation;
    EXPECT_TRUE(got->picture.warnings.empty());
  }
  ClipPlan plan{Path("b.mov"), AV_PIX_FMT_RGBA, "png"};
  plan.turn = {46341, 46341, -46341, 46341};
  plan.sample = Noise;
  VXIO_ClipReader reader = Make(plan);
  EXPECT_EQ(reader.Next()->picture.warnings.size(), 1u);
  EXPECT_TRUE(reader.Next()->picture.warnings.empty());
}

TEST_F(Clip, NumbersTimesAndCounts) {
  ClipPlan plan{Path("a.mkv"), AV_PIX_FMT_BGR0, "ffv1"};
  plan.frames = 5;
  plan.stamps = {0, 1, 4, 5, 9};
  plan.sound = true;
  plan.transfer = AVCOL_TRC_SMPTE2084;
  plan.sample = Noise;
  VXIO_ClipReader reader = Make(plan);
  EXPECT_EQ(reader.info().format, "matroska");
  EXPECT_EQ(reader.info().codec, "ffv1");
  EXPECT_EQ(reader.info().pixel_format, "bgr0");
  EXPECT_FALSE(reader.info().counted);
  EXPECT_NEAR(reader.info().duration.value_or(0), 0.4, 1e-3);
  EXPECT_TRUE(reader.Skip());
  EXPECT_EQ(reader.position(), 1);
  for (const double time : {0.04, 0.16, 0.20, 0.36}) {
    const auto got = reader.Next();
    ASSERT_TRUE(got);
    EXPECT_NEAR(got->time.value_or(-1), time, 1e-9);
    EXPECT_EQ(got->picture.warnings.size(), time == 0.04 ? 1u : 0u);  // the transfer curve
  }
  EXPECT_FALSE(reader.Skip());
  EXPECT_FALSE(reader.Next());
  EXPECT_TRUE(reader.info().counted);
  EXPECT_EQ(reader.info().frames, 5);

  plan = {Path("b.mov"), AV_PIX_FMT_RGBA, "png"};
  plan.rate = {30000, 1001};
  plan.sample = Noise;
  VXIO_ClipReader other = Make(plan);
  other = VXIO_ClipReader(plan.path);
  EXPECT_EQ(other.info().frames, 3);
  EXPECT_EQ(other.info().frame_rate.num, 30000);
  EXPECT_EQ(other.info().frame_rate.den, 1001);
  other.Skip();
  EXPECT_EQ(other.Next()->time, 1001 / 30000.0);
}

TEST_F(Clip, CutToWhatIsShown) {
  ClipPlan plan{Path("whole.mkv"), AV_PIX_FMT_YUV444P, "libx264"};
  plan.width = 48;
  plan.height = 32;
  plan.sample = Noise;
  VXIO_ClipReader whole = Make(plan);
  plan.path = Path("cut.mkv");
  plan.x264 = "crop-rect=7,5,2,6";
  VXIO_ClipReader cut = Make(plan);
  ASSERT_EQ(cut.info().width, 39);
  ASSERT_EQ(cut.info().height, 21);
  while (const auto want = whole.Next()) {
    const auto got = cut.Next();
    ASSERT_TRUE(got && got->picture.world->width == 39 && got->picture.world->height == 21);
    const auto expected = [&](int x, int y) { return At(*want->picture.world, x + 7, y + 5); };
    ASSERT_EQ(Worst(*got->picture.world, expected), 0);
  }
}

// --- errors --------------------------------------------------------------------------------------

// A truncated file returns frames of the complete file, and an error if frames are missing.
TEST_F(Clip, Truncated) {
  struct Case {
    const char *name, *codec;
    AVPixelFormat format;
    bool sound;
  };
  for (const Case& c :
       {Case{"a.mkv", "ffv1", AV_PIX_FMT_BGR0, false},
        Case{"b.mkv", "ffv1", AV_PIX_FMT_YUV420P, true},
        Case{"c.mov", "png", AV_PIX_FMT_RGBA, false}, Case{"d.avi", "ffv1", AV_PIX_FMT_BGR0, false},
        Case{"e.mkv", "libx264", AV_PIX_FMT_YUV444P, false},  // out of order
        Case{"f.y4m", "wrapped_avframe", AV_PIX_FMT_YUV444P, false}}) {
    ClipPlan plan{Path(c.name), c.format, c.codec};
    plan.frames = 6;
    plan.sound = c.sound;
    plan.sample = Noise;
    VXIO_ClipReader reader = Make(plan);
    const std::string whole = Bytes(plan.path);
    std::vector<VXIO_WorldPtr> frames;
    while (auto got = reader.Next()) frames.push_back(std::move(got->picture.world));
    ASSERT_EQ(frames.size(), 6u);
    size_t most = 0;
    for (size_t size = 1; size < whole.size(); size += 1 + size % 53) {
      SCOPED_TRACE(std::string(c.name) + " cut to " + std::to_string(size) + " of " +
                   std::to_string(whole.size()));
      const std::string path = Path("cut");
      Put(path, whole.substr(0, size));
      size_t read = 0;
      std::string said;
      try {
        VXIO_ClipReader cut(path);
        for (; auto got = cut.Next(); ++read) {
          ASSERT_LT(read, frames.size());
          EXPECT_TRUE(VXIO_Compare(*got->picture.world, *frames[read]).equal) << read;
        }
      } catch (const VXIO_Error& error) {
        said = error.what();
      }
      most = std::max(most, read);
      if (read == frames.size()) continue;
      EXPECT_TRUE(said.starts_with(path + ": ")) << said;
      if (read > 0) {
        EXPECT_NE(said.find("at frame " + std::to_string(read)), std::string::npos) << said;
      }
    }
    // c has its index at the end; in e, two frames are stored out of order.
    EXPECT_GE(most, c.name[0] == 'c' ? 0u : c.name[0] == 'e' ? 3u : 5u);
  }
}

TEST_F(Clip, DamageInsideAFrame) {
  ClipPlan plan{Path("a.mkv"), AV_PIX_FMT_YUV420P, "ffv1"};
  plan.frames = 4;
  plan.sample = Noise;
  MakeClip(plan);
  std::string bytes = Bytes(plan.path);
  bytes[bytes.size() * 6 / 10] ^= 0x55;
  Put(plan.path, bytes);
  VXIO_ClipReader reader(plan.path);
  EXPECT_TRUE(reader.Skip());
  std::string first;
  for (int i = 0; i < 2; ++i) {  // later calls throw the same error
    try {
      while (reader.Next()) {
      }
      ADD_FAILURE();
    } catch (const VXIO_Error& error) {
      if (i == 0) first = error.what();
      EXPECT_EQ(error.what(), first);
    }
  }
  EXPECT_NE(first.find("at frame " + std::to_string(reader.position())), std::string::npos);
  EXPECT_LT(reader.position(), 3);
}

// The decoder's message, from a thread of its own, must not be written to the standard error.
TEST_F(Clip, FrameWithoutASize) {
  ClipPlan plan{Path("a.mov"), AV_PIX_FMT_YUV422P10, "prores_ks"};
  plan.width = plan.height = 32;
  plan.sample = Noise;
  MakeClip(plan);
  std::string bytes = Bytes(plan.path);
  const size_t frame = bytes.rfind("icpf");
  ASSERT_NE(frame, std::string::npos);
  bytes.replace(frame + 12, 4, 4, '\0');
  Put(plan.path, bytes);
  EXPECT_NE(Refusal(plan.path).find("at frame 2"), std::string::npos) << Refusal(plan.path);
}

TEST_F(Clip, InvalidTags) {
  ClipPlan plan{Path("a.mkv"), AV_PIX_FMT_YUV420P, "ffv1"};
  plan.transfer = AVCOL_TRC_SMPTE2084;
  plan.sample = Noise;
  MakeClip(plan);
  const std::string bytes = Bytes(plan.path);
  const size_t tag = bytes.find("\x55\xBA\x81\x10");
  ASSERT_NE(tag, std::string::npos);
  // Tags of the matrix, the transfer curve and the primaries; 13 is not defined.
  for (const char* other : {"\x55\xB1\x81\x10", "\x55\xB1\x81\xC8", "\x55\xBA\x81\xC8",
                            "\x55\xBB\x81\x0D", "\x55\xBB\x81\xC8"}) {
    Put(plan.path, std::string(bytes).replace(tag, 4, other));
    VXIO_ClipReader reader(plan.path);
    EXPECT_EQ(reader.info().matrix, "bt601");
    EXPECT_FALSE(reader.info().matrix_tagged);
    const auto got = reader.Next();
    ASSERT_TRUE(got);
    ASSERT_EQ(got->picture.warnings.size(), 1u);
    EXPECT_NE(got->picture.warnings[0].find("invalid colour tags"), std::string::npos);
  }
}

TEST_F(Clip, OtherFiles) {
  ClipPlan plan{Path("a.mkv")};
  plan.sample = Noise;
  MakeClip(plan);
  std::string bytes = Bytes(plan.path);
  const size_t width = bytes.find(std::string("\xB0\x81\x11\xBA\x81\x09", 6));
  ASSERT_NE(width, std::string::npos);
  bytes.replace(width, 3, std::string("\xEC\x81\x00", 3));  // its width becomes padding
  Put(Path("none.mkv"), bytes);
  plan.path = Path("sound.mkv");
  plan.frames = 0;
  plan.sound = true;
  MakeClip(plan);
  plan = {Path("wide.mkv"), AV_PIX_FMT_YUV420P, "ffv1"};
  plan.width = 32000;
  plan.height = 1;
  plan.sample = Noise;
  MakeClip(plan);
  plan = {Path("tensors.mkv"), AV_PIX_FMT_YUV444P, "ffv1"};
  plan.matrix = AVCOL_SPC_ICTCP;
  plan.sample = Noise;
  MakeClip(plan);
  Put(Path("empty.mkv"), "");
  Put(Path("text.mkv"), "a line of words\nand one more\n");
  Put(Path("list.m3u8"), "#EXTM3U\n#EXT-X-TARGETDURATION:9\n#EXTINF:9,\na.mkv\n#EXT-X-ENDLIST\n");
  Put(Path("list.txt"), "ffconcat version 1.0\nfile a.mkv\n");
  Put(Path("a.ppm"), "P6\n1 1\n255\nabc");
  std::filesystem::create_directory(Path("folder"));
  for (const auto& [name, words] : {std::pair{"no.mkv", "no such file"},
                                    {"folder", "is a folder"},
                                    {"empty.mkv", "is empty"},
                                    {"text.mkv", "is neither a clip"},
                                    {"list.m3u8", "is neither a clip"},
                                    {"list.txt", "is neither a clip"},
                                    {"a.ppm", "is a picture (pnm)"},
                                    {"sound.mkv", "holds no video"},
                                    {"none.mkv", "pixels"},
                                    {"wide.mkv", "at most 30000"},
                                    {"tensors.mkv", "ictcp"}}) {
    EXPECT_NE(Refusal(Path(name)).find(words), std::string::npos) << Refusal(Path(name));
  }
  EXPECT_THROW(VXIO_ClipReader("file:" + Path("a.mkv")), VXIO_Error);  // not a URL
  EXPECT_FALSE(VXIO_IsPicture(Path("a.mkv")));
  EXPECT_TRUE(VXIO_IsPicture(Path("a.ppm")));
  EXPECT_FALSE(VXIO_IsPicture(Path("text.mkv")));
  std::filesystem::rename(Path("text.mkv"), Path("text.png"));
  EXPECT_TRUE(VXIO_IsPicture(Path("text.png")));
  try {
    VXIO_Read(Path("a.mkv"));
    FAIL();
  } catch (const VXIO_Error& error) {
    EXPECT_NE(std::string(error.what()).find("is a clip (matroska)"), std::string::npos);
  }
}

}  // namespace
