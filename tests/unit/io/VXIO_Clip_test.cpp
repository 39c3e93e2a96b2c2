// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include <fstream>
#include <optional>
#include <stdexcept>

#include "ClipTest.h"
#include "VXIO/VXIO_Compare.h"

namespace {

struct Reading {
  std::vector<VXIO_WorldPtr> frames;
  std::string error;  // its text after the path
};

// Reads a clip to its end or to an error. The next call must throw the same error.
Reading Read(const std::string& path) {
  Reading reading;
  std::optional<VXIO_ClipReader> reader;
  for (int tries = 0; tries < 2; ++tries) {
    try {
      if (!reader) reader.emplace(path);
      while (auto got = reader->Next()) reading.frames.push_back(std::move(got->picture.world));
      EXPECT_EQ(reading.error, "");
      break;
    } catch (const VXIO_Error& error) {
      const std::string text = error.what();
      EXPECT_EQ(error.kind(), VXIO_ErrorKind::Input);
      EXPECT_TRUE(text.starts_with(path + ": ") && text.find('\n') == text.npos) << text;
      EXPECT_TRUE(tries == 0 || text == path + ": " + reading.error) << text;
      reading.error = text.substr(path.size() + 2);
    }
  }
  return reading;
}

std::string Bytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void Put(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

// The display matrix: across = a * x + c * y, down = b * x + d * y, and an offset.
TEST_F(Clip, TurnedUpright) {
  ClipPlan plan{Path("a.mov"), AV_PIX_FMT_RGBA, "png"};
  plan.sample = [](int, int component, int x, int y) { return component == 0 ? x : y; };
  plan.width = 5;
  plan.height = 3;
  plan.aspect = {2, 1};
  for (int i = 0; i < 9; ++i) {
    const bool turned = (i & 4) != 0, skew = i == 8;
    const int32_t first = (i & 1) != 0 ? -65536 : 65536, second = (i & 2) != 0 ? -65536 : 65536;
    plan.turn = {turned ? 0 : first, turned ? first : 0, turned ? second : 0, turned ? 0 : second};
    if (skew) plan.turn = {46341, 46341, -46341, 46341};
    VXIO_ClipReader reader = Make(plan);
    const VXIO_ClipInfo& info = reader.info();
    ASSERT_EQ(info.width, turned ? 3 : 5);
    ASSERT_EQ(info.height, turned ? 5 : 3);
    EXPECT_EQ(info.pixel_aspect.num * 2.0 / info.pixel_aspect.den, turned ? 1 : 4);
    const auto got = reader.Next();
    const auto expected = [&](int across, int down) -> Value {
      if (plan.turn[0] + plan.turn[2] < 0) across = info.width - 1 - across;
      if (plan.turn[1] + plan.turn[3] < 0) down = info.height - 1 - down;
      const double x = turned ? down : across, y = turned ? across : down;
      return {y, x, y, y};
    };
    EXPECT_TRUE(skew || Worst(*got->picture.world, expected) == 0) << info.orientation;
    EXPECT_EQ(got->picture.warnings.size(), skew ? 1u : 0u);
    EXPECT_TRUE(reader.Next()->picture.warnings.empty());
  }
}

TEST_F(Clip, CutToWhatIsShown) {
  ClipPlan plan{Path("whole.mkv"), AV_PIX_FMT_YUV444P, "libx264"};
  plan.width = 48;
  plan.height = 32;
  VXIO_ClipReader whole = Make(plan);
  plan.path = Path("cut.mkv");
  plan.x264 = "crop-rect=7,5,2,6";
  VXIO_ClipReader cut = Make(plan);
  while (const auto want = whole.Next()) {
    const auto got = cut.Next();
    ASSERT_TRUE(got && got->picture.world->width == 39 && got->picture.world->height == 21);
    const auto expected = [&](int x, int y) { return At(*want->picture.world, x + 7, y + 5); };
    ASSERT_EQ(Worst(*got->picture.world, expected), 0);
  }
}

// Frames reached in any order are those of reading from the start. The index is used if it shows
// the frames.
TEST_F(Clip, Seek) {
  const struct {
    const char *name, *codec;
    AVPixelFormat format;
    const char* x264;
    bool indexed;
  } cases[] = {
      {"a.mkv", "ffv1", AV_PIX_FMT_BGR0, "", true},
      {"a.mov", "png", AV_PIX_FMT_RGBA, "", true},
      {"a.mov", "prores_ks", AV_PIX_FMT_YUV422P10, "", true},
      {"a.avi", "ffv1", AV_PIX_FMT_BGR0, "", false},
      {"a.ts", "libx264", AV_PIX_FMT_YUV420P, "keyint=7", false},
      {"a.mkv", "libx264", AV_PIX_FMT_YUV420P, "keyint=7:min-keyint=7:bframes=3:scenecut=0", true},
      {"a.mp4", "libx264", AV_PIX_FMT_YUV420P, "keyint=7:bframes=3:b-pyramid=2", true},
      {"a.mp4", "libx264", AV_PIX_FMT_YUV420P, "keyint=7:bframes=3:open-gop=1:b-adapt=0", true},
      {"a.mkv", "libx264", AV_PIX_FMT_YUV420P, "keyint=7:bframes=3:open-gop=1:b-adapt=0", true},
      {"b.mkv", "libx264", AV_PIX_FMT_YUV420P, "keyint=9:intra-refresh=1:bframes=0", true},
      {"a.mkv", "libx264", AV_PIX_FMT_YUV420P, "keyint=7:interlaced=1", false},
      {"a.webm", "libvpx-vp9", AV_PIX_FMT_YUV420P, "", true},
      {"b.webm", "libvpx-vp9", AV_PIX_FMT_YUVA420P, "", true},
      {"c.webm", "libvpx", AV_PIX_FMT_YUV420P, "", false},
      {"a.mkv", "mpeg2video", AV_PIX_FMT_YUV420P, "", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.name) + ' ' + c.codec + ' ' + c.x264);
    ClipPlan plan{Path(c.name), c.format, c.codec};
    plan.x264 = c.x264;
    plan.frames = 40;
    plan.width = plan.height = 32;
    plan.key_frames = 8;
    plan.sound = std::string(c.name) == "a.mkv";
    plan.sample = [](int frame, int component, int x, int y) {
      return (frame * 5 + (component + 1) * (x + 2 * y) +
              Noise(frame, component, x / 8, y / 8) / 4096) &
             255;
    };
    MakeClip(plan);
    const Reading whole = Read(plan.path);
    ASSERT_EQ(whole.frames.size(), 40u) << whole.error;
    VXIO_ClipReader reader(plan.path), sequence(plan.path);
    const std::vector<double>* times = reader.Times();
    EXPECT_EQ(times != nullptr, c.indexed);
    for (int i = 0; i < 40 && times; ++i) {
      ASSERT_TRUE(sequence.Skip());
      EXPECT_EQ(sequence.time(), (*times)[static_cast<size_t>(i)]) << i;
    }
    for (const int number : {0, 5, 3, 20, 21, 39, 38, 6, 7, 8, 9, 13, 14, 15, 30, 12, 1, 0}) {
      reader.Seek(number);
      ASSERT_EQ(reader.position(), number);
      const auto got = reader.Next();
      ASSERT_TRUE(got);
      EXPECT_EQ(got->number, number);
      EXPECT_TRUE(
          VXIO_Compare(*got->picture.world, *whole.frames[static_cast<size_t>(number)]).equal)
          << number;
    }
    reader.Seek(37);
    for (int i = 37; i < 40; ++i) {
      const auto got = reader.Next();
      EXPECT_TRUE(got &&
                  VXIO_Compare(*got->picture.world, *whole.frames[static_cast<size_t>(i)]).equal)
          << i;
    }
    EXPECT_FALSE(reader.Next());
    reader.Seek(25);
    EXPECT_TRUE(reader.Skip());
    reader.Seek(40);
    EXPECT_FALSE(reader.Next());
    reader.Seek(1000);
    EXPECT_FALSE(reader.Next());
    EXPECT_THROW(reader.Seek(-1), std::invalid_argument);
  }
}

// --- errors --------------------------------------------------------------------------------------

// A truncated file returns frames of the complete file, and an error if frames are missing.
TEST_F(Clip, Truncated) {
  const struct {
    const char *name, *codec;
    AVPixelFormat format;
    size_t most;  // frames of the longest truncated file, at least
    bool sound;
  } cases[] = {{"a.mkv", "ffv1", AV_PIX_FMT_BGR0, 5, false},
               {"b.mkv", "ffv1", AV_PIX_FMT_YUV420P, 5, true},
               {"c.mov", "png", AV_PIX_FMT_RGBA, 0, false},  // its index is at the end
               {"d.avi", "ffv1", AV_PIX_FMT_BGR0, 5, false},
               {"e.mkv", "libx264", AV_PIX_FMT_YUV444P, 3, false},  // two are out of order
               {"f.y4m", "wrapped_avframe", AV_PIX_FMT_YUV444P, 5, false}};
  for (const auto& c : cases) {
    ClipPlan plan{Path(c.name), c.format, c.codec};
    plan.frames = 6;
    plan.sound = c.sound;
    MakeClip(plan);
    const Reading whole = Read(plan.path);
    const std::string bytes = Bytes(plan.path);
    ASSERT_EQ(whole.frames.size(), 6u) << whole.error;
    size_t most = 0;
    for (size_t size = 1; size < bytes.size(); size += 1 + size % 53) {
      SCOPED_TRACE(std::string(c.name) + " truncated to " + std::to_string(size));
      Put(Path("cut"), bytes.substr(0, size));
      const auto [frames, error] = Read(Path("cut"));
      ASSERT_LE(frames.size(), 6u);
      for (size_t i = 0; i < frames.size(); ++i) {
        EXPECT_TRUE(VXIO_Compare(*frames[i], *whole.frames[i]).equal) << i;
      }
      EXPECT_EQ(error.empty(), frames.size() == 6) << error;
      const std::string place = frames.empty() ? "" : "at frame " + std::to_string(frames.size());
      EXPECT_TRUE(error.empty() || error.find(place) != error.npos) << error;
      most = std::max(most, frames.size());
    }
    EXPECT_GE(most, c.most) << c.name;
  }
}

// Nothing may be written to the standard error, also by the threads of the ProRes decoder.
TEST_F(Clip, DamageInsideAFrame) {
  for (const bool prores : {false, true}) {
    ClipPlan plan{Path("a.mkv"), AV_PIX_FMT_YUV420P, "ffv1"};
    if (prores) plan = {Path("a.mov"), AV_PIX_FMT_YUV422P10, "prores_ks"};
    plan.width = plan.height = 32;
    MakeClip(plan);
    std::string bytes = Bytes(plan.path);
    if (prores) {
      bytes.replace(bytes.rfind("icpf") + 12, 4, 4, '\0');  // the size in the last frame
    } else {
      bytes[bytes.size() * 6 / 10] ^= 0x55;
    }
    Put(plan.path, bytes);
    const auto [frames, error] = Read(plan.path);
    EXPECT_TRUE(frames.size() == 1 || frames.size() == 2);
    const std::string place = "at frame " + std::to_string(frames.size());
    EXPECT_NE(error.find(place), error.npos) << error;
    VXIO_ClipReader reader(plan.path);
    EXPECT_THROW(
        {
          while (reader.Skip()) continue;
        },
        VXIO_Error);
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
  std::filesystem::create_directory(Path("folder"));
  const struct {
    const char *name, *words, *text = nullptr;
  } cases[] = {{"no.mkv", "no such file"},
               {"folder", "is a folder"},
               {"empty.mkv", "is empty", ""},
               {"text.png", "is neither a clip", "a line of words\nand one more\n"},
               {"list.m3u8", "is neither a clip",
                "#EXTM3U\n#EXT-X-TARGETDURATION:9\n#EXTINF:9,\na.mkv\n#EXT-X-ENDLIST\n"},
               {"list.txt", "is neither a clip", "ffconcat version 1.0\nfile a.mkv\n"},
               {"a.ppm", "is a picture (pnm)", "P6\n1 1\n255\nabc"},
               {"sound.mkv", "holds no video"},
               {"none.mkv", "pixels"},
               {"wide.mkv", "at most 30000"},
               {"tensors.mkv", "ictcp"}};
  for (const auto& [name, words, text] : cases) {
    if (text != nullptr) Put(Path(name), text);
    const std::string error = Read(Path(name)).error;
    EXPECT_NE(error.find(words), error.npos) << error;
  }
  for (const char* name : {"a.ppm", "text.png"}) EXPECT_TRUE(VXIO_IsPicture(Path(name))) << name;
  for (const char* name : {"a.mkv", "list.txt"}) EXPECT_FALSE(VXIO_IsPicture(Path(name))) << name;
  EXPECT_THROW(VXIO_ClipReader("file:" + Path("a.mkv")), VXIO_Error);  // not a URL
}

}  // namespace
