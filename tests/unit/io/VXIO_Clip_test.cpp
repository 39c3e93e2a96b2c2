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
  // The display matrix: across = a * x + c * y, down = b * x + d * y, and an offset.
  struct Turn {
    int32_t a, b, c, d;
  };
  for (const Turn& t :
       {Turn{1, 0, 0, 1}, Turn{-1, 0, 0, 1}, Turn{-1, 0, 0, -1}, Turn{1, 0, 0, -1},
        Turn{0, 1, 1, 0}, Turn{0, 1, -1, 0}, Turn{0, -1, -1, 0}, Turn{0, -1, 1, 0}}) {
    auto sample = [](int, int component, int x, int y) { return component == 0 ? x : y; };
    ClipPlan plan{Path("a.mov"), AV_PIX_FMT_RGBA, "png", sample};
    plan.width = 5;
    plan.height = 3;
    plan.aspect = {2, 1};
    for (const int32_t entry : {t.a, t.b, t.c, t.d}) plan.turn.push_back(entry * 65536);
    VXIO_ClipReader reader = Make(plan);
    const VXIO_ClipInfo& info = reader.info();
    const bool turned = t.a == 0;
    ASSERT_EQ(info.width, turned ? 3 : 5);
    ASSERT_EQ(info.height, turned ? 5 : 3);
    EXPECT_EQ(info.pixel_aspect.num, turned ? 1 : 2);
    EXPECT_EQ(info.pixel_aspect.den, turned ? 2 : 1);
    const auto got = reader.Next();
    const auto expected = [&](int across, int down) -> Value {
      if (t.a + t.c < 0) across = info.width - 1 - across;
      if (t.b + t.d < 0) down = info.height - 1 - down;
      const double x = turned ? down : across, y = turned ? across : down;
      return {y, x, y, y};
    };
    EXPECT_EQ(Worst(*got->picture.world, expected), 0) << info.orientation;
    EXPECT_TRUE(got->picture.warnings.empty());
  }
  ClipPlan plan{Path("b.mov"), AV_PIX_FMT_RGBA, "png"};
  plan.turn = {46341, 46341, -46341, 46341};
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

// Every later call throws the same error. Nothing may be written to the standard error, also by the
// threads of the ProRes decoder.
TEST_F(Clip, DamageInsideAFrame) {
  struct Case {
    const char *name, *codec;
    AVPixelFormat format;
    std::function<void(std::string*)> damage;
  };
  auto flip = [](std::string* bytes) { (*bytes)[bytes->size() * 6 / 10] ^= 0x55; };
  auto no_size = [](std::string* bytes) {
    bytes->replace(bytes->rfind("icpf") + 12, 4, 4, '\0');  // of the last frame
  };
  for (const Case& c : {Case{"a.mkv", "ffv1", AV_PIX_FMT_YUV420P, flip},
                        Case{"a.mov", "prores_ks", AV_PIX_FMT_YUV422P10, no_size}}) {
    ClipPlan plan{Path(c.name), c.format, c.codec};
    plan.width = plan.height = 32;
    MakeClip(plan);
    std::string bytes = Bytes(plan.path);
    c.damage(&bytes);
    Put(plan.path, bytes);
    const std::string refusal = Refusal(plan.path);
    VXIO_ClipReader reader(plan.path);
    EXPECT_TRUE(reader.Skip());
    for (int i = 0; i < 2; ++i) {
      try {
        while (reader.Next()) {
        }
        ADD_FAILURE();
      } catch (const VXIO_Error& error) {
        EXPECT_EQ(error.what(), plan.path + ": " + refusal);
      }
    }
    EXPECT_LT(reader.position(), 3);
    const std::string frame = "at frame " + std::to_string(reader.position());
    EXPECT_NE(refusal.find(frame), std::string::npos) << refusal;
  }
}

TEST_F(Clip, InvalidTags) {
  ClipPlan plan{Path("a.mkv"), AV_PIX_FMT_YUV420P, "ffv1"};
  plan.transfer = AVCOL_TRC_SMPTE2084;
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
  plan = {Path("wide.mkv"), AV_PIX_FMT_YUV420P};
  plan.width = 32000;
  plan.height = 1;
  MakeClip(plan);
  MakeClip({Path("tensors.mkv"), AV_PIX_FMT_YUV444P, "ffv1", Noise, AVCOL_SPC_ICTCP});
  for (const auto& [name, text] :
       {std::pair{"empty.mkv", ""},
        {"text.mkv", "a line of words\nand one more\n"},
        {"list.m3u8", "#EXTM3U\n#EXT-X-TARGETDURATION:9\n#EXTINF:9,\na.mkv\n#EXT-X-ENDLIST\n"},
        {"list.txt", "ffconcat version 1.0\nfile a.mkv\n"},
        {"a.ppm", "P6\n1 1\n255\nabc"}}) {
    Put(Path(name), text);
  }
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
